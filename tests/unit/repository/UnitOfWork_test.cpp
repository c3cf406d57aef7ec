// SPDX-License-Identifier: Apache-2.0
//
// The unit of work is atomic, whatever fails and whenever the process dies.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "openwbem/repository/RepositoryStore.hpp"
#include "tests/unit/repository/FaultyFiles.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using ::testing::HasSubstr;

/// Installs the layer before anything opens a repository.
class FaultyEnvironment : public ::testing::Environment {
public:
    void SetUp() override { FaultyFiles::install(); }
};
const auto* const ENVIRONMENT =  // NOLINT
    ::testing::AddGlobalTestEnvironment(new FaultyEnvironment);

class UnitOfWork : public RepositoryTest {
protected:
    void prepare() {
        const auto opened = openWithSchema();
        for (uint32_t i = 0; i < 20; ++i) {
            (*opened)->createInstance("test", car(i));
        }
        opened->repository().close();
    }
};

/// Makes changes of every kind, on more than a few pages.
void change(RepositoryCIMOMHandle& handle) {
    handle.createNameSpace("second");
    for (uint32_t i = 100; i < 160; ++i) {
        CIMInstance instance = car(i);
        instance.setProperty("Note", CIMValue(String(1000, 'n')));
        handle.createInstance("test", instance);
    }
    handle.createInstance("test", person("ann"));
    handle.createInstance("test", owns(personPath("ann"), carPath(100)));
    handle.deleteInstance("test", carPath(1));
    handle.deleteClass("test", "Student");
    handle.createClass("test", makeClass("Other", "Root", {}));
    handle.setQualifierType("test", qualifierType("New", CIMDataType::STRING, CIMScope::ANY));
}

/// The undo of change(), which must be harmless when there is nothing to undo.
void undo(RepositoryCIMOMHandle& handle) {
    handle.deleteQualifierType("test", "New");
    handle.deleteClass("test", "Other");
    handle.createInstance("test", car(1));
    handle.deleteInstance("test", personPath("ann"));
    handle.deleteNameSpace("second");
}

TEST_F(UnitOfWork, GivesOthersTheClassesThatItCommits) {
    const auto opened = openWithSchema();
    OpenRepository second(m_directory.path());
    const auto student = [](OpenRepository& from) {
        return from->getClass("test", "Student", E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                              E_INCLUDE_CLASS_ORIGIN, nullptr);
    };
    EXPECT_EQ(3, statusOf([&] { second->enumClassNamesA("test", ""); })) << "not yet committed";
    (*opened)->commit();
    EXPECT_EQ(student(*opened), student(second));
}

TEST_F(UnitOfWork, ThatIsHeldKeepsEverybodyElseOutUntilItEnds) {
    prepare();
    const String before = dump(m_directory.path());
    const OpenRepository idle(m_directory.path());
    for (const bool isGivenUp : {false, true}) {
        OpenRepository holder(m_directory.path());
        holder.repository().hold();
        for (const RepositoryUse use : {RepositoryUse::UNIT_OF_WORK, RepositoryUse::SERVED}) {
            String message;
            EXPECT_EQ(CIMException::FAILED,
                      statusOf([&] { OpenRepository other(m_directory.path(), use); }, &message));
            EXPECT_THAT(message, HasSubstr("another process holds the repository"));
        }
        isGivenUp ? holder.repository().abandon() : holder.repository().close();
        EXPECT_EQ(before, dump(m_directory.path()));
    }
}

TEST_F(UnitOfWork, IsNotHeldWhileSomebodyReadsNorTwice) {
    prepare();
    OpenRepository reader(m_directory.path());
    OpenRepository holder(m_directory.path());
    auto& unit = reader.repository().store().unit;
    ASSERT_TRUE(unit.beginRead());
    reader->enumClassNamesA("test", "");
    String message;
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { holder.repository().hold(); }, &message));
    EXPECT_THAT(message, HasSubstr("another process holds the repository"));
    unit.endRead();
    holder.repository().hold();
    EXPECT_EQ(CIMException::FAILED, statusOf([&] { holder.repository().hold(); }, &message));
    EXPECT_THAT(message, HasSubstr("a unit of work is open already"));
}

