// SPDX-License-Identifier: Apache-2.0
//
// What owns an opened repository, and through whose eyes its associations are followed.
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {
namespace {

class OpenRepositoryTest : public RepositoryTest {
protected:
    /// The number of cars that Ada owns, as far as she can be told.
    static size_t carsOfAda(OpenRepository& opened) {
        return opened->associatorsA("test", personPath("Ada"), {"Owns", "Car", "", ""}).size();
    }
    static void addAdaWithCar(OpenRepository& opened) {
        opened->createInstance("test", person("Ada"));
        opened->createInstance("test", car(1));
        opened->createInstance("test", owns(personPath("Ada"), carPath(1)));
    }
};

/// Finds no instance.
class Blind : public RepositoryCIMOMHandle {
public:
    using RepositoryCIMOMHandle::RepositoryCIMOMHandle;
    OperationResult carryOut(const OperationCall& /*call*/) override {
        OPENWBEM_THROW_CIM(NOT_FOUND, "not to be seen");
    }
};

TEST_F(OpenRepositoryTest, FollowsAssociationsThroughItsOwnHandleUnlessToldOtherwise) {
    const auto opened = openWithSchema();
    addAdaWithCar(*opened);
    EXPECT_EQ(carsOfAda(*opened), 1U);
    opened->followAssociationsThrough<Blind>();
    EXPECT_EQ(carsOfAda(*opened), 0U);
    EXPECT_EQ((*opened)->enumInstanceNamesA("test", "Car").size(), 1U)
        << "only associations are followed through the second handle";
}

// Environment, handle and repository hold each other: what held on would keep the file.
TEST_F(OpenRepositoryTest, LetsGoOfTheFileWhenItGoes) {
    { const OpenRepository served(m_directory.path(), RepositoryUse::SERVED); }
    {
        OpenRepository served(m_directory.path(), RepositoryUse::SERVED);
        served.followAssociationsThrough<Blind>();
    }
    EXPECT_NO_THROW(OpenRepository(m_directory.path(), RepositoryUse::SERVED));
}

TEST_F(OpenRepositoryTest, OpensTheDirectoryThatItsEnvironmentNames) {
    const OpenRepository opened(new LocalEnvironment(m_directory.path()));
    addSchema(*opened);
    opened.repository().close();
    EXPECT_NE(dump(m_directory.path()).find("namespace test"), String::npos);
}

}  // namespace
}  // namespace KovTest
