// SPDX-License-Identifier: Apache-2.0
//
// Embedded objects.
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

const String MODEL = R"(
class Part { [Key] string id; uint8 n = 7; };
class Special : Part { };
class Other { };
class Whole { [Key] uint8 k; [EmbeddedInstance("Part")] string part;
  [EmbeddedInstance("Part")] string parts[]; [EmbeddedObject] string any; [EmbeddedObject] string all[]; };
class Below : Whole { [Override("part")] string part; };
)";

CIMInstance wholeWith(const String& assignment) {
    return compileWith(MODEL + "instance of Below { k = 1; " + assignment + " };").instances.at(0);
}

TEST(MofEmbeddedTest, AnInstanceIsCompiledFromItsText) {
    const CIMInstance whole =
        wholeWith(R"(part = "instance of Special {\n id = \"\\\"x\\\"\";\n};";)");
    const auto part = whole.getPropertyValue("part").get<CIMInstance>();
    EXPECT_EQ(part.getClassName(), "Special");
    EXPECT_EQ(part.getPropertyValue("id"), CIMValue("\"x\""));
    EXPECT_EQ(part.getPropertyValue("n"), CIMValue(uint8_t{7}));
}

TEST(MofEmbeddedTest, ABraceStandsForTheDeclaredClass) {
    const CIMInstance whole = wholeWith(R"(part = " \n{ id = \"a\"; };";)");
    EXPECT_EQ(whole.getPropertyValue("part").get<CIMInstance>().getClassName(), "Part");
}

TEST(MofEmbeddedTest, KeysOfEmbeddedInstancesMayBeAbsent) {
    EXPECT_EQ(wholeWith(R"(part = "{ n = 1; };";)").getPropertyValue("part").getType(),
              CIMDataType::EMBEDDEDINSTANCE);
    EXPECT_EQ(wholeWith(R"(part = "{ id = NULL; };";)").getPropertyValue("part").getType(),
              CIMDataType::EMBEDDEDINSTANCE);
}

TEST(MofEmbeddedTest, ArraysHoldInstancesOrClassesOrNothing) {
    const CIMInstance whole =
        wholeWith(R"(parts = {"{ id=\"a\"; };", NULL, "{ id=\"b\"; };"}; all = {};)");
    EXPECT_EQ(whole.getPropertyValue("parts").getArraySize(), 3U);
    EXPECT_TRUE(whole.getPropertyValue("parts").isNullElement(1));
    EXPECT_EQ(whole.getPropertyValue("all").getArraySize(), 0U);
    const CIMInstance classes = wholeWith(R"(all = {"class X { uint8 a; };"};)");
    EXPECT_EQ(classes.getPropertyValue("all").getType(), CIMDataType::EMBEDDEDCLASS);
}

TEST(MofEmbeddedTest, AnyObjectMayBeAClass) {
    const CIMInstance whole =
        wholeWith(R"(any = "[Description(\"d\")] class X : Part { string s; };";)");
    const auto cls = whole.getPropertyValue("any").get<CIMClass>();
    EXPECT_EQ(cls.getSuperClass(), "Part");
    EXPECT_EQ(cls.getProperties().size(), 3U);
}

TEST(MofEmbeddedTest, DefaultsOfClassesAreCompiledToo) {
    const Compiled compiled = compileWith(
        "class A { [EmbeddedInstance(\"B\")] string b = \"{ x = 5; };\"; }; class B { uint8 x; };");
    EXPECT_EQ(
        compiled.cls("A").getProperty("b")->getValue().get<CIMInstance>().getPropertyValue("x"),
        CIMValue(uint8_t{5}));
}

TEST(MofEmbeddedTest, MistakesAreToldWithTheirPlaceInTheText) {
    const auto complaint = [](const String& assignment) {
        return complaintOf(MODEL + "instance of Whole { k = 1; " + assignment + " };");
    };
    EXPECT_EQ(complaint(R"(part = "instance of Part {\n  x = 1; };";)"),
              "in the embedded object, line 2, column 3: the class \"Part\" has no property \"x\"");
    EXPECT_EQ(complaint(R"(part = "instance of Other {};";)"),
              "in the embedded object, line 1, column 13: expected an instance of \"Part\"; found "
              "one of \"Other\"");
    EXPECT_EQ(complaint(R"(part = "class X {};";)"),
              "in the embedded object, line 1, column 7: expected one instance and nothing else");
    EXPECT_EQ(
        complaint(R"(any = "class X {}; class Y {};";)"),
        "in the embedded object, line 1, column 19: expected one instance or class and nothing "
        "else");
    EXPECT_EQ(
        complaint(R"(any = "";)"),
        "in the embedded object, line 1, column 1: expected one instance or class and nothing "
        "else");
    EXPECT_EQ(
        complaint("any = \"#pragma include(\\\"x\\\")\";"),
        "in the embedded object, line 1, column 9: expected one instance or class and nothing "
        "else");
    EXPECT_EQ(complaint(R"(part = "{";)"),
              "in the embedded object, line 1, column 19: expected a name, a data type, '[' or '}' "
              "after '{'; found the end of the text");
    EXPECT_EQ(complaint("part = 5;"), "expected a string with the MOF of an object; found '5'");
    EXPECT_EQ(complaint(R"(all = {"class X {};", "instance of Other {};"};)"),
              "an array cannot hold both instances and classes");
    EXPECT_EQ(complaint(R"(any = "instance of Other as $x {};";)"),
              "in the embedded object, line 1, column 22: an embedded object cannot have an alias");
}

TEST(MofEmbeddedTest, AClassCannotNeedItselfForADefault) {
    EXPECT_NE(complaintOf("class A { [EmbeddedInstance(\"A\")] string a = \"{};\"; };")
                  .find("needs itself for a default value"),
              String::npos);
}

}  // namespace
}  // namespace OpenWBEM::MOF