TEST_F(UnitOfWork, SeesTheUsersOfAQualifierThatOthersCommitted) {
    prepare();
    OpenRepository first(m_directory.path());
    const auto mark = qualifierType("Mark", CIMDataType::STRING, CIMScope::ANY);
    first->setQualifierType("test", mark);
    first->commit();
    first->setQualifierType("test", qualifierType("Mark", CIMDataType::UINT8, CIMScope::ANY));
    first->setQualifierType("test", mark);  // by now it has looked up the users of the qualifier
    first->commit();
    {
        OpenRepository second(m_directory.path());
        second->createClass("test", makeClass("Other", "", {}, {{"Mark", CIMValue("m")}}));
        second->commit();
    }
    EXPECT_EQ(1, statusOf([&] { first->deleteQualifierType("test", "Mark"); }));
    first->deleteClass("test", "Other");
    first->deleteQualifierType("test", "Mark");
}

TEST_F(UnitOfWork, IsInvisibleToOthersUntilItIsCommitted) {
    prepare();
    OpenRepository first(m_directory.path());
    OpenRepository second(m_directory.path());
    const String before = dump(*second);
    change(*first);
    EXPECT_TRUE(before == dump(*second));
    const String after = dump(*first);
    first->commit();
    EXPECT_TRUE(after == dump(*second)) << "what was read before is not kept beyond the change";
}

TEST_F(UnitOfWork, EndsWithTheRepositoryUnlessCommitted) {
    prepare();
    const String before = dump(m_directory.path());
    {
        OpenRepository opened(m_directory.path());
        change(*opened);
    }
    EXPECT_TRUE(before == dump(m_directory.path()));
    {
        OpenRepository opened(m_directory.path());
        change(*opened);
        opened.repository().close();
        EXPECT_FALSE(opened.repository().isOpen());
        EXPECT_EQ(1, statusOf([&] { opened->createNameSpace("x"); }));
    }
    EXPECT_TRUE(before != dump(m_directory.path()));
}

TEST_F(UnitOfWork, IsGoneWhenItIsAbandonedAndUndoStepsAreHarmless) {
    prepare();
    const String before = dump(m_directory.path());
    OpenRepository opened(m_directory.path());
    change(*opened);
    opened.repository().abandon();
    undo(*opened);
    EXPECT_EQ(0, statusOf([&] { opened->deleteNameSpace("never was"); }));
    EXPECT_EQ(1, statusOf([&] { opened->commit(); }));
    EXPECT_TRUE(before == dump(*opened));
    opened.repository().abandon();
}

TEST_F(UnitOfWork, LetsNothingBeWrittenAfterACommitOnceItIsAbandoned) {
    prepare();
    OpenRepository opened(m_directory.path());
    change(*opened);
    opened->commit();
    const String after = dump(*opened);
    opened.repository().abandon();
    undo(*opened);
    EXPECT_EQ(0, statusOf([&] { opened->createNameSpace("test"); }));
    EXPECT_TRUE(after == dump(*opened));
    EXPECT_TRUE(after == dump(m_directory.path()));
}

TEST_F(UnitOfWork, OfTwoAtOnceTheSecondFailsAtOnceAndTellsWhy) {
    prepare();
    OpenRepository first(m_directory.path());
    OpenRepository second(m_directory.path());
    first->createNameSpace("a");
    String message;
    EXPECT_EQ(1, statusOf([&] { second->createNameSpace("b"); }, &message));
    EXPECT_THAT(message, HasSubstr("another process holds the repository"));
    first->commit();
    EXPECT_EQ(0, statusOf([&] { second->createNameSpace("b"); }));
    second->commit();
    StringArray names;
    ArrayBuilder<String> builder(names);
    first->enumNameSpace(builder);
    EXPECT_THAT(names, ::testing::ElementsAre("test", "a", "b"));
}

class Reading : public UnitOfWork {
protected:
    void SetUp() override {
        const auto opened = openWithSchema();
        (*opened)->createInstance("test", person("ann"));
        (*opened)->createInstance("test", car(1));
        (*opened)->createInstance("test", owns(personPath("ann"), carPath(1)));
        opened->repository().close();
        reader = std::make_unique<OpenRepository>(m_directory.path());
        writer = std::make_unique<OpenRepository>(m_directory.path());
    }
    /// Commits a change, which fails when the reader holds a lock.
    void write() {
        EXPECT_EQ(0, statusOf([&] {
                      (*writer)->createInstance("test", car(next++));
                      (*writer)->commit();
                  }));
        ++written;
    }
    template <class T>
    auto writing() {
        return makeResultHandler<T>([this](const T&) { write(); });
    }

