// SPDX-License-Identifier: Apache-2.0
//
// The usage text: the option table's rows and how the options go together.
#include "fennik/cli/Options.hpp"
#include "fennik/common/StandardStreams.hpp"

namespace KOVNS2 {

namespace {

constexpr unsigned USAGE_COLUMNS = 80;

constexpr const char* OPTION_DEPENDENCIES =
    R"(Option Dependencies:

 Product Registration:
  --register --name <productName> --username <userName>
  --deregister --name <productName>
  --list-registered-products
    Note: --username can be called more than once, and refers to the ability to connect, not acl
          entries (done in registerNamespace)

 owcimomd configuration:
  --remove-owcimomd-config --name <productName>
  --get-owcimomd-config --name <productName>
  --set-owcimomd-config <cfg_file_path> --name <productName>
    Note: If <cfg_file_path> is "-" the config file is read from stdin.

 Provider Registration:
  --list-providers --name <productName>
  --register-providers <provider_list_path> --name <productName>
    Note: If <provider_file_path> is "-" the provider sources are read from stdin.
    Note: All previous providers that aren't part of the new set will be removed.

 Namespace Registration:
  --register-namespace <namespace> --name <productName> --username <userName> --ro-username <userName>
    Note: <namespace> must begin with <productName>
    Note: --register-namespace can be called more than once
    Note: --username/ro-username can be called more than once

  --deregister-namespace <namespace> --name <productName> --username <userName>
  --list-namespaces --name <productName>
)";

}  // namespace

void Usage() {
    StandardStreams::writeError("Usage: fennik [options]\n\n" +
                                blocxx::CmdLineParser::getUsage(g_options, USAGE_COLUMNS) + "\n" +
                                OPTION_DEPENDENCIES);
}

}  // namespace KOVNS2
