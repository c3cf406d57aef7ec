// SPDX-License-Identifier: Apache-2.0
//
// The format of the state file, which docs/state-file.md describes: its header and the names of its
// elements. Also the log of this room.
#pragma once

#include "fennik/common/UnitLog.hpp"

namespace KOVNS2::StateFormat {

inline UnitLog log() {
    return UnitLog("");
}

/// The XML declaration and the document type, which declares the elements. Must not change by a
/// byte, so that comparing two state files shows no difference here.
inline constexpr const char* HEADER =
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

/// The version in every file that this tool writes.
inline constexpr const char* WRITER_VERSION = "1.4.0Release.824";

inline constexpr const char* SAVED_PRODUCT_STATE = "SavedProductState";
inline constexpr const char* VERSION = "Version";
inline constexpr const char* SAVED_PRODUCTS = "SavedProducts";
inline constexpr const char* PRODUCT = "Product";
inline constexpr const char* NAME = "Name";
inline constexpr const char* ALLOWED_USERS = "AllowedUsers";
inline constexpr const char* CONFIG_FILE = "ConfigFile";
inline constexpr const char* NAMESPACE_REGISTRATION = "NamespaceRegistration";
inline constexpr const char* NAMESPACE = "Namespace";
inline constexpr const char* NAMESPACE_ACL_ENTRY = "NamespaceACLEntry";
inline constexpr const char* USER_NAME = "UserName";
inline constexpr const char* CAPABILITY = "Capability";
inline constexpr const char* REGISTERED_PROVIDERS = "RegisteredProviders";
inline constexpr const char* OOP1_PROVIDER_REGISTRATION = "OOP1ProviderRegistration";
inline constexpr const char* PROVIDER_MOF_NAMESPACE = "ProviderMOFNamespace";
inline constexpr const char* PROVIDER_CLASSNAME = "ProviderClassname";
inline constexpr const char* PROVIDER_PRIVILEGES = "ProviderPrivileges";
inline constexpr const char* PROVIDER_OOPI_PRIVILEGES = "ProviderOOPIPrivileges";
inline constexpr const char* PROVIDER_QUALIFIERS = "ProviderQualifiers";
inline constexpr const char* PROVIDER_CLASSES = "ProviderClasses";
inline constexpr const char* REGISTRATION_INSTANCES = "RegistrationInstances";
inline constexpr const char* PROVIDER_INSTANCES = "ProviderInstances";
inline constexpr const char* PRODUCT_INSTANCES = "ProductInstances";
inline constexpr const char* NAMESPACE_INSTANCES = "NamespaceInstances";
inline constexpr const char* INSTANCE_MOF = "InstanceMOF";

}  // namespace KOVNS2::StateFormat
