// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "openwbem/model/CIMValue.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/privilege/Parsing.hpp"

namespace OpenWBEM::PrivilegeConfig {
namespace {

TEST(PrivilegeLanguage, AnEmptyTextSaysNothing) {
    EXPECT_EQ(parsed(""), Privileges());
    EXPECT_EQ(parsed(" \t\r\n\f\v# only a comment"), Privileges());
}

TEST(PrivilegeLanguage, EveryStatementIsKept) {
    const Privileges p = parsed(
        "# what the disk provider may do\n"
        "unpriv_user { diskmon }\n"
        "open_r { /etc/fstab /proc/mounts }\n"
        "open_w { /var/log/disk.log }\n"
        "open_rw { \"/var/lib/disk data/state\" }\n"
        "read_dir { /dev/disk }\n"
        "stat { /dev/sda }\n"
        "readlink { /dev/disk/by-id/x }\n"
        "mkdir { /run/disk }\n"
        "rmdir { /run/disk }\n"
        "link { /run/a }\n"
        "symlink { /run/b }\n"
        "unlink { /run/c }\n"
        "rename { /run/d /run/e }\n"
        "chmod { /run/f }\n"
        "chown { /run/g }\n"
        "monitored_exec_check_args { /sbin/smart -a \"/dev/sd a\" @ oop1-smart }\n"
        "user_exec_check_args { /bin/df @ nobody }\n");
    const Privileges expected{"diskmon",
                              {{"open_r", {"/etc/fstab", "/proc/mounts"}},
                               {"open_w", {"/var/log/disk.log"}},
                               {"open_rw", {"/var/lib/disk data/state"}},
                               {"read_dir", {"/dev/disk"}},
                               {"stat", {"/dev/sda"}},
                               {"readlink", {"/dev/disk/by-id/x"}},
                               {"mkdir", {"/run/disk"}},
                               {"rmdir", {"/run/disk"}},
                               {"link", {"/run/a"}},
                               {"symlink", {"/run/b"}},
                               {"unlink", {"/run/c"}},
                               {"rename", {"/run/d", "/run/e"}},
                               {"chmod", {"/run/f"}},
                               {"chown", {"/run/g"}}},
                              {{"/sbin/smart", {"-a", "/dev/sd a"}, "oop1-smart"}},
                              {{"/bin/df", {}, "nobody"}}};
    EXPECT_EQ(p, expected);
}

TEST(PrivilegeLanguage, StatementsOfOneKeywordAddUp) {
    EXPECT_EQ(parsed("stat { /a }open_r{/b}stat{\n/c # and\n/d}").paths,
              (std::map<String, StringArray, std::less<>>{{"stat", {"/a", "/c", "/d"}},
                                                          {"open_r", {"/b"}}}));
}

TEST(PrivilegeLanguage, AListMayBeEmpty) {
    const Privileges expected{"", {{"stat", {}}}, {}, {}};
    EXPECT_EQ(parsed("stat { } user_exec_check_args {} monitored_exec_check_args{}"), expected);
}

TEST(PrivilegeLanguage, AnItemThatIsAKeywordIsAnItem) {
    const Privileges expected{"include", {{"stat", {"open_r", "unpriv_user"}}}, {}, {}};
    EXPECT_EQ(parsed("stat { open_r unpriv_user } unpriv_user { include }"), expected);
}

TEST(PrivilegeLanguage, ACommandEndsWithItsName) {
    const Array<CheckedCommand> expected{
        {"/bin/a", {}, "one"}, {"/bin/b", {"-x", "@", "{"}, "two"}, {"/bin/c", {"c@d"}, "th@ree"}};
    EXPECT_EQ(parsed("user_exec_check_args { /bin/a @ one /bin/b -x \"@\" \"{\" @two\n"
                     "  /bin/c c@d @ th@ree }")
                  .user_exec_check_args,
              expected);
    EXPECT_EQ(parsed("monitored_exec_check_args { /bin/a @ one }\n"
                     "monitored_exec_check_args { /bin/b -x \"@\" \"{\" @two /bin/c c@d @ th@ree }")
                  .monitored_exec_check_args,
              expected);
}

TEST(PrivilegeLanguage, ABareItemHoldsWhatOrdinaryPathsHold) {
    const StringArray items{"/a-b_c.d~e+f=g,h;i:j", "/x#y",         "/x@y",      "/it's",
                            "/*?[a](b)<c>|d^e`f&$", "/caf\xc3\xa9", "/latin\xe9"};
    String text = "stat {";
    for (const String& item : items) {
        text += " " + item;
    }
    EXPECT_EQ(parsed(text + "}").paths.at("stat"), items);
}

TEST(PrivilegeLanguage, QuotesHoldEverythingThroughEscapes) {
    EXPECT_EQ(
        parsed(R"(stat { "a b" "" "\"" "\\" "\t\n\r\b\f\'" "\x41\X20ac" "\xd83d\xde00" "{#}" })")
            .paths.at("stat"),
        (StringArray{"a b", "", "\"", "\\", "\t\n\r\b\f'", "A\xe2\x82\xac", "\xf0\x9f\x98\x80",
                     "{#}"}));
}

TEST(PrivilegeLanguage, WhatMofQuotesComesBack) {
    String every;
    for (int c = 1; c < 0x80; ++c) {
        every += static_cast<char>(c);
    }
    every += "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80";
    const String quoted = MOF::toMOF(CIMValue(every));
    EXPECT_EQ(parsed("monitored_exec_check_args { /path " + quoted + "  @ oop1-x_y }\n"),
              (Privileges{"", {}, {{"/path", {every}, "oop1-x_y"}}, {}}));
}

TEST(PrivilegeLanguage, WhatTheToolWritesParses) {
    EXPECT_EQ(parsed("monitored_exec_check_args { /path \"-d\" \"5\"  @ oop1-x_y }\n"),
              (Privileges{"", {}, {{"/path", {"-d", "5"}, "oop1-x_y"}}, {}}));
    EXPECT_EQ(parsed("monitored_exec_check_args { /path  @ oop1-x#1@y }\n"),
              (Privileges{"", {}, {{"/path", {}, "oop1-x#1@y"}}, {}}));
    EXPECT_EQ(parsed("user_exec_check_args { /path \"a\"  @ owprovdr }\n"),
              (Privileges{"", {}, {}, {{"/path", {"a"}, "owprovdr"}}}));
}

TEST(PrivilegeLanguage, AByteOrderMarkIsReadOver) {
    EXPECT_EQ(parsed("\xEF\xBB\xBFunpriv_user { a }").unpriv_user, "a");
}

TEST(PrivilegeLanguage, AnIncludeStandsForItsText) {
    MapIncludes handler({{"outer", "stat { /b } include { \"in ner\" } stat { /d }"},
                         {"in ner", "unpriv_user { me } stat { /c } # no line end"},
                         {"empty", ""}});
    Privileges p;
    openwbem_privconfig_parse("stat { /a } include { outer } stat { /e } include { empty }",
                              handler, p);
    EXPECT_EQ(p, (Privileges{"me", {{"stat", {"/a", "/b", "/c", "/d", "/e"}}}, {}, {}}));
    EXPECT_EQ(handler.calls,
              (StringArray{"get outer", "get in ner", "end", "end", "get empty", "end"}));
}

TEST(PrivilegeLanguage, WhatWasKnownBeforeGoes) {
    MapIncludes handler;
    Privileges p{"old", {{"stat", {"/old"}}}, {{"/old", {}, "old"}}, {}};
    openwbem_privconfig_parse("unpriv_user { new }", handler, p);
    EXPECT_EQ(p, (Privileges{"new", {}, {}, {}}));
}

}  // namespace
}  // namespace OpenWBEM::PrivilegeConfig
