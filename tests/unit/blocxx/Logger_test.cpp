// SPDX-License-Identifier: Apache-2.0
//
// Loggers and appenders: which appender gets a message, in which form, and what happens when a file
// cannot be written.
#include "blocxx/Logger.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include "blocxx/FileSystem.hpp"
#include "blocxx/LogAppender.hpp"
#include "tests/unit/blocxx/TemporaryDirectory.hpp"

using blocxx::CerrAppender;
using blocxx::ELogLevel;
using blocxx::FileAppender;
using blocxx::LogAppender;
using blocxx::LogAppenderRef;
using blocxx::Logger;
using blocxx::LoggerException;
using blocxx::MultiAppender;
using blocxx::String;
using blocxx::StringArray;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

/// Records the messages of one level.
class Recorder : public LogAppender {
public:
    explicit Recorder(ELogLevel level) : m_level(level) {}
    bool accepts(std::string_view, ELogLevel level) const override { return level == m_level; }
    void append(const blocxx::LogMessage& message) override {
        if (accepts(message.component, message.level)) {
            texts.push_back(message.component + ":" + message.text);
        }
    }
    StringArray texts;

private:
    ELogLevel m_level;
};

class Broken : public LogAppender {
public:
    bool accepts(std::string_view, ELogLevel) const override { return true; }
    void append(const blocxx::LogMessage&) override { BLOCXX_THROW(LoggerException, "broken"); }
};

class Logging : public testing::Test {
protected:
    ~Logging() override { LogAppender::setDefaultLogAppender(LogAppenderRef()); }

    String contents(const String& name = "log") {
        return blocxx::FileSystem::getFileContents(m_dir / name);
    }
    LogAppenderRef fileAppender(const String& format) {
        return new FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES,
                                m_dir / "log", format);
    }

    TemporaryDirectory m_dir;
};

TEST_F(Logging, WithoutAnAppenderDoesNothing) {
    for (const Logger& logger : {Logger("fennik"), Logger("fennik", LogAppenderRef())}) {
        EXPECT_FALSE(logger.isEnabled(ELogLevel::FATAL));
        logger.fatal("nobody hears this");
    }
    BLOCXX_LOG_DEBUG(Logger("fennik"), (ADD_FAILURE() << "built in vain", "text"));
}

TEST_F(Logging, FollowsTheDefaultAppenderOfTheMoment) {
    const Logger logger("fennik");
    const Logger silent("fennik", LogAppenderRef());
    const blocxx::IntrusiveReference<Recorder> recorder(new Recorder(ELogLevel::ERROR));
    LogAppender::setDefaultLogAppender(recorder);
    logger.error("one");
    silent.error("never");
    LogAppender::setDefaultLogAppender(LogAppenderRef());
    logger.error("two");
    EXPECT_THAT(recorder->texts, ElementsAre("fennik:one"));
}

TEST_F(Logging, IsEnabledWhereTheAppenderAccepts) {
    const Logger logger("fennik", new Recorder(ELogLevel::ERROR));
    EXPECT_TRUE(logger.isErrorEnabled());
    EXPECT_FALSE(logger.isDebugEnabled());
    EXPECT_FALSE(logger.isEnabled(ELogLevel::FATAL));
}

TEST_F(Logging, HandsEveryLevelOnAsItself) {
    for (const ELogLevel level :
         {ELogLevel::FATAL, ELogLevel::ERROR, ELogLevel::INFO, ELogLevel::DEBUG}) {
        const blocxx::IntrusiveReference<Recorder> recorder(new Recorder(level));
        const Logger logger("c", recorder);
        logger.fatal("FATAL");
        logger.error("ERROR");
        logger.info("INFO");
        logger.debug("DEBUG");
        EXPECT_THAT(recorder->texts, ElementsAre(String("c:") + blocxx::toString(level)));
    }
}

TEST_F(Logging, OfAScopeFramesItWithDebugLines) {
    const blocxx::IntrusiveReference<Recorder> recorder(new Recorder(ELogLevel::DEBUG));
    {
        const blocxx::ScopeLogger scope(Logger("c", recorder), "in", "out");
        EXPECT_THAT(recorder->texts, ElementsAre("c:in"));
    }
    EXPECT_THAT(recorder->texts, ElementsAre("c:in", "c:out"));
}

TEST_F(Logging, OfAScopesEndNeverThrows) {
    LogAppender::setDefaultLogAppender(LogAppenderRef());
    {
        const blocxx::ScopeLogger scope(Logger("c"), "in", "out");
        LogAppender::setDefaultLogAppender(new Broken);
    }
    EXPECT_THROW(Logger("c").info("x"), LoggerException);
}

