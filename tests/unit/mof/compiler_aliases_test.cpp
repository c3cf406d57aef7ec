// SPDX-License-Identifier: Apache-2.0
//
// References: paths in strings, and aliases in either direction.
#include "openwbem/model/CIMObjectPath.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

const String CLASSES = R"(
class C { [Key] uint16 id; [Key] string name = "n"; C_Other REF none; };
)";
const String MODEL = R"(
class C { [Key] uint16 id; [Key] string name = "n"; };
class D : C { };
[Association] class L { [Key] C REF a; [Key] C REF b; L REF next; C REF many[]; };
)";

CIMObjectPath pathTo(uint16_t id) {
    CIMObjectPath path("C");
    path.setKeyValue("id", CIMValue(id)).setKeyValue("name", CIMValue("n"));
    return path;
}

TEST(MofReferencesTest, PathsGetTheKeyTypesOfTheirClass) {
    const Compiled compiled = compileWith(
        MODEL + R"(instance of L { a = "C.name=\"n\",id=1"; b = "c.ID=2,Name=\"n\""; };)");
    EXPECT_EQ(compiled.instances[0].getPropertyValue("a"), CIMValue(pathTo(1)));
    EXPECT_EQ(compiled.instances[0].getPropertyValue("b"), CIMValue(pathTo(2)));
}

TEST(MofReferencesTest, AReferenceLeadsToItsClassOrOneBelow) {
    const String others =
        "class X { [Key] uint16 id; };\ninstance of X as $X { id = 1; };\n"
        "instance of D as $D { id = 1; };\n";
    EXPECT_EQ(
        complaintOf(MODEL + others + "instance of L { a = $D; b = \"D.id=2,name=\\\"\\\"\"; };"),
        "");
    EXPECT_EQ(complaintOf(MODEL + others + "instance of L { a = $D; b = $X; };"),
              "expected a reference to \"C\"; found one to \"X\"");
    EXPECT_EQ(complaintOf(MODEL + others + "instance of L { a = $D; b = \"x.id=1\"; };"),
              "expected a reference to \"C\"; found one to \"X\"");
    EXPECT_EQ(complaintOf(MODEL + others + "instance of L { a = $D; b = $D; many = { $D, $X }; };"),
              "expected a reference to \"C\"; found one to \"X\"");
    // The classes of another host are not known.
    EXPECT_EQ(complaintOf(MODEL + others + "instance of L { a = $D; b = \"//h/root:X.id=1\"; };"),
              "");
}

