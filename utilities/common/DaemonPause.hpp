// SPDX-License-Identifier: Apache-2.0
//
// Work on this machine's own repository that the daemon cannot do: it is stopped through its init
// script meanwhile, and no run of fennik gets in between.
#pragma once

#include <functional>

#include "blocxx/Exception.hpp"
#include "blocxx/File.hpp"
#include "blocxx/String.hpp"

namespace OwUtilities {

using blocxx::String;

BLOCXX_DECLARE_EXCEPTION(DaemonControl)

/// The lock of fennik below `prefix`, held until the file is closed. Throws DaemonControlException
/// when it cannot be had at once.
blocxx::File takeRunLock(const String& prefix);

/// Calls `work` while the daemon is stopped and starts it again, whatever `work` threw. Signals
/// that would end the process wait until then. Throws DaemonControlException when the daemon cannot
/// be stopped, and then nothing was done, or not be started again.
void withDaemonStopped(const std::function<void()>& work);

}  // namespace OwUtilities
