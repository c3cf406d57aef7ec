// SPDX-License-Identifier: Apache-2.0
//
// From the text of a provider registration list to registration records.
#include "blocxx/FileSystem.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/StartPrivileges.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;

namespace {

[[noreturn]] void refuse(const String& message, CallSite place = CallSite::here()) {
    throw FennikException(place, message, INVALID_INPUT);
}

/// The fields of a line; the third path is empty when the line has none.
StringArray splitEntry(const String& line) {
    constexpr size_t WITHOUT_PRIVILEGES = 3;
    constexpr size_t WITH_PRIVILEGES = 4;
    StringArray fields = blocxx::tokenize(line, ",");
    if (fields.empty()) {
        refuse("Empty line in provider registration list");
    }
    if (fields.front() != "oop1") {
        refuse(Format("Invalid provider type: %1", fields.front()));
    }
    if (fields.size() == WITHOUT_PRIVILEGES) {
        fields.emplace_back();
    }
    if (fields.size() != WITH_PRIVILEGES) {
        refuse(Format("Invalid number of fields in oop1 provider registration entry: %1", line));
    }
    return fields;
}

String load(const char* what, const String& path) {
    log().debug("Loading %1 from %2", what, path);
    return blocxx::FileSystem::getFileContents(path);
}

}  // namespace

Array<ProviderRegistrationRef> ProviderRegistrationFacility::parseInputData(const String& list) {
    log().debug("Parsing input data...");
    Array<ProviderRegistrationRef> registrations;
    for (const String& line : blocxx::tokenize(list, "\n")) {
        log().debug("Parsing line %1", line);
        const StringArray fields = splitEntry(line);
        registrations.push_back(createOOP1ProviderRegistration(fields[1], fields[2], fields[3]));
    }
    return registrations;
}

ProviderRegistrationRef ProviderRegistrationFacility::createOOP1ProviderRegistration(
    const String& regMofPath, const String& providerMofPath, const String& privilegeFilePath) {
    log().debug(
        "Creating oop registration.  Reg mof path=\"%1\"  provider mof=\"%2\"  privilege "
        "file=\"%3\"",
        regMofPath, providerMofPath, privilegeFilePath);
    const String regMofFile = m_destDir + "/" + regMofPath;
    const String providerMofFile = m_destDir + "/" + providerMofPath;
    const String privilegeFile = m_destDir + "/" + privilegeFilePath;

    const String regMof = load("registration mof", regMofFile);
    const String providerMof = load("provider mof", providerMofFile);
    const String privileges =
        privilegeFilePath.empty() ? String() : load("privileges", privilegeFile);
    return createOOP1ProviderRegistrationFromString(regMof, providerMof, privileges, String(),
                                                    regMofFile, privilegeFile, providerMofFile);
}

// A list's entry arrives with the privilege file as path2 and the provider MOF as path3, so that
// messages about the one name the other: administrators know them like that.
ProviderRegistrationRef ProviderRegistrationFacility::createOOP1ProviderRegistrationFromString(
    const String& regMof, const String& providerMof, const String& privileges,
    const String& oopPrivileges, const String& path1, const String& path2, const String& path3) {
    const bool monitored = !privileges.empty();
    RegistrationMof registration =
        buildInstancesForOOPRegistration(regMof, path1, monitored ? E_MONITORED : E_NOT_MONITORED);
    ProviderMof provider = buildInstancesForOOPProvider(providerMof, path2);
    verifyPrivilegesContent(privileges, path3);
    String startPrivileges =
        oopPrivileges.empty()
            ? StartPrivileges::generate(registration.registrationInstance, monitored)
            : oopPrivileges;
    return new OOP1ProviderRegistration(
        {std::move(registration.instances), std::move(provider.nameSpace),
         std::move(provider.instances), std::move(provider.classes),
         std::move(provider.qualifierTypes), privileges, std::move(startPrivileges)});
}

}  // namespace KOVNS2
