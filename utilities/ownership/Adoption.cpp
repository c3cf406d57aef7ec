// SPDX-License-Identifier: Apache-2.0
#include "utilities/ownership/Adoption.hpp"

#include "blocxx/FileSystem.hpp"

namespace OwUtilities {

namespace Path = blocxx::FileSystem::Path;

namespace {

// The first directories on the way that are not the system's.
constexpr const char* FIRST_OF_CONFIGURATION = "/etc/opt/tarvo";
constexpr const char* FIRST_OF_STATE = "/var/opt/tarvo";

constexpr mode_t PUBLIC_DIRECTORY = 0755;
constexpr mode_t PRIVATE_DIRECTORY = 0700;
constexpr mode_t PRIVATE_FILE = 0600;
/// The account may put as many files as it likes beside those of the repository, which are three.
constexpr size_t MOST_FILES_OF_REPOSITORY = 1000;
constexpr const char* ROOT = "root";
constexpr blocxx::Process::Identity ROOT_IDENTITY{.uid = 0, .gid = 0};

class Adoption {
public:
    Adoption(const blocxx::Process::Identity& account, Adjustment& adjustment)
        : m_account(account), m_adjustment(adjustment) {}

    void adoptConfiguration(const Layout::Tree& tree) {
        adoptWay(tree.path(Layout::DROP_IN_DIRECTORY), tree.path(FIRST_OF_CONFIGURATION));
        adoptConfigurationFiles(tree);
        adoptDropIns(tree.path(Layout::DROP_IN_DIRECTORY));
        adoptFiles(tree.path(Layout::PRIVILEGES_DIRECTORY));
        adoptFiles(tree.path(Layout::AGENT_PRIVILEGES_DIRECTORY));
    }

    void adoptState(const Layout::Tree& tree) {
        adoptWay(tree.path(Layout::STATE_DIRECTORY), tree.path(FIRST_OF_STATE));
        adoptFiles(tree.path(Layout::STATE_DIRECTORY));
        handOver(tree.path(Layout::DATA_DIRECTORY), PUBLIC_DIRECTORY);
    }

    void handOverRepository(const String& path) {
        const auto giveToAccount = [&](OwnedFile& file) {
            file.setOwner(m_account, Layout::ACCOUNT, m_adjustment);
            file.setMode(PRIVATE_FILE, m_adjustment);
        };
        if (const auto directory = handOver(path, PRIVATE_DIRECTORY)) {
            directory->eachFile(giveToAccount, m_adjustment, MOST_FILES_OF_REPOSITORY);
        }
    }

    void adoptPasswordFile(OwnedFile& file) {
        adoptFile(file);
        file.letReadAlone(m_account, Layout::ACCOUNT, m_adjustment);
    }

private:
    void adoptConfigurationFiles(const Layout::Tree& tree) {
        const String passwords = tree.path(Layout::PASSWORD_FILE);
        eachFile(adoptDirectory(Path::dirname(passwords)), [&](OwnedFile& file) {
            file.path() == passwords ? adoptPasswordFile(file) : adoptFile(file);
        });
    }

    /// Every directory above `path`, beginning with the first that is not the system's: from the
    /// top, since once one belongs to root, nobody else can exchange what is in it.
    void adoptWay(const String& path, const String& firstOwn) {
        for (size_t end = firstOwn.size(); end != String::npos; end = path.find('/', end + 1)) {
            adoptDirectory(path.substr(0, end));
        }
    }

    void adoptFiles(const String& path) {
        eachFile(adoptDirectory(path), [&](OwnedFile& file) { adoptFile(file); });
    }

    void adoptDropIns(const String& path) {
        auto directory = adoptDirectory(path);
        if (directory) {
            directory->letReadNewFiles(m_account, Layout::ACCOUNT, m_adjustment);
        }
        eachFile(directory, [&](OwnedFile& file) {
            adoptFile(file);
            file.letRead(m_account, Layout::ACCOUNT, m_adjustment);
        });
    }

    std::optional<OwnedFile> handOver(const String& path, mode_t mode) {
        return adopt(path, m_account, Layout::ACCOUNT, mode);
    }

    std::optional<OwnedFile> adoptDirectory(const String& path) {
        return adopt(path, ROOT_IDENTITY, ROOT, PUBLIC_DIRECTORY);
    }

    std::optional<OwnedFile> adopt(const String& path, const blocxx::Process::Identity& owner,
                                   const char* name, mode_t mode) {
        auto directory = OwnedFile::directory(path, m_adjustment);
        if (directory) {
            directory->setOwner(owner, name, m_adjustment);
            directory->setMode(mode, m_adjustment);
        }
        return directory;
    }

    void eachFile(const std::optional<OwnedFile>& directory,
                  const std::function<void(OwnedFile&)>& action) {
        if (directory) {
            directory->eachFile(action, m_adjustment);
        }
    }

    void adoptFile(OwnedFile& file) {
        file.setOwner(ROOT_IDENTITY, ROOT, m_adjustment);
        file.protect(m_adjustment);
    }

    blocxx::Process::Identity m_account;
    Adjustment& m_adjustment;
};

}  // namespace

StringArray adoptDirectories(const Layout::Tree& tree, const blocxx::Process::Identity& account) {
    Adjustment adjustment(Adjustment::Purpose::PUT_RIGHT);
    Adoption adoption(account, adjustment);
    adoption.adoptConfiguration(tree);
    adoption.adoptState(tree);
    return std::move(adjustment.changes());
}

StringArray adoptRepository(const String& directory, const blocxx::Process::Identity& account) {
    Adjustment adjustment(Adjustment::Purpose::PUT_RIGHT);
    Adoption(account, adjustment).handOverRepository(directory);
    return std::move(adjustment.changes());
}

void adoptPasswordFile(const String& path, const blocxx::File& file,
                       const blocxx::Process::Identity& account) {
    Adjustment adjustment(Adjustment::Purpose::PUT_RIGHT);
    OwnedFile owned(path, file);
    Adoption(account, adjustment).adoptPasswordFile(owned);
}

std::vector<OwnershipDeviation> ownershipDeviations(const Layout::Tree& tree,
                                                    const blocxx::Process::Identity& account) {
    Adjustment adjustment(Adjustment::Purpose::LOOK);
    Adoption adoption(account, adjustment);
    adoption.adoptConfiguration(tree);
    adoption.adoptState(tree);
    adoption.handOverRepository(tree.path(Layout::REPOSITORY));
    return std::move(adjustment.deviations());
}

}  // namespace OwUtilities
