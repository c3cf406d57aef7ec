// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/ServedRepository.hpp"

#include "blocxx/Format.hpp"

namespace OwCimomd {

class ServedRepository::Environment : public ServiceEnvironmentIFC {
public:
    explicit Environment(String directory) : m_directory(std::move(directory)) {}

    String getConfigItem(const String& name, const String& defaultValue) const override {
        return name == ConfigOpts::DATADIR_opt ? m_directory : defaultValue;
    }
    CIMOMHandleIFCRef getCIMOMHandle(OperationContext& /*context*/,
                                     EBypassProvidersFlag /*bypassProviders*/) const override {
        return m_handle;
    }
    void setHandle(CIMOMHandleIFCRef handle) { m_handle = std::move(handle); }

private:
    String m_directory;
    CIMOMHandleIFCRef m_handle;
};

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
    : m_repository(new CIMRepository),
      m_environment(new Environment(directory)),
      m_visible(new VisibleObjects(m_repository, m_context)),
      m_handle(new RepositoryCIMOMHandle(m_repository, m_context)) {
    m_repository->init(m_environment, RepositoryUse::SERVED);
    m_environment->setHandle(m_visible);
}

ServedRepository::~ServedRepository() {
    // The handle holds the repository, that its environment, and that the handle.
    m_environment->setHandle(CIMOMHandleIFCRef());
}

void ServedRepository::setMayRead(MayRead mayRead) {
    m_visible->setMayRead(std::move(mayRead));
}

}  // namespace OwCimomd
