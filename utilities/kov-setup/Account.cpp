// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/Account.hpp"

#include <grp.h>

#include "blocxx/Format.hpp"
#include "blocxx/Secure.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

namespace {

constexpr const char* USERADD = "/usr/sbin/useradd";
// useradd may wait for the locks of the user database, but not for long.
constexpr std::chrono::seconds USERADD_TIME_LIMIT{60};

blocxx::Process::Command useraddCommand() {
    blocxx::Process::Command command;
    command.argv = {USERADD,        "--system", "--no-create-home", "--home-dir",
                    "/nonexistent", "--shell",  "/usr/sbin/nologin"};
    // With --user-group, useradd fails when a group of that name exists.
    if (getgrnam(Layout::ACCOUNT) != nullptr) {
        command.argv.insert(command.argv.end(), {"--gid", Layout::ACCOUNT});
    } else {
        command.argv.emplace_back("--user-group");
    }
    command.argv.emplace_back(Layout::ACCOUNT);
    command.environment = blocxx::Secure::minimalEnvironment();
    command.timeLimit = USERADD_TIME_LIMIT;
    return command;
}

void createAccount() {
    blocxx::String output;
    const auto status = blocxx::Process::run(useraddCommand(), output);
    if (!status.terminatedSuccessfully()) {
        BLOCXX_THROW(blocxx::Exception,
                     blocxx::Format("cannot create the account \"%1\": %2 %3: %4", Layout::ACCOUNT,
                                    USERADD, status.toString(), output));
    }
}

}  // namespace

blocxx::Process::Identity ensureAccount(blocxx::StringArray& done) {
    if (!blocxx::Secure::lookupAccount(Layout::ACCOUNT)) {
        createAccount();
        done.push_back(blocxx::Format("the account \"%1\" was made", Layout::ACCOUNT));
    }
    return blocxx::Secure::unprivilegedAccount(Layout::ACCOUNT);
}

}  // namespace KovSetup
