// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a state file: they are restored or refused with an exception of the libraries or the
// tool. A restored state is saved, and the saved file restores the same state. Nothing outside the
// tree is written, and the repository is not changed: it is opened for each document and closed
// without a commit.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "fennik/common/FennikException.hpp"
#include "fennik/state/FNProductState.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace {

namespace fs = std::filesystem;
using blocxx::String;
using KOVNS2::Testing::OpenRepository;
using KOVNS2::Testing::readFile;
using KOVNS2::Testing::StagedTree;
using KOVNS2::Testing::TemporaryDirectory;

[[noreturn]] void find(const char* what, const String& text) {
    std::fprintf(stderr, "%s:\n%s\n", what, text.c_str());
    std::abort();
}

class Machine {
public:
    Machine() : m_repository(readFile(database())) {}

    /// Restores the file. On failure runs the undo list and returns false.
    bool restore(OpenRepository& repository, const fs::path& file) {
        KOVNS2::CleanupActions_t undo;
        try {
            KOVNS2::restoreProductStatesFromFile(repository.handle(), file.string(),
                                                 m_tree.prefix(), undo);
            return true;
        } catch (const KOVNS2::FennikException&) {
            KOVNS2::executeCleanupActions(undo);
            checkNoPrivileges();
            return false;
        }
    }

    /// Saves the state. False when that is not possible: privilege files are read from this
    /// machine, and XML cannot hold every text.
    static bool save(OpenRepository& repository, const fs::path& file) {
        try {
            KOVNS2::saveProductStatesToFile(repository.handle(), file.string());
            return true;
        } catch (const KOVNS2::FennikException&) {
            return false;
        }
    }

    /// Removes the written files, and checks that the repository is unchanged.
    void reset() {
        for (const fs::path& directory : {m_tree.configDirectory(), m_tree.privilegeDirectory(),
                                          m_tree.privilegeDirectory() / "owcimomd"}) {
            for (const auto& entry : fs::directory_iterator(directory)) {
                if (!entry.is_directory()) {
                    fs::remove(entry.path());
                }
            }
        }
        if (readFile(database()) != m_repository) {
            find("the repository has changed", database().string());
        }
    }

    const StagedTree& tree() const { return m_tree; }
    fs::path file(const char* name) const { return m_files.path() / name; }

private:
    fs::path database() const { return m_tree.repositoryDirectory() / "repository.db"; }

    void checkNoPrivileges() const {
        for (const auto& entry : fs::recursive_directory_iterator(m_tree.privilegeDirectory())) {
            if (!entry.is_directory()) {
                find("a privilege file is left", entry.path().string());
            }
        }
    }

    StagedTree m_tree;
    TemporaryDirectory m_files;
    String m_repository;
};

/// One machine for the whole run, because making one takes much longer than a document.
Machine& machine() {
    static Machine instance;
    return instance;
}

/// Restores `from` and saves to `to`. False when either is refused.
bool restoreAndSave(const char* from, const char* to) {
    Machine& m = machine();
    bool saved = false;
    {
        OpenRepository repository(m.tree());
        saved = m.restore(repository, m.file(from)) && Machine::save(repository, m.file(to));
    }
    m.reset();
    return saved;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Drops the progress lines.
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Machine& m = machine();
    KOVNS2::Testing::writeFile(m.file("input"), String(reinterpret_cast<const char*>(data), size));
    if (restoreAndSave("input", "saved")) {
        if (!restoreAndSave("saved", "again")) {
            find("what was saved is not restored", readFile(m.file("saved")));
        }
        if (readFile(m.file("saved")) != readFile(m.file("again"))) {
            find("saved twice is not the same", readFile(m.file("saved")));
        }
    }
    return 0;
}
