// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Commands.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "blocxx/Process.hpp"
#include "utilities/kov-verify/Findings.hpp"

namespace {

using blocxx::String;
using KovVerify::Commands;
using testing::HasSubstr;

/// What bash takes for the words behind "printf %s".
String asBashReads(const String& words) {
    blocxx::Process::Command command;
    command.argv = {"/bin/bash", "-c", "printf '<%s>' " + words};
    command.environment = {"LC_ALL=C"};
    String output;
    EXPECT_TRUE(blocxx::Process::run(command, output).terminatedSuccessfully());
    return output;
}

TEST(Commands, AnyTextIsOneWordOnOneLine) {
    for (const String text :
         {"", "plain", "two words", "it's", "$(id) `id` $HOME", "a\nb", "tab\there", "\x1b[2J",
          "\r", "\1779", "bytes \xff\xfe", "\n'\\\n; id #", "\0012", "\xc2\x9b", "--option"}) {
        const String word = Commands::word(text);
        EXPECT_EQ(asBashReads(word), "<" + text + ">") << word;
        EXPECT_EQ(Commands::oneLine(word), word);
    }
}

TEST(Commands, NameThePrefixWhereThereIsOne) {
    EXPECT_EQ(Commands("").fennik("--list-providers", "a b"),
              "fennik --list-providers --name 'a b'");
    EXPECT_EQ(Commands("/s t").fennik("--list-providers", "a"),
              "fennik --kov-build-system-dest-dir '/s t' --list-providers --name a");
    EXPECT_EQ(Commands("/s").utility("owmofc", "FILE"), "owmofc --dest-dir /s FILE");
    EXPECT_EQ(Commands("").setUp(), "kov-setup");
}

TEST(Commands, AnInstanceIsWrittenOnOneLine) {
    OpenWBEM::CIMInstance instance("X");
    instance.setProperty("Id", OpenWBEM::CIMValue(String("a\n\"b'")));
    const String command = Commands("").write(instance, "kov");
    EXPECT_EQ(Commands::oneLine(command), command);
    EXPECT_THAT(command, HasSubstr(R"(Id = "a\n\"b'\'')"));
    EXPECT_THAT(command, HasSubstr(" | owmofc -n kov -"));
}

TEST(Findings, TextFromOthersCannotMakeALineOfItsOwn) {
    KovVerify::Findings findings;
    findings.beginSection("product \"x\n      rm -rf /\n\"");
    findings.add("lost \x1b[2J\n      rm -rf /", "kov-setup");
    std::ostringstream out;
    findings.print(out);
    EXPECT_EQ(out.str(),
              "product \"x\\n      rm -rf /\\n\":\n"
              "  lost \\x1b[2J\\n      rm -rf /\n"
              "      kov-setup\n");
    EXPECT_EQ(findings.count(), 1U);
}

TEST(Findings, SectionThatIsBegunAgainGoesOn) {
    KovVerify::Findings findings;
    findings.beginSection("installation");
    findings.add("one", "a");
    findings.beginSection("product");
    findings.add("two", "b");
    findings.beginSection("installation");
    findings.add("three", "c");
    std::ostringstream out;
    findings.print(out);
    EXPECT_EQ(out.str(),
              "installation:\n  one\n      a\n  three\n      c\nproduct:\n  two\n      b\n");
}

TEST(Findings, SectionWithoutDeviationsIsNotPrinted) {
    KovVerify::Findings findings;
    findings.beginSection("installation");
    std::ostringstream out;
    findings.print(out);
    EXPECT_EQ(out.str(), "");
}

}  // namespace
