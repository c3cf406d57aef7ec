// SPDX-License-Identifier: Apache-2.0
//
// The properties of instances when the compiler does not fill in the defaults of their classes.
#include "openwbem/model/InstanceCompletion.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

const String MODEL = R"(
class Part { [Key] string id; uint8 n = 7; string s = "s"; };
class Whole { [Key] uint8 k; [Key] uint8 second = 2; uint8 n = 7; string s = "s";
  [EmbeddedInstance("Part")] string part; [EmbeddedInstance("Part")] string parts[];
  [EmbeddedObject] string any = "instance of Part { };"; };
)";

Compiled compileWithout(const String& mof) {
    Compiled result;
    compileMOF(PRELUDE + MODEL + mof, {}, "root", result.instances, result.classes,
               result.qualifierTypes, "MOF", Defaults::LEFT_OUT);
    return result;
}

StringArray namesOf(const CIMInstance& instance) {
    StringArray names;
    for (const CIMProperty& property : instance.getProperties()) {
        names.push_back(property.getName());
    }
    return names;
}

TEST(MofDefaultsTest, WhatTheTextSaysAndTheKeysAreLeft) {
    const CIMInstance instance =
        compileWithout("instance of Whole { S = \"x\"; k = 1; };").instances.at(0);
    EXPECT_EQ(namesOf(instance), (StringArray{"k", "second", "s"}));
    EXPECT_EQ(CIMObjectPath("root", instance).toString(), "root:Whole.k=1,second=2");
}

TEST(MofDefaultsTest, NullIsSaid) {
    const CIMInstance instance =
        compileWithout("instance of Whole { k = 1; n = NULL; };").instances.at(0);
    EXPECT_EQ(namesOf(instance), (StringArray{"k", "second", "n"}));
    EXPECT_TRUE(instance.getPropertyValue("n").isNull());
}

TEST(MofDefaultsTest, EmbeddedInstancesHoldWhatTheirTextSays) {
    const CIMInstance instance = compileWithout(
                                     "instance of Whole { k = 1; part = \"{ n = 1; };\";\n"
                                     "  parts = {\"{ id = NULL; };\", NULL, \"{ };\"}; };")
                                     .instances.at(0);
    EXPECT_EQ(namesOf(instance.getPropertyValue("part").get<CIMInstance>()), StringArray{"n"});
    const CIMValue parts = instance.getPropertyValue("parts");
    EXPECT_EQ(namesOf(parts.getElement(0).get<CIMInstance>()), StringArray{"id"});
    EXPECT_TRUE(parts.isNullElement(1));
    EXPECT_EQ(namesOf(parts.getElement(2).get<CIMInstance>()), StringArray());
}

TEST(MofDefaultsTest, ClassesAreTheSame) {
    EXPECT_EQ(compileWithout("").cls("Whole"), compileWith(MODEL).cls("Whole"));
}

TEST(MofDefaultsTest, CompletingGivesWhatIsCompiledOtherwise) {
    const String text = "instance of Whole { k = 1; n = NULL; s = \"x\"; };";
    const Compiled without = compileWithout(text);
    EXPECT_EQ(completeInstance(without.instances.at(0), without.cls("Whole")),
              compileWith(MODEL + text).instances.at(0));
}

TEST(MofDefaultsTest, WhatIsRenderedIsCompiledToTheSame) {
    const CIMInstance stored =
        compileWith(MODEL + "instance of Whole { k = 1; n = NULL; part = \"{ };\"; };")
            .instances.at(0);
    EXPECT_EQ(compileWithout(toMOF(stored)).instances.at(0), stored);
}

TEST(MofDefaultsTest, MistakesAreFoundAlike) {
    for (const char* body :
         {"k = 1; none = 1;", "k = 1; n = \"x\";", "k = 300;", "n = 1;", "k = NULL;",
          "k = 1; second = NULL;", "k = 1; part = \"{ x = 1; };\";", "k = 1; k = 1;"}) {
        const String text = String("instance of Whole { ") + body + " };";
        String message;
        try {
            compileWithout(text);
        } catch (const MOFCompilerException& e) {
            message = e.getMessage();
        }
        EXPECT_NE(message, "") << body;
        EXPECT_EQ(message, failureOf(PRELUDE + MODEL + text));
    }
}

}  // namespace
}  // namespace OpenWBEM::MOF
