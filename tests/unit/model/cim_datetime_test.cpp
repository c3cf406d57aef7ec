// SPDX-License-Identifier: Apache-2.0
//
// Datetime texts: which are accepted, and that they are kept as they were.
#include "openwbem/model/CIMDateTime.hpp"

#include <gtest/gtest.h>

#include "openwbem/model/CIMException.hpp"

namespace OpenWBEM {
namespace {

class AcceptedDateTime : public ::testing::TestWithParam<const char*> {};

TEST_P(AcceptedDateTime, ComesBackAsItWas) {
    EXPECT_EQ(GetParam(), CIMDateTime(GetParam()).toString());
    ASSERT_TRUE(CIMDateTime::parse(GetParam()));
    EXPECT_EQ(GetParam()[21] == ':', CIMDateTime(GetParam()).isInterval());
}

INSTANTIATE_TEST_SUITE_P(Texts, AcceptedDateTime,
                         ::testing::Values("19980525133015.000000-300", "00000101000000.000000+000",
                                           "99991231235959.999999+720", "20240229000000.000000-000",
                                           "20240101235960.000000+000", "20240101000000.12345*+060",
                                           "20240101000000.******+060", "202401010000**.******+060",
                                           "20240101******.******+060", "202401********.******+060",
                                           "2024**********.******+060", "**************.******+000",
                                           "**************.******-***", "20240101000000.000000+***",
                                           "00000001132312.000000:000", "99999999235959.999999:000",
                                           "00000001132312.1*****:000", "000000011323**.******:000",
                                           "00000001******.******:000",
                                           "**************.******:000"));

class RefusedDateTime : public ::testing::TestWithParam<const char*> {};

TEST_P(RefusedDateTime, IsRefusedWithTheTextInTheMessage) {
    EXPECT_FALSE(CIMDateTime::parse(GetParam()));
    try {
        CIMDateTime made(GetParam());
        FAIL() << "accepted " << GetParam();
    } catch (const CIMException& e) {
        EXPECT_EQ(CIMException::INVALID_PARAMETER, e.getErrNo());
        EXPECT_NE(String::npos, String(e.getMessage()).find(GetParam()));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RefusedDateTime,
    ::testing::Values(
        "", "2024", "19980525133015.000000-3000", "19980525133015.00000-3000",
        "19980525133015,000000-300", "19980525133015.000000 300", "19980025133015.000000-300",
        "19981325133015.000000-300", "19980500133015.000000-300", "19980532133015.000000-300",
        "19980431133015.000000-300", "19980230133015.000000-300", "19980525243015.000000-300",
        "19980525136015.000000-300", "19980525133061.000000-300", "19980525133015.000000+721",
        "19980525133015.000000+**0", "19980525133015.000000****", "1998052513301*.******-300",
        "19980525**3015.000000-300", "19980525133015.0*0000-300", "19980525133015.*00000-300",
        "199805251330**.000000-300", "199805251330**.0*****-300", "****0525133015.000000-300",
        "1998052 133015.000000-300", "+9980525133015.000000-300", "19980525133015.00000x-300",
        "00000001242312.000000:000", "00000001136012.000000:000", "00000001132360.000000:000",
        "0000000*132312.000000:000", "00000001132312.000000:001", "00000001132312.000000:***",
        "-0000001132312.000000:000"));

TEST(CIMDateTimeTest, TheDefaultIsAnIntervalOfLengthZero) {
    EXPECT_TRUE(CIMDateTime().isInterval());
    EXPECT_TRUE(CIMDateTime() == CIMDateTime("00000000000000.000000:000"));
}

TEST(CIMDateTimeTest, ALongTextIsShortenedInTheMessage) {
    try {
        CIMDateTime made(String(1000000, '1'));
        FAIL();
    } catch (const CIMException& e) {
        EXPECT_LT(String(e.getMessage()).size(), 200U);
    }
}

}  // namespace
}  // namespace OpenWBEM