    std::unique_ptr<OpenRepository> reader;
    std::unique_ptr<OpenRepository> writer;
    uint32_t next = 1000;
    int written = 0;
};

TEST_F(Reading, HoldsNoLockOnceItHasTheResultOrFailed) {
    RepositoryCIMOMHandle& handle = **reader;
    const auto getClass = [&](const String& ns, const String& name) {
        handle.getClass(ns, name, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN,
                        nullptr);
    };
    const auto getInstance = [&](const CIMObjectPath& path) {
        handle.getInstance("test", path, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                           E_INCLUDE_CLASS_ORIGIN, nullptr);
    };
    const Array<std::pair<int, std::function<void()>>> operations{
        {0, [&] { getClass("test", "Student"); }},
        {6, [&] { getClass("test", "None"); }},
        {3, [&] { getClass("none", "Student"); }},
        {0, [&] { getInstance(carPath(1)); }},
        {6, [&] { getInstance(carPath(2)); }},
        {5, [&] { getInstance(CIMObjectPath("None")); }},
        {0, [&] { handle.getQualifierType("test", "Key"); }},
        {6, [&] { handle.getQualifierType("test", "None"); }},
        {5, [&] { handle.enumInstanceNamesA("test", "None"); }},
        {4, [&] { handle.associatorsA("test", CIMObjectPath("Car"), {}); }},
    };
    for (const auto& [status, operation] : operations) {
        EXPECT_EQ(status, statusOf(operation));
        write();
    }
}

TEST_F(Reading, HoldsNoLockWhileTheCallerHasAResult) {
    RepositoryCIMOMHandle& handle = **reader;
    const CIMObjectPath ann = personPath("ann");
    auto strings = writing<String>();
    auto classes = writing<CIMClass>();
    auto instances = writing<CIMInstance>();
    auto paths = writing<CIMObjectPath>();
    auto types = writing<CIMQualifierType>();
    const Array<std::function<void()>> operations{
        [&] { handle.enumNameSpace(strings); },
        [&] { handle.enumClassNames("test", "", strings, E_DEEP); },
        [&] {
            handle.enumClass("test", "", classes, E_DEEP, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                             E_INCLUDE_CLASS_ORIGIN);
        },
        [&] {
            handle.enumInstances("test", "Person", instances, E_DEEP, E_NOT_LOCAL_ONLY,
                                 E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN, nullptr);
        },
        [&] { handle.enumInstanceNames("test", "Person", paths); },
        [&] { handle.enumQualifierTypes("test", types); },
        [&] {
            handle.associators("test", ann, instances, {}, E_INCLUDE_QUALIFIERS,
                               E_INCLUDE_CLASS_ORIGIN, nullptr);
        },
        [&] { handle.associatorNames("test", ann, paths, {}); },
        [&] {
            handle.references("test", ann, instances, {}, E_INCLUDE_QUALIFIERS,
                              E_INCLUDE_CLASS_ORIGIN, nullptr);
        },
        [&] { handle.referenceNames("test", ann, paths, {}); },
        [&] {
            handle.associatorsClasses("test", CIMObjectPath("Person"), classes, {},
                                      E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN, nullptr);
        },
        [&] {
            handle.referencesClasses("test", CIMObjectPath("Person"), classes, {},
                                     E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN, nullptr);
        },
    };
    for (size_t i = 0; i < operations.size(); ++i) {
        const int before = written;
        EXPECT_EQ(0, statusOf(operations[i])) << i;
        EXPECT_LT(before, written) << "operation " << i << " had no result";
    }
}

TEST_F(UnitOfWork, ARefusedFirstWriteHoldsNoLock) {
    prepare();
    OpenRepository first(m_directory.path());
    OpenRepository second(m_directory.path());
    EXPECT_EQ(11, statusOf([&] { first->createInstance("test", car(1)); }));
    EXPECT_EQ(0, statusOf([&] { second->createInstance("test", car(100)); }));
}

TEST_F(UnitOfWork, ARefusedWriteLeavesTheOthersInIt) {
    prepare();
    OpenRepository first(m_directory.path());
    first->createInstance("test", car(100));
    EXPECT_EQ(11, statusOf([&] { first->createInstance("test", car(1)); }));
    const String after = dump(*first);
    first->commit();
    EXPECT_TRUE(after == dump(m_directory.path()));
}

class UnitOfWorkFaults : public UnitOfWork,
                         public ::testing::WithParamInterface<FaultyFiles::Kind> {};

