// SPDX-License-Identifier: Apache-2.0
//
// The handle itself and its namespaces. The operations on classes, instances, qualifier types and
// associations are in the sources named after them.
#include "openwbem/repository/RepositoryCIMOMHandle.hpp"

#include "blocxx/Interruption.hpp"
#include "openwbem/repository/RepositoryStore.hpp"

namespace OpenWBEM {

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