TEST_F(Logging, ToStandardErrorWritesTheBareMessage) {
    const Logger logger("any", new CerrAppender(LogAppender::ALL_COMPONENTS,
                                                blocxx::tokenize("ERROR FATAL"), "%m"));
    testing::internal::CaptureStderr();
    logger.error("first\nline %m\t");
    logger.info("no");
    logger.debug("no");
    logger.fatal("second");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "first\nline %m\t\nsecond\n");
}

TEST_F(Logging, ToAClosedStandardErrorIsLostInSilence) {
    const Logger logger(
        "any", new CerrAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, "%m"));
    const int saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    EXPECT_NO_THROW(logger.error("x"));
    dup2(saved, STDERR_FILENO);
    close(saved);
}

TEST_F(Logging, TakesTheComponentsAndCategoriesItWasMadeFor) {
    const LogAppenderRef appender(new FileAppender({"a", "b"}, {"INFO"}, m_dir / "log", "%c %m"));
    EXPECT_TRUE(appender->accepts("a", ELogLevel::INFO));
    EXPECT_TRUE(appender->accepts("b", ELogLevel::INFO));
    EXPECT_FALSE(appender->accepts("a", ELogLevel::ERROR));
    EXPECT_FALSE(appender->accepts("c", ELogLevel::INFO));
    EXPECT_FALSE(appender->accepts("a.b", ELogLevel::INFO));
    Logger("c", appender).info("no");
    Logger("a", appender).error("no");
    appender->append({"c", ELogLevel::INFO, "no", "", 0});
    Logger("b", appender).info("yes");
    EXPECT_EQ(contents(), "b yes\n");
}

struct FormatRow {
    const char* format;
    const char* pattern;
};
class LogFormats : public Logging, public testing::WithParamInterface<FormatRow> {};

TEST_P(LogFormats, LayMessagesOut) {
    Logger("comp", fileAppender(GetParam().format)).log(ELogLevel::ERROR, "te%nxt", "dir/f.cpp", 7);
    EXPECT_THAT(contents(), MatchesRegex(GetParam().pattern)) << GetParam().format;
}

// Each row: a message format and the expected content of the log file.
INSTANTIATE_TEST_SUITE_P(
    Rows, LogFormats,
    testing::Values(FormatRow{"%m", "te%nxt\n"}, FormatRow{"%p/%c", "ERROR/comp\n"},
                    FormatRow{"[%-7p]", "\\[ERROR  \\]\n"}, FormatRow{"%-3p", "ERROR\n"},
                    FormatRow{"%t", "[0-9]+\n"},
                    FormatRow{"%d", "20[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+[.][0-9]+\n"},
                    FormatRow{"100 %x % %-", "100 %x % %-\n"}, FormatRow{"", "\n"},
                    FormatRow{LogAppender::STR_TTCC_MESSAGE_FORMAT,
                              "20[^[]+ \\[[0-9]+\\] ERROR comp - te%nxt\n"}));

TEST_F(Logging, ToAFileWritesAtOnceAppendsAndIsPrintable) {
    {
        const Logger logger("c", fileAppender("%p %m"));
        logger.debug("one");
        EXPECT_EQ(contents(), "DEBUG one\n");
        logger.fatal("two\n");
    }
    Logger("c", fileAppender("%m")).info(String("\n\n\x1b[31m\0", 8));
    EXPECT_EQ(contents(), "DEBUG one\nFATAL two\n\n\n\n\\x1b[31m\\x00\n");
}

TEST_F(Logging, WritesLongMessagesWhole) {
    const String text(1'000'000, 'x');
    Logger("c", fileAppender("%m")).info(text);
    EXPECT_EQ(contents(), text + "\n");
}

TEST_F(Logging, CreatesItsFileUnderTheUmask) {
    const mode_t before = umask(027);
    fileAppender("%m");
    umask(before);
    struct stat info = {};
    ASSERT_EQ(stat((m_dir / "log").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
}

TEST_F(Logging, ToAFileThatCannotBeOpenedNamesItAndTheReason) {
    ASSERT_EQ(symlink("/nonexistent", (m_dir / "link").c_str()), 0);
    ASSERT_EQ(mkfifo((m_dir / "fifo").c_str(), 0600), 0);
    const std::pair<String, int> rows[] = {{m_dir / "missing/log", ENOENT},
                                           {m_dir / "link", ELOOP},
                                           {m_dir / "fifo", ENXIO},
                                           {m_dir.path(), EISDIR},
                                           {"", ENOENT}};
    for (const auto& [path, code] : rows) {
        try {
            const FileAppender appender({}, {}, path, "%m");
            FAIL() << path;
        } catch (const LoggerException& e) {
            EXPECT_EQ(e.getErrorCode(), code);
            EXPECT_THAT(e.getMessage(), AllOf(HasSubstr("\"" + path + "\""), HasSubstr("(")));
        }
    }
}

TEST_F(Logging, IsNotLedToAFileOfOthers) {
    const String file = m_dir / "file";
    const auto refusal = [&] {
        try {
            const FileAppender appender({}, {}, file, "%m");
        } catch (const LoggerException& e) {
            return String(e.getMessage());
        }
        return String("none");
    };
    EXPECT_EQ(refusal(), "none");
    ASSERT_EQ(link(file.c_str(), (m_dir / "second").c_str()), 0);
    EXPECT_THAT(refusal(), AllOf(HasSubstr(file), HasSubstr("with a single name")));
    ASSERT_EQ(unlink((m_dir / "second").c_str()), 0);
    EXPECT_EQ(refusal(), "none");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(file.c_str(), 1, 1), 0);
        EXPECT_THAT(refusal(), HasSubstr("no regular file of this user or of root"));
    }
    ASSERT_EQ(unlink(file.c_str()), 0);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const int reader = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_THAT(refusal(), HasSubstr("no regular file")) << "its reader could stop this process";
    close(reader);
}

