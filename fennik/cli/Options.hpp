// SPDX-License-Identifier: Apache-2.0
//
// The option table, for parsing, dispatch and the usage text.
#pragma once

#include "blocxx/CmdLineParser.hpp"

namespace KOVNS2 {

enum OptionId {
    HELP_OPT = 0,
    VERSION_OPT = 1,
    NAME_OPT = 2,
    USERNAME_OPT = 3,
    REGISTER_OPT = 4,
    DEREGISTER_OPT = 5,
    LIST_REGISTERED_PRODUCTS_OPT = 6,
    SET_OWCIMOMD_CONFIG_OPT = 7,
    REMOVE_OWCIMOMD_CONFIG_OPT = 8,
    GET_OWCIMOMD_CONFIG_OPT = 9,
    REGISTER_PROVIDERS_OPT = 10,
    LIST_PROVIDERS_OPT = 11,
    REGISTER_NAMESPACE_OPT = 12,
    DEREGISTER_NAMESPACE_OPT = 13,
    LIST_NAMESPACES_OPT = 14,
    LOG_FILE_OPT = 15,
    KOV_BUILD_SYSTEM_DEST_DIR_OPT = 16,
    DUMP_PRODUCT_STATE_OPT = 17,
    RESTORE_PRODUCT_STATE_OPT = 18,
    RO_USERNAME_OPT = 19
};

/// In the order of the usage text; an all-zero row ends it.
extern const blocxx::CmdLineParser::Option g_options[];

/// Writes the usage text to standard error.
void Usage();

}  // namespace KOVNS2
