// SPDX-License-Identifier: Apache-2.0
//
// A working copy of the repository for operations that delete much: they change the copy, and in
// the end it takes the live repository's place. Until then the live repository is not touched. The
// daemon must be stopped while there is a copy; from before the copy is made until all is over, the
// live repository is held, so that nobody else can serve it, read it or change it.
//
// A copy left behind by a killed run is never used and never removed: the next one is refused with
// a message that names it.
#pragma once

#include <optional>

#include "fennik/undo/FNCleanupActions.hpp"
#include "openwbem/repository/OpenRepository.hpp"

namespace KOVNS2 {

class RepositoryCopy {
public:
    /// Copies the repository below `prefix` and opens the copy. Only the machine's own repository
    /// can be worked on like this: with a prefix, opening fails. Throws FennikException or
    /// CIMException; then no copy is left behind.
    explicit RepositoryCopy(const String& prefix);
    /// Removes the copy unless it was swapped in.
    ~RepositoryCopy();
    RepositoryCopy(const RepositoryCopy&) = delete;
    RepositoryCopy& operator=(const RepositoryCopy&) = delete;

    /// The handle on the copy. It must not be used after the copy has gone.
    OpenWBEM::CIMOMHandleIFCRef GetHandle() const noexcept { return m_copy->handle(); }

    /// Commits the copy and makes it the live repository. When it throws, the live repository is as
    /// it was before, to the byte. Nothing interrupts it.
    void SwapInNewRepository();
    /// The copy will not be swapped in. It goes as a whole, so undo steps on what is in it have
    /// nothing left to take back: from now on they do nothing and succeed.
    void GiveUp() noexcept;
    /// Closes the copy, which lets go of it. After a swap there is nothing left that could be lost.
    void CloseRepository();

private:
    void Init();
    void holdLive(const String& command);
    void openCopy();
    void exchange();
    void discard() noexcept;

    std::optional<OpenWBEM::OpenRepository> m_copy;
    std::optional<OpenWBEM::OpenRepository> m_live;  ///< only held
    String m_prefix;
    bool m_initialised = false;  ///< what stands at the copy's place was put there by this run
    bool m_swapped = false;
    CleanupActions_t m_undo;
};

}  // namespace KOVNS2
