// SPDX-License-Identifier: Apache-2.0
//
// What an administrator is told when something that belongs to a provider is gone or cannot go: the
// failure as it is, and then the provider, the object and the commands that mend it.
#pragma once

#include "blocxx/FileSystem.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"

namespace KOVNS2 {

using blocxx::String;

/// Each function throws `failure` again, of the same type and code, with the repair behind its
/// text. A failure that is of another kind than the name of the function says is thrown as it is.
class ProviderRepair {
public:
    ProviderRepair(String productName, String instanceID, String destDir);

    /// `substitute` has what the instance needs at least for the provider to be removed.
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
    /// The command with the prefix, where there is one.
    String command(const char* tool, const String& arguments) const;
    String fennik(const String& arguments) const;
    String who() const;
    /// What is left to do when the object is there again.
    String then() const;

    String m_productName;
    String m_instanceID;
    String m_destDir;
};

}  // namespace KOVNS2
