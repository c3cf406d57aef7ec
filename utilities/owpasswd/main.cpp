// SPDX-License-Identifier: Apache-2.0
//
// owpasswd: sets and removes the passwords with which users speak to the object manager over HTTP.
#include <unistd.h>

#include <iostream>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/Printable.hpp"
#include "blocxx/Program.hpp"
#include "utilities/owpasswd/PasswordPrompt.hpp"
#include "utilities/owpasswd/PasswordStore.hpp"
#include "utilities/owpasswd/Users.hpp"

namespace {

using blocxx::CmdLineParser;
using blocxx::Format;
using blocxx::Program;
using blocxx::String;
using Credentials::PasswordFile;

enum OptionId { DEST_DIR = Program::FIRST_OWN_OPTION, LIST, REMOVE };

constexpr CmdLineParser::Option OPTIONS[] = {
    Program::HELP_OPTION,
    Program::VERSION_OPTION,
    {DEST_DIR, 0, "dest-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Use the password file below this directory instead of this machine's own."},
    {LIST, 0, "list", CmdLineParser::E_NO_ARG, nullptr, "List the users who have a password."},
    {REMOVE, 0, "remove", CmdLineParser::E_REQUIRED_ARG, nullptr, "Remove this user's password."},
    Program::END_OF_OPTIONS};

void warn(const String& text) {
    std::cerr << "owpasswd: warning: " << blocxx::printable(text) << "\n";
}

void setPassword(const Layout::Tree& tree, const String& user) {
    PasswordFile::requireUserName(user);
    OwPasswd::requireUser(tree, user);
    const String hash = OwPasswd::askForPassword(user);
    OwPasswd::changePasswords(tree, [&](PasswordFile& passwords) { passwords.set(user, hash); });
    if (!OwPasswd::mayConnect(tree, user)) {
        warn(
            Format("no owcimomd.allowed_users names \"%1\", so the object manager lets nobody "
                   "connect with this password",
                   user));
    }
}

void removePassword(const Layout::Tree& tree, const String& user) {
    OwPasswd::changePasswords(tree, [&](PasswordFile& passwords) {
        if (!passwords.remove(user)) {
            BLOCXX_THROW(blocxx::Exception, Format("the user \"%1\" has no password", user));
        }
    });
}

void list(const Layout::Tree& tree) {
    for (const String& user : OwPasswd::readPasswords(tree).users()) {
        std::cout << blocxx::printable(user) << "\n";
    }
}

Layout::Tree treeOf(const CmdLineParser& parser) {
    const String prefix = parser.getOptionValue(DEST_DIR);
    if (parser.isSet(DEST_DIR) && prefix.empty()) {
        BLOCXX_THROW(blocxx::Exception, "--dest-dir needs a directory");
    }
    if (prefix.empty() && ::geteuid() != 0) {
        BLOCXX_THROW(blocxx::Exception,
                     "it must be run as root to work on this machine's passwords (--dest-dir works "
                     "on a tree elsewhere)");
    }
    return Layout::Tree(prefix);
}

void carryOut(const CmdLineParser& parser) {
    const blocxx::StringArray& users = parser.getNonOptionArgs();
    if (users.size() + (parser.isSet(LIST) ? 1 : 0) + (parser.isSet(REMOVE) ? 1 : 0) != 1) {
        BLOCXX_THROW(blocxx::UsageException, "give one user, or --remove or --list alone");
    }
    const Layout::Tree tree = treeOf(parser);
    if (parser.isSet(LIST)) {
        list(tree);
    } else if (parser.isSet(REMOVE)) {
        removePassword(tree, parser.getOptionValue(REMOVE));
    } else {
        setPassword(tree, users.front());
    }
}

int work(const CmdLineParser& parser) {
    blocxx::Interruption::catchSignals();
    try {
        carryOut(parser);
    } catch (const blocxx::InterruptedException&) {
        blocxx::Interruption::endBySignal();
        throw;
    }
    return 0;
}

constexpr Program PROGRAM = {"owpasswd",
                             KOV_VERSION,
                             "[--dest-dir PREFIX] USER | --remove USER | --list",
                             "Sets the password with which a user speaks to the object manager "
                             "over HTTP. Asks\nfor it at the "
                             "terminal, or reads one line from a standard input that is none.",
                             "",
                             OPTIONS,
                             work};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
