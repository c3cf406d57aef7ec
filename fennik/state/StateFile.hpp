// SPDX-License-Identifier: Apache-2.0
//
// Reads and writes the state file. Internal to this room.
#pragma once

#include "openwbem/xml/XMLNode.hpp"

namespace KOVNS2::StateFile {

/// Creates the file, with mode 0666 less the umask, or truncates it, and writes the header and the
/// tree. Throws FennikException: for a document too large to be read again, before the file is
/// touched; on any other failure, after removing the file if it did not exist before.
void write(const OpenWBEM::XMLNode& root, const blocxx::String& fileName);

/// The content of the file. Throws FennikException.
blocxx::String read(const blocxx::String& fileName);

}  // namespace KOVNS2::StateFile
