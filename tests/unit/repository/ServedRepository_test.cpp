// SPDX-License-Identifier: Apache-2.0
//
// The repository while it is served, with its log. Commits survive the death of the process at any
// point. They survive a power cut, too, apart from the last ones before it.
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/unit/repository/FaultyFiles.hpp"
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

using FaultyFiles::Kind;

constexpr uint32_t REQUESTS = 3;
/// Each power cut is tried with this many random outcomes.
constexpr unsigned SEEDS = 3;

class FaultyEnvironment : public ::testing::Environment {
public:
    void SetUp() override { FaultyFiles::install(); }
};
const auto* const ENVIRONMENT =  // NOLINT
    ::testing::AddGlobalTestEnvironment(new FaultyEnvironment);

/// Stores a car and its association in one unit of work of some pages.
void request(RepositoryCIMOMHandle& handle, uint32_t number, size_t size = 9000) {
    CIMInstance instance = car(number);
    instance.setProperty("Note", CIMValue(String(size, 'n')));
    handle.createInstance("test", instance);
    handle.createInstance("test", owns(personPath("ann"), carPath(number)));
    handle.commit();
}

/// Memory that a child shares with its parent.
struct Shared {
    uint32_t acknowledged;
    bool closed;
};

TEST_F(RepositoryTest, IsServedWithValuesOfAnySize) {
    openWithSchema()->repository().close();
    const std::vector<size_t> sizes{60'000, 66'000, 131'072, 256'000, 512'000, 1'024'000, 10};
    {
        OpenRepository served(m_directory.path(), RepositoryUse::SERVED);
        served->createInstance("test", person("ann"));
        for (uint32_t i = 0; i < sizes.size(); ++i) {
            request(*served, i, sizes[i]);
        }
    }
    OpenRepository opened(m_directory.path());
    CIMOMHandleIFC& handle = *opened;
    for (uint32_t i = 0; i < sizes.size(); ++i) {
        const CIMInstance found = handle.getInstance("test", carPath(i));
        EXPECT_EQ(found.getPropertyValue("Note"), CIMValue(String(sizes[i], 'n')));
    }
}

class ServedRepositoryDeath : public RepositoryTest, public ::testing::WithParamInterface<Kind> {
protected:
    ServedRepositoryDeath() {
        m_shared = static_cast<Shared*>(::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                               MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        const auto opened = openWithSchema();
        (*opened)->createInstance("test", person("ann"));
        opened->repository().close();
        std::filesystem::copy_file(file(), saved(".db"));
    }
    ~ServedRepositoryDeath() override { ::munmap(m_shared, sizeof(Shared)); }

    String saved(const char* ending) const { return m_other.path() + "/saved" + ending; }
    void restore() {
        for (const char* ending : {"", "-wal", "-journal"}) {
            std::filesystem::remove(file() + ending);
        }
        std::filesystem::copy_file(saved(".db"), file());
        if (std::filesystem::exists(saved("-wal"))) {
            std::filesystem::copy_file(saved("-wal"), file() + "-wal");
        }
        *m_shared = {0, false};
    }
    /// Runs `action` in a child that dies at the n-th operation on a file. False if it ended
    /// before that.
    template <class Action>
    bool diesAt(int n, unsigned seed, Action action) {
        const pid_t child = ::fork();
        if (child == 0) {
            FaultyFiles::arm(GetParam(), n, seed);
            action();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << "at " << n;
        return WIFSIGNALED(status);
    }
    /// Opens the repository as a tool (even `n`) or as the daemon does. Returns the number of
    /// requests in it, and expects that each is complete.
    uint32_t requestsThere(int n) {
        OpenRepository opened(m_directory.path(),
                              n % 2 == 0 ? RepositoryUse::UNIT_OF_WORK : RepositoryUse::SERVED);
        uint32_t number = 0;
        while (statusOf([&] {
                   opened->getInstance("test", carPath(number), E_NOT_LOCAL_ONLY,
                                       E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN, nullptr);
               }) == 0) {
            ++number;
        }
        EXPECT_EQ(number, opened->enumInstanceNamesA("test", "Car").size()) << "at " << n;
        EXPECT_EQ(number, opened->enumInstanceNamesA("test", "Owns").size()) << "at " << n;
        opened->createInstance("test", person("next"));
        opened.repository().close();
        EXPECT_FALSE(std::filesystem::exists(file() + "-wal")) << "at " << n;
        return number;
    }
    /// Operations on the files, at which the child may die after its work is done.
    void openAgain() const { OpenRepository(m_directory.path()).repository().close(); }
    unsigned seeds() const { return GetParam() == Kind::POWER_CUT ? SEEDS : 1; }

    TemporaryDirectory m_other;
    Shared* m_shared;
};

TEST_P(ServedRepositoryDeath, LeavesWholeRequestsAndAllThatWasAcknowledged) {
    const auto serve = [this] {
        OpenRepository opened(m_directory.path(), RepositoryUse::SERVED);
        for (uint32_t number = 0; number < REQUESTS; ++number) {
            request(*opened, number);
            m_shared->acknowledged = number + 1;
        }
        opened.repository().close();
        m_shared->closed = true;
        openAgain();
    };
    int n = 0;
    bool died = true;
    while (died) {
        ++n;
        for (unsigned seed = 0; seed < seeds(); ++seed) {
            restore();
            died = diesAt(n, static_cast<unsigned>(n) * SEEDS + seed, serve);
            const uint32_t there = requestsThere(n);
            EXPECT_LE(there, m_shared->acknowledged + 1) << "at " << n;
            if (GetParam() == Kind::DIE || m_shared->closed) {
                EXPECT_GE(there, m_shared->acknowledged) << "at " << n << ", " << seed;
            }
        }
        ASSERT_LT(n, 5000);
    }
    EXPECT_GT(n, 30) << "it did die";
}

TEST_P(ServedRepositoryDeath, LeavesAllThatWasSynced) {
    const auto serve = [this] {
        OpenRepository opened(m_directory.path(), RepositoryUse::SERVED);
        for (uint32_t number = 0; number < REQUESTS; ++number) {
            request(*opened, number);
            opened.repository().sync();
            m_shared->acknowledged = number + 1;
        }
        request(*opened, REQUESTS);
        opened.repository().close();
        m_shared->acknowledged = REQUESTS + 1;
        openAgain();
    };
    int n = 0;
    bool died = true;
    while (died) {
        ++n;
        for (unsigned seed = 0; seed < seeds(); ++seed) {
            restore();
            died = diesAt(n, static_cast<unsigned>(n) * SEEDS + seed, serve);
            EXPECT_GE(requestsThere(n), m_shared->acknowledged) << "at " << n << ", " << seed;
        }
        ASSERT_LT(n, 5000);
    }
    EXPECT_GT(n, 30) << "it did die";
}

TEST_P(ServedRepositoryDeath, WhileALogThatWasLeftIsMergedLosesNothing) {
    const pid_t killed = ::fork();
    if (killed == 0) {
        OpenRepository opened(m_directory.path(), RepositoryUse::SERVED);
        for (uint32_t number = 0; number < REQUESTS; ++number) {
            request(*opened, number);
        }
        ::_exit(0);
    }
    ASSERT_EQ(killed, ::waitpid(killed, nullptr, 0));
    std::filesystem::copy_file(file(), saved(".db"),
                               std::filesystem::copy_options::overwrite_existing);
    std::filesystem::copy_file(file() + "-wal", saved("-wal"));
    for (const RepositoryUse use : {RepositoryUse::UNIT_OF_WORK, RepositoryUse::SERVED}) {
        const auto merge = [&] {
            OpenRepository opened(m_directory.path(), use);
            opened.repository().close();
        };
        int n = 0;
        bool died = true;
        while (died) {
            ++n;
            for (unsigned seed = 0; seed < seeds(); ++seed) {
                restore();
                died = diesAt(n, static_cast<unsigned>(n) * SEEDS + seed, merge);
                EXPECT_EQ(REQUESTS, requestsThere(n)) << "at " << n << ", " << seed;
            }
            ASSERT_LT(n, 5000);
        }
        EXPECT_GT(n, 8) << "it did die";
    }
}

TEST_P(ServedRepositoryDeath, OfAUnitOfWorkLeavesAllOfItOrNothing) {
    const auto work = [this] {
        OpenRepository opened(m_directory.path());
        for (uint32_t number = 0; number < REQUESTS; ++number) {
            CIMInstance instance = car(number);
            instance.setProperty("Note", CIMValue(String(9000, 'n')));
            opened->createInstance("test", instance);
            opened->createInstance("test", owns(personPath("ann"), carPath(number)));
        }
        opened->commit();
        m_shared->acknowledged = REQUESTS;
        openAgain();
    };
    int n = 0;
    bool died = true;
    while (died) {
        ++n;
        for (unsigned seed = 0; seed < seeds(); ++seed) {
            restore();
            died = diesAt(n, static_cast<unsigned>(n) * SEEDS + seed, work);
            const uint32_t there = requestsThere(n);
            EXPECT_TRUE(there == REQUESTS || (there == 0 && m_shared->acknowledged == 0))
                << there << " at " << n << ", " << seed;
        }
        ASSERT_LT(n, 5000);
    }
    EXPECT_GT(n, 20) << "it did die";
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, ServedRepositoryDeath,
                         ::testing::Values(Kind::DIE, Kind::POWER_CUT));

class ServedRepositoryFault : public ServedRepositoryDeath {};

/// A failed request leaves nothing, and the ones before it stay, both on the same connection and
/// after reopening.
TEST_P(ServedRepositoryFault, TakesBackOneRequestAndNoOther) {
    for (const size_t size : {size_t(10), size_t(70'000)}) {
        for (const uint32_t before : {0U, 2U}) {
            int n = 0;
            bool reached = true;
            while (reached) {
                ++n;
                restore();
                const pid_t child = ::fork();
                if (child == 0) {
                    OpenRepository opened(m_directory.path(), RepositoryUse::SERVED);
                    for (uint32_t number = 0; number < before; ++number) {
                        request(*opened, number);
                    }
                    FaultyFiles::arm(GetParam(), n);
                    const bool failed = statusOf([&] { request(*opened, before, size); }) != 0;
                    m_shared->closed = FaultyFiles::disarm();
                    m_shared->acknowledged = before + (failed ? 0 : 1);
                    const auto cars = opened->enumInstanceNamesA("test", "Car").size();
                    const auto owned = opened->enumInstanceNamesA("test", "Owns").size();
                    const bool isRight = cars == m_shared->acknowledged && owned == cars;
                    request(*opened, m_shared->acknowledged++);
                    ::_exit(isRight ? 0 : 1);
                }
                int status = 0;
                ::waitpid(child, &status, 0);
                EXPECT_EQ(0, status) << "at " << n << " after " << before << ", " << size;
                reached = m_shared->closed;
                EXPECT_EQ(m_shared->acknowledged, requestsThere(n))
                    << "at " << n << " after " << before << ", " << size;
                ASSERT_LT(n, 5000);
            }
            EXPECT_GT(n, 1) << "it did fail";
        }
    }
}

/// The process dies after the failure, before another request overwrites what it left in the log.
TEST_P(ServedRepositoryFault, LeavesNothingOfItsRequestToTheNextOpening) {
    for (const size_t size : {size_t(10), size_t(70'000)}) {
        int n = 0;
        bool reached = true;
        while (reached) {
            ++n;
            restore();
            const pid_t child = ::fork();
            if (child == 0) {
                OpenRepository opened(m_directory.path(), RepositoryUse::SERVED);
                request(*opened, 0);
                FaultyFiles::arm(GetParam(), n);
                const bool failed = statusOf([&] { request(*opened, 1, size); }) != 0;
                m_shared->closed = FaultyFiles::disarm();
                m_shared->acknowledged = failed ? 1 : 2;
                ::_exit(0);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            EXPECT_EQ(0, status) << "at " << n << ", " << size;
            reached = m_shared->closed;
            EXPECT_EQ(m_shared->acknowledged, requestsThere(n)) << "at " << n << ", " << size;
            ASSERT_LT(n, 5000);
        }
        EXPECT_GT(n, 1) << "it did fail";
    }
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, ServedRepositoryFault,
                         ::testing::Values(Kind::FAIL_ONCE, Kind::FAIL_COMPLETE,
                                           Kind::FAIL_FOR_EVER, Kind::NO_SPACE));

}  // namespace
}  // namespace KovTest
