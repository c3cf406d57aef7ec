// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/Operation.hpp"

#include <capnp/schema.h>
#include <gtest/gtest.h>

#include "blocxx/String.hpp"
#include "rpc.capnp.h"

namespace OpenWBEM {
namespace {

TEST(OperationTest, MessagesAndHandlesHaveTheSameOperationsByNumberAndName) {
    uint16_t number = 0;
    for (const auto enumerant : capnp::Schema::from<wire::Operation>().getEnumerants()) {
        const OperationTraits* traits = findTraits(number);
        ASSERT_NE(traits, nullptr) << "handles have no operation " << number;
        EXPECT_STREQ(traits->name, enumerant.getProto().getName().cStr());
        EXPECT_EQ(enumerant.getOrdinal(), number);
        ++number;
    }
    EXPECT_EQ(findTraits(number), nullptr) << "messages have no operation " << number;
}

TEST(OperationTest, AnUnknownNumberHasNoTraits) {
    EXPECT_EQ(findTraits(UINT16_MAX), nullptr);
    EXPECT_STREQ(traitsOf(Operation::REFERENCES_CLASSES).name, "referencesClasses");
}

}  // namespace
}  // namespace OpenWBEM
