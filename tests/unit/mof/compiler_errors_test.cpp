// SPDX-License-Identifier: Apache-2.0
//
// Each mistake and its whole message.
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

struct Row {
    const char* sentence;
    String text;
    String message;
};

const Row ROWS[] = {
    {"a missing semicolon is told at what stands in its place", "class A {\n  uint8 x\n};",
     "MOF:3:1: error: expected '(', ';', '[' or '=' after 'x'; found '}'\n};\n^"},
    {"the end of the text is named", "class A {\n  uint8 x;\n",
     "MOF:3:1: error: expected a name, a data type, '[' or '}' after ';'; found the end of the "
     "text\n"
     "\n^"},
    {"a text may end at once", "class",
     "MOF:1:6: error: expected a name or a data type after 'class'; found the end of the text\n"
     "class\n     ^"},
    {"the first word must begin a declaration", "uint8 x;",
     "MOF:1:1: error: expected the end of the text, 'class', 'instance', '#pragma', 'qualifier' or "
     "'['; found 'uint8'\nuint8 x;\n^"},
    {"tabs stay tabs above the caret", "class A {\n\tuint8\t;\n};",
     "MOF:2:8: error: expected a name or a data type after 'uint8'; found ';'\n\tuint8\t;\n\t     "
     "\t^"},
    {"columns count characters", "class \xC3\x84 { } x",
     "MOF:1:13: error: expected ';' after '}'; found 'x'\nclass \xC3\x84 { } x\n            ^"},
    {"the caret stands below wide and behind combining characters",
     "class \xE4\xB8\xAD\xE6\x96\x87 { } /* e\xCC\x81 \xF0\x9F\x98\x80 */ x",
     "MOF:1:25: error: expected ';' after '}'; found 'x'\n"
     "class \xE4\xB8\xAD\xE6\x96\x87 { } /* e\xCC\x81 \xF0\x9F\x98\x80 */ x\n" +
         String(26, ' ') + "^"},
    {"a mark at the start has no column",
     "\xEF\xBB\xBF"
     "class ;",
     "MOF:1:7: error: expected a name or a data type after 'class'; found ';'\nclass ;\n      ^"},
    {"CR LF ends a line", "class A {};\r\nclass ;\r\n",
     "MOF:2:7: error: expected a name or a data type after 'class'; found ';'\nclass ;\n      ^"},
    {"an unterminated string is told where it begins", "class A { string s = \"abc;\n};",
     "MOF:1:22: error: unterminated string literal: expected '\"' before the end of the line\n"
     "class A { string s = \"abc;\n                     ^"},
    {"an unterminated character likewise", "class A { char16 s = 'x;\n};",
     "MOF:1:22: error: unterminated character literal: expected \"'\" before the end of the line\n"
     "class A { char16 s = 'x;\n                     ^"},
    {"an unterminated comment likewise", "class A {};\n /* never",
     "MOF:2:2: error: unterminated comment: expected '*/' before the end of the text\n /* never\n "
     "^"},
    {"a bad escape is pointed at", "class A { string s = \"a\\q\"; };",
     "MOF:1:24: error: unknown escape sequence: expected one of \\b \\t \\n \\f \\r \\\" \\' \\\\ "
     "\\x\n"
     "class A { string s = \"a\\q\"; };\n                       ^"},
    {"a number must be one", "class A { uint8 x = 09; };",
     "MOF:1:21: error: '09' is not a number\nclass A { uint8 x = 09; };\n                    ^"},
    {"a range is told with its ends", "class A { uint8 x = 256; };",
     "MOF:1:21: error: '256' is out of range for uint8 (0 to 255)\nclass A { uint8 x = 256; };\n"
     "                    ^"},
    {"a value of another kind", "class A { uint8 x = \"1\"; };",
     "MOF:1:21: error: expected an integer; found '\"1\"'\nclass A { uint8 x = \"1\"; };\n"
     "                    ^"},
    {"a scalar for an array", "class A { uint8 x[] = 1; };",
     "MOF:1:23: error: expected an array in braces; found '1'\nclass A { uint8 x[] = 1; };\n"
     "                      ^"},
    {"an array for a scalar", "class A { uint8 x = {1}; };",
     "MOF:1:22: error: expected a single value; found an array\nclass A { uint8 x = {1}; };\n"
     "                     ^"},
    {"a fixed array of another length", "class A { uint8 x[3] = {1}; };",
     "MOF:1:25: error: expected 3 elements, the declared size of the array; found 1\n"
     "class A { uint8 x[3] = {1}; };\n                        ^"},
    {"an array of no size", "class A { uint8 x[0]; };",
     "MOF:1:19: error: expected a positive size of the array; found '0'\nclass A { uint8 x[0]; };\n"
     "                  ^"},
    {"an unknown type of a property", "class A { strin x; };",
     "MOF:1:11: error: unknown type 'strin'; as the class of a reference it would be followed by "
     "'ref', not by 'x'\nclass A { strin x; };\n          ^"},
    {"an unknown type of a method", "class A {\n  integer m();\n};",
     "MOF:2:3: error: unknown type 'integer'; as the class of a reference it would be followed by "
     "'ref', not by 'm'\n  integer m();\n  ^"},
    {"an unknown type of a parameter", "class A { uint8 m(uint p[]); };",
     "MOF:1:19: error: unknown type 'uint'; as the class of a reference it would be followed by "
     "'ref', not by 'p'\nclass A { uint8 m(uint p[]); };\n                  ^"},
    {"an unknown type at the end of the text", "class A { B",
     "MOF:1:11: error: unknown type 'B'; as the class of a reference it would be followed by "
     "'ref', not by the end of the text\nclass A { B\n          ^"},
    {"an unknown type of a qualifier", "Qualifier Q : bool, Scope(any);",
     "MOF:1:15: error: unknown type 'bool'\nQualifier Q : bool, Scope(any);\n              ^"},
    {"an unknown superclass", "class A : B {};",
     "MOF:1:11: error: unknown superclass \"B\"\nclass A : B {};\n          ^"},
    {"a class above itself", "class A : B {};\nclass B : A {};",
     "MOF:1:7: error: the class \"A\" inherits from itself\nclass A : B {};\n      ^"},
    {"a class twice", "class A {};\nclass a {};",
     "MOF:2:7: error: the class \"a\" is declared twice in the namespace \"root\"\nclass a {};\n"
     "      ^"},
    {"a qualifier type twice",
     "Qualifier A : string, Scope(any);\nQualifier A : string, Scope(any);",
     "MOF:2:11: error: the qualifier type \"A\" is declared twice in the namespace \"root\"\n"
     "Qualifier A : string, Scope(any);\n          ^"},
    {"a qualifier that nobody declared", "[Nope] class A {};",
     "MOF:1:2: error: the qualifier \"Nope\" is not declared\n[Nope] class A {};\n ^"},
    {"an unknown scope", "Qualifier A : string, Scope(nowhere);",
     "MOF:1:29: error: expected Class, Association, Indication, Property, Reference, Method, "
     "Parameter "
     "or Any; found 'nowhere'\nQualifier A : string, Scope(nowhere);\n                            "
     "^"},
    {"an unknown flavor", "Qualifier A : string, Scope(any), Flavor(sweet);",
     "MOF:1:42: error: expected EnableOverride, DisableOverride, ToSubclass, Restricted or "
     "Translatable; found 'sweet'\nQualifier A : string, Scope(any), Flavor(sweet);\n"
     "                                         ^"},
    {"flavors of a type that contradict each other",
     "Qualifier A : string, Scope(any), Flavor(EnableOverride, DisableOverride);",
     "MOF:1:58: error: the flavors EnableOverride and DisableOverride contradict each other\n"
     "Qualifier A : string, Scope(any), Flavor(EnableOverride, DisableOverride);\n" +
         String(57, ' ') + "^"},
    {"flavors of a qualifier that contradict each other",
     "Qualifier A : string, Scope(any);\n[A(\"\") : restricted tosubclass] class B {};",
     "MOF:2:21: error: the flavors ToSubclass and Restricted contradict each other\n"
     "[A(\"\") : restricted tosubclass] class B {};\n                    ^"},
    {"an unknown class", "instance of A {};",
     "MOF:1:13: error: unknown class \"A\"\ninstance of A {};\n            ^"},
    {"an unknown property", "class A { };\ninstance of A { x = 1; };",
     "MOF:2:17: error: the class \"A\" has no property \"x\"\ninstance of A { x = 1; };\n"
     "                ^"},
    {"a property twice", "class A { uint8 x; };\ninstance of A { x = 1; X = 2; };",
     "MOF:2:24: error: the property \"X\" is given twice\ninstance of A { x = 1; X = 2; };\n"
     "                       ^"},
    {"a long line is cut around its error", String(200, ' ') + "class ;" + String(200, ' '),
     "MOF:1:207: error: expected a name or a data type after 'class'; found ';'\n..." +
         String(54, ' ') + "class ;" + String(39, ' ') + "...\n" + String(63, ' ') + "^"},
    {"a long token is cut", "class A { uint8 x = " + String(100, 'a') + "; };",
     "MOF:1:21: error: expected an alias, a string, a character, an integer, a real number, "
     "'true', 'false', 'null' or '{' after '='; found '" +
         String(40, 'a') + "...'\nclass A { uint8 x = " + String(40, 'a') + "...\n" +
         String(20, ' ') + "^"},
    {"what a terminal would obey is not shown", "class A {}; \x1b[31m",
     "MOF:1:13: error: unexpected character '?'\nclass A {}; ?[31m\n            ^"},
    {"a zero byte", String("class A {};\0", 12),
     "MOF:1:12: error: unexpected zero byte\nclass A {};?\n           ^"},
    {"broken UTF-8", "class A\xFF {};",
     "MOF:1:8: error: invalid UTF-8\nclass A\xEF\xBF\xBD {};\n       ^"},
};

