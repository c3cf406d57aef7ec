// SPDX-License-Identifier: Apache-2.0
//
// An interrupted run does not compile a text to its end.
#include <stdexcept>

#include "blocxx/Interruption.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

TEST(CompilerInterruption, EndsBeforeTheNextDeclarationIsRead) {
    blocxx::Interruption::failLater(std::make_exception_ptr(std::runtime_error("interrupted")));
    // Without the interruption the last line would be a syntax error.
    EXPECT_THROW(compileText(PRELUDE + "class {"), std::runtime_error);
    blocxx::Interruption::forget();
    EXPECT_NE(failureOf(PRELUDE + "class {"), "");
}

}  // namespace
}  // namespace OpenWBEM::MOF
