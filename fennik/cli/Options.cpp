// SPDX-License-Identifier: Apache-2.0
#include "fennik/cli/Options.hpp"

#include "fennik/common/StandardStreams.hpp"

namespace KOVNS2 {

using Parser = blocxx::CmdLineParser;

namespace {

constexpr Parser::EArgumentType NO_ARG = Parser::E_NO_ARG;
constexpr Parser::EArgumentType ARG = Parser::E_REQUIRED_ARG;

constexpr Parser::Option option(OptionId id, const char* name, Parser::EArgumentType argument,
                                const char* description, char shortName = 0) {
    return {id, shortName, name, argument, nullptr, description};
}

}  // namespace

const Parser::Option g_options[] = {
    option(HELP_OPT, "help", NO_ARG, "Show help about options.", 'h'),
    option(VERSION_OPT, "version", NO_ARG, "Show version information.", 'v'),
    option(NAME_OPT, "name", ARG, "Product name."),
    option(USERNAME_OPT, "username", ARG, "User name."),
    option(REGISTER_OPT, "register", NO_ARG, "Register a product."),
    option(DEREGISTER_OPT, "deregister", NO_ARG, "Deregister a product."),
    option(LIST_REGISTERED_PRODUCTS_OPT, "list-registered-products", NO_ARG,
           "List registered products."),
    option(SET_OWCIMOMD_CONFIG_OPT, "set-owcimomd-config", ARG,
           "Set the product's owcimomd config."),
    option(REMOVE_OWCIMOMD_CONFIG_OPT, "remove-owcimomd-config", NO_ARG,
           "Remove the product's owcimomd config."),
    option(GET_OWCIMOMD_CONFIG_OPT, "get-owcimomd-config", NO_ARG,
           "Get the product's owcimomd config."),
    option(REGISTER_PROVIDERS_OPT, "register-providers", ARG, "Register providers."),
    option(LIST_PROVIDERS_OPT, "list-providers", NO_ARG, "List the product's providers."),
    option(REGISTER_NAMESPACE_OPT, "register-namespace", ARG,
           "Register a namespace for the product."),
    option(DEREGISTER_NAMESPACE_OPT, "deregister-namespace", ARG,
           "Deregister a namespace for the product."),
    option(LIST_NAMESPACES_OPT, "list-namespaces", NO_ARG, "List a product's namespaces."),
    option(DUMP_PRODUCT_STATE_OPT, "dump-product-state", ARG,
           "Output the state of product registration in the specified file.  This is not for use "
           "by anything outside KOV."),
    option(RESTORE_PRODUCT_STATE_OPT, "restore-product-state", ARG,
           "Restore the state of product registration from the specified file.  This is not for "
           "use by anything outside KOV."),
    option(LOG_FILE_OPT, "log-file", ARG, "Write debug log messages to <arg>."),
    option(KOV_BUILD_SYSTEM_DEST_DIR_OPT, "kov-build-system-dest-dir", ARG,
           "Should only be used by the KOV build system."),
    option(RO_USERNAME_OPT, "ro-username", ARG,
           "Give argument user read-only access to the product's configured namespaces."),
    {0, 0, nullptr, Parser::E_NO_ARG, nullptr, nullptr},
};

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
