// SPDX-License-Identifier: Apache-2.0
//
// A staged tree in a temporary directory with a repository as a new installation has it, for tests
// of the tool's operations; and the comparison of whole states.
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

    /// Every file and directory with its type, mode and content. To be asked for while no
    /// repository is open: its journal is a file, too.
    std::map<String, String> files() const;

private:
    const std::filesystem::path& root() const { return m_directory.path(); }

    TemporaryDirectory m_directory;
};

/// The tree's repository, opened directly, with a handle that can be made to fail. What is not
/// committed is gone when it is.
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
