// SPDX-License-Identifier: Apache-2.0
//
// The schema of an installation: what its MOF files declare in the namespaces that every
// installation has.
#pragma once

#include "openwbem/mof/MOFCompiler.hpp"

namespace KovSetup {

using blocxx::String;

/// Each namespace with the standard qualifier types and its classes, superclasses first.
using Schema = OpenWBEM::Array<OpenWBEM::MOF::NamespaceContent>;

/// Compiles the MOF files in `directory`. Throws blocxx::FileSystemException or
/// MOFCompilerException.
Schema readSchema(const String& directory);

}  // namespace KovSetup
