// SPDX-License-Identifier: Apache-2.0
//
// The undo list, and what its steps on CIM objects and namespaces do and log.
#include "fennik/undo/FNCleanupActions.hpp"

#include <gtest/gtest.h>

#include "fennik/namespace/NamespaceUtils.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/fennik/CapturedLog.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace KOVNS2::Testing {
namespace {

TEST(UndoList, EmptyListDoesNothing) {
    CleanupActions_t list;
    executeCleanupActions(list);
    EXPECT_TRUE(list.empty());
}

TEST(UndoList, RunsFromTheLastToTheFirstAndKeepsTheList) {
    String order;
    CleanupActions_t list;
    for (const char step : {'A', 'B', 'C'}) {
        list.push_back([&order, step] { order += step; });
    }
    executeCleanupActions(list);
    EXPECT_EQ(order, "CBA");
    EXPECT_EQ(list.size(), 3U);
}

TEST(UndoList, ExceptionOfAStepReachesTheCaller) {
    CleanupActions_t list;
    list.push_back([] { throw 7; });
    EXPECT_THROW(executeCleanupActions(list), int);
}

TEST(UndoList, UndoOnFailureRunsTheListAndLetsTheSameExceptionGoOn) {
    bool undone = false;
    CleanupActions_t list;
    EXPECT_THROW(undoOnFailure(list,
                               [&] {
                                   list.push_back([&] { undone = true; });
                                   throw 7;
                               }),
                 int);
    EXPECT_TRUE(undone);
}

TEST(UndoList, UndoOnFailureLeavesTheListUnrunOnSuccess) {
    bool undone = false;
    CleanupActions_t list;
    undoOnFailure(list, [&] { list.push_back([&] { undone = true; }); });
    EXPECT_FALSE(undone);
}

TEST(UndoStep, OtherExceptionsThanOursPass) {
    EXPECT_THROW(runUndoStep([] { throw std::bad_alloc(); }, [] { return String(); }, ""),
                 std::bad_alloc);
}

class UndoSteps : public ::testing::Test {
protected:
    UndoSteps() {
        m_acl = m_repository.handle()->getClass("root/security", "OpenWBEM_UserACL").newInstance();
        m_acl.setProperty("nspace", CIMValue("kov"));
        m_acl.setProperty("username", CIMValue("alice"));
        m_path = CIMObjectPath("root/security", m_acl);
        m_qualifier = m_repository.handle()->getQualifierType("kov", "Key");
        m_class = m_repository.handle()->getClass("kov", "KOV_Product");
    }

    FaultyHandle& handle() { return m_repository.faults(); }

    /// The one error that `step` logs when this operation of the handle fails.
    String failureOf(const char* operation, const std::function<void()>& step) {
        handle().failOperation(operation);
        m_log.clear();
        step();
        EXPECT_TRUE(handle().hasFailed());
        EXPECT_EQ(m_log.errors().size(), 1U);
        return m_log.errors().empty() ? String() : m_log.errors().front();
    }

    const String m_head =
        "The operation failed, and restoration to the previous state has also failed.\n";
    const String m_error =
        " failed with error:\nCIMException: 1: failed: injected fault\nOnce the cause of the error "
        "has "
        "been "
        "resolved, to restore KOV to a valid state you should\n";

