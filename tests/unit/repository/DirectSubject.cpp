// SPDX-License-Identifier: Apache-2.0
//
// Runs the tests of operations on a repository opened directly.
#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {

std::unique_ptr<Subject> makeSubject() {
    return makeDirectSubject();
}

}  // namespace KovTest
