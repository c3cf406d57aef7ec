// SPDX-License-Identifier: Apache-2.0
#include "fennik/mofrepair/FNHacks.hpp"

#include <gtest/gtest.h>

#include <random>

#include "blocxx/LogAppender.hpp"
#include "fennik/common/RegularExpression.hpp"

namespace KOVNS2 {
namespace {

using blocxx::String;
using blocxx::StringArray;

/// Captures the debug lines of the repair.
class RepairLog {
public:
    RepairLog() { blocxx::LogAppender::setDefaultLogAppender(new Appender(m_lines)); }
    ~RepairLog() { blocxx::LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef()); }
    RepairLog(const RepairLog&) = delete;
    RepairLog& operator=(const RepairLog&) = delete;

    const StringArray& lines() const { return m_lines; }

private:
    class Appender : public blocxx::LogAppender {
    public:
        explicit Appender(StringArray& lines) : m_lines(lines) {}
        bool accepts(std::string_view component, blocxx::ELogLevel) const override {
            return component == "kov.fennikx.hacks";
        }
        void append(const blocxx::LogMessage& message) override {
            EXPECT_EQ(message.level, blocxx::ELogLevel::DEBUG);
            m_lines.push_back(message.text);
        }

    private:
        StringArray& m_lines;
    };

