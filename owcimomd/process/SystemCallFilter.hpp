// SPDX-License-Identifier: Apache-2.0
//
// seccomp: which system calls this process may make.
//
// The filter names what is refused and lets everything else through. A list of what is allowed
// would be shorter to attack, but it would have to know what the modules do that look users up in
// the administrator's directory service, and a daemon that no longer knows its users is of no use.
#pragma once

namespace OwCimomd {

/// From now on this process and its children can start no program, change no user, namespace, mount
/// or clock, look into no other process, load nothing into the kernel, and open no sockets but
/// those of the local machine and of IP. Such a call fails with EPERM (a socket with EAFNOSUPPORT,
/// clone3 with ENOSYS, after which the C library uses clone). A call of another architecture kills
/// the process. Returns 0, or an errno; then there is no filter.
int filterSystemCalls() noexcept;

}  // namespace OwCimomd
