// SPDX-License-Identifier: Apache-2.0
#include "utilities/common/LocalRepository.hpp"

#include <utility>

namespace OwUtilities {

/// What the repository asks of its surroundings.
class LocalRepository::Environment : public ServiceEnvironmentIFC {
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

LocalRepository::LocalRepository(const String& directory)
    : m_repository(new CIMRepository),
      m_environment(new Environment(directory)),
      m_handle(new RepositoryCIMOMHandle(m_repository, m_context)) {
    m_repository->init(m_environment);
    m_environment->setHandle(m_handle);
}

LocalRepository::~LocalRepository() {
    // The handle holds the repository, that its environment, and that the handle.
    m_environment->setHandle({});
}

bool LocalRepository::hasNameSpace(const String& name) const {
    bool found = false;
    auto search = makeResultHandler<String>(
        [&](const String& known) { found = found || blocxx::equalsIgnoreCase(known, name); });
    m_handle->enumNameSpace(search);
    return found;
}

}  // namespace OwUtilities
