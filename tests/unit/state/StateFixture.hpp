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

/// "<NAME>content</NAME>"; `content` is XML.
String element(const String& name, const String& content);
/// "<NAME>text</NAME>" with `text` escaped.
String textElement(const String& name, const String& text);
/// A Product element with these users; `rest` is more XML in it.
String productElement(const String& name, const StringArray& users, const String& rest = "");
/// A state file; `products` are Product elements.
String document(const String& products);

/// The registration of a namespace. The entries are "user=capability".
String namespaceElement(const String& ns, const StringArray& entries);
/// The content of a namespace.
String contentElement(const String& ns, const String& mof);

/// Adds what the MOF declares to the namespace.
void load(CIMOMHandleIFC& handle, const String& ns, const String& mof);

/// The expected text of a saved file before the document element.
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

    /// Saves to file(). Returns what was printed.
    String save(OpenRepository& repository);
    String save();
    /// The content of file() after the header, which it must begin with.
    String savedBody() const;

    /// Restores file(), and runs the undo list on failure. Returns what was printed.
    String restore(OpenRepository& repository);
    String restore(const String& content);
    /// Restores a state into a new repository. Returns that repository's content.
    std::map<String, String> restored(const String& content);
    /// Expects that restoring `content` fails with this code and message.
    void expectRefused(const String& content, int code, const String& message);

    /// The files that have been added below the prefix since the test began.
    StringArray newFiles() const;
    /// Expects these debug lines in this order; other lines may be between them.
    void expectLogged(const StringArray& lines) const;

    StagedTree m_tree;
    CapturedLog m_log;
    CleanupActions_t m_undo;

private:
    StringArray fileNames() const;

    TemporaryDirectory m_directory;
    StringArray m_filesBefore;
};

/// Calls `operation`, which must throw an exception of this type. Returns the exception as text.
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
