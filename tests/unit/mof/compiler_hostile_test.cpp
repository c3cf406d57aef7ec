// SPDX-License-Identifier: Apache-2.0
//
// Any input gives a result or one error, in time and memory in proportion to its size.
#include <chrono>
#include <random>

#include "blocxx/Utf8.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

const String SAMPLE = PRELUDE + R"(
/* comment */ // another
[Description("a class")] class C { [Key] uint32 k; string s[2] = {"a\n", NULL}; real64 r = -1.5e3;
  char16 c = 'x'; [EmbeddedInstance("C")] string e = NULL; uint8 m([In] C REF p[]); };
[Association] class L { [Key] C REF a; [Key] C REF b; };
instance of C as $x { k = 0x10; s = {"1", "2"}; e = "{ k = 5; };"; };
instance of L { a = $x; b = "C.k=3"; };
)";

TEST(MofHostileTest, TheSampleItselfCompiles) {
    EXPECT_EQ(failureOf(SAMPLE), "");
}

TEST(MofHostileTest, EveryCutIsOneErrorOrAResult) {
    for (size_t length = 0; length < SAMPLE.size(); ++length) {
        const String message = failureOf(SAMPLE.substr(0, length));
        EXPECT_TRUE(message.empty() || message.find(": error: ") != String::npos);
    }
}

TEST(MofHostileTest, EveryChangedByteIsOneErrorOrAResult) {
    std::mt19937 random(20260101);  // NOLINT(cert-msc51-cpp): the same bytes each time
    for (int round = 0; round < 20000; ++round) {
        String text = SAMPLE;
        for (int i = 0; i <= round % 3; ++i) {
            text[random() % text.size()] = static_cast<char>(random());
        }
        const String message = failureOf(text);
        EXPECT_TRUE(message.empty() || message.find(": error: ") != String::npos);
        EXPECT_EQ(blocxx::Utf8::findInvalid(message), String::npos);
    }
}

TEST(MofHostileTest, EveryByteBetweenTokensIsOneErrorOrAResult) {
    for (int byte = 0; byte < 256; ++byte) {
        failureOf(String(1, static_cast<char>(byte)));
        failureOf("class A { " + String(3, static_cast<char>(byte)) + " };");
        failureOf("class A { string s = \"" + String(1, static_cast<char>(byte)) + "\"; };");
    }
}

TEST(MofHostileTest, CommentsMayHoldAnything) {
    String everything;
    for (int byte = 0; byte < 256; ++byte) {
        everything += byte == '\n' || byte == '\r' ? ' ' : static_cast<char>(byte);
    }
    EXPECT_EQ(failureOf("//" + everything + "\n/*" + everything + "*/ class A {}; //" + everything),
              "");
}

TEST(MofHostileTest, LongTokensTakeTimeInProportion) {
    const size_t size = size_t{100} << 20;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(failureOf("/*" + String(size, '*') + "*/"), "");
    EXPECT_EQ(failureOf("/*" + String(size, '\0') + "*/"), "");
    EXPECT_EQ(failureOf("//" + String(size, '\0')), "");
    EXPECT_NE(failureOf(String(size, 'a')), "");
    EXPECT_NE(failureOf("class A { string s = \"" + String(size, 'x')), "");
    EXPECT_NE(failureOf("class A { uint8 n = " + String(size, '9') + "; };"), "");
    EXPECT_NE(failureOf(String(size, '[')), "");
    // About a hundred times what linear work takes; quadratic work would take days.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
}

TEST(MofHostileTest, LongLiteralsComeThroughWhole) {
    const size_t size = size_t{20} << 20;
    const Compiled compiled =
        compileText("class A { string s = \"" + String(size, 'x') + "\" \"y\"; };");
    EXPECT_EQ(compiled.classes[0].getProperties()[0].getValue().get<String>().size(), size + 1);
}

TEST(MofHostileTest, KeysCannotBeMultipliedWithoutEnd) {
    String text =
        "class T { [Key] string k; };\n"
        "[Association] class L { [Key] T REF t; [Key] uint16 n; };\n"
        "instance of T as $t { k = \"" +
        String(size_t{2} << 20, 'x') + "\"; };\n";
    for (int i = 0; i < 200; ++i) {
        text += "instance of L { t = $t; n = " + std::to_string(i) + "; };\n";
    }
    EXPECT_EQ(complaintOf(text),
              "the keys of the instances are longer than 134217728 bytes together");
}

TEST(MofHostileTest, NamespacesCannotBeOpenedWithoutEnd) {
    String text;
    for (int i = 0; i < 10000; ++i) {
        text += "#pragma namespace(\"n" + std::to_string(i) + "\")\n";
    }
    try {
        compile({"MOF", text}, {}, "root", {});
        FAIL();
    } catch (const MOFCompilerException& e) {
        EXPECT_NE(String(e.getMessage()).find("the text declares something in more than 10000"),
                  String::npos);
    }
}

TEST(MofHostileTest, PathsMayLeadIntoManyNamespaces) {
    String text = PRELUDE +
                  "class T { [Key] string k; };\n"
                  "[Association] class L { [Key] uint32 n; L REF inner; };\n";
    for (int i = 0; i < 5000; ++i) {
        const String number = std::to_string(i);
        text += "instance of L { n = " + number + "; inner = \"n" + number + ":T.k=\\\"m" + number +
                ":T.k=1\\\"\"; };\n";
    }
    EXPECT_EQ(failureOf(text), "");
}

TEST(MofHostileTest, FeaturesCannotBeMultipliedWithoutEnd) {
    String text = "class Top {";
    for (int i = 0; i < 5000; ++i) {
        text += "uint8 p" + std::to_string(i) + ";";
    }
    text += "};";
    for (int i = 0; i < 2000; ++i) {
        text += "class C" + std::to_string(i) + ":Top{};";
    }
    EXPECT_NE(failureOf(text).find("features together"), String::npos);
    // An earlier mistake is reported although the limit is noticed first.
    EXPECT_NE(
        failureOf("class First : Last { uint8 x = 300; };" + text + "class Last {};").find("300"),
        String::npos);
}

TEST(MofHostileTest, ObjectsInObjectsEndInOneError) {
    String text = "{};";
    for (int i = 0; i < 12; ++i) {
        String escaped;
        for (const char c : text) {
            escaped += c == '"' || c == '\\' ? String{'\\', c} : String(1, c);
        }
        text = "{ e = \"" + escaped + "\"; };";
    }
    EXPECT_NE(complaintOf("class C { [EmbeddedInstance(\"C\")] string e; }; instance of C " + text),
              "");
}

}  // namespace
}  // namespace OpenWBEM::MOF
