// SPDX-License-Identifier: Apache-2.0
//
// The repository of an installation, opened directly. Everything done through it is one unit of
// work: close() commits it, destruction without close() rolls it back.
#pragma once

#include "openwbem/repository/OpenRepository.hpp"
#include "utilities/common/Repository.hpp"

namespace OwUtilities {

class LocalRepository : public Repository {
public:
    /// Throws CIMException when there is no repository in the directory, or it cannot be opened.
    explicit LocalRepository(const String& directory) : m_opened(directory) {}

    CIMOMHandleIFCRef handle() const override { return m_opened.handle(); }
    void enumNameSpace(StringResultHandlerIFC& result) const override {
        m_opened->enumNameSpace(result);
    }
    bool hasNameSpace(const String& name) const override {
        bool found = false;
        auto search = makeResultHandler<String>(
            [&](const String& known) { found = found || blocxx::equalsIgnoreCase(known, name); });
        m_opened->enumNameSpace(search);
        return found;
    }
    void store(const String& ns, const ObjectsToStore& objects) override {
        storeObjects(*m_opened, ns, objects);
    }
    bool isUnitOfWork() const override { return true; }
    /// Commits. Throws CIMException; then nothing has changed.
    void close() override { m_opened.repository().close(); }
    /// Checks the file. Throws CIMException for a damaged one.
    void check() const { m_opened.repository().check(); }
    /// The same handle, with its operations on namespaces.
    RepositoryCIMOMHandle& namespaces() const { return *m_opened; }

private:
    OpenRepository m_opened;
};

}  // namespace OwUtilities
