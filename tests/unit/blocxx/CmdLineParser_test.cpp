// SPDX-License-Identifier: Apache-2.0
//
// The command line parser: how words become options, and which code each refusal has.
#include "blocxx/CmdLineParser.hpp"

#include <gmock/gmock.h>

#include <ostream>

using blocxx::CmdLineParser;
using blocxx::CmdLineParserException;
using blocxx::String;
using blocxx::StringArray;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

enum { HELP, VERBOSE, NAME, REGISTER, CONFIG, LEVEL, ONLY_SHORT };

const CmdLineParser::Option TABLE[] = {
    {HELP, 'h', "help", CmdLineParser::E_NO_ARG, nullptr, "Show help about options."},
    {VERBOSE, 'v', "verbose", CmdLineParser::E_NO_ARG, nullptr, "Say more."},
    {NAME, 'n', "name", CmdLineParser::E_REQUIRED_ARG, nullptr, "Product name."},
    {REGISTER, 0, "register", CmdLineParser::E_NO_ARG, nullptr, "Register a product."},
    {CONFIG, 0, "set-owcimomd-config", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Set the product's owcimomd config.  This sentence makes the text so long that it has to go "
     "on over more than two lines of the listing."},
    {LEVEL, 0, "level", CmdLineParser::E_REQUIRED_ARG, "three", "A level with a default."},
    {ONLY_SHORT, 'x', nullptr, CmdLineParser::E_REQUIRED_ARG, nullptr, "No long name."},
    {0, 0, nullptr, CmdLineParser::E_NO_ARG, nullptr, nullptr}};

CmdLineParser parse(const StringArray& words, CmdLineParser::EAllowNonOptionArgsFlag plain =
                                                  CmdLineParser::E_NON_OPTION_ARGS_ALLOWED) {
    std::vector<const char*> argv{"program"};
    for (const String& word : words) {
        argv.push_back(word.c_str());
    }
    return CmdLineParser(static_cast<int>(argv.size()), argv.data(), TABLE, plain);
}

struct ValueRow {
    StringArray words;
    int id;
    StringArray values;
    StringArray plain;
};
void PrintTo(const ValueRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.words);
}

class CmdLineParserValues : public testing::TestWithParam<ValueRow> {};

TEST_P(CmdLineParserValues, AreTakenFromTheWords) {
    const CmdLineParser parser = parse(GetParam().words);
    EXPECT_TRUE(parser.isSet(GetParam().id));
    EXPECT_EQ(parser.getOptionValueList(GetParam().id), GetParam().values);
    EXPECT_EQ(parser.getNonOptionArgs(), GetParam().plain);
}

// Each row: the words, an option that they set, its values, the remaining words.
INSTANTIATE_TEST_SUITE_P(
    Rows, CmdLineParserValues,
    testing::Values(
        ValueRow{{"--name", "p"}, NAME, {"p"}, {}}, ValueRow{{"--name=p"}, NAME, {"p"}, {}},
        ValueRow{{"-n", "p"}, NAME, {"p"}, {}}, ValueRow{{"-np"}, NAME, {"p"}, {}},
        ValueRow{{"-n=p"}, NAME, {"=p"}, {}}, ValueRow{{"-x", "p"}, ONLY_SHORT, {"p"}, {}},
        ValueRow{{"-xp"}, ONLY_SHORT, {"p"}, {}}, ValueRow{{"-hv"}, VERBOSE, {}, {}},
        ValueRow{{"-hvn", "p"}, NAME, {"p"}, {}}, ValueRow{{"-hnp"}, HELP, {}, {}},
        ValueRow{{"--name", "--register"}, NAME, {"--register"}, {}},
        ValueRow{{"--name", "--name"}, NAME, {"--name"}, {}},
        ValueRow{{"--name", "--frob"}, NAME, {"--frob"}, {}},
        ValueRow{{"--name", "--"}, NAME, {"--"}, {}},
        ValueRow{{"--name", "-h", "rest"}, NAME, {"-h"}, {"rest"}},
        ValueRow{{"-n", "-n"}, NAME, {"-n"}, {}},
        ValueRow{{"--set-owcimomd-config", "-"}, CONFIG, {"-"}, {}},
        ValueRow{{"--name="}, NAME, {""}, {}}, ValueRow{{"--name", ""}, NAME, {""}, {}},
        ValueRow{{"--name=a=b"}, NAME, {"a=b"}, {}},
        ValueRow{{"--name= a b "}, NAME, {" a b "}, {}},
        ValueRow{{"--name=--register"}, NAME, {"--register"}, {}},
        ValueRow{{"--name", "b", "-na", "--name=b", "--name", ""}, NAME, {"b", "a", "b", ""}, {}},
        ValueRow{{"--name", "a", "word", "--register"}, REGISTER, {}, {"word"}},
        ValueRow{{"one", "--register", "two", "-"}, REGISTER, {}, {"one", "two", "-"}},
        ValueRow{{"--register", "", "--help"}, HELP, {}, {""}},
        ValueRow{{"--register", "--", "--name", "--", "-h"}, REGISTER, {}, {"--name", "--", "-h"}},
        ValueRow{{"--register", "--register"}, REGISTER, {}, {}}));

