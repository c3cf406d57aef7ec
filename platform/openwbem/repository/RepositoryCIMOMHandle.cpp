// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

#include "blocxx/Interruption.hpp"
#include "blocxx/Invariant.hpp"
#include "openwbem/repository/RepositoryOperations.hpp"

namespace OpenWBEM {

using namespace RepositoryOperations;  // NOLINT(google-build-using-namespace): it is made for this
                                       // file

namespace {

/// An operation came where its traits do not lead.
[[noreturn]] void refuse(const OperationCall& call) {
    blocxx::believed(false);
    OPENWBEM_THROW_CIM(NOT_SUPPORTED, traitsOf(call.operation).name);
}

void changeWithoutResult(RepositoryStore& store, const OperationCall& call) {
    switch (call.operation) {
        case Operation::CREATE_CLASS:
            return createClass(store, call);
        case Operation::MODIFY_CLASS:
            return modifyClass(store, call);
        case Operation::DELETE_CLASS:
            return deleteClass(store, call);
        case Operation::MODIFY_INSTANCE:
            return modifyInstance(store, call);
        case Operation::DELETE_INSTANCE:
            return deleteInstance(store, call);
        case Operation::SET_QUALIFIER_TYPE:
            return setQualifierType(store, call);
        case Operation::DELETE_QUALIFIER_TYPE:
            return deleteQualifierType(store, call);
        default:
            refuse(call);
    }
}

OperationResult read(RepositoryStore& store, const OperationCall& call) {
    const ReadOperation operation(store);
    switch (call.operation) {
        case Operation::GET_CLASS:
            return getClass(store, call);
        case Operation::GET_INSTANCE:
            return getInstance(store, call);
        case Operation::GET_QUALIFIER_TYPE:
            return getQualifierType(store, call);
        default:
            refuse(call);
    }
}

AnyEnumeration openEnumeration(RepositoryStore& store, const OperationCall& call,
                               const CIMOMHandleIFCRef& surroundings) {
    switch (call.operation) {
        case Operation::ENUM_CLASS:
            return openClasses(store, call);
        case Operation::ENUM_CLASS_NAMES:
            return openClassNames(store, call);
        case Operation::ENUM_INSTANCES:
            return openInstances(store, call);
        case Operation::ENUM_INSTANCE_NAMES:
            return openInstanceNames(store, call);
        case Operation::ENUM_QUALIFIER_TYPES:
            return openQualifierTypes(store, call);
        case Operation::ASSOCIATORS:
            return openAssociators(store, call, surroundings);
        case Operation::ASSOCIATOR_NAMES:
            return openAssociatorNames(store, call, surroundings);
        case Operation::REFERENCES:
            return openReferences(store, call);
        case Operation::REFERENCE_NAMES:
            return openReferenceNames(store, call);
        case Operation::ASSOCIATORS_CLASSES:
            return openAssociatorsClasses(store, call);
        case Operation::REFERENCES_CLASSES:
            return openReferencesClasses(store, call);
        default:
            refuse(call);
    }
}

}  // namespace

RepositoryCIMOMHandle::RepositoryCIMOMHandle(CIMRepositoryRef repository, OperationContext& context)
    : m_repository(std::move(repository)), m_context(context) {}

RepositoryCIMOMHandle::~RepositoryCIMOMHandle() = default;

void RepositoryCIMOMHandle::createNameSpace(const String& ns) {
    RepositoryStore& store = m_repository->store();
    WriteOperation operation(store);
    if (!operation.isVoid()) {
        store.namespaces.create(ns);
        operation.done();
    }
}

void RepositoryCIMOMHandle::deleteNameSpace(const String& ns) {
    RepositoryStore& store = m_repository->store();
    WriteOperation operation(store);
    if (!operation.isVoid()) {
        store.namespaces.remove(ns);
        releaseMemory();
        operation.done();
    }
}

void RepositoryCIMOMHandle::enumNameSpace(StringResultHandlerIFC& result) {
    StringArray spellings;
    {
        const ReadOperation operation(m_repository->store());
        spellings = operation.store().namespaces.spellings();
    }
    for (const String& spelling : spellings) {
        result.handle(spelling);
    }
}

OperationResult RepositoryCIMOMHandle::carryOut(const OperationCall& call) {
    switch (traitsOf(call.operation).effect) {
        case OperationTraits::Effect::READS:
            return read(m_repository->store(), call);
        case OperationTraits::Effect::CHANGES:
            return change(call);
        case OperationTraits::Effect::ENUMERATES:
            break;
    }
    std::visit(
        [&]<class T>(const EnumerationPtr<T>& enumeration) {
            exhaust(enumeration, *std::get<ResultHandlerIFC<T>*>(call.results));
        },
        open(call));
    return {};
}

OperationResult RepositoryCIMOMHandle::change(const OperationCall& call) {
    RepositoryStore& store = m_repository->store();
    WriteOperation operation(store);
    OperationResult result;
    if (call.operation == Operation::CREATE_INSTANCE) {
        result = operation.isVoid() ? CIMObjectPath(call.ns, call.as<CIMInstance>())
                                    : RepositoryOperations::createInstance(store, call);
    } else if (!operation.isVoid()) {
        changeWithoutResult(store, call);
    }
    operation.done();
    return result;
}

AnyEnumeration RepositoryCIMOMHandle::open(const OperationCall& call) {
    const ReadOperation operation(m_repository->store());
    return openEnumeration(operation.store(), call,
                           m_repository->environment()->getCIMOMHandle(
                               m_context, ServiceEnvironmentIFC::E_BYPASS_PROVIDERS));
}

void RepositoryCIMOMHandle::releaseMemory() {
    RepositoryStore& store = m_repository->store();
    store.qualifiers.forget();
    store.classes.forget();
    store.embedded.forget();
    store.connection.releaseMemory();
}

void RepositoryCIMOMHandle::commit() {
    blocxx::Interruption::check();
    m_repository->commit();
}

}  // namespace OpenWBEM
