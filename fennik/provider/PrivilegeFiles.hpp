// SPDX-License-Identifier: Apache-2.0
//
// Where the privilege files of a provider lie. This is the only place that turns the identifier of
// a registration, which comes from outside, into a path: it always names a file in one of the two
// privilege directories. All paths are those of the installed system.
#pragma once

#include "openwbem/model/CIMInstance.hpp"

namespace KOVNS2::PrivilegeFiles {

using blocxx::String;

/// `text` with an underscore for each character that has a meaning in paths, shells or the
/// privilege language.
String safeFileName(const String& text);

/// The base name of a registration's privilege files.
String fileName(const OpenWBEM::CIMInstance& registrationInstance);
/// The file that lets the provider agent start the provider's process.
String oopPrivilegeFile(const OpenWBEM::CIMInstance& registrationInstance);
/// The provider's own privilege file.
String providerPrivilegeFile(const OpenWBEM::CIMInstance& registrationInstance);

/// The privilege file of an interface for scripted providers. Throws FennikException when the path
/// is too long, and with `mustNotExist` when there is such a file.
String scriptedInterfacePrivilegeFile(const String& name, bool mustNotExist);

/// Creates the file, which must not be there, with these contents, and syncs it. Its name is
/// durable with syncNames(). Throws IOException with errno as its code; what was written until then
/// stays.
void writeFile(const String& path, const String& contents);
/// Makes durable which privilege files there are below `prefix`, all at once. Throws
/// FileSystemException.
void syncNames(const String& prefix);

}  // namespace KOVNS2::PrivilegeFiles
