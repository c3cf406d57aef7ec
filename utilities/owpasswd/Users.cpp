// SPDX-License-Identifier: Apache-2.0
#include "utilities/owpasswd/Users.hpp"

#include "blocxx/Exception.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Secure.hpp"
#include "owcimomd/process/Configuration.hpp"

namespace OwPasswd {

using blocxx::Format;
using Identity = blocxx::Process::Identity;

namespace {

void refuseRoot(const String& user) {
    BLOCXX_THROW(blocxx::Exception,
                 Format("the user \"%1\" is root, who gets no password: root may never use the "
                        "object manager over HTTP",
                        user));
}

void refuseAccount(const String& user) {
    BLOCXX_THROW(blocxx::Exception,
                 Format("the user \"%1\" is the account of the object manager, which gets no "
                        "password",
                        user));
}

void requireAccount(const String& user) {
    const std::optional<Identity> identity = blocxx::Secure::lookupAccount(user);
    if (!identity) {
        BLOCXX_THROW(blocxx::Exception, Format("this machine has no user \"%1\"", user));
    }
    if (identity->uid == 0) {
        refuseRoot(user);
    }
    const std::optional<Identity> account = blocxx::Secure::lookupAccount(Layout::ACCOUNT);
    if (account && account->uid == identity->uid) {
        refuseAccount(user);
    }
}

}  // namespace

void requireUser(const Layout::Tree& tree, const String& user) {
    if (user == "root") {
        refuseRoot(user);
    }
    if (user == Layout::ACCOUNT) {
        refuseAccount(user);
    }
    if (tree.isLive()) {
        requireAccount(user);
    }
}

bool mayConnect(const Layout::Tree& tree, const String& user) {
    OwCimomd::Configuration configuration;
    configuration.readFiles(tree.path(Layout::CONFIG_FILE), tree.path(Layout::DROP_IN_DIRECTORY));
    return configuration.allowedUsers().contains(user);
}

}  // namespace OwPasswd