TEST(MofErrorsTest, EveryMistakeHasItsMessage) {
    for (const Row& row : ROWS) {
        EXPECT_EQ(failureOf(row.text), row.message) << row.sentence;
    }
}

TEST(MofErrorsTest, TheExceptionKnowsItsPlace) {
    Compiled out;
    try {
        compileMOF("\n  class ;", {}, "root", out.instances, out.classes, out.qualifierTypes,
                   "name");
        FAIL();
    } catch (const MOFCompilerException& e) {
        EXPECT_EQ(e.getSourceName(), "name");
        EXPECT_EQ(e.getSourceLine(), 2U);
        EXPECT_EQ(e.getSourceColumn(), 9U);
        EXPECT_STREQ(e.type(), "MOFCompilerException");
        const std::unique_ptr<blocxx::Exception> copy(e.clone());
        EXPECT_STREQ(copy->getMessage(), e.getMessage());
        EXPECT_THROW(copy->rethrow(), MOFCompilerException);
    }
}

/// "LINE:COLUMN" of the failure for the PRELUDE and `mof`, with lines counted from `mof`.
String placeOf(const String& mof) {
    try {
        compileWith(mof);
        return "none";
    } catch (const MOFCompilerException& e) {
        const auto before = static_cast<size_t>(std::count(PRELUDE.begin(), PRELUDE.end(), '\n'));
        return std::to_string(e.getSourceLine() - before) + ":" +
               std::to_string(e.getSourceColumn());
    }
}

