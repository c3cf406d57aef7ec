// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Installation.hpp"

#include <fcntl.h>

#include <array>

#include "blocxx/File.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Secure.hpp"
#include "openwbem/repository/CIMRepository.hpp"
#include "openwbem/repository/RepositoryDirectory.hpp"
#include "utilities/kov-verify/PlacedFile.hpp"
#include "utilities/ownership/Adoption.hpp"

namespace KovVerify {

using blocxx::Format;
using OwUtilities::OwnershipDeviation;

namespace {

constexpr std::string_view TEMPORARY = ".fennik-tmp-";

bool isThere(const String& path) {
    return !PlacedFile(path).isMissing();
}

bool isInRepository(const Context& context, const String& path) {
    return path.starts_with(context.tree.path(Layout::REPOSITORY) + "/");
}

void reportLeftOver(Context& context, const char* place, const char* why) {
    const String path = context.tree.path(place);
    if (isThere(path)) {
        context.findings.add(Format("\"%1\" is left over: %2", path, why),
                             "rm -rf " + Commands::word(path));
    }
}

/// A run was killed between its two renames: the only repository has the backup's name.
bool reportMisplacedRepository(Context& context) {
    const String repository = context.tree.path(Layout::REPOSITORY);
    const String backup = context.tree.path(Layout::REPOSITORY_BACKUP);
    if (isThere(repository) || !isThere(backup)) {
        return false;
    }
    context.findings.add(
        Format("the repository \"%1\" is missing: an interrupted run has left it at \"%2\"",
               repository, backup),
        "mv -T " + Commands::word(backup) + " " + Commands::word(repository));
    return true;
}

/// Whether the header of the repository's file says that there is a log beside it. An empty log
/// beside another file means nothing.
bool hasLog(const String& path) {
    constexpr size_t FORMAT = 18;  // where SQLite keeps it
    constexpr char LOGGED = 2;
    std::array<char, FORMAT + 1> header{};
    blocxx::File file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file.read(header.data(), header.size()) == static_cast<ssize_t>(header.size()) &&
           header[FORMAT] == LOGGED;
}

/// Opening the repository would bring the file back into its plain form: that is a change.
bool reportJournal(Context& context) {
    const String path = context.tree.path(Layout::REPOSITORY);
    const String file = path + "/" + OpenWBEM::CIMRepository::FILE_NAME;
    // The account could put a link into the place of its directory meanwhile.
    const OpenWBEM::RepositoryDirectory directory(path);
    bool found = false;
    for (const char* ending : {"-journal", "-wal"}) {
        const PlacedFile journal(directory.file() + ending);
        const bool isLogged = std::string_view(ending) == "-wal" && hasLog(directory.file());
        if (!journal.isMissing() && (journal.size() > 0 || isLogged)) {
            found = true;
            context.findings.add(
                Format("\"%1\" is left over: a run or the daemon was killed, and the next opening "
                       "of the repository takes it in; products were not looked at",
                       file + ending),
                "fennik " +
                    (context.prefix.empty()
                         ? String()
                         : "--kov-build-system-dest-dir " + Commands::word(context.prefix) + " ") +
                    "--list-registered-products");
        }
    }
    return found;
}

void reportTemporaryFiles(Context& context) {
    const String directory = context.tree.path(Layout::DROP_IN_DIRECTORY);
    for (const String& name : namesIn(directory)) {
        if (name.starts_with(TEMPORARY)) {
            const String path = directory + "/" + name;
            context.findings.add(
                Format("\"%1\" is left over: setting a configuration was interrupted", path),
                PlacedFile(path).removal());
        }
    }
}

/// In front of a command on what is in the account's directories: the account could exchange that
/// meanwhile, and lead root elsewhere.
String asAccount() {
    return Format("setpriv --reuid=%1 --regid=%1 --clear-groups ", Layout::ACCOUNT);
}

/// The daemon must not have the file.
String copyInPlace(const Context& context, const String& path) {
    const String copy = Commands::word(path + ".copy");
    const String as = isInRepository(context, path) ? asAccount() : String();
    String command = as + "cp -aT --remove-destination " + Commands::word(path) + " " + copy +
                     " && " + as + "mv -T " + copy + " " + Commands::word(path);
    if (context.isServed && isInRepository(context, path)) {
        command = Format("%1 stop && %2 && %1 start", Layout::INIT_SCRIPT, command);
    }
    return command;
}

String mendingOf(const Context& context, const OwnershipDeviation& deviation) {
    const String path = Commands::word(deviation.path);
    switch (deviation.kind) {
        case OwnershipDeviation::Kind::NO_DIRECTORY:
            return "mv -T " + path + " " + Commands::word(deviation.path + ".away") + " && " +
                   context.commands.setUp();
        case OwnershipDeviation::Kind::SECOND_NAME:
            return copyInPlace(context, deviation.path);
        case OwnershipDeviation::Kind::TOO_MANY_FILES:
            return asAccount() + "env -C / find " + path +
                   " -mindepth 1 -not -name repository.db -not -name repository.db-journal -not "
                   "-name repository.db-wal -delete";
        default:
            return context.commands.setUp();
    }
}

/// The second names of the repository's files that are among the left-over kept ones go with these.
void forgetKeptFiles(Context& context) {
    if (isThere(context.tree.path(Layout::REPOSITORY_KEPT_FILES))) {
        std::erase_if(context.ownership, [&](const auto& entry) {
            return entry.second.kind == OwnershipDeviation::Kind::SECOND_NAME &&
                   isInRepository(context, entry.first);
        });
    }
}

}  // namespace

void Context::report(const OwnershipDeviation& deviation) {
    findings.add(deviation.text, mendingOf(*this, deviation));
}

void Context::reportOwnership(const String& path) {
    const auto [first, last] = ownership.equal_range(path);
    for (auto it = first; it != last; ++it) {
        report(it->second);
    }
    ownership.erase(first, last);
}

void Context::reportAllOwnership() {
    for (const auto& [path, deviation] : ownership) {
        report(deviation);
    }
    ownership.clear();
}

void lookAtOwnership(Context& context) {
    if (!context.tree.isLive()) {
        return;
    }
    if (!blocxx::Secure::lookupAccount(Layout::ACCOUNT)) {
        context.findings.add(Format("the account \"%1\" does not exist", Layout::ACCOUNT),
                             context.commands.setUp());
        return;
    }
    for (OwnershipDeviation& deviation : OwUtilities::ownershipDeviations(
             context.tree, blocxx::Secure::unprivilegedAccount(Layout::ACCOUNT))) {
        const String path = deviation.path;
        context.ownership.emplace(path, std::move(deviation));
    }
}

void checkConfiguration(Context& context) {
    context.reportAllOwnership();
    const PlacedFile configuration(context.tree.path(Layout::CONFIG_FILE));
    if (configuration.isMissing()) {
        context.findings.add(configuration.problem(), context.commands.setUp());
    }
}

bool checkLeftOvers(Context& context) {
    const bool isMisplaced = reportMisplacedRepository(context);
    if (!isMisplaced) {
        reportLeftOver(context, Layout::REPOSITORY_BACKUP,
                       "removing the previous repository was interrupted");
    }
    reportLeftOver(context, Layout::REPOSITORY_COPY, "a run on a working copy was interrupted");
    reportLeftOver(context, Layout::REPOSITORY_KEPT_FILES,
                   "removing the previous repository was interrupted");
    reportLeftOver(context, Layout::UNFINISHED_REPOSITORY, "a kov-setup was interrupted");
    reportLeftOver(context, Layout::UNFINISHED_PASSWORD_FILE, "an owpasswd was interrupted");
    forgetKeptFiles(context);
    reportTemporaryFiles(context);
    const bool isUnfinished = !context.isServed && reportJournal(context);
    return !isMisplaced && !isUnfinished;
}

}  // namespace KovVerify
