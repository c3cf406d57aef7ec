// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/FNProductRegistration.hpp"

#include <boost/bind/bind.hpp>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Interruption.hpp"
#include "fennik/cimom/FNUtils.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/FileUtils.hpp"
#include "fennik/common/NameRules.hpp"
#include "fennik/common/TextUtils.hpp"
#include "fennik/common/UnitLog.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNConfigFile.hpp"
#include "fennik/product/ProductPaths.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/undo/FileCleanupActions.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2 {

using namespace OpenWBEM::WBEMFlags;
using blocxx::Format;
using FileUtils::throwFileFailure;
using OpenWBEM::CIMException;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFCRef;
using OpenWBEM::CIMValue;

namespace {

using Layout::KOV_NS;
constexpr const char* PRODUCT_CLASS = "KOV_Product";
/// The infrastructure's own product, which must not be deregistered.
constexpr const char* KOV_PRODUCT_NAME = "kov";

UnitLog log() {
    return UnitLog("ProductRegistration: ");
}

OpenWBEM::CIMInstance newProduct(OpenWBEM::CIMOMHandleIFC& handle, const String& productName,
                                 const StringArray& userNames) {
    OpenWBEM::CIMInstance product = handle
                                        .getClass(KOV_NS, PRODUCT_CLASS, E_NOT_LOCAL_ONLY,
                                                  E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN)
                                        .newInstance();
    product.setProperty("Name", CIMValue(productName));
    product.setProperty("Usernames", CIMValue::array<String>(userNames));
    return product;
}

/// The reason why the product cannot be created. A run that was killed after it had created the
/// product, through the daemon, has perhaps not written the file.
CIMException describeExisting(const CIMException& e, const OpenWBEM::CIMInstance& product,
                              const String& productName, const String& prefix) {
    const String file = ProductPaths::allowedUsersFile(productName, prefix);
    std::error_code failure;
    if (std::filesystem::file_size(file, failure) > 0 && !failure) {
        return e;
    }
    const String path = CIMObjectPath(String(), product).modelPath();
    return CIMException(
        __FILE__, __LINE__, CIMException::ALREADY_EXISTS,
        Format(
            "the instance %1 is there, but the file \"%2\" is missing or empty: an earlier run was "
            "killed. Remove the file if it is there, and delete the instance by "
            "\"owdeleteinstance %3-n %4 %5\"; then run the command again",
            path, file, prefix.empty() ? "" : "--dest-dir " + shellWord(prefix) + " ", KOV_NS,
            shellWord(path)));
}

void createProduct(OpenWBEM::CIMOMHandleIFC& handle, const String& productName,
                   const OpenWBEM::CIMInstance& product, const String& prefix,
                   CleanupActions_t& undo) {
    try {
        createUndoably(handle, KOV_NS, product, undo);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::ALREADY_EXISTS) {
            throw;
        }
        const CIMException reason = describeExisting(e, product, productName, prefix);
        throw FennikException("The product has already been registered.",
                              ErrorCode::ALREADY_REGISTERED, &reason);
    }
}

/// Called before the first change. A name that the allowed users file, its file name or a saved
/// state cannot hold is reported as a failure to create that file.
void checkNames(const String& productName, const StringArray& userNames, const String& prefix) {
    try {
        if (const String problem = ProductPaths::problemOfProduct(productName); !problem.empty()) {
            BLOCXX_THROW(NameException, Format("the product name \"%1\" %2", productName, problem));
        }
        NameRules::checkUsers(userNames);
    } catch (const NameException& e) {
        const String path = ProductPaths::allowedUsersFile(productName, prefix);
        throw FennikException(Format("Failed to create %1", path),
                              ErrorCode::ALLOWED_USERS_NOT_CREATED, &e);
    }
}

blocxx::File createAllowedUsersFile(const String& path) {
    blocxx::File file = blocxx::FileSystem::createFile(path);
    if (!file) {
        throwFileFailure("Failed to create %1", path, ErrorCode::ALLOWED_USERS_NOT_CREATED);
    }
    return file;
}

void writeAndClose(blocxx::File& file, const String& path, const String& content) {
    using blocxx::FileSystem::WriteStep;
    switch (blocxx::FileSystem::writeDurably(file, content)) {
        case WriteStep::WRITE:
        case WriteStep::WRITE_REST:
            throwFileFailure("Failed to write contents of %1", path,
                             ErrorCode::ALLOWED_USERS_NOT_WRITTEN);
        case WriteStep::SYNC:
            throwFileFailure("Failed to flush %1", path, ErrorCode::ALLOWED_USERS_NOT_WRITTEN);
        case WriteStep::CLOSE:
            throwFileFailure("Failed to close %1", path, ErrorCode::ALLOWED_USERS_NOT_WRITTEN);
        case WriteStep::CREATE:  // not part of writeDurably
        case WriteStep::DONE:
            break;
    }
    blocxx::FileSystem::syncName(path);
}