    StagedTree m_tree;
    OpenRepository m_repository{m_tree};
    CapturedLog m_log;
    CIMInstance m_acl;
    CIMObjectPath m_path;
    CIMQualifierType m_qualifier;
    CIMClass m_class;
};

TEST_F(UndoSteps, ModifyInstanceSaysWhatToModify) {
    EXPECT_EQ(
        failureOf("modifyInstance", [&] { modifyInstance(handle(), "root/security", m_acl); }),
        m_head + "The attempt to modify the instance:\n" + MOF::toMOF(m_acl) +
            "\n in namespace root/security" + m_error +
            "modify the instance accordingly. The owmofc utility can be used.\n");
}

TEST_F(UndoSteps, DeleteInstanceKeepsItsMisspelling) {
    EXPECT_EQ(
        failureOf("deleteInstance", [&] { deleteInstance(handle(), "root/security", m_path); }),
        m_head +
            "The attempt to delete the instance:\n"
            "root/security:OpenWBEM_UserACL.nspace=\"kov\",username=\"alice\"\n"
            "in namspace root/security" +
            m_error + "delete the instance. The owdeleteinstance utility can be used.\n");
}

TEST_F(UndoSteps, DeleteClassNamesNamespaceAndClass) {
    EXPECT_EQ(failureOf("deleteClass", [&] { deleteClass(handle(), "kov", "KOV_Product"); }),
              m_head + "The attempt to delete the class kov:KOV_Product" + m_error +
                  "delete the class. The owmofc utility can be used.\n");
}

TEST_F(UndoSteps, DeleteQualifierTypeNamesNamespaceAndQualifier) {
    EXPECT_EQ(
        failureOf("deleteQualifierType", [&] { deleteQualifierType(handle(), "kov", "Key"); }),
        m_head + "The attempt to delete the qualifier type kov:Key" + m_error +
            "delete the qualifier type. The owmofc utility can be used.\n");
}

TEST_F(UndoSteps, SetQualifierTypeShowsTheQualifierType) {
    EXPECT_EQ(
        failureOf("setQualifierType", [&] { setQualifierType(handle(), "kov", m_qualifier); }),
        m_head + "The attempt to set the qualifier type kov:" + MOF::toMOF(m_qualifier) + m_error +
            "set the qualifier type. The owmofc utility can be used.\n");
}

TEST_F(UndoSteps, CreateClassShowsTheClass) {
    EXPECT_EQ(failureOf("createClass", [&] { createClass(handle(), "kov", m_class); }),
              m_head + "The attempt to create the class:\n" + MOF::toMOF(m_class) +
                  "\n in namespace kov" + m_error +
                  "create the class. The owmofc utility can be used.\n");
}

TEST_F(UndoSteps, CreateInstanceShowsTheInstance) {
    EXPECT_EQ(
        failureOf("createInstance", [&] { createInstance(handle(), "root/security", m_acl); }),
        m_head + "The attempt to create the instance:\n" + MOF::toMOF(m_acl) +
            "\n in namespace root/security" + m_error +
            "create the instance. The owmofc utility can be used.\n");
}

/// Cuts off the source file and line that the message of a namespace failure has.
String withoutPlaces(const String& text) {
    const size_t begin = text.find("failed with error:\n") + sizeof "failed with error:";
    return text.substr(0, begin) + text.substr(text.find("NamespaceUtilsException", begin));
}

TEST_F(UndoSteps, DeleteNamespaceNamesTheNamespace) {
    const NamespaceUtilsRef namespaces = GetNSUtils(m_repository.handle());
    EXPECT_EQ(
        withoutPlaces(failureOf("deleteNameSpace", [&] { deleteNamespace(namespaces, "kov"); })),
        m_head +
            "The attempt to delete the namespace: kov failed with error:\n"
            "NamespaceUtilsException: Unable to delete the Namespace: CIMException: 1: failed: "
            "injected "
            "fault\nOnce the cause of the error has been resolved, to restore KOV to a valid state "
            "you should\ndelete the namespace. The owdeletenamespace utility can be used.\n");
}

TEST_F(UndoSteps, CreateNamespaceNamesTheNamespace) {
    const NamespaceUtilsRef namespaces = GetNSUtils(m_repository.handle());
    EXPECT_EQ(
        withoutPlaces(failureOf("createNameSpace", [&] { createNamespace(namespaces, "new"); })),
        m_head +
            "The attempt to create the namespace: new failed with error:\n"
            "NamespaceUtilsException: Unable to create the Namespace: CIMException: 1: failed: "
            "injected "
            "fault\nOnce the cause of the error has been resolved, to restore KOV to a valid state "
            "you should\ncreate the namespace. The owmofc utility can be used.\n");
}

TEST_F(UndoSteps, SuccessLogsNothing) {
    createInstance(handle(), "root/security", m_acl);
    m_acl.setProperty("capability", CIMValue("rR"));
    modifyInstance(handle(), "root/security", m_acl);
    EXPECT_EQ(handle()
                  .getInstance("root/security", m_path, E_NOT_LOCAL_ONLY, E_EXCLUDE_QUALIFIERS,
                               E_EXCLUDE_CLASS_ORIGIN, nullptr)
                  .getPropertyValue("capability")
                  .toString(),
              "rR");
    deleteInstance(handle(), "root/security", m_path);
    EXPECT_TRUE(handle().enumInstancesA("root/security", "OpenWBEM_UserACL").empty());
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(UndoSteps, ChangeWhoseAnswerIsLostIsUndone) {
    CleanupActions_t list;
    m_qualifier.setName("Other");
    handle().loseAnswers();
    EXPECT_THROW(createUndoably(handle(), "root/security", m_acl, list), OutcomeUnknownException);
    EXPECT_THROW(setUndoably(handle(), "kov", m_qualifier, list), OutcomeUnknownException);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_NO_THROW(handle().getQualifierType("kov", "Other"));
    EXPECT_EQ(handle().enumInstancesA("root/security", "OpenWBEM_UserACL").size(), 1U);
    handle().loseAnswers(false);
    executeCleanupActions(list);
    EXPECT_TRUE(handle().enumInstancesA("root/security", "OpenWBEM_UserACL").empty());
    EXPECT_THROW(handle().getQualifierType("kov", "Other"), CIMException);
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(UndoSteps, ChangeThatIsLostOnTheWayLeavesNothingToUndo) {
    CleanupActions_t list;
    handle().failBy([] { throw OutcomeUnknownException("", 0, FaultyHandle::FAULT); });
    for (const char* operation : {"createInstance", "setQualifierType"}) {
        handle().failOperation(operation);
    }
    EXPECT_THROW(createUndoably(handle(), "root/security", m_acl, list), OutcomeUnknownException);
    m_qualifier.setName("Other");
    EXPECT_THROW(setUndoably(handle(), "kov", m_qualifier, list), OutcomeUnknownException);
    ASSERT_EQ(list.size(), 2U);
    executeCleanupActions(list);
    EXPECT_TRUE(m_log.errors().empty());
}

TEST_F(UndoSteps, FailingStepLetsTheRemainingOnesRun) {
    handle().failOperation("deleteInstance");
    bool ran = false;
    CleanupActions_t list;
    list.push_back([&] { ran = true; });
    list.push_back([&] { deleteInstance(handle(), "root/security", m_path); });
    executeCleanupActions(list);
    EXPECT_TRUE(ran);
    EXPECT_EQ(m_log.errors().size(), 1U);
}

/// A log that cannot be written.
class BrokenAppender : public blocxx::LogAppender {
public:
    bool accepts(std::string_view, blocxx::ELogLevel) const override { return true; }
    void append(const blocxx::LogMessage&) override {
        BLOCXX_THROW(blocxx::LoggerException, "disk full");
    }
};

TEST_F(UndoSteps, LogThatCannotBeWrittenDoesNotStopTheUndo) {
    blocxx::LogAppender::setDefaultLogAppender(new BrokenAppender);
    handle().failOperation("deleteInstance");
    EXPECT_NO_THROW(deleteInstance(handle(), "root/security", m_path));
}

}  // namespace
}  // namespace KOVNS2::Testing