TEST(MofErrorsTest, MistakesOfDerivationPointAtTheFeatureOrQualifier) {
    EXPECT_EQ(placeOf("class A { uint8 x; string x; };"), "1:27");
    EXPECT_EQ(placeOf("class A { uint8 m(uint8 p, [Key] uint8 q); };"), "1:29");
    EXPECT_EQ(placeOf("class A {\n [Key,\n  Key] string k; };"), "2:3");
    EXPECT_EQ(placeOf("[Key] class A { };"), "1:2");
    EXPECT_EQ(placeOf("class A { uint8 x; }; class B : A { string x; };"), "1:44");
    EXPECT_EQ(placeOf("class A { A REF r; };"), "1:17");
    EXPECT_EQ(placeOf("class A { [Override(\"y\")] string x; };"), "1:12");
    EXPECT_EQ(placeOf("class A { uint8 x; uint8 X(); };"), "1:26");
    EXPECT_EQ(placeOf("class A { uint8 m(uint8 p); };\nclass B : A { uint8 m(uint16 P); };"),
              "2:30");
    EXPECT_EQ(placeOf("class A { uint8 m(uint8 p); };\nclass B : A { uint8 m(); };"), "2:21");
    EXPECT_EQ(placeOf("Qualifier Terminal : boolean = false, Scope(class);\n"
                      "[Terminal] class A { };\nclass B : A { };"),
              "3:7");
}

TEST(MofErrorsTest, MistakesOfInstancesPointAtThem) {
    const String model = "class A { [Key] uint8 k; datetime d; string f[2]; };\n";
    EXPECT_EQ(placeOf(model + "instance of A { };"), "2:13");
    EXPECT_EQ(placeOf(model + "instance of A { k = NULL; };"), "2:17");
    EXPECT_EQ(placeOf(model + "instance of A { k = 1; d = \"tomorrow\"; };"), "2:28");
    EXPECT_EQ(placeOf(model + "instance of A { k = 1; f = {}; };"), "2:24");
    EXPECT_EQ(placeOf(model + "instance of A { k = 1; [Nope] d = NULL; };"), "2:25");
}

TEST(MofErrorsTest, AnInstanceOfAnAbstractClassIsRefusedAtItsPlace) {
    const String model =
        "Qualifier Abstract : boolean = false, Scope(any), Flavor(Restricted);\n"
        "[Abstract] class A { [Key] uint8 k; };\nclass B : A { };\n";
    EXPECT_EQ(placeOf(model + "instance of B { k = 1; };"), "none");
    EXPECT_EQ(placeOf(model + "instance of A { k = 1; };"), "4:13");
    EXPECT_EQ(complaintOf(model + "instance of a { k = 1; };"),
              "the class \"A\" is abstract and has no instances");
}

