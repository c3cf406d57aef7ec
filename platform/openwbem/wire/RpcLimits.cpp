// SPDX-License-Identifier: Apache-2.0
#include "openwbem/wire/RpcLimits.hpp"

namespace OpenWBEM::RpcLimits {

const char* const SOCKET_PATH = "/var/opt/tarvo/kov/openwbem/owcimomd.sock";

}  // namespace OpenWBEM::RpcLimits
