// SPDX-License-Identifier: Apache-2.0
//
// Where the CIMOM handle of a run comes from: a connection to the running daemon, or the repository
// files opened directly. Either comes behind one wrapper that owns what the handle needs; the
// handle must not be used after its wrapper has gone.
#pragma once

#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

using blocxx::String;

class CIMOMHandleWrapperIFC : public blocxx::IntrusiveCountableBase {
public:
    virtual OpenWBEM::CIMOMHandleIFCRef GetHandle() = 0;
    /// Ends the use of the handle. A repository that was opened directly is committed and closed:
    /// throws CIMException when that fails. A wrapper that goes without being closed rolls back.
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
