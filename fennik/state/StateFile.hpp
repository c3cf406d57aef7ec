// SPDX-License-Identifier: Apache-2.0
//
// The state file on the disk. For the sources of this room only.
#pragma once

#include "openwbem/xml/XMLNode.hpp"

namespace KOVNS2::StateFile {

/// Creates or truncates the file, with mode 0666 less the umask, and writes the header and the
/// tree. Throws FennikException when that fails; a file that was not there before is then removed
/// again. A document that would be too large to be read again is refused before the file is
/// touched.
void write(const OpenWBEM::XMLNode& root, const blocxx::String& fileName);

/// The whole file. Throws FennikException.
blocxx::String read(const blocxx::String& fileName);

}  // namespace KOVNS2::StateFile
