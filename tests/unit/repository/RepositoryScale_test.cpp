// SPDX-License-Identifier: Apache-2.0
//
// Large objects and many objects: results are streamed, so memory does not grow with them.
#include <sys/resource.h>

#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

class RepositoryScale : public RepositoryTest {};

long peakKilobytes() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST_F(RepositoryScale, LargeObjectsComeBackWhole) {
    const auto opened = openWithSchema();
    for (const size_t size : {4000U, 4096U, 300000U, 5000000U}) {
        CIMInstance big = person("p" + std::to_string(size));
        big.setProperty("Note", CIMValue(String(size, 'x')));
        (*opened)->createInstance("test", big);
    }
    opened->repository().close();
    OpenRepository again(m_directory.path());
    size_t total = 0;
    for (const CIMInstance& instance : again->enumInstancesA("test", "Person")) {
        total += instance.getPropertyValue("Note").get<String>().size();
    }
    EXPECT_EQ(5308096u, total);
}

TEST_F(RepositoryScale, EnumeratingManyLargeInstancesTakesLittleMemory) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer keeps freed memory";
#endif
    const auto opened = openWithSchema();
    constexpr uint32_t COUNT = 4000;
    for (uint32_t i = 0; i < COUNT; ++i) {
        CIMInstance instance = car(i);
        instance.setProperty("Note", CIMValue(String(20000, 'x')));
        (*opened)->createInstance("test", instance);
    }
    (*opened)->commit();
    const long before = peakKilobytes();
    size_t seen = 0;
    auto receiver = makeResultHandler<CIMInstance>([&](const CIMInstance&) { ++seen; });
    (*opened)->enumInstances("test", "Car", receiver, E_DEEP, E_NOT_LOCAL_ONLY,
                             E_EXCLUDE_QUALIFIERS, E_EXCLUDE_CLASS_ORIGIN, nullptr);
    EXPECT_EQ(COUNT, seen);
    EXPECT_LT(peakKilobytes() - before, 10000) << "of 80 MB";
}

TEST_F(RepositoryScale, PagesThatAreFreedInTheUnitThatMadeThemAreUsedAgain) {
    openWithSchema()->repository().close();
    for (const RepositoryUse use : {RepositoryUse::UNIT_OF_WORK, RepositoryUse::SERVED}) {
        OpenRepository opened(m_directory.path(), use);
        const auto change = [&](uint32_t count, size_t size) {
            addCars(*opened, "test", count, size);
            for (uint32_t i = 0; i < count; ++i) {
                opened->deleteInstance("test", carPath(i));
            }
        };
        // Several times as much as the cache holds.
        for (int unit = 0; unit < 3; ++unit) {
            for (const uint32_t count : {200U, 700U, 400U}) {
                change(count, 30000);
                change(7 * count, 700);
            }
            opened->commit();
        }
        addCars(*opened, "test", 500, 30000);
        opened->commit();
        EXPECT_EQ(500u, opened->enumInstancesA("test", "Car").size());
        for (uint32_t i = 0; i < 500; ++i) {
            opened->deleteInstance("test", carPath(i));
        }
        opened.repository().close();
    }
}

TEST_F(RepositoryScale, AHierarchyMayBeDeep) {
    const auto opened = openWithSchema();
    String super = "Root";
    for (int i = 0; i < 300; ++i) {
        const String name = "C" + std::to_string(i);
        (*opened)->createClass("test", makeClass(name, super, {}));
        super = name;
    }
    (*opened)->commit();
    OpenRepository again(m_directory.path());
    EXPECT_EQ(1u, again
                      ->getClass("test", super, E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                 E_INCLUDE_CLASS_ORIGIN, nullptr)
                      .getProperties()
                      .size());
    EXPECT_EQ(305u, again->enumClassNamesA("test", "", E_DEEP).size());
}

}  // namespace
}  // namespace KovTest
