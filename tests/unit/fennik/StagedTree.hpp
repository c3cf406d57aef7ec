// SPDX-License-Identifier: Apache-2.0
//
// A staged tree in a temporary directory, with the repository of a new installation, and the whole
// state of it for comparison. For tests of the tool's operations.
#pragma once

#include <map>

#include "tests/unit/fennik/FaultyHandle.hpp"
#include "tests/unit/fennik/TemporaryDirectory.hpp"

namespace KOVNS2::Testing {

class StagedTree {
public:
    StagedTree();

    String prefix() const { return root().string(); }
    std::filesystem::path repositoryDirectory() const;
    std::filesystem::path configDirectory() const;
    std::filesystem::path privilegeDirectory() const;
    std::filesystem::path qualifiersFile() const;

    /// Type, mode and content of every file and directory below the prefix, by path. Call it while
    /// no repository is open: the journal is a file, too.
    std::map<String, String> files() const;

private:
    const std::filesystem::path& root() const { return m_directory.path(); }

    TemporaryDirectory m_directory;
};

/// The tree's repository, opened directly, with a handle that can be made to fail. Destroying it
/// drops uncommitted changes.
class OpenRepository {
public:
    explicit OpenRepository(const StagedTree& tree);

    FaultyHandle& faults() { return *m_handle; }
    CIMOMHandleIFCRef handle() const { return m_handle; }
    CIMRepository& repository() { return m_opened.repository(); }

    /// Everything in the repository as this handle sees it: "namespace: object as MOF", sorted.
    std::map<String, String> content();

private:
    OpenWBEM::OpenRepository m_opened;
    blocxx::IntrusiveReference<FaultyHandle> m_handle;
};

}  // namespace KOVNS2::Testing
