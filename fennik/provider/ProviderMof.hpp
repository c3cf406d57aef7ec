// SPDX-License-Identifier: Apache-2.0
//
// Compiles the two MOF texts of a provider into objects. Writes nothing: the handle only looks up
// what the texts refer to. Every function throws FennikException for the first rule that the text
// breaks; the message names `path`.
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

/// What a provider MOF declares. Everything is empty for an empty text.
struct ProviderMof {
    String nameSpace;
    Array<OpenWBEM::CIMInstance> instances;
    Array<OpenWBEM::CIMClass> classes;
    Array<OpenWBEM::CIMQualifierType> qualifierTypes;
};

/// Compiles a registration MOF and checks that its first instance is a registration instance, which
/// the caller then has to validate with validateRegistrationInstance().
RegistrationMof compileRegistrationMof(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& mof,
                                       const String& path);
/// Checks the instances after the registration instance: none is another registration instance, and
/// associations connect instances of the same text.
void checkInstancesOfRegistration(const Array<OpenWBEM::CIMInstance>& instances,
                                  const String& path);

/// Compiles a provider MOF. `registeredNamespaces` returns the namespaces of the product; it is
/// called only when the text names one.
ProviderMof compileProviderMof(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& mof,
                               const String& path,
                               const std::function<StringArray()>& registeredNamespaces);

}  // namespace KOVNS2