TEST(MofReferencesTest, PathsOfUnknownClassesStayAsParsed) {
    const Compiled compiled =
        compileWith(MODEL + R"(instance of L { a = "X.k=1"; b = "//h/other/ns:Y.k=\"v\""; };)");
    EXPECT_EQ(compiled.instances[0].getPropertyValue("a").get<CIMObjectPath>().getKeyValue("k"),
              CIMValue(uint64_t{1}));
    const CIMValue b = compiled.instances[0].getPropertyValue("b");
    EXPECT_EQ(b.get<CIMObjectPath>().getNameSpace(), "other/ns");
    EXPECT_EQ(b.get<CIMObjectPath>().getHost(), "h");
}

TEST(MofReferencesTest, AliasesReachBackAndForward) {
    const Compiled compiled = compileWith(
        MODEL +
        "instance of L as $L { a = $one; b = $Two; next = $l; many = {$two, NULL, $one}; };"
        "instance of C as $One { id = 1; }; instance of C as $two { id = 2; };");
    const CIMInstance& link = compiled.instances[0];
    EXPECT_EQ(link.getPropertyValue("a"), CIMValue(pathTo(1)));
    EXPECT_EQ(link.getPropertyValue("b"), CIMValue(pathTo(2)));
    EXPECT_EQ(link.getPropertyValue("next"), CIMValue(CIMObjectPath(String(), link)));
    EXPECT_EQ(link.getPropertyValue("many").getElement(0), CIMValue(pathTo(2)));
    EXPECT_TRUE(link.getPropertyValue("many").isNullElement(1));
}

TEST(MofReferencesTest, AliasesOfOtherNamespacesBringTheNamespace) {
    const String text = PRELUDE + MODEL + "instance of C as $c { id = 1; };";
    const auto contents = compile(
        {"MOF", text + "#pragma namespace (\"other\")\n" + text.substr(0, text.find("instance")) +
                    "instance of L { a = $c; b = $d; }; instance of C as $d { id = 2; };"},
        {}, "root", {});
    ASSERT_EQ(contents.size(), 2U);
    const CIMInstance& link = contents[1].instances.at(0);
    EXPECT_EQ(link.getPropertyValue("a"), CIMValue(pathTo(1).setNameSpace("root")));
    EXPECT_EQ(link.getPropertyValue("b"), CIMValue(pathTo(2)));
}

TEST(MofReferencesTest, AClassMayHaveAnAlias) {
    const Compiled compiled =
        compileWith(MODEL + "class E as $E : C {}; [Association] class M { [Key] E REF e = $E; };");
    EXPECT_EQ(compiled.cls("M").getProperty("e")->getValue(), CIMValue(CIMObjectPath("E")));
}

TEST(MofReferencesTest, MistakesAreTold) {
    EXPECT_EQ(complaintOf(MODEL + "instance of L { a = $x; };"), "the alias $x is not declared");
    EXPECT_EQ(
        complaintOf(MODEL + "instance of C as $x { id = 1; }; instance of C as $X { id = 2; };"),
        "the alias $X is declared twice");
    EXPECT_EQ(complaintOf("[Association] class L { [Key] L REF l; };"
                          "instance of L as $a { l = $b; }; instance of L as $b { l = $a; };"),
              "the key of $b depends on itself");
    EXPECT_EQ(complaintOf("class C { string s; }; [Association] class L { C REF c; };"
                          "instance of C as $c { s = \"\"; }; instance of L { c = $c; };"),
              "the class \"C\" has no key, so nothing can refer to its instances");
    EXPECT_EQ(complaintOf(MODEL + "instance of L { a = 5; };"),
              "expected an object path in a string or an alias; found '5'");
    EXPECT_NE(complaintOf(MODEL + "instance of L { a = \"C.id=\"; };"), "");
    EXPECT_NE(complaintOf(MODEL + "instance of L { a = \"C.id=70000,name=\\\"n\\\"\"; };"), "");
    EXPECT_NE(complaintOf(CLASSES), "");
}

TEST(MofReferencesTest, ADefaultMayReferToItsOwnClass) {
    const Compiled compiled = compileWith(
        "class C { [Key] uint16 id; };"
        "[Association] class Base { [Key] C REF a; [Key] uint8 n; };"
        "[Association] class L : Base {"
        " L REF next = \"L.a=\\\"C.id=1\\\",n=2\"; Base REF other = $l; };"
        "instance of L as $l { a = \"C.id=1\"; n = 2; };");
    const CIMProperty* next = compiled.cls("L").getProperty("next");
    EXPECT_EQ(next->getValue(), compiled.cls("L").getProperty("other")->getValue());
    const auto path = next->getValue().get<CIMObjectPath>();
    EXPECT_EQ(path.getKeyValue("n"), CIMValue(uint8_t{2}));
    EXPECT_EQ(path.getKeyValue("a"),
              CIMValue(CIMObjectPath("C").setKeyValue("id", CIMValue(uint16_t{1}))));
}

TEST(MofReferencesTest, DefaultsMayReferToEachOthersClasses) {
    String text;
    for (int i = 0; i < 20000; ++i) {
        const String next = std::to_string((i + 1) % 20000);
        text += "[Association] class L" + std::to_string(i) + " { [Key] uint8 n; L" + next +
                " REF r = \"L" + next + ".n=1\"; };\n";
    }
    const Compiled compiled = compileWith(text);
    EXPECT_EQ(compiled.cls("L19999").getProperty("r")->getValue(),
              CIMValue(CIMObjectPath("L0").setKeyValue("n", CIMValue(uint8_t{1}))));
}

TEST(MofReferencesTest, ADefaultThatIsAnInstanceOfItsOwnClassIsRefused) {
    EXPECT_EQ(
        complaintOf("class C { [EmbeddedInstance(\"C\")] string s = \"instance of C {};\"; };"),
        "the class \"C\" needs itself for a default value");
    EXPECT_EQ(complaintOf("[Association] class L { [Key] uint8 n = 1; L REF r = $l; };"
                          "instance of L as $l { };"),
              "the class \"L\" needs itself for a default value");
}

TEST(MofReferencesTest, ReferencesToClassesInACircleEndInOneError) {
    EXPECT_EQ(complaintOf("[Association] class L { [Key] uint8 n; A REF r = \"A.n=1\"; };"
                          "class A : B {}; class B : A {};"),
              "the class \"B\" inherits from itself");
}

TEST(MofReferencesTest, ChainsOfAliasesInKeysEndInOneError) {
    String text = MODEL + "[Association] class K { [Key] K REF k; };";
    for (int i = 0; i < 5000; ++i) {
        text += "instance of K as $k" + std::to_string(i) + " { k = $k" + std::to_string(i + 1) +
                "; };\n";
    }
    EXPECT_EQ(complaintOf(text), "too many aliases lead to each other through their keys");
}

}  // namespace
}  // namespace OpenWBEM::MOF
