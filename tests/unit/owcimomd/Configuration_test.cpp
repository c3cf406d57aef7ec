// SPDX-License-Identifier: Apache-2.0
//
// Configuration files: which values count. Nothing in them makes reading fail.
#include "owcimomd/process/Configuration.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/unit/client/LiveDaemon.hpp"

namespace KovTest {
namespace {

using OwCimomd::Configuration;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

Configuration parsed(std::string_view text) {
    Configuration configuration;
    configuration.read(text, "file", Configuration::Origin::DROP_IN);
    return configuration;
}

TEST(Configuration, LinesAreKeysAndValues) {
    const Configuration read = parsed(
        "# comment = 1\n; comment = 2\n\n  owcimomd.log_level\t=  debug  \r\nempty =\nlast = a = "
        "b");
    EXPECT_THAT(read.complaints(), IsEmpty());
    EXPECT_EQ("debug", read.get("owcimomd.log_level", "info"));
    EXPECT_EQ("default", read.get("empty", "default"));
    EXPECT_EQ("a = b", read.get("last", ""));
    EXPECT_EQ("none", read.get("comment", "none"));
}

TEST(Configuration, AllowedUsersComeTogetherAndOtherValuesReplaceEachOther) {
    const Configuration read = parsed(
        "owcimomd.allowed_users = alice bob\nowcimomd.allowed_users =\n"
        "owcimomd.allowed_users=carol,dave, alice\nkey = 1\nkey = 2\n");
    EXPECT_THAT(read.allowedUsers(), ElementsAre("alice", "bob", "carol", "dave"));
    EXPECT_EQ("2", read.get("key", ""));
}

TEST(Configuration, TheLargestRequestIsANumberOfBytesInBounds) {
    const struct {
        const char* text;
        size_t size;
    } rows[] = {
        {"", 67108864},        {"1048576", 1048576},    {"536870912", 536870912},
        {"1048575", 67108864}, {"536870913", 67108864}, {"-1", 67108864},
        {"64 MiB", 67108864},  {"0x100000", 67108864},  {"99999999999999999999", 67108864},
    };
    for (const auto& row : rows) {
        Configuration read = parsed(std::string("owcimomd.max_request_size = ") + row.text);
        EXPECT_EQ(row.size, read.maxRequestSize()) << row.text;
        const bool isDefault = row.size == 67108864 && *row.text != 0;
        ASSERT_EQ(isDefault ? 1u : 0u, read.complaints().size()) << row.text;
        if (isDefault) {
            EXPECT_EQ(
                std::string("\"") + row.text +
                    "\" as owcimomd.max_request_size is not a number of bytes from 1048576 to "
                    "536870912; it is 67108864",
                read.complaints()[0]);
        }
    }
}

TEST(Configuration, LinesThatCannotBeReadAreToldAndLeftOut) {
    struct Row {
        const char* sentence;
        std::string_view text;
        const char* complaint;
    };
    const Row rows[] = {
        {"no equals sign", "a = 1\nnonsense\nb = 2", "file:2: there is no \"=\""},
        {"no key", "a = 1\n= 2\nb = 2", "file:2: what stands before"},
        {"blank in the key", "a = 1\nx y = 2\nb = 2", "file:2: what stands before"},
        {"section head", "a = 1\n[x] = 2\nb = 2", "file:2: what stands before"},
        {"zero byte", {"a = 1\nx = \0y\nb = 2", 18}, "file:2: there is a control character"},
        {"bytes of something else", "a = 1\n\xff\xfe\x01 = 2\nb = 2", "file:2: what stands before"},
    };
    for (const Row& row : rows) {
        const Configuration read = parsed(row.text);
        ASSERT_EQ(1u, read.complaints().size()) << row.sentence;
        EXPECT_THAT(read.complaints()[0], HasSubstr(row.complaint)) << row.sentence;
        EXPECT_EQ("1", read.get("a", "")) << row.sentence;
        EXPECT_EQ("2", read.get("b", "")) << row.sentence;
    }
}

TEST(Configuration, AFileOfMistakesFillsNoLog) {
    String text;
    for (int i = 0; i < 100000; ++i) {
        text += "nonsense\n";
    }
    EXPECT_EQ(101u, parsed(text).complaints().size());
}

class ConfigurationFiles : public ::testing::Test {
protected:
    ConfigurationFiles() { std::filesystem::create_directory(file() + ".d"); }
    String file() const { return m_directory.path() + "/openwbem.conf"; }
    String dropIn(const String& name) const { return file() + ".d/" + name; }
    Configuration read() const {
        Configuration configuration;
        configuration.readFiles(file(), file() + ".d");
        return configuration;
    }

