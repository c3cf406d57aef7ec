// SPDX-License-Identifier: Apache-2.0
//
// Where names are looked up, and the order of the results.
#include <algorithm>
#include <numeric>
#include <random>
#include <set>

#include "openwbem/model/CIMObjectPath.hpp"
#include "tests/unit/mof/Compiled.hpp"
#include "tests/unit/mof/FakeHandle.hpp"

namespace OpenWBEM::MOF {
namespace {

using HandleRef = blocxx::IntrusiveReference<FakeHandle>;

StringArray namesOf(const Array<CIMClass>& classes) {
    StringArray names;
    for (const CIMClass& cls : classes) {
        names.push_back(cls.getName());
    }
    return names;
}

HandleRef handleWith(const String& mof) {
    HandleRef handle(new FakeHandle);
    const Compiled compiled = compileWith(mof);
    for (const CIMClass& cls : compiled.classes) {
        handle->add(cls);
    }
    for (const CIMQualifierType& type : compiled.qualifierTypes) {
        handle->add(type);
    }
    return handle;
}

TEST(MofLookupTest, SuperclassesComeFirstOtherwiseTheTextsOrder) {
    EXPECT_EQ(
        namesOf(compileText("class Z {}; class C : B {}; class X {}; class B : A {}; class A {};")
                    .classes),
        (StringArray{"Z", "A", "B", "C", "X"}));
}

TEST(MofLookupTest, QualifierTypesMayFollowTheirUse) {
    EXPECT_EQ(compileText("[Q] class C {}; Qualifier Q : boolean, Scope(any);").classes.size(), 1U);
}

TEST(MofLookupTest, TheHandleIsAskedForWhatTheTextDoesNotSay) {
    const HandleRef handle = handleWith("class Base { [Key] uint8 k; uint8 inherited = 4; };");
    const Compiled compiled = compileText(
        "[Description(\"d\")] class Sub : base { [Description(\"e\")] uint8 own; };"
        "instance of Sub { k = 1; }; instance of SUB { k = 2; }; instance of Base { k = 3; };",
        handle);
    EXPECT_EQ(compiled.cls("Sub").getSuperClass(), "Base");
    EXPECT_EQ(compiled.instances[0].getPropertyValue("inherited"), CIMValue(uint8_t{4}));
    EXPECT_EQ(compiled.classes.size(), 1U);
    EXPECT_TRUE(compiled.qualifierTypes.empty());
}

TEST(MofLookupTest, TheHandleIsAskedOnceForEachName) {
    const HandleRef handle = handleWith("class Base { [Key] uint8 k; };");
    String text;
    for (int i = 0; i < 20; ++i) {
        text += "[Description(\"" + std::to_string(i) + "\")] class C" + std::to_string(i) +
                " : Base {}; instance of Base { k = " + std::to_string(i) + "; };";
    }
    compileText(text, handle);
    std::sort(handle->asked.begin(), handle->asked.end());
    EXPECT_EQ(std::adjacent_find(handle->asked.begin(), handle->asked.end()), handle->asked.end());
}

TEST(MofLookupTest, TheTextGoesBeforeTheHandle) {
    const HandleRef handle = handleWith("class Base { [Key] uint8 k; uint8 old; };");
    const Compiled compiled =
        compileText(PRELUDE + "class Base { [Key] string fresh; }; class Sub : Base {};", handle);
    EXPECT_NE(compiled.cls("Sub").getProperty("fresh"), nullptr);
    EXPECT_EQ(compiled.cls("Sub").getProperty("old"), nullptr);
    EXPECT_TRUE(handle->asked.empty());
}

TEST(MofLookupTest, TheTextGoesBeforeTheHandleAlsoWhereItFollows) {
    const HandleRef handle = handleWith("class Base { [Key] uint8 k; uint8 old; };");
    const Compiled compiled =
        compileText("[Description(1)] class Sub : Base {}; class Base { [Key] string fresh; };" +
                        String("Qualifier Description : uint8, Scope(any);"
                               "Qualifier Key : boolean = false, Scope(property);"),
                    handle);
    EXPECT_NE(compiled.cls("Sub").getProperty("fresh"), nullptr);
    EXPECT_EQ(compiled.cls("Sub").getProperty("old"), nullptr);
    EXPECT_EQ(compiled.cls("Sub").getQualifier("Description")->getValue(), CIMValue(uint8_t{1}));
    EXPECT_TRUE(handle->asked.empty());
}

/// Declarations that depend on each other in every possible way.
const Array<String> DECLARATIONS = {
    "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);",
    "Qualifier Mark : string[], Scope(any);",
    "Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);",
    "Qualifier EmbeddedInstance : string = null, Scope(property);",
    "class Top { [Key] uint8 k; [Mark { \"a\", \"b\" }] string text = \"top\"; };",
    "[Mark { \"c\" }] class Middle : Top { string text = \"middle\"; };",
    "class Bottom : Middle { uint8 Work([Mark {}] uint8 p); };",
    "class Holder { [EmbeddedInstance(\"Bottom\")] string held = "
    "\"instance of Bottom { k = 1; };\"; };",
    "[Association] class Link { [Key] Top REF one = \"Bottom.k=1\"; [Key] Holder REF other; };",
    "instance of Bottom as $B { k = 7; };",
};

TEST(MofLookupTest, TheOrderOfTheTextDoesNotMatter) {
    const auto rendered = [](const Array<size_t>& order) {
        String text;
        for (const size_t place : order) {
            text += DECLARATIONS[place];
        }
        const Compiled compiled = compileText(text);
        std::set<String> objects;
        for (const CIMQualifierType& type : compiled.qualifierTypes) {
            objects.insert(toMOF(type));
        }
        for (const CIMClass& cls : compiled.classes) {
            objects.insert(toMOF(cls));
        }
        for (const CIMInstance& instance : compiled.instances) {
            objects.insert(toMOF(instance));
        }
        return objects;
    };
    Array<size_t> order(DECLARATIONS.size());
    std::iota(order.begin(), order.end(), 0);
    const std::set<String> straight = rendered(order);
    EXPECT_EQ(DECLARATIONS.size(), straight.size());
    std::reverse(order.begin(), order.end());
    EXPECT_EQ(straight, rendered(order));
    std::mt19937 random(11);  // NOLINT(cert-msc51-cpp): the same orders each time
    for (int i = 0; i < 200; ++i) {
        std::shuffle(order.begin(), order.end(), random);
        ASSERT_EQ(straight, rendered(order)) << i;
    }
}

TEST(MofLookupTest, WhatCannotBeParsedIsToldFirstAndThenTheFirstMistake) {
    EXPECT_NE(failureOf("class A { uint8 x = 300; }; class B { uint8 }; ").find("after 'uint8'"),
              String::npos);
    EXPECT_NE(failureOf("class A { uint8 x = 300; }; class B { uint8 y = 301; };").find("300"),
              String::npos);
    EXPECT_NE(failureOf("class A : Missing {}; class B { uint8 y = 301; };").find("Missing"),
              String::npos);
    EXPECT_NE(
        failureOf("class B { uint8 y = 301; }; Qualifier Q : uint8 = 302, Scope(any);").find("302"),
        String::npos);
}

TEST(MofLookupTest, AbsenceIsAnErrorInTheTextAndOtherFailuresPass) {
    const HandleRef handle(new FakeHandle);
    for (const auto absence : {CIMException::NOT_FOUND, CIMException::INVALID_CLASS}) {
        handle->absence = absence;
        EXPECT_NE(failureOf("class A : B {};", handle).find("unknown superclass \"B\""),
                  String::npos);
    }
    handle->absence = CIMException::ACCESS_DENIED;
    EXPECT_THROW(compileText("class A : B {};", handle), CIMException);
}

CIMObjectPath referenceIn(const String& mof, const HandleRef& handle) {
    return compileText(mof, handle).instances.at(0).getPropertyValue("r").get<CIMObjectPath>();
}

TEST(MofLookupTest, APathIsInLineWithTheClassOfTheNamespaceThatItNames) {
    const HandleRef handle = handleWith(
        "class A { [Key] uint8 k; };"
        "[Association] class L { [Key] uint8 id; A REF r; };");
    handle->classes["other:a"] =
        compileWith("class A { [Key] string k; [Key] sint16 n; };").cls("A");
    handle->classes["other:l"] =
        compileWith("class A {}; [Association] class L { [Key] A REF a; };").cls("L");
    const CIMObjectPath other = CIMObjectPath("A", "other")
                                    .setKeyValue("k", CIMValue("1"))
                                    .setKeyValue("n", CIMValue(int16_t{2}));
    EXPECT_EQ(referenceIn("instance of L { id = 1; r = \"other:A.k=\\\"1\\\",n=2\"; };", handle),
              other);
    EXPECT_EQ(
        referenceIn("instance of L { id = 1; r = \"//h/other:A.k=\\\"1\\\",n=2\"; };", handle),
        CIMObjectPath(other).setHost("h"));
    EXPECT_EQ(referenceIn("instance of L { id = 1; r = \"A.k=1\"; };", handle),
              CIMObjectPath("A").setKeyValue("k", CIMValue(uint8_t{1})));
    // A path in a key of a path is relative to the namespace of that path.
    EXPECT_EQ(referenceIn("instance of L { id = 1; "
                          "r = \"other:L.a=\\\"A.k=\\\\\\\"1\\\\\\\",n=2\\\"\"; };",
                          handle)
                  .getKeyValue("a"),
              CIMValue(CIMObjectPath(other).setNameSpace("")));
}

TEST(MofLookupTest, APathThatLeadsNowhereStaysAsWritten) {
    const HandleRef handle = handleWith(
        "class A { [Key] uint8 k; };"
        "[Association] class L { [Key] uint8 id; A REF r; };");
    handle->closed = {{"absent", CIMException::INVALID_NAMESPACE},
                      {"secret", CIMException::ACCESS_DENIED}};
    for (const char* text : {"absent:A.k=300", "secret:A.k=\\\"1\\\"", "//h/absent:A.x=1,y=TRUE",
                             "other:Unknown.k=-1", "other:A.k=300", "other:A.wrong=1"}) {
        const CIMObjectPath path =
            referenceIn("instance of L { id = 1; r = \"" + String(text) + "\"; };", handle);
        EXPECT_EQ("r = \"" + String(text) + "\"", "r = " + toMOF(CIMValue(path)));
    }
    handle->closed = {{"broken", CIMException::FAILED}};
    EXPECT_THROW(referenceIn("instance of L { id = 1; r = \"broken:A.k=1\"; };", handle),
                 CIMException);
}

TEST(MofLookupTest, RenderedReferencesAcrossNamespacesCompileToThemselves) {
    const HandleRef handle = handleWith(
        "class A { [Key] uint8 k; };"
        "[Association] class L { [Key] uint8 id; A REF r; A REF s; };");
    handle->classes["other:a"] = compileWith("class A { [Key] datetime k; };").cls("A");
    const String text =
        "instance of L { id = 1; r = \"other:A.k=\\\"20200101000000.000000+000\\\"\";"
        " s = \"//h:5/third/ns:B.k=\\\"\\\",n=-1\"; };";
    const CIMInstance once = compileText(text, handle).instances.at(0);
    EXPECT_EQ(once.getPropertyValue("r").get<CIMObjectPath>().getKeyValue("k").getType(),
              CIMDataType::DATETIME);
    EXPECT_EQ(compileText(toMOF(once), handle).instances.at(0), once);
}

TEST(MofLookupTest, AClassThatTheHandleHasBelowItselfHidesNoEnd) {
    const HandleRef handle = handleWith("class B {}; class A : B {};");
    EXPECT_NE(failureOf(PRELUDE + "class X {}; [Association] class L { [Key] uint8 n; X REF x; };"
                                  "class B : A { [Key] uint8 k; };"
                                  "instance of L { n = 1; x = \"B.k=1\"; };",
                        handle)
                  .find("expected a reference to \"X\"; found one to \"B\""),
              String::npos);
}

TEST(MofLookupTest, ANamespaceThatIsNotThereIsToldAtItsPragma) {
    const HandleRef handle = handleWith("class A { [Key] uint8 k; };");
    handle->closed = {{"nope", CIMException::INVALID_NAMESPACE}};
    try {
        compile({"MOF", "class B {};\n#pragma namespace(\"nope\")\ninstance of A { k = 1; };"},
                handle, "root", {});
        FAIL();
    } catch (const MOFCompilerException& e) {
        EXPECT_STREQ(e.getMessage(),
                     "MOF:2:19: error: the namespace \"nope\" does not exist\n"
                     "#pragma namespace(\"nope\")\n"
                     "                  ^");
    }
}

TEST(MofLookupTest, EachObjectRenderedCompilesAgainstTheOthers) {
    const HandleRef handle = handleWith(R"(
        class Base { [Key] uint8 k; [Description("p")] string s; uint32 m([In] uint8 a); };
        class Sub : Base { [Override("s"), Description("q")] string s = "x"; };
        [Association] class L { [Key] Base REF b; [Key] Sub REF s; };)");
    for (const auto& [name, cls] : handle->classes) {
        const Compiled again = compileText(toMOF(cls), handle);
        EXPECT_EQ(again.classes.at(0), cls) << toMOF(cls);
    }
}

TEST(MofLookupTest, LongChainsOfSuperclassesNeedNoStack) {
    String text;
    for (int i = 0; i < 20000; ++i) {
        text += "class C" + std::to_string(i) + ":C" + std::to_string(i + 1) + "{};";
    }
    const Compiled compiled = compileText(text + "class C20000 {};");
    EXPECT_EQ(compiled.classes.front().getName(), "C20000");
    EXPECT_EQ(compiled.classes.back().getName(), "C0");
}

}  // namespace
}  // namespace OpenWBEM::MOF
