// SPDX-License-Identifier: Apache-2.0
//
// A working copy of the repository, for operations that delete much. They change the copy, which
// replaces the live repository at the end; until then the live repository is untouched. The daemon
// must be stopped meanwhile, and a lock keeps everybody else from the live repository for as long
// as this object lives.
//
// A copy that a killed run left behind is neither used nor removed. The next run is refused with a
// message that names it.
#pragma once

#include <optional>

#include "fennik/undo/FNCleanupActions.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace KOVNS2 {

class RepositoryCopy {
public:
    /// Copies the repository below `prefix` and opens the copy. Works on the machine's own
    /// repository only: a prefix that is not empty always fails. Throws FennikException or
    /// CIMException, and then removes the copy.
    explicit RepositoryCopy(const String& prefix);
    /// Removes the copy unless it was swapped in.
    ~RepositoryCopy();
    RepositoryCopy(const RepositoryCopy&) = delete;
    RepositoryCopy& operator=(const RepositoryCopy&) = delete;

    /// The handle on the copy. Valid for the life of this object.
    OpenWBEM::CIMOMHandleIFCRef GetHandle() const noexcept { return m_copy->handle(); }

    /// Commits the copy and makes it the live repository. Signals are deferred meanwhile. Throws
    /// FennikException or CIMException; then the live repository is what it was before.
    void SwapInNewRepository();
    /// Abandons the copy: it is deleted as a whole, so from now on writes to it, undo steps among
    /// them, do nothing and succeed.
    void GiveUp() noexcept;
    /// Closes the copy and releases its lock. After a swap everything is committed already.
    void CloseRepository();

private:
    void Init();
    void lockLiveRepository(const String& command);
    void openCopy();
    void exchange();
    void discard() noexcept;

    std::optional<OpenWBEM::OpenRepository> m_copy;
    std::optional<OpenWBEM::OpenRepository> m_live;  ///< holds the lock
    String m_prefix;
    bool m_initialised = false;  ///< this run made what is at the copy's path
    bool m_swapped = false;
    CleanupActions_t m_undo;
};

}  // namespace KOVNS2
