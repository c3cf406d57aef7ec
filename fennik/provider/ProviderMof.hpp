// SPDX-License-Identifier: Apache-2.0
//
// The two MOF texts of a provider, compiled into objects. Nothing is written: the handle is only
// asked for what the texts refer to. Every function throws FennikException for the first rule that
// the text breaks; the message names `path`.
#pragma once

#include <functional>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMOMHandleIFC.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace KOVNS2 {

using blocxx::Array;
using blocxx::String;
using blocxx::StringArray;

/// What a registration MOF declares.
struct RegistrationMof {
    Array<OpenWBEM::CIMInstance> instances;
    Array<OpenWBEM::CIMClass> classes;
    Array<OpenWBEM::CIMQualifierType> qualifierTypes;
    OpenWBEM::CIMInstance registrationInstance;  ///< the first of `instances`
};

/// What a provider MOF declares; nothing when the text is empty.
struct ProviderMof {
    String nameSpace;
    Array<OpenWBEM::CIMInstance> instances;
    Array<OpenWBEM::CIMClass> classes;
    Array<OpenWBEM::CIMQualifierType> qualifierTypes;
};

/// Compiles a registration MOF. Its registration instance leads, and has still to be held against
/// the rules for registration instances.
RegistrationMof compileRegistrationMof(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& mof,
                                       const String& path);
/// Checks what stands behind the registration instance.
void checkInstancesOfRegistration(const Array<OpenWBEM::CIMInstance>& instances,
                                  const String& path);

/// Compiles a provider MOF. `registeredNamespaces` is asked for the namespaces of the product once
/// the text has named one.
ProviderMof compileProviderMof(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& mof,
                               const String& path,
                               const std::function<StringArray()>& registeredNamespaces);

}  // namespace KOVNS2