TEST(MofErrorsTest, AnInstanceTwiceIsRefusedAtTheSecond) {
    const String model =
        "class A { [Key] string k; [Key] uint8 n = 1; };\n"
        "class B : A { };\nclass None { string k; };\n"
        "[Association] class L { [Key] A REF a; };\n";
    const String once =
        "instance of A { k = \"x\"; };\ninstance of A { k = \"X\"; };\n"
        "instance of A { k = \"x\"; n = 2; };\ninstance of B { k = \"x\"; };\n"
        "instance of None { };\ninstance of None { };\n"
        "instance of L { a = \"root:A.k=\\\"x\\\",n=1\"; };\n";
    EXPECT_EQ(placeOf(model + once), "none");
    EXPECT_EQ(placeOf(model + once + "instance of a { N = 1; K = \"x\"; };"), "12:13");
    EXPECT_EQ(complaintOf(model + once + "instance of A { k = \"x\"; };"),
              "the instance 'A.k=\"x\",n=1' is declared twice in the namespace \"root\"");
    EXPECT_EQ(placeOf(model + once + "instance of L { a = \"A.n=1,k=\\\"x\\\"\"; };"), "12:13");
}

TEST(MofErrorsTest, TheSameInstanceMayStandInAnotherNamespace) {
    const String text = "class A { [Key] string k; };\ninstance of A { k = \"x\"; };\n";
    EXPECT_EQ(compile({"MOF", PRELUDE + text + "#pragma namespace(\"other\")\n" + PRELUDE + text},
                      {}, "root", {})
                  .size(),
              2U);
}

TEST(MofErrorsTest, WhatIsDoneWithAnObjectLaterCanBeToldAtItsPlace) {
    const auto contents = compile(
        {"first.mof", "class B : A { };\n#pragma include(\"second.mof\")\n instance of B { };"}, {},
        "root", [](const String& name, const String&) {
            return Source{name,
                          "Qualifier Q : string, Scope(any);\nclass A { };\n"
                          "#pragma namespace(\"other\")\nclass C { };\n"
                          "#pragma namespace(\"root\")"};
        });
    const auto told = [&](size_t ns, const char* at) {
        const MOFCompilerException e = contents[ns].places.failure(at, "refused", 8);
        EXPECT_EQ(e.getErrorCode(), 8);
        return String(e.getMessage());
    };
    EXPECT_EQ(contents[0].places.nameSpace, nullptr);
    EXPECT_EQ(
        told(1, contents[1].places.nameSpace),
        "second.mof:3:19: error: refused\n#pragma namespace(\"other\")\n" + String(18, ' ') + "^");
    EXPECT_EQ(told(0, contents[0].places.qualifierTypes.at(0)),
              "second.mof:1:11: error: refused\nQualifier Q : string, Scope(any);\n          ^");
    EXPECT_EQ(told(0, contents[0].places.classes.at(0)),
              "second.mof:2:7: error: refused\nclass A { };\n      ^");
    EXPECT_EQ(told(0, contents[0].places.classes.at(1)),
              "first.mof:1:7: error: refused\nclass B : A { };\n      ^");
    EXPECT_EQ(told(0, contents[0].places.instances.at(0)),
              "first.mof:3:14: error: refused\n instance of B { };\n             ^");
}

TEST(MofErrorsTest, SurrogatesAndZeroAreNoCharactersOfStrings) {
    for (const char* text :
         {"\\xD800", "\\xDC00", "\\xD800\\x41", "\\x0", "\\x0000", "\\x", "\\xg"}) {
        EXPECT_NE(complaintOf("class A { string s = \"" + String(text) + "\"; };"), "") << text;
    }
    for (const char* text : {"", "ab", "\\x41z", "\xF0\x9F\x98\x80"}) {
        EXPECT_NE(complaintOf("class A { char16 s = '" + String(text) + "'; };"), "") << text;
    }
}

TEST(MofErrorsTest, TextThatIsOnlyCheckedIsGivenBackWithTheSameMessage) {
    for (const Row& row : ROWS) {
        String text = row.text;
        try {
            checkMOF(text, CIMOMHandleIFCRef(), "root");
            ADD_FAILURE() << "compiled: " << row.sentence;
        } catch (const MOFCompilerException& e) {
            EXPECT_EQ(e.getMessage(), row.message) << row.sentence;
        }
        EXPECT_EQ(text, row.text) << row.sentence;
    }
    for (const char* good : {"", "class A { };", "\xEF\xBB\xBF class A { uint8 X = 7; };\n"}) {
        String text = good;
        checkMOF(text, CIMOMHandleIFCRef(), "root");
        EXPECT_EQ(text, good);
    }
}

}  // namespace
}  // namespace OpenWBEM::MOF