TEST_F(Logging, OfTheUserFollowsALinkAndCreatesWhatItLeadsTo) {
    ASSERT_EQ(symlink((m_dir / "target").c_str(), (m_dir / "link").c_str()), 0);
    const FileAppender::EOpening opening = FileAppender::E_AS_ANY_PROGRAM;
    Logger("c", new FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES,
                                 m_dir / "link", "%m", opening))
        .info("x");
    EXPECT_EQ(contents("target"), "x\n");
}

TEST_F(Logging, OfTheUserWaitsForTheReaderOfAFifo) {
    const String fifo = m_dir / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    String read;
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        read = blocxx::FileSystem::getFileContents(fifo, blocxx::FileSystem::NamedBy::CALLER);
    });
    Logger("c", new FileAppender(LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, fifo,
                                 "%m", FileAppender::E_AS_ANY_PROGRAM))
        .info("x");
    reader.join();
    EXPECT_EQ(read, "x\n");
}

TEST_F(Logging, ToAFullDiskThrows) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    const Logger logger("c", new FileAppender(LogAppender::ALL_COMPONENTS,
                                              LogAppender::ALL_CATEGORIES, "/dev/full", "%m"));
    try {
        logger.info("x");
        FAIL() << "nothing was thrown";
    } catch (const LoggerException& e) {
        EXPECT_EQ(e.getErrorCode(), ENOSPC);
        EXPECT_THAT(e.getMessage(), HasSubstr("\"/dev/full\""));
    }
}

TEST_F(Logging, AfterALineThatAFullDiskHasCutOffBeginsANewLine) {
    const String file = m_dir / "log";
    const Logger logger("c", new FileAppender(LogAppender::ALL_COMPONENTS,
                                              LogAppender::ALL_CATEGORIES, file, "%m"));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto ignored = ::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{10, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
    EXPECT_THROW(logger.info("object=\"all of this"), LoggerException);
    EXPECT_THROW(logger.info("nothing of this"), LoggerException);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    ::signal(SIGXFSZ, ignored);
    logger.info("audit: one");
    logger.info("audit: two");
    EXPECT_EQ(blocxx::FileSystem::getFileContents(file), "object=\"al\naudit: one\naudit: two\n");
}

TEST_F(Logging, ToSeveralAppendersReachesThoseThatAccept) {
    const blocxx::IntrusiveReference<Recorder> errors(new Recorder(ELogLevel::ERROR));
    const blocxx::IntrusiveReference<Recorder> debug(new Recorder(ELogLevel::DEBUG));
    const Logger logger("c", new MultiAppender({errors, debug}));
    EXPECT_TRUE(logger.isErrorEnabled());
    EXPECT_TRUE(logger.isDebugEnabled());
    EXPECT_FALSE(logger.isEnabled(ELogLevel::INFO));
    logger.error("e");
    logger.debug("d");
    logger.info("i");
    EXPECT_THAT(errors->texts, ElementsAre("c:e"));
    EXPECT_THAT(debug->texts, ElementsAre("c:d"));
}

TEST_F(Logging, ReachesTheOthersWhenOneAppenderThrows) {
    const blocxx::IntrusiveReference<Recorder> recorder(new Recorder(ELogLevel::ERROR));
    const Logger logger("c", new MultiAppender({new Broken, recorder}));
    EXPECT_THROW(logger.error("x"), LoggerException);
    EXPECT_THAT(recorder->texts, ElementsAre("c:x"));
}

TEST_F(Logging, ToNoAppenderAtAllIsDropped) {
    const Logger logger("c", new MultiAppender({}));
    EXPECT_FALSE(logger.isErrorEnabled());
    EXPECT_NO_THROW(logger.error("x"));
}

}  // namespace
