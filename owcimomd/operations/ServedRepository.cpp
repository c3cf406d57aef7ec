// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/ServedRepository.hpp"

#include "blocxx/Format.hpp"

namespace OwCimomd {

/// Whoever may not read in a namespace finds nothing there: an association into it leads to
/// nothing.
class ServedRepository::VisibleObjects : public RepositoryCIMOMHandle {
public:
    using RepositoryCIMOMHandle::RepositoryCIMOMHandle;

    CIMInstance getInstance(const String& ns, const CIMObjectPath& path, ELocalOnlyFlag localOnly,
                            EIncludeQualifiersFlag includeQualifiers,
                            EIncludeClassOriginFlag includeClassOrigin,
                            const StringArray* propertyList) override {
        if (m_mayRead && !m_mayRead(ns)) {
            OPENWBEM_THROW_CIM(NOT_FOUND,
                               blocxx::Format("there is no instance %1", path.modelPath()));
        }
        return RepositoryCIMOMHandle::getInstance(ns, path, localOnly, includeQualifiers,
                                                  includeClassOrigin, propertyList);
    }
    void setMayRead(MayRead mayRead) { m_mayRead = std::move(mayRead); }

private:
    MayRead m_mayRead;
};

ServedRepository::ServedRepository(const String& directory)
    : m_opened(directory, RepositoryUse::SERVED),
      m_visible(m_opened.followAssociationsThrough<VisibleObjects>()) {}

ServedRepository::~ServedRepository() = default;

void ServedRepository::setMayRead(MayRead mayRead) {
    m_visible->setMayRead(std::move(mayRead));
}

}  // namespace OwCimomd