void writeAllowedUsersFile(const String& productName, const StringArray& userNames,
                           const String& prefix, CleanupActions_t& undo) {
    const String path = ProductPaths::allowedUsersFile(productName, prefix);
    log().debug("Creating allowed users file: \"%1\"", path);
    blocxx::File file = createAllowedUsersFile(path);
    undo.push_back(boost::bind(&closeAndDeleteAllowedUsersFile, file, path));
    writeAndClose(file, path, allowedUsersLine(userNames));
}

/// Appends the name of each product, the only key of its path.
class ProductNameOutputter : public OpenWBEM::CIMObjectPathResultHandlerIFC {
public:
    explicit ProductNameOutputter(StringArray& names) : m_names(names) {}

protected:
    void doHandle(const CIMObjectPath& path) override {
        m_names.push_back(path.getKeys().at(0).getValue().toString());
    }

private:
    StringArray& m_names;
};

}  // namespace

String allowedUsersLine(const StringArray& userNames) {
    String line = "owcimomd.allowed_users =";
    for (const String& user : userNames) {
        line += " " + user;
    }
    return line + "\n";
}

// 1. Create the instance, uncommitted. 2. Write the file. 3. Commit: the commit point. A run killed
// before it leaves at most the file, which the next attempt to register names in its error.
void registerProduct(const CIMOMHandleIFCRef& handle, const String& productName,
                     const StringArray& userNames, const String& prefix, Permanence permanence) {
    log().debug("Registering product \"%1\"", productName);
    checkNames(productName, userNames, prefix);
    const OpenWBEM::CIMInstance product = newProduct(*handle, productName, userNames);
    CleanupActions_t undo;
    undoOnFailure(undo, [&] {
        createProduct(*handle, productName, product, prefix, undo);
        writeAllowedUsersFile(productName, userNames, prefix, undo);
        if (permanence == Permanence::AT_ONCE) {
            handle->commit();
        }
    });
}

namespace {

void requireDeregistrable(const String& productName) {
    if (productName == KOV_PRODUCT_NAME) {
        throw FennikException(Format("Deregistration of %1 is not allowed.", KOV_PRODUCT_NAME),
                              ErrorCode::INFRASTRUCTURE_NOT_DEREGISTERED);
    }
}

void deleteProduct(OpenWBEM::CIMOMHandleIFC& handle, const CIMObjectPath& path,
                   CleanupActions_t& undo) {
    const OpenWBEM::CIMInstance product = handle.getInstance(
        KOV_NS, path, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, nullptr);
    handle.deleteInstance(KOV_NS, path);
    undo.push_back(boost::bind(&createInstance, boost::ref(handle), String(KOV_NS), product));
}

void removeAllowedUsersFile(const String& productName, const String& prefix) {
    const String path = ProductPaths::allowedUsersFile(productName, prefix);
    errno = EINVAL;
    if (!ProductPaths::canNameFile(productName) || !blocxx::FileSystem::removeFile(path)) {
        throwFileFailure("Failed to remove %1", path, ErrorCode::ALLOWED_USERS_NOT_REMOVED);
    }
    // The removal cannot be undone, so a failed sync is logged, not thrown.
    if (!blocxx::FileSystem::syncDirectory(blocxx::FileSystem::Path::dirname(path))) {
        logError(Format(
            "Failed to sync the directory of %1: %2. If a power cut brings the file back, remove "
            "it",
            path, std::strerror(errno)));
    }
}

}  // namespace

// The caller's swap of the working copy is the commit point for the repository. Files are removed
// at once; the undo list restores all except the allowed users file, which is removed last, after
// the last check for signals. When the swap then fails, the administrator has to write it again.
void deregisterProduct(const CIMOMHandleIFCRef& handle, const String& productName,
                       const String& prefix, CleanupActions_t& undo) {
    log().debug("Deregistering product \"%1\"", productName);
    requireDeregistrable(productName);
    const CIMObjectPath path = CheckProductRegistration(handle, productName);
    DeregisterProviders(handle, productName, prefix, undo);
    deregisterNamespaces(handle, productName, listNamespaces(handle, productName));
    rmConfigFile(productName, prefix, undo);
    deleteProduct(*handle, path, undo);
    blocxx::Interruption::check();
    removeAllowedUsersFile(productName, prefix);
}

StringArray listRegisteredProducts(const CIMOMHandleIFCRef& handle) {
    log().debug("Getting list of registered products");
    StringArray names;
    ProductNameOutputter outputter(names);
    handle->enumInstanceNames(KOV_NS, PRODUCT_CLASS, outputter);
    return names;
}

}  // namespace KOVNS2
