// SPDX-License-Identifier: Apache-2.0
//
// A repository in a temporary directory, and a small schema for it: associations between people and
// cars, in the namespace "test".
#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "openwbem/repository/OpenRepository.hpp"

namespace KovTest {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

/// A directory that is removed with its content when the object is destroyed.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    String path() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};

/// What the tests of operations work on: a repository opened directly, or a daemon that serves one.
class Subject {
public:
    virtual ~Subject() = default;
    virtual CIMOMHandleIFC& handle() = 0;
    virtual void createNameSpace(const String& ns) = 0;
    virtual StringArray nameSpaces() = 0;
    /// False, and does nothing, if the subject has no such operation.
    virtual bool deleteNameSpace(const String& ns) = 0;
};

/// A new subject of this test program's kind, on an empty repository. Each program defines it.
std::unique_ptr<Subject> makeSubject();

/// A new subject on an empty repository opened directly.
std::unique_ptr<Subject> makeDirectSubject();

/// Everything in these namespaces as text.
String dump(CIMOMHandleIFC& handle, const StringArray& namespaces);
inline String dump(Subject& subject) {
    return dump(subject.handle(), subject.nameSpaces());
}

/// Everything in the repository as text: equal texts mean equal content.
String dump(RepositoryCIMOMHandle& handle);
String dump(const String& directory);

/// Runs `action`. Returns the status of the CIMException that it throws, or 0; `message` gets the
/// text of the exception.
template <class Action>
int statusOf(Action action, String* message = nullptr) {
    try {
        action();
        return 0;
    } catch (const CIMException& e) {
        if (message != nullptr) {
            *message = e.getMessage();
        }
        return e.getErrorCode();
    }
}

// Pieces of the schema.
CIMQualifierType qualifierType(const String& name, CIMDataType type, uint8_t scopes,
                               CIMFlavor flavor = CIMFlavor());
CIMProperty property(const String& name, CIMDataType type, bool key = false);
CIMProperty property(const String& name, const CIMValue& value);
CIMClass makeClass(const String& name, const String& super, CIMPropertyArray properties,
                   CIMQualifierArray qualifiers = {});
CIMQualifier flag(const String& name);

/// Qualifiers, Person <- Student, Car, the association Owns (Owner, Thing), Abstract Root.
void addSchema(CIMOMHandleIFC& handle, const String& ns);
void addSchema(RepositoryCIMOMHandle& handle, const String& ns = "test");
void addSchema(Subject& subject, const String& ns = "test");
CIMInstance person(const String& name, const String& className = "Person");
CIMInstance car(uint32_t number);
/// Creates `count` cars, numbered from 0, each with a note of `noteSize` bytes.
void addCars(CIMOMHandleIFC& handle, const String& ns, uint32_t count, size_t noteSize);
CIMObjectPath personPath(const String& name, const String& className = "Person");
CIMObjectPath carPath(uint32_t number);
CIMInstance owns(const CIMObjectPath& owner, const CIMObjectPath& thing);

/// Tests of operations on a subject with the schema.
class SubjectTest : public ::testing::Test {
protected:
    SubjectTest() : subject(makeSubject()), handle(subject->handle()) { addSchema(*subject); }

    std::unique_ptr<Subject> subject;
    CIMOMHandleIFC& handle;
};

class RepositoryTest : public ::testing::Test {
protected:
    RepositoryTest() { CIMRepository::create(m_directory.path()); }
    /// Opens the repository and adds the schema.
    std::unique_ptr<OpenRepository> openWithSchema();
    String file() const { return m_directory.path() + "/" + CIMRepository::FILE_NAME; }

    TemporaryDirectory m_directory;
};

}  // namespace KovTest