    StringArray m_lines;
};

String repaired(String mof) {
    fixBrokenEmbeddedInstances(mof);
    return mof;
}

/// `entry` after the repair of an embedded instance that has no other entry.
String repairedEntry(const String& entry) {
    const String line = repaired("Process = \"" + entry + "\";");
    EXPECT_EQ(line.substr(0, 11) + line.substr(line.size() - 2), "Process = \"\";");
    return line.substr(11, line.size() - 13);
}

String escaped(String mof) {
    fixImproperlyEscapedCharacters(mof);
    return mof;
}

void expectUnchanged(const StringArray& texts) {
    for (const String& text : texts) {
        EXPECT_EQ(repaired(text), text);
    }
}

void expectEntriesUnchanged(const StringArray& entries) {
    for (const String& entry : entries) {
        EXPECT_EQ(repairedEntry(entry), entry);
    }
}

TEST(EmbeddedInstanceRepair, AProcessIsRepaired) {
    EXPECT_EQ(repaired(R"(    Process = "{\nUserName = root;\nParameters = -a,-b;\n}";)"),
              R"(    Process = "{\nUserName = \"root\";\nParameters = { \"-a\", \"-b\" };\n};";)");
}

TEST(EmbeddedInstanceRepair, OnlyTheLinesOfEmbeddedInstancesChange) {
    EXPECT_EQ(repaired("instance of A {\n\n"
                       "\tUserName = root;\n"
                       "\t Process\t=\t\"Handle = 1;\\n}\" ; \t\n"
                       "  Parameters = x;\n"
                       "Process=\"Name = n;\";\n"
                       "};\n\n"),
              "instance of A {\n\n"
              "\tUserName = root;\n"
              "\t Process\t=\t\"Handle = \\\"1\\\";\\n};\" ; \t\n"
              "  Parameters = x;\n"
              "Process=\"Name = \\\"n\\\";\";\n"
              "};\n\n");
}

TEST(EmbeddedInstanceRepair, ATextWithoutEmbeddedInstancesIsLeft) {
    expectUnchanged({"", "\n", "\n\n", "a", "a\n", "\r\n", "Process = 1;\n", "Process \"x\";\n",
                     "MyProcess = \"Name = x;\";", "process = \"Name = x;\";",
                     "x Process = \"Name = x;\";", "Processes = \"Name = x;\";",
                     String("\0Process = \"Name = x;\";", 23), "\xff\xfe"});
}

TEST(EmbeddedInstanceRepair, EveryStringPropertyGetsQuotes) {
    for (const char* name :
         {"UserName", "ParentProcessID", "ProcessTTY", "ModulePath", "CSCreationClassName",
          "CSName", "OSCreationClassName", "CreationClassName", "OSName", "Handle", "Name"}) {
        EXPECT_EQ(repairedEntry(String(name) + " = x;"), String(name) + " = \\\"x\\\";");
    }
}

TEST(EmbeddedInstanceRepair, OtherPropertiesAreLeft) {
    expectEntriesUnchanged({"Description = x;", "MyName = x;", "name = x;", "Names = x;",
                            "MyParameters = x;", "a Name = x;"});
}

TEST(EmbeddedInstanceRepair, TheBlanksOfAnEntryAreKept) {
    EXPECT_EQ(repairedEntry(" \t Name\t=  a b \t; "), " \t Name\t=  \\\"a b\\\" \t; ");
    EXPECT_EQ(repairedEntry("Name=x;"), "Name=\\\"x\\\";");
    EXPECT_EQ(repairedEntry("\tParameters =a, b ;"), "\tParameters ={ \\\"a\\\", \\\" b\\\" } ;");
}

TEST(EmbeddedInstanceRepair, WhatIsInQuotesIsLeft) {
    expectEntriesUnchanged({"Name = \\\"x\\\";", "Name = \\\"\\\";", "Name = \\\"a;b\\\" ;"});
}

TEST(EmbeddedInstanceRepair, AQuoteAtOneEndGetsAFurtherPair) {
    EXPECT_EQ(repairedEntry("Name = \\\"x;"), "Name = \\\"\\\"x\\\";");
    EXPECT_EQ(repairedEntry("Name = x\\\";"), "Name = \\\"x\\\"\\\";");
    EXPECT_EQ(repairedEntry("Name = \"x\";"), "Name = \\\"\"x\"\\\";");
}

TEST(EmbeddedInstanceRepair, AnEmptyValueGetsQuotes) {
    EXPECT_EQ(repairedEntry("Name =;"), "Name =\\\"\\\";");
    EXPECT_EQ(repairedEntry("Parameters =;"), "Parameters ={ \\\"\\\" };");
    // The blank counts as white space before the value and as white space after it.
    EXPECT_EQ(repairedEntry("Name = ;"), "Name = \\\"\\\" ;");
}

TEST(EmbeddedInstanceRepair, AnEntryWithoutItsSemicolonIsLeft) {
    expectEntriesUnchanged({"Name = x", "Name = ", "Name", "Parameters = a,b", "Name = x; y"});
}

TEST(EmbeddedInstanceRepair, ValuesMayHoldWhatEntriesAreMadeOf) {
    EXPECT_EQ(repairedEntry("Name = a=b;c;;"), "Name = \\\"a=b;c;\\\";");
    EXPECT_EQ(repairedEntry("Name = Process = \"x\";"), "Name = \\\"Process = \"x\"\\\";");
    EXPECT_EQ(repairedEntry("Parameters = {a;"), "Parameters = { \\\"{a\\\" };");
    EXPECT_EQ(repairedEntry("Parameters = a};"), "Parameters = { \\\"a}\\\" };");
    EXPECT_EQ(repairedEntry("Parameters = ,,;"), "Parameters = { \\\"\\\", \\\"\\\", \\\"\\\" };");
}

TEST(EmbeddedInstanceRepair, WhatIsInBracesIsLeft) {
    expectEntriesUnchanged(
        {"Parameters = { \\\"a\\\" };", "Parameters = {};", "Parameters={a,b} ;"});
}

TEST(EmbeddedInstanceRepair, AClosingBraceGetsItsSemicolon) {
    EXPECT_EQ(repairedEntry("}"), "};");
    EXPECT_EQ(repairedEntry("Other = }"), "Other = };");
    expectEntriesUnchanged({"Name = }", "Parameters = }"});
    expectEntriesUnchanged({"};", "} ;", "} ", "}\t", " }", "}}", "} x", "{", "", "};;"});
}

TEST(EmbeddedInstanceRepair, EmptyEntriesAreKept) {
    expectEntriesUnchanged({"\\n", "\\n\\n", "{\\n\\n};\\n"});
    EXPECT_EQ(repairedEntry("\\n}\\n"), "\\n};\\n");
}

TEST(EmbeddedInstanceRepair, ALineWithoutItsEndKeepsAllBehindTheQuote) {
    EXPECT_EQ(repaired("Process = \"Name = x;\\nHandle = y"),
              "Process = \"Name = \\\"x\\\";\\nHandle = y");
    EXPECT_EQ(repaired("Process = \"}\\nName = x;"), "Process = \"};\\nName = \\\"x\\\";");
    EXPECT_EQ(repaired("Process = \"}\";\r"), "Process = \"}\";\r");
    expectUnchanged({"Process = \"", "Process = \";", "Process = \" ; ", "Process = \"\";",
                     "Process = \"x\"; y"});
}

TEST(EmbeddedInstanceRepair, TheListsMayBeOthers) {
    String mof =
        "E = \"a = 1;\\nb = 2;\\nc = 3;\\nName = 4;\\n}\";\nF = \"b = 5;\";\n"
        "Process = \"Name = x;\";";
    fixBrokenEmbeddedInstances(mof, {"E", "F"}, {"a", "b"}, {"c", "d"});
    EXPECT_EQ(mof,
              "E = \"a = \\\"1\\\";\\nb = \\\"2\\\";\\nc = { \\\"3\\\" };\\nName = 4;\\n};\";\n"
              "F = \"b = \\\"5\\\";\";\nProcess = \"Name = x;\";");
}

TEST(EmbeddedInstanceRepair, APropertyInBothListsIsAString) {
    String mof = "E = \"a = 1;\";";
    fixBrokenEmbeddedInstances(mof, {"E"}, {"a"}, {"a"});
    EXPECT_EQ(mof, "E = \"a = \\\"1\\\";\";");
}

TEST(EmbeddedInstanceRepair, TellsThatThereIsNothingToDo) {
    const RepairLog log;
    EXPECT_EQ(repaired("Name = x;"), "Name = x;");
    EXPECT_EQ(log.lines(), StringArray{"fixBrokenEmbeddedInstances: Nothing to replace.  Could not "
                                       "find any embedded instance lines."});
}

TEST(EmbeddedInstanceRepair, TellsEveryStep) {
    const RepairLog log;
    repaired("a\n Process = \"Name = x;\\nParameters = y;\\n}\";");
    StringArray expected{
        "Need to (potentially) alter embedded instances:\n"
        "a\n Process = \"Name = x;\\nParameters = y;\\n}\";",
        "Fixing bad embedded instance on line:  Process = \"Name = x;\\nParameters = y;\\n}\";",
        "Line.start --> Process = \"<--",
        "Line.end -->\";<--",
        "RHS=Name = x;\\nParameters = y;\\n}",
        "Checking RHS entry: Name = x;",
        "RHS.start -->Name = <--",
        "RHS.end -->;<--",
        "RHS.data -->x<--",
        "Added quotes. New entry: Name = \\\"x\\\";",
        "Checking RHS entry: Parameters = y;",
        "RHS.start -->Parameters = <--",
        "RHS.end -->;<--",
        "RHS.data -->y<--",
        "Added quotes and braces. New entry: -->Parameters = { \\\"y\\\" };<--",
        "Checking RHS entry: }",
        "RHS.start --><--",
        "RHS.end --><--",
        "RHS.data -->}<--",
        "Adding semicolon.  New entry: -->};<--",
        "Altered embedded instance line:  Process = \"Name = \\\"x\\\";\\nParameters = { \\\"y\\\" "
        "};\\n};\";",
        "Corrected MOF:\na\n Process = \"Name = \\\"x\\\";\\nParameters = { \\\"y\\\" };\\n};\";"};
    for (String& line : expected) {
        line = "fixBrokenEmbeddedInstances: " + line;
    }
    EXPECT_EQ(log.lines(), expected);
}

/// A text of `size` random pieces that matter to the repair.
String randomText(std::mt19937& random, size_t size) {
    static const StringArray PIECES{"Process = \"",
                                    "Name",
                                    "Parameters",
                                    " ",
                                    "\t",
                                    "=",
                                    ";",
                                    "\"",
                                    "\\\"",
                                    "{",
                                    "}",
                                    ",",
                                    "x",
                                    "\\n",
                                    "\n",
                                    "\";\n",
                                    "Name = ",
                                    "\\",
                                    "n",
                                    "\r",
                                    "\\nName = ",
                                    ";\\n",
                                    "}\\n",
                                    "\\nParameters = "};
    String text;
    for (size_t i = 0; i < size; ++i) {
        text += PIECES[random() % PIECES.size()];
    }
    return text;
}

TEST(EmbeddedInstanceRepair, ASecondTimeChangesNothing) {
    std::mt19937 random(1);
    size_t changed = 0;
    for (int i = 0; i < 5000; ++i) {
        const String text = "Process = \"" + randomText(random, random() % 20);
        const String once = repaired(text);
        changed += once == text ? 0 : 1;
        ASSERT_EQ(repaired(once), once) << text;
    }
    EXPECT_GT(changed, 100U);
}

// The code finds the endings without regular expressions; here it is compared with these.
TEST(EmbeddedInstanceRepair, EndingsAreThoseOfTheirPatterns) {
    const RegularExpression entryStart("^[ \t]*[^ \t=]+[ \t]*=[ \t]*", 0);
    const RegularExpression entryEnd("[ \t]*;[ \t]*$", 0);
    const RegularExpression lineEnd("\"[ \t]*;[ \t]*$", 0);
    std::mt19937 random(2);
    size_t ended = 0;
    for (int i = 0; i < 2000; ++i) {
        String value;
        for (size_t size = random() % 8; size > 0; --size) {
            value += "; \t\"x"[random() % 5];
        }
        const String entry = "Name =" + value + "x" + value;
        const String start = entryStart.matching_substring(entry);
        const String end = entryEnd.matching_substring(entry);
        const String data = entry.substr(start.size(), entry.size() - start.size() - end.size());
        EXPECT_EQ(repairedEntry(entry), end.empty() ? entry : start + "\\\"" + data + "\\\"" + end);
        const String line = "Process = \"}x" + value;
        const String closing = lineEnd.matching_substring(line);
        EXPECT_EQ(repaired("Process = \"}" + closing), "Process = \"};" + closing);
        ended += closing.empty() ? 0 : 1;
    }
    EXPECT_GT(ended, 100U);
}

TEST(EmbeddedInstanceRepair, HostileTextsTakeNoTime) {
    const String blanks(1000000, ' ');
    expectUnchanged({"Process = \"" + blanks + "x", "Process = \"Name = x;" + blanks + "x",
                     "Process = \"" + blanks + "\"" + blanks + ";" + blanks});
    EXPECT_EQ(repaired("Process = \"Name = x" + blanks + ";" + blanks),
              "Process = \"Name = \\\"x\\\"" + blanks + ";" + blanks);
    String many;
    String manyRepaired;
    for (int i = 0; i < 20000; ++i) {
        many += "Process = \"}\";\n";
        manyRepaired += "Process = \"};\";\n";
    }
    EXPECT_EQ(repaired(many), manyRepaired);
}

TEST(CarriageReturnRepair, EachCarriageReturnBecomesAnEscape) {
    EXPECT_EQ(escaped("a\r\nb"), "a\\r\nb");
    EXPECT_EQ(escaped("\r"), "\\r");
    EXPECT_EQ(escaped("\r\r\n\r"), "\\r\\r\n\\r");
    EXPECT_EQ(escaped(String("\0\r\0", 3)), String("\0\\r\0", 4));
    EXPECT_EQ(escaped(String(1000, '\r') + String(1000, 'x')).size(), 3000U);
}

TEST(CarriageReturnRepair, ATextWithoutThemIsLeftInSilence) {
    const RepairLog log;
    for (const String& text : {String(), String("a\nb\\r"), String("\0\xff", 2)}) {
        EXPECT_EQ(escaped(text), text);
    }
    EXPECT_EQ(log.lines(), StringArray());
}

TEST(CarriageReturnRepair, TellsWhatItDoes) {
    const RepairLog log;
    EXPECT_EQ(escaped("\r"), "\\r");
    EXPECT_EQ(log.lines(), StringArray{"fixBrokenEmbeddedInstances: Fixing all improperly escaped "
                                       "\"\\r\" characters"});
}

TEST(KeepFromRepair, AnAssignedStringBeginsOnALineOfItsOwn) {
    for (const auto& [text, kept] : std::vector<std::pair<String, String>>{
             {"    Process = \"Handle = 7;\";", "    Process =\n        \"Handle = 7;\";"},
             {"a\nProcess=\"\";\n \tProcess \t= \"x\";\n",
              "a\nProcess=\n        \"\";\n \tProcess \t=\n        \"x\";\n"},
             {"Process = \"open", "Process =\n        \"open"}}) {
        String mof = text;
        keepFromRepair(mof);
        EXPECT_EQ(mof, kept);
        EXPECT_EQ(repaired(mof), mof);
        keepFromRepair(mof);
        EXPECT_EQ(mof, kept);
    }
}

TEST(KeepFromRepair, WhatTheRepairDoesNotTakeStays) {
    for (const char* text :
         {"", "\n", "Process = 7;", "Process = {\"a\"};", "string Process = \"Handle = 7;\";",
          "process = \"Handle = 7;\";", "MyProcess = \"x\";", "Process =\n \"x\";",
          "// Process = \"x\";", "Name = \"Process = \\\"\";"}) {
        String mof = text;
        keepFromRepair(mof);
        EXPECT_EQ(mof, text);
    }
}

}  // namespace
}  // namespace KOVNS2
