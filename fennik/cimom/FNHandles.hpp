// SPDX-License-Identifier: Apache-2.0
//
// Opens the CIMOM handle of a run: a connection to the running daemon, or the repository opened
// directly. A wrapper owns what the handle needs and must outlive every use of the handle.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

using blocxx::String;

class CIMOMHandleWrapperIFC : public blocxx::IntrusiveCountableBase {
public:
    virtual OpenWBEM::CIMOMHandleIFCRef GetHandle() = 0;
    /// Commits and closes a repository that was opened directly; throws CIMException when that
    /// fails. Destroying the wrapper without Close() rolls back. No effect on a connection.
    virtual void Close() = 0;
};
using CIMOMHandleWrapperRef = blocxx::IntrusiveReference<CIMOMHandleWrapperIFC>;

/// A connection to the running daemon.
CIMOMHandleWrapperRef GetClientHandle();
/// The repository below `prefix`, opened directly. It must not be open in a running daemon.
CIMOMHandleWrapperRef GetRepositoryHandle(const String& prefix);
/// A connection to the daemon when it runs, otherwise the installed system's repository.
CIMOMHandleWrapperRef GetCIMOMHandle();

}  // namespace KOVNS2
