// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/PrivilegeVerification.hpp"

#include <sstream>

#include "blocxx/FileSystem.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "layout/Layout.hpp"
#include "openwbem/privilege/PrivilegeConfig.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;
namespace PrivilegeConfig = OpenWBEM::PrivilegeConfig;

namespace {

/// Checks that included files exist. Does not read them: their owner has had them checked.
class FNIncludeHandler : public PrivilegeConfig::IncludeHandler {
public:
    FNIncludeHandler(const String& path, const String& destDir)
        : m_path(path), m_destDir(destDir) {}

    std::unique_ptr<std::istream> getInclude(const String& name) override {
        const String included = m_destDir + Layout::PRIVILEGES_DIRECTORY + "/" + name;
        if (!blocxx::FileSystem::exists(included)) {
            throw FennikException(Format("%1 includes a non-existent file: %2", m_path, included),
                                  INVALID_INPUT);
        }
        return std::make_unique<std::istringstream>();
    }

    void endInclude() override {}

private:
    const String& m_path;
    const String& m_destDir;
};

PrivilegeConfig::Privileges parse(const String& text, const String& path, const String& destDir) {
    FNIncludeHandler includes(path, destDir);
    PrivilegeConfig::Privileges privileges;
    try {
        PrivilegeConfig::openwbem_privconfig_parse(text, includes, privileges);
    } catch (const PrivilegeConfig::ParseException& e) {
        throw FennikException(Format("Parsing %1 failed at column %2 of line %3: %4", path,
                                     e.textColumn(), e.textLine(), e.getMessage()),
                              INVALID_INPUT);
    }
    return privileges;
}

}  // namespace

void verifyPrivileges(const String& privileges, const String& path, const String& destDir) {
    log().debug("Verifying privileges for %1", path);
    if (privileges.empty()) {
        log().debug("No privileges.");
        return;
    }
    const String user = parse(privileges, path, destDir).unpriv_user;
    if (user == "root") {
        throw FennikException("Invalid privileges: root is not an allowed user", INVALID_INPUT);
    }
    if (user.empty()) {
        throw FennikException("Invalid privileges: unpriv_user not specified", INVALID_INPUT);
    }
    log().debug("Privileges look fine.");
}

}  // namespace KOVNS2
