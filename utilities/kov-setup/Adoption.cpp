// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/Adoption.hpp"

#include "blocxx/FileSystem.hpp"
#include "utilities/kov-setup/Ownership.hpp"

namespace KovSetup {

namespace Path = blocxx::FileSystem::Path;

namespace {

// The first directories on the way that are not the system's.
constexpr const char* FIRST_OF_CONFIGURATION = "/etc/opt/tarvo";
constexpr const char* FIRST_OF_STATE = "/var/opt/tarvo";

constexpr mode_t PUBLIC_DIRECTORY = 0755;
constexpr mode_t PRIVATE_DIRECTORY = 0700;
constexpr mode_t PRIVATE_FILE = 0600;
constexpr const char* ROOT = "root";
constexpr blocxx::Process::Identity ROOT_IDENTITY{.uid = 0, .gid = 0};

class Adoption {
public:
    explicit Adoption(const blocxx::Process::Identity& account) : m_account(account) {}

    /// Every directory above `path`, beginning with the first that is not the system's: from the
    /// top, since once one belongs to root, nobody else can exchange what is in it.
    void adoptWay(const String& path, const String& firstOwn) {
        for (size_t end = firstOwn.size(); end != String::npos; end = path.find('/', end + 1)) {
            adoptDirectory(path.substr(0, end));
        }
    }

    void adoptFiles(const String& path) {
        for (OwnedFile& file : adoptDirectory(path).files()) {
            adoptFile(file);
        }
    }

    void adoptDropIns(const String& path) {
        OwnedFile directory = adoptDirectory(path);
        directory.letReadNewFiles(m_account, Layout::ACCOUNT, m_done);
        for (OwnedFile& file : directory.files()) {
            adoptFile(file);
            file.letRead(m_account, Layout::ACCOUNT, m_done);
        }
    }

    OwnedFile handOver(const String& path, mode_t mode) {
        OwnedFile directory = OwnedFile::directory(path);
        directory.setOwner(m_account, Layout::ACCOUNT, m_done);
        directory.setMode(mode, m_done);
        return directory;
    }

    void handOverFiles(const OwnedFile& directory) {
        for (OwnedFile& file : directory.files()) {
            file.setOwner(m_account, Layout::ACCOUNT, m_done);
            file.setMode(PRIVATE_FILE, m_done);
        }
    }

    StringArray done() && { return std::move(m_done); }

private:
    OwnedFile adoptDirectory(const String& path) {
        OwnedFile directory = OwnedFile::directory(path);
        directory.setOwner(ROOT_IDENTITY, ROOT, m_done);
        directory.setMode(PUBLIC_DIRECTORY, m_done);
        return directory;
    }

    void adoptFile(OwnedFile& file) {
        file.setOwner(ROOT_IDENTITY, ROOT, m_done);
        file.protect(m_done);
    }

    blocxx::Process::Identity m_account;
    StringArray m_done;
};

}  // namespace

StringArray adoptDirectories(const Layout::Tree& tree, const blocxx::Process::Identity& account) {
    Adoption adoption(account);
    adoption.adoptWay(tree.path(Layout::DROP_IN_DIRECTORY), tree.path(FIRST_OF_CONFIGURATION));
    adoption.adoptFiles(Path::dirname(tree.path(Layout::CONFIG_FILE)));
    adoption.adoptDropIns(tree.path(Layout::DROP_IN_DIRECTORY));
    adoption.adoptFiles(tree.path(Layout::PRIVILEGES_DIRECTORY));
    adoption.adoptFiles(tree.path(Layout::AGENT_PRIVILEGES_DIRECTORY));
    adoption.adoptWay(tree.path(Layout::STATE_DIRECTORY), tree.path(FIRST_OF_STATE));
    adoption.adoptFiles(tree.path(Layout::STATE_DIRECTORY));
    adoption.handOver(tree.path(Layout::DATA_DIRECTORY), PUBLIC_DIRECTORY);
    return std::move(adoption).done();
}

StringArray adoptRepository(const String& directory, const blocxx::Process::Identity& account) {
    Adoption adoption(account);
    adoption.handOverFiles(adoption.handOver(directory, PRIVATE_DIRECTORY));
    return std::move(adoption).done();
}

}  // namespace KovSetup