    TemporaryDirectory m_directory;
};

TEST_F(ConfigurationFiles, AreReadInTheOrderOfTheirNames) {
    writeFile(file(), "key = main\nonly = main\n");
    writeFile(dropIn("b.conf"), "key = b\n");
    writeFile(dropIn("a.conf"), "key = a\n");
    writeFile(dropIn("c.conf.bak"), "key = backup\nown = backup\n");
    writeFile(dropIn(".hidden.conf"), "key = hidden\nown = hidden\n");
    writeFile(dropIn("c.conf~"), "key = editor\nown = editor\n");
    const Configuration configuration = read();
    EXPECT_EQ("b", configuration.get("key", ""));
    EXPECT_EQ("main", configuration.get("only", ""));
    EXPECT_EQ("", configuration.get("own", "")) << "nobody else sets it";
    EXPECT_THAT(configuration.complaints(),
                ElementsAre(file() + ":1: there is no key \"key\"", HasSubstr(":2: ")));
}

TEST_F(ConfigurationFiles, WithAnUnknownKeyAreTold) {
    writeFile(file(),
              "owcimomd.log_level = debug\nowcimomd.log_levle = debug\nsample.poll = 5\n"
              "owcimomd.allowed_users =\n");
    writeFile(dropIn("sample.conf"),
              "sample.poll = 5\n\nowcimomd.log = x\nOwcimomd.log_level = debug\n"
              "owcimomd.log_file = y\n");
    EXPECT_THAT(read().complaints(),
                ElementsAre(file() + ":2: there is no key \"owcimomd.log_levle\"",
                            file() + ":3: there is no key \"sample.poll\"",
                            dropIn("sample.conf") + ":3: there is no key \"owcimomd.log\"",
                            dropIn("sample.conf") + ":4: there is no key \"Owcimomd.log_level\""))
        << "a product's own keys in its drop-in are its own";
}

TEST_F(ConfigurationFiles, OfTheLargestSizeAreRead) {
    const String line = "owcimomd.log_level = large\n";
    const String largest = line + String(Configuration::MAX_FILE_SIZE - line.size(), '#');
    writeFile(file(), largest);
    EXPECT_THAT(read().complaints(), IsEmpty());
    EXPECT_EQ("large", read().get(Configuration::LOG_LEVEL, ""));
    writeFile(file(), largest + "#");
    EXPECT_THAT(read().complaints(), ElementsAre(HasSubstr("it is larger than 1048576 bytes")));
    EXPECT_EQ("", read().get(Configuration::LOG_LEVEL, ""));
}

TEST_F(ConfigurationFiles, ThatCannotBeReadAreToldAndLeftOut) {
    writeFile(dropIn("a.conf"), "key = a\n");
    std::filesystem::create_directory(dropIn("b.conf"));
    writeFile(dropIn("c.conf"), String(Configuration::MAX_FILE_SIZE + 1, 'x'));
    ASSERT_EQ(0, mkfifo(dropIn("d.conf").c_str(), 0600));
    std::filesystem::create_symlink("/nowhere", dropIn("e.conf"));
    writeFile(dropIn("f.conf"), "other = f\n");
    const Configuration configuration = read();
    EXPECT_EQ("a", configuration.get("key", ""));
    EXPECT_EQ("f", configuration.get("other", ""));
    EXPECT_THAT(configuration.complaints(),
                ElementsAre(HasSubstr("openwbem.conf\" cannot be read: No such file"),
                            HasSubstr("b.conf\" cannot be read: it is not a regular file"),
                            HasSubstr("c.conf\" cannot be read: it is larger than"),
                            HasSubstr("d.conf\" cannot be read: it is not a regular file"),
                            HasSubstr("e.conf\" cannot be read: No such file")));
}

TEST_F(ConfigurationFiles, ThatCannotBeReadFillNoLogWhateverTheirNumber) {
    String mistakes;
    for (int i = 0; i < 99; ++i) {
        mistakes += "nonsense\n";
    }
    writeFile(file(), mistakes);
    for (const char* name : {"a", "b", "c", "d"}) {
        std::filesystem::create_directory(dropIn(String(name) + ".conf"));
    }
    writeFile(dropIn("e.conf"), mistakes);
    const StringArray complaints = read().complaints();
    ASSERT_EQ(101u, complaints.size());
    EXPECT_THAT(complaints[99], HasSubstr("a.conf\" cannot be read"));
    EXPECT_EQ("there are more files and lines that cannot be read", complaints[100]);
}

TEST_F(ConfigurationFiles, OfProductsDoNotMoveTheRepository) {
    writeFile(file(), "owcimomd.datadir = /main\n");
    writeFile(dropIn("a.conf"), "# a comment\nowcimomd.datadir = /nowhere\nkey = a\n");
    const Configuration configuration = read();
    EXPECT_EQ("/main", configuration.get(Configuration::DATADIR, ""));
    EXPECT_EQ("a", configuration.get("key", ""));
    EXPECT_THAT(configuration.complaints(),
                ElementsAre(dropIn("a.conf") +
                            ":2: only the main file says where the repository is; the line is left "
                            "out"));
}

TEST_F(ConfigurationFiles, OfProductsDoNotOpenTheWindow) {
    writeFile(file(), "owcimomd.http_port = 5988\n");
    writeFile(dropIn("a.conf"),
              "owcimomd.http_port = 1\nowcimomd.http_address = 0.0.0.0\n"
              "owcimomd.tls_certificate = a\nowcimomd.tls_key = b\n");
    Configuration configuration = read();
    EXPECT_EQ(5988, configuration.httpPort());
    for (const char* key :
         {Configuration::HTTP_ADDRESS, Configuration::TLS_CERTIFICATE, Configuration::TLS_KEY}) {
        EXPECT_EQ("", configuration.get(key, "")) << key;
    }
    ASSERT_EQ(4u, configuration.complaints().size());
    EXPECT_EQ(dropIn("a.conf") +
                  ":1: only the main file says who is served over HTTP; the line is left out",
              configuration.complaints()[0]);
}

TEST_F(ConfigurationFiles, NameAPortOrNone) {
    EXPECT_EQ(0, read().httpPort());
    for (const char* wrong : {"http", "-1", "65536", "80 81", "0x50"}) {
        writeFile(file(), String("owcimomd.http_port = ") + wrong + "\n");
        Configuration configuration = read();
        EXPECT_EQ(0, configuration.httpPort());
        EXPECT_THAT(configuration.complaints(),
                    ElementsAre(String("\"") + wrong +
                                "\" as owcimomd.http_port is not a port from 1 to 65535; nobody is "
                                "served over HTTP"));
    }
}

TEST_F(ConfigurationFiles, WithoutADropInDirectoryAreOneFile) {
    std::filesystem::remove(file() + ".d");
    writeFile(file(), "owcimomd.log_level = main\n");
    EXPECT_THAT(read().complaints(), IsEmpty());
    EXPECT_EQ("main", read().get(Configuration::LOG_LEVEL, ""));
}

}  // namespace
}  // namespace KovTest