struct ErrorRow {
    StringArray words;
    int code;
    String message;
};
void PrintTo(const ErrorRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.words);
}

class CmdLineParserErrors : public testing::TestWithParam<ErrorRow> {};

TEST_P(CmdLineParserErrors, NameTheWordAtFault) {
    try {
        parse(GetParam().words, CmdLineParser::E_NON_OPTION_ARGS_INVALID);
        FAIL() << "nothing was thrown";
    } catch (const CmdLineParserException& e) {
        EXPECT_EQ(e.getErrorCode(), GetParam().code);
        EXPECT_EQ(String(e.getMessage()), GetParam().message);
    }
}

// Each row: the words, the code and the message of the refusal.
INSTANTIATE_TEST_SUITE_P(
    Rows, CmdLineParserErrors,
    testing::Values(
        ErrorRow{{"--frob"}, CmdLineParser::E_INVALID_OPTION, "--frob"},
        ErrorRow{{"--frob=1"}, CmdLineParser::E_INVALID_OPTION, "--frob=1"},
        ErrorRow{{"--frob", "1"}, CmdLineParser::E_INVALID_OPTION, "--frob"},
        ErrorRow{{"--nam", "p"}, CmdLineParser::E_INVALID_OPTION, "--nam"},
        ErrorRow{{"--names", "p"}, CmdLineParser::E_INVALID_OPTION, "--names"},
        ErrorRow{{"--Name", "p"}, CmdLineParser::E_INVALID_OPTION, "--Name"},
        ErrorRow{{"--=x"}, CmdLineParser::E_INVALID_OPTION, "--=x"},
        ErrorRow{{"--h"}, CmdLineParser::E_INVALID_OPTION, "--h"},
        ErrorRow{{"---n", "p"}, CmdLineParser::E_INVALID_OPTION, "---n"},
        ErrorRow{{"---x", "p"}, CmdLineParser::E_INVALID_OPTION, "---x"},
        ErrorRow{{"-q"}, CmdLineParser::E_INVALID_OPTION, "-q"},
        ErrorRow{{"-hq"}, CmdLineParser::E_INVALID_OPTION, "-q"},
        ErrorRow{{"-h-"}, CmdLineParser::E_INVALID_OPTION, "--"},
        ErrorRow{{"--help=yes"}, CmdLineParser::E_INVALID_OPTION, "--help=yes"},
        ErrorRow{{"--help="}, CmdLineParser::E_INVALID_OPTION, "--help="},
        ErrorRow{{"--name"}, CmdLineParser::E_MISSING_ARGUMENT, "--name"},
        ErrorRow{{"--help", "-n"}, CmdLineParser::E_MISSING_ARGUMENT, "-n"},
        ErrorRow{{"-x"}, CmdLineParser::E_MISSING_ARGUMENT, "-x"},
        ErrorRow{{"--name", "--name", "--name"}, CmdLineParser::E_MISSING_ARGUMENT, "--name"},
        ErrorRow{{"--help", "word"}, CmdLineParser::E_INVALID_NON_OPTION_ARG, "word"},
        ErrorRow{{"-"}, CmdLineParser::E_INVALID_NON_OPTION_ARG, "-"},
        ErrorRow{{"--", "--help"}, CmdLineParser::E_INVALID_NON_OPTION_ARG, "--help"}));

