// SPDX-License-Identifier: Apache-2.0
//
// Shared by the tests of providers: a staged tree in which the product "sample" has the namespaces
// "sample" and "sample/two", and the files that a product needs to register providers.
#pragma once

#include <gtest/gtest.h>

#include <map>

#include "fennik/common/FennikException.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2::Testing {

/// Properties of an instance as MOF initializers; an empty one leaves the property out.
using MofProperties = std::map<String, String>;

String instanceMof(const String& className, const MofProperties& properties);
/// A valid registration instance with some properties changed. Its InstanceID is "sample:NAME".
String registrationMof(const String& name, const MofProperties& changed = {});
String processMof(const String& name, const MofProperties& changed = {});
/// A process with capabilities "NAME-caps" and the association between them.
String processWithCapabilitiesMof(const String& name, const MofProperties& changed = {});
/// A provider MOF for the namespace "sample".
String providerMof(const String& content);
/// The class "Sample_NAME" with the key "Id".
String classMof(const String& name);

inline const MofProperties MONITORED{{"UserContext", "4"}};
inline const char* const PRIVILEGES = "unpriv_user { nobody }\n";

/// Calls `operation` and expects an exception of this type, code and message.
template <class Exception = FennikException, class Operation>
void expectFailure(int code, const String& message, Operation operation) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown instead of: " << message;
    } catch (const Exception& e) {
        EXPECT_EQ(e.getErrorCode(), code);
        EXPECT_EQ(e.getMessage(), message);
    }
}

/// Calls `operation`, which must throw. Returns the exception's source file and line.
template <class Operation>
std::pair<String, int> placeOf(Operation operation) {
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FennikException& e) {
        return {e.getFile(), e.getLine()};
    }
    return {};
}

class ProviderFixture : public ::testing::Test {
protected:
    ProviderFixture();

    /// Writes the files of one provider below the prefix; without a privilege text no privilege
    /// file. Returns the provider's line of a list.
    String entry(const String& name, const String& regMof, const String& provMof,
                 const String& privileges = String()) const;
    /// Replaces the product's providers by those of the list. Runs the undo list on failure.
    void registerList(OpenRepository& repository, const String& list,
                      const String& product = "sample");
    void deregisterAll(OpenRepository& repository, const String& product = "sample");
    StringArray listed(OpenRepository& repository, const String& product = "sample") const;

    /// The path of the file that lets the agent start the provider "sample:NAME".
    std::filesystem::path oopFile(const String& name) const;
    /// The path of the own privilege file of the provider "sample:NAME".
    std::filesystem::path ownFile(const String& name) const;
    /// The content of every privilege file, by its path below the privilege directory.
    std::map<String, String> privilegeFiles() const;

    CIMInstance read(OpenRepository& repository, const String& ns, const String& path) const;

    StagedTree m_tree;
    CapturedLog m_log;
    CleanupActions_t m_undo;
};

}  // namespace KOVNS2::Testing
