// SPDX-License-Identifier: Apache-2.0
#include "fennik/cli/Operations.hpp"

#include "blocxx/Interruption.hpp"
#include "fennik/cimom/FNDaemonControl.hpp"
#include "fennik/cimom/FNHandles.hpp"
#include "fennik/cimom/RepositoryCopy.hpp"
#include "fennik/common/StandardStreams.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNConfigFile.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/state/FNProductState.hpp"

namespace KOVNS2 {

namespace {

String value(const Run& run, OptionId option) {
    return run.parser.mustGetOptionValue(option);
}

StringArray values(const Run& run, OptionId option) {
    return run.parser.mustGetOptionValueList(option);
}

String productName(const Run& run) {
    return value(run, NAME_OPT);
}

void printLines(const StringArray& lines) {
    for (const String& line : lines) {
        StandardStreams::writeLine(line);
    }
}

/// Stops the daemon, calls `operation(handle, undo)` on a working copy of the repository, swaps the
/// copy in and starts the daemon again. The declarations are in this order, so the copy is closed
/// before the daemon starts.
template <class Operation>
void workOnCopy(Run& run, Operation operation) {
    const StopAndStartCimom guard(run.buildSystem, run.startFailed);
    RepositoryCopy copy(run.prefix);
    {
        CleanupActions_t undo;
        undoOnFailure(undo, [&] {
            try {
                operation(copy.GetHandle(), undo);
                copy.SwapInNewRepository();
            } catch (...) {
                // Before the undo steps, which would otherwise write to the copy: it is deleted
                // anyway, and their namespace may no longer exist in it.
                copy.GiveUp();
                throw;
            }
        });
    }
    copy.CloseRepository();
}

/// Stops the daemon, calls `operation(handle)` on the repository opened directly, closes it and
/// starts the daemon again.
template <class Operation>
void workDirectly(Run& run, Operation operation) {
    const StopAndStartCimom guard(run.buildSystem, run.startFailed);
    const CIMOMHandleWrapperRef repository = GetRepositoryHandle(run.prefix);
    operation(repository->GetHandle());
    repository->Close();
}

void registerProductOperation(Run& run) {
    const String name = productName(run);
    registerProduct(run.handle, name, values(run, USERNAME_OPT), run.prefix);
    restartCimomIfRunning(run.buildSystem);
}

void listRegisteredProductsOperation(Run& run) {
    printLines(listRegisteredProducts(run.handle));
}

void setConfigOperation(Run& run) {
    const String name = productName(run);
    setConfigFile(name, value(run, SET_OWCIMOMD_CONFIG_OPT), run.prefix);
    restartCimomIfRunning(run.buildSystem);
}

void removeConfigOperation(Run& run) {
    const String name = productName(run);
    CleanupActions_t undo;
    undoOnFailure(undo, [&] {
        rmConfigFile(name, run.prefix, undo);
        restartCimomIfRunning(run.buildSystem);
    });
}

void getConfigOperation(Run& run) {
    StandardStreams::writeOut(getConfigFile(productName(run), run.prefix));
}

// The commit is inside undoOnFailure(), so the undo steps run when it fails.
void registerNamespaceOperation(Run& run) {
    const String name = productName(run);
    const StringArray namespaces = values(run, REGISTER_NAMESPACE_OPT);
    const StringArray users = values(run, USERNAME_OPT);
    const StringArray readOnlyUsers = run.parser.getOptionValueList(RO_USERNAME_OPT);
    CleanupActions_t undo;
    undoOnFailure(undo, [&] {
        registerNamespaces(run.handle, name, users, readOnlyUsers, namespaces, run.prefix, undo);
        run.handle->commit();
    });
}

void deregisterNamespaceOperation(Run& run) {
    const String name = productName(run);
    const StringArray namespaces = values(run, DEREGISTER_NAMESPACE_OPT);
    workOnCopy(run, [&](const OpenWBEM::CIMOMHandleIFCRef& handle, CleanupActions_t&) {
        deregisterNamespaces(handle, name, namespaces);
        blocxx::Interruption::check();
    });
}

void listNamespacesOperation(Run& run) {
    printLines(listNamespaces(run.handle, productName(run)));
}

void deregisterOperation(Run& run) {
    const String name = productName(run);
    workOnCopy(run, [&](const OpenWBEM::CIMOMHandleIFCRef& handle, CleanupActions_t& undo) {
        deregisterProduct(handle, name, run.prefix, undo);
    });
}

// The commit is inside undoOnFailure(), so the undo steps run when it fails.
void registerProvidersOperation(Run& run) {
    const String name = productName(run);
    const String list = value(run, REGISTER_PROVIDERS_OPT);
    workDirectly(run, [&](const OpenWBEM::CIMOMHandleIFCRef& handle) {
        CleanupActions_t undo;
        undoOnFailure(undo, [&] {
            RegisterProviders(handle, name, list, run.prefix, undo);
            handle->commit();
        });
    });
}

void listProvidersOperation(Run& run) {
    printLines(ListProviders(run.handle, productName(run), run.prefix));
}

void dumpProductStateOperation(Run& run) {
    const String file = value(run, DUMP_PRODUCT_STATE_OPT);
    workDirectly(run, [&](const OpenWBEM::CIMOMHandleIFCRef& handle) {
        saveProductStatesToFile(handle, file);
    });
}

void restoreProductStateOperation(Run& run) {
    const String file = value(run, RESTORE_PRODUCT_STATE_OPT);
    workOnCopy(run, [&](const OpenWBEM::CIMOMHandleIFCRef& handle, CleanupActions_t& undo) {
        restoreProductStatesFromFile(handle, file, run.prefix, undo);
        blocxx::Interruption::check();
    });
}

constexpr Operation OPERATIONS[] = {
    {REGISTER_OPT, registerProductOperation, true},
    {DEREGISTER_OPT, deregisterOperation, true},
    {LIST_REGISTERED_PRODUCTS_OPT, listRegisteredProductsOperation, false},
    {SET_OWCIMOMD_CONFIG_OPT, setConfigOperation, true},
    {REMOVE_OWCIMOMD_CONFIG_OPT, removeConfigOperation, true},
    {GET_OWCIMOMD_CONFIG_OPT, getConfigOperation, false},
    {REGISTER_PROVIDERS_OPT, registerProvidersOperation, true},
    {LIST_PROVIDERS_OPT, listProvidersOperation, false},
    {REGISTER_NAMESPACE_OPT, registerNamespaceOperation, true},
    {DEREGISTER_NAMESPACE_OPT, deregisterNamespaceOperation, true},
    {LIST_NAMESPACES_OPT, listNamespacesOperation, false},
    {DUMP_PRODUCT_STATE_OPT, dumpProductStateOperation, true},
    {RESTORE_PRODUCT_STATE_OPT, restoreProductStateOperation, true},
};

}  // namespace

std::span<const Operation> operations() {
    return OPERATIONS;
}

}  // namespace KOVNS2