TEST(CmdLineParser, AcceptsAnEmptyCommandLine) {
    const CmdLineParser parser(0, nullptr, TABLE, CmdLineParser::E_NON_OPTION_ARGS_INVALID);
    EXPECT_FALSE(parser.isSet(HELP));
    EXPECT_THAT(parser.getNonOptionArgs(), IsEmpty());
}

TEST(CmdLineParser, GivesTheLastOfSeveralValues) {
    EXPECT_EQ(parse({"--name", "a", "--name", "b"}).getOptionValue(NAME), "b");
}

TEST(CmdLineParser, PrefersTheTablesDefaultToTheCallers) {
    const CmdLineParser parser = parse({});
    EXPECT_FALSE(parser.isSet(LEVEL));
    EXPECT_EQ(parser.getOptionValue(LEVEL, "callers"), "three");
    EXPECT_EQ(parser.mustGetOptionValue(LEVEL), "three");
    EXPECT_EQ(parser.getOptionValue(NAME, "callers"), "callers");
    EXPECT_EQ(parse({"--level="}).getOptionValue(LEVEL, "callers"), "");
    EXPECT_THAT(parser.getOptionValueList(LEVEL), IsEmpty());
}

TEST(CmdLineParser, ReportsAnAbsentRequiredOptionWithTheCallersText) {
    const CmdLineParser parser = parse({"--help"});
    for (const bool list : {false, true}) {
        try {
            list ? void(parser.mustGetOptionValueList(NAME, "A name, please"))
                 : void(parser.mustGetOptionValue(NAME, "A name, please"));
            FAIL() << "nothing was thrown";
        } catch (const CmdLineParserException& e) {
            EXPECT_EQ(e.getErrorCode(), CmdLineParser::E_MISSING_OPTION);
            EXPECT_STREQ(e.getMessage(), "A name, please");
        }
    }
    EXPECT_THAT(parse({"--name="}).mustGetOptionValueList(NAME), ElementsAre(""));
}

TEST(CmdLineParser, ReadsAHundredThousandWords) {
    const StringArray words(100'000, "-na");
    EXPECT_EQ(parse(words).getOptionValueList(NAME).size(), words.size());
}

TEST(CmdLineParserUsage, KeepsToTheColumnsAndLinesUp) {
    for (const unsigned columns : {60U, 80U, 200U}) {
        const String usage = CmdLineParser::getUsage(TABLE, columns);
        for (const String& line : blocxx::tokenize(usage, "\n")) {
            EXPECT_LE(line.size(), columns) << line;
            EXPECT_FALSE(line.ends_with(' ')) << line;
        }
    }
}

TEST(CmdLineParserUsage, ListsTheTableInItsOrder) {
    EXPECT_EQ(CmdLineParser::getUsage(TABLE, 70),
              "Options:\n"
              "  -h, --help                   Show help about options.\n"
              "  -v, --verbose                Say more.\n"
              "  -n, --name <arg>             Product name.\n"
              "  --register                   Register a product.\n"
              "  --set-owcimomd-config <arg>  Set the product's owcimomd config.\n"
              "                               This sentence makes the text so long\n"
              "                               that it has to go on over more than two\n"
              "                               lines of the listing.\n"
              "  --level <arg>                A level with a default.\n"
              "  -x <arg>                     No long name.\n");
}

TEST(CmdLineParserUsage, SurvivesLinesNarrowerThanItsWords) {
    for (unsigned columns = 0; columns < 40; ++columns) {
        EXPECT_THAT(CmdLineParser::getUsage(TABLE, columns), HasSubstr("listing.\n"));
    }
}

}  // namespace
