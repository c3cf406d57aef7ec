// SPDX-License-Identifier: Apache-2.0
//
// Adds repair instructions to failures caused by an object of a provider that is missing or cannot
// be removed: the provider, the object and the commands that repair it.
#pragma once

#include "blocxx/FileSystem.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

using blocxx::String;

/// Each function throws `failure` again, with the same type and code, and the instructions after
/// its text. A failure with a code that does not fit the function's name is thrown unchanged.
class ProviderRepair {
public:
    ProviderRepair(String productName, String instanceID, String destDir);

    /// `substitute` is a minimal instance with which the provider can be removed.
    [[noreturn]] void throwMissingInstance(const OpenWBEM::CIMException& failure, const String& ns,
                                           const OpenWBEM::CIMInstance& substitute) const;
    /// `kind` is "class" or "qualifier type".
    [[noreturn]] void throwMissingSchema(const OpenWBEM::CIMException& failure, const String& ns,
                                         const char* kind, const String& name) const;
    [[noreturn]] void throwMissingFile(const blocxx::FileSystemException& failure,
                                       const String& path) const;
    [[noreturn]] void throwClassInUse(const OpenWBEM::CIMException& failure,
                                      OpenWBEM::CIMOMHandleIFC& handle, const String& ns,
                                      const String& className) const;
    [[noreturn]] void throwQualifierTypeInUse(const OpenWBEM::CIMException& failure,
                                              const String& ns, const String& name) const;

private:
    [[noreturn]] void throwMissingNamespace(const OpenWBEM::CIMException& failure,
                                            const String& ns) const;
    /// The command line, with --dest-dir when there is a prefix.
    String command(const char* tool, const String& arguments) const;
    String fennik(const String& arguments) const;
    String who() const;
    /// The last instruction, for when the object exists again.
    String then() const;

    String m_productName;
    String m_instanceID;
    String m_destDir;
};

}  // namespace KOVNS2
