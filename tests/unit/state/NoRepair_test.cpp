// SPDX-License-Identifier: Apache-2.0
//
// What the renderer writes needs no repair: both repairs leave it as it is, to the byte, even where
// embedded texts look like the broken ones.
#include <gtest/gtest.h>

#include <random>

#include "fennik/mofrepair/FNHacks.hpp"
#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KOVNS2 {
namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

void expectUntouched(const String& mof) {
    String repaired = mof;
    fixBrokenEmbeddedInstances(repaired);
    EXPECT_EQ(repaired, mof);
    fixImproperlyEscapedCharacters(repaired);
    EXPECT_EQ(repaired, mof);
}

CIMInstance process(const CIMValue& name, const CIMValue& parameters) {
    CIMInstance instance("S_Process");
    instance.setProperty("Name", name);
    instance.setProperty("UserName", name);
    instance.setProperty("Parameters", parameters);
    return instance;
}

String held(const CIMValue& embedded) {
    return MOF::toMOF(CIMInstance("S_Holder").setProperty("Process", embedded));
}

TEST(NoRepair, OfNullsAndNumbersInEmbeddedInstances) {
    for (const CIMValue& value :
         {CIMValue(), CIMValue(uint32_t{7}), CIMValue(false), CIMValue(String()),
          CIMValue(String("-a,-b")), CIMValue::array<String>({}),
          CIMValue::array<String>({"-a", "-b,c"}), CIMValue::array<uint8_t>({1, 2})}) {
        expectUntouched(held(CIMValue(process(value, value))));
    }
}

TEST(NoRepair, OfAnyTextInEmbeddedObjects) {
    constexpr const char* PIECES[] = {
        "\n",   "\r", "\\", "\\n", "\"",   "Name = ",           "UserName=x",   ";", "}", "};", "{",
        "NULL", " ",  "\t", ",",   "\x01", "Parameters = a,b;", "Process = \"", "n", "x"};
    std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same in every run
    const auto text = [&] {
        String result;
        for (unsigned i = random() % 12; i > 0; --i) {
            result += PIECES[random() % std::size(PIECES)];
        }
        return CIMValue(result);
    };
    for (int i = 0; i < 3000; ++i) {
        const CIMValue list = CIMValue::array<String>({text().toString(), text().toString()});
        CIMInstance embedded = process(text(), list);
        embedded.setProperty("Process", CIMValue(process(text(), text())));
        expectUntouched(held(CIMValue(embedded)));
        ASSERT_FALSE(::testing::Test::HasFailure()) << i;
    }
}

TEST(NoRepair, OfEmbeddedClasses) {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    MOF::compileMOF(
        "Qualifier Description : string, Scope(any);\n"
        "class S { [Description(\"a\\nName = b;\\n}\")] string Name = \"a\\nName = b\"; "
        "string Parameters[] = {\"\\\\nName = c\"}; uint8 Handle = 1; };\n",
        CIMOMHandleIFCRef(), "root", instances, classes, qualifierTypes);
    expectUntouched(held(CIMValue(classes.at(0))));
}

}  // namespace
}  // namespace KOVNS2
