// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateFormat.hpp"

namespace KOVNS2 {

// To the byte: whoever compares two state files finds the same lines in front.
const char* const StateFormat::HEADER =
    "<?xml version=\"1.0\"?>\n"
    "<!DOCTYPE SavedProductState [\n"
    "<!ELEMENT SavedProductState (Version,SavedProducts)>\n"
    "<!ELEMENT Version (#PCDATA)>\n"
    "<!ELEMENT SavedProducts (Product*)>\n"
    "<!ELEMENT Product "
    "(Name,AllowedUsers,ConfigFile?,NamespaceRegistration?,RegisteredProviders?,ProductInstances?)>"
    "\n"
    "<!ELEMENT Name (#PCDATA)>\n"
    "<!ELEMENT AllowedUsers (UserName+)>\n"
    "<!ELEMENT ConfigFile (#PCDATA)>\n"
    "<!ELEMENT NamespaceRegistration (Namespace+)>\n"
    "<!ELEMENT Namespace (Name,NamespaceACLEntry+)>\n"
    "<!ELEMENT NamespaceACLEntry (UserName,Capability)>\n"
    "<!ELEMENT UserName (#PCDATA)>\n"
    "<!ELEMENT Capability (#PCDATA)>\n"
    "<!ELEMENT RegisteredProviders (OOP1ProviderRegistration*)>\n"
    "<!ELEMENT OOP1ProviderRegistration (ProviderMOFNamespace, ProviderClassname, "
    "ProviderPrivileges, ProviderOOPIPrivileges, ProviderQualifiers, ProviderClasses, "
    "RegistrationInstances, ProviderInstances)>\n"
    "<!ELEMENT ProviderMOFNamespace (#PCDATA)>\n"
    "<!ELEMENT ProviderClassname (#PCDATA)>\n"
    "<!ELEMENT ProviderPrivileges (#PCDATA)>\n"
    "<!ELEMENT ProviderOOPIPrivileges (#PCDATA)>\n"
    "<!ELEMENT ProviderQualifiers (Name*)>\n"
    "<!ELEMENT ProviderClasses (Name*)>\n"
    "<!ELEMENT RegistrationInstances (InstanceMOF*)>\n"
    "<!ELEMENT ProviderInstances (Name*)>\n"
    "<!ELEMENT ProductInstances (NamespaceInstances*)>\n"
    "<!ELEMENT NamespaceInstances (Name,InstanceMOF*)>\n"
    "<!ELEMENT InstanceMOF (#PCDATA)>\n"
    "]>\n";

}  // namespace KOVNS2
