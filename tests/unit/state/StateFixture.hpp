// SPDX-License-Identifier: Apache-2.0
//
// Saving and restoring in a staged tree, and state files written by hand.
#pragma once

#include <gtest/gtest.h>

#include "fennik/common/FennikException.hpp"
#include "fennik/state/FNProductState.hpp"
#include "openwbem/xml/XMLNode.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2::Testing {

/// "<NAME>content</NAME>", where the content is XML already.
String element(const String& name, const String& content);
/// The same around a text.
String textElement(const String& name, const String& text);
/// A product with these users, and what else is in it.
String productElement(const String& name, const StringArray& users, const String& rest = "");
/// A state with these products.
String document(const String& products);

/// A namespace's registration with "user=capability" entries.
String namespaceElement(const String& ns, const StringArray& entries);
/// A namespace's content.
String contentElement(const String& ns, const String& mof);

/// Adds what that MOF declares.
void load(CIMOMHandleIFC& handle, const String& ns, const String& mof);

/// The header to the letter, ended by the line before the document element.
extern const char* const EXPECTED_HEADER;

class StateFixture : public ::testing::Test {
protected:
    StateFixture();

    std::filesystem::path file() const;
    std::filesystem::path usersFile(const String& product) const;
    std::filesystem::path snippet(const String& product) const;

    void registerOne(OpenRepository& repository, const String& product, const StringArray& users,
                     const StringArray& namespaces = {}, const StringArray& readOnly = {});

    static void load(OpenRepository& repository, const String& ns, const String& mof) {
        Testing::load(*repository.handle(), ns, mof);
    }

    /// Saves to file(); gives back what was printed.
    String save(OpenRepository& repository);
    String save();
    /// What follows the header in file(), which must begin with it.
    String savedBody() const;

    /// Restores file() and runs the undo list on failure; gives back what was printed.
    String restore(OpenRepository& repository);
    String restore(const String& content);
    /// Restores a state in a repository of its own; gives back that repository's content.
    std::map<String, String> restored(const String& content);
    /// Restoring the state fails with that message and code.
    void expectRefused(const String& content, int code, const String& message);

    /// The files below the prefix that are not the infrastructure's own or the state file.
    StringArray newFiles() const;
    /// Expects these debug lines in this order; others may stand between them.
    void expectLogged(const StringArray& lines) const;

    StagedTree m_tree;
    CapturedLog m_log;
    CleanupActions_t m_undo;

private:
    StringArray fileNames() const;

    TemporaryDirectory m_directory;
    StringArray m_filesBefore;
};

/// Calls `operation`, which must throw an exception of that type, and gives that back as text.
template <class Exception, class Operation>
String thrownBy(Operation operation) {
    try {
        operation();
    } catch (const Exception& e) {
        return toString(e);
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

}  // namespace KOVNS2::Testing
