// SPDX-License-Identifier: Apache-2.0
#include "utilities/common/Repository.hpp"

#include <algorithm>

#include "layout/Layout.hpp"
#include "openwbem/client/ClientCIMOMHandle.hpp"
#include "openwbem/model/CIMNameSpaceUtils.hpp"
#include "utilities/common/LocalRepository.hpp"

namespace OwUtilities {

namespace {

class ServedRepository : public Repository {
public:
    explicit ServedRepository(ClientCIMOMHandleRef handle) : m_handle(std::move(handle)) {}

    CIMOMHandleIFCRef handle() const override { return m_handle; }
    void enumNameSpace(StringResultHandlerIFC& result) const override {
        CIMNameSpaceUtils::enumCIM_Namespace(*m_handle, Layout::INTEROP_NS, result);
    }
    bool hasNameSpace(const String& name) const override;
    void store(const String& ns, const ObjectsToStore& objects) override {
        m_handle->store(ns, objects);
    }
    bool isUnitOfWork() const override { return false; }
    void close() override { m_handle->commit(); }

private:
    ClientCIMOMHandleRef m_handle;
};

bool ServedRepository::hasNameSpace(const String& name) const {
    try {
        const StringArray names =
            CIMNameSpaceUtils::enumCIM_Namespace(*m_handle, Layout::INTEROP_NS);
        return std::any_of(names.begin(), names.end(), [&](const String& known) {
            return blocxx::equalsIgnoreCase(known, name);
        });
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::ACCESS_DENIED) {
            throw;
        }
        // A user with rights in one namespace only may not list them. The operation itself fails
        // when the namespace does not exist.
        return true;
    }
}

/// A handle on this machine's daemon; null when no daemon answers.
ClientCIMOMHandleRef connect() {
    ClientCIMOMHandleRef handle = ClientCIMOMHandle::createFromURL(ClientCIMOMHandle::LOCAL_URL);
    try {
        handle->ping();
    } catch (const CIMException&) {
        // Opening the repository directly gives a better message: it is missing, or in use.
        return {};
    }
    return handle;
}

}  // namespace

std::unique_ptr<Repository> Repository::open(const String& prefix) {
    if (prefix.empty()) {
        if (auto handle = connect()) {
            return std::make_unique<ServedRepository>(std::move(handle));
        }
    }
    return std::make_unique<LocalRepository>(prefix + Layout::REPOSITORY);
}

}  // namespace OwUtilities
