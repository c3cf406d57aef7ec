// SPDX-License-Identifier: Apache-2.0
//
// The paths of a provider's privilege files. Only this source turns the identifier of a
// registration, which is untrusted, into a path; that path is always a file in one of the two
// privilege directories. Paths are without prefix, except where noted.
#pragma once

#include "openwbem/model/CIMInstance.hpp"

namespace KOVNS2::PrivilegeFiles {

using blocxx::String;

/// Replaces each character that is special in paths, shells or the privilege language by an
/// underscore.
String safeFileName(const String& text);

/// The base name of a registration's privilege files.
String fileName(const OpenWBEM::CIMInstance& registrationInstance);
/// The file that lets the provider agent start the provider's process.
String oopPrivilegeFile(const OpenWBEM::CIMInstance& registrationInstance);
/// The provider's own privilege file.
String providerPrivilegeFile(const OpenWBEM::CIMInstance& registrationInstance);

/// The privilege file of an interface for scripted providers. Throws FennikException when the path
/// is too long, and with `mustNotExist` when the file exists.
String scriptedInterfacePrivilegeFile(const String& name, bool mustNotExist);

/// Creates the file `path` (with its prefix), which must not exist, with `contents`, and syncs it;
/// syncNames() makes its name durable. Throws IOException with errno as its code; what was written
/// before the failure stays.
void writeFile(const String& path, const String& contents);
/// Syncs both privilege directories below `prefix`. Throws FileSystemException.
void syncNames(const String& prefix);

}  // namespace KOVNS2::PrivilegeFiles