TEST_P(UnitOfWorkFaults, LeaveTheOldStateOrTheNewOneWhereverTheyStrike) {
    prepare();
    const String pristine = m_directory.path() + "/pristine";
    std::filesystem::copy_file(file(), pristine);
    const String before = dump(m_directory.path());
    String after;
    int n = 0;
    bool struck = true;
    while (struck) {
        std::filesystem::copy_file(pristine, file(),
                                   std::filesystem::copy_options::overwrite_existing);
        bool committed = false;
        FaultyFiles::arm(GetParam(), ++n);
        {
            std::unique_ptr<OpenRepository> opened;
            String message;
            const int status = statusOf(
                [&] {
                    opened = std::make_unique<OpenRepository>(m_directory.path());
                    change(**opened);
                    (*opened)->commit();
                    committed = true;
                },
                &message);
            struck = FaultyFiles::disarm();
            if (!committed) {
                EXPECT_EQ(1, status) << n;
                EXPECT_THAT(message, HasSubstr(file()));
            }
            if (!committed && opened) {
                EXPECT_EQ(0, statusOf([&] { undo(**opened); })) << "nothing left to undo " << n;
                EXPECT_TRUE(before == dump(**opened)) << n;
                EXPECT_EQ(1, statusOf([&] { (*opened)->commit(); })) << n;
            }
        }
        const String now = dump(m_directory.path());
        if (committed && after.empty()) {
            after = now;
            EXPECT_TRUE(before != after);
        }
        EXPECT_TRUE((committed ? after : before) == now) << "fault " << n;
        OpenRepository next(m_directory.path());
        EXPECT_EQ(0, statusOf([&] { next->createNameSpace("next"); })) << n;
        EXPECT_EQ(0, statusOf([&] { next->commit(); })) << n;
        EXPECT_FALSE(std::filesystem::exists(file() + "-journal")) << n;
        ASSERT_LT(n, 5000);
    }
    EXPECT_GT(n, 20) << "the faults did strike";
}

INSTANTIATE_TEST_SUITE_P(AllKinds, UnitOfWorkFaults,
                         ::testing::Values(FaultyFiles::Kind::FAIL_ONCE,
                                           FaultyFiles::Kind::FAIL_COMPLETE,
                                           FaultyFiles::Kind::FAIL_FOR_EVER,
                                           FaultyFiles::Kind::NO_SPACE));

TEST_F(UnitOfWork, AProcessKilledAtAnyWriteLeavesTheOldStateOrTheNewOne) {
    prepare();
    const String pristine = m_directory.path() + "/pristine";
    std::filesystem::copy_file(file(), pristine);
    const String before = dump(m_directory.path());
    size_t old = 0;
    size_t fresh = 0;
    for (int n = 1; fresh == 0 || n < 3; ++n) {
        std::filesystem::copy_file(pristine, file(),
                                   std::filesystem::copy_options::overwrite_existing);
        std::filesystem::remove(file() + "-journal");
        const pid_t child = ::fork();
        if (child == 0) {
            FaultyFiles::arm(FaultyFiles::Kind::DIE, n);
            OpenRepository opened(m_directory.path());
            change(*opened);
            opened.repository().close();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        const bool finished = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        const String now = dump(m_directory.path());
        if (now == before) {
            ++old;
            EXPECT_FALSE(finished) << n;
        } else {
            ++fresh;
            OpenRepository opened(m_directory.path());
            EXPECT_EQ(0, statusOf([&] { undo(*opened); })) << "complete, at " << n;
        }
        ASSERT_LT(n, 5000);
    }
    EXPECT_GT(old, 20u);
}

TEST(RepositoryCreationFaults, LeaveNoFileBehind) {
    TemporaryDirectory directory;
    const String file = directory.path() + "/" + CIMRepository::FILE_NAME;
    int n = 0;
    bool struck = true;
    while (struck) {
        std::filesystem::remove(file);
        FaultyFiles::arm(FaultyFiles::Kind::FAIL_ONCE, ++n);
        const int status = statusOf([&] { CIMRepository::create(directory.path()); });
        struck = FaultyFiles::disarm();
        if (status == 0) {
            EXPECT_EQ("", dump(directory.path()));
        } else {
            EXPECT_TRUE(std::filesystem::is_empty(directory.path())) << n;
        }
        ASSERT_LT(n, 1000);
    }
    EXPECT_GT(n, 5);
}

}  // namespace
}  // namespace KovTest
