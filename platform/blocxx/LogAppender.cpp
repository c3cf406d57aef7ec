// SPDX-License-Identifier: Apache-2.0
#include "blocxx/LogAppender.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <utility>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"

namespace blocxx {

namespace {

const char* const EVERYTHING = "*";

bool lists(const StringArray& names, std::string_view name) {
    return std::ranges::any_of(
        names, [&](const String& entry) { return entry == EVERYTHING || entry == name; });
}

/// "YYYY-MM-DD HH:MM:SS.mmm"
String localTime() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const time_t seconds = system_clock::to_time_t(now);
    const auto part = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    struct tm local = {};
    char text[32];
    const size_t size =
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S.", ::localtime_r(&seconds, &local));
    return String(text, size) + std::to_string(1000 + part).substr(1);
}

String fieldOf(char letter, const LogMessage& message) {
    switch (letter) {
        case 'd':
            return localTime();
        case 't':
            return std::to_string(::gettid());
        case 'p':
            return toString(message.level);
        case 'c':
            return message.component;
        case 'm':
            return printable(message.text);
        default:
            return String{'%', letter};
    }
}

/// Whether nobody else chose where the messages go: it is a file of this user or of root that has
/// one name, or a device.
bool isTrusted(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 &&
           (S_ISCHR(status.st_mode) || (S_ISREG(status.st_mode) && status.st_nlink == 1 &&
                                        (status.st_uid == 0 || status.st_uid == ::geteuid())));
}

LogAppenderRef& defaultAppender() {
    static LogAppenderRef appender;
    return appender;
}

}  // namespace

const StringArray LogAppender::ALL_COMPONENTS{EVERYTHING};
const StringArray LogAppender::ALL_CATEGORIES{EVERYTHING};
const char* const LogAppender::STR_TTCC_MESSAGE_FORMAT = "%d [%t] %-5p %c - %m";

void LogAppender::setDefaultLogAppender(const LogAppenderRef& appender) {
    defaultAppender() = appender;
}

LogAppenderRef LogAppender::getDefaultLogAppender() {
    return defaultAppender();
}

bool FormattingAppender::accepts(std::string_view component, ELogLevel level) const {
    return lists(m_categories, toString(level)) && lists(m_components, component);
}

String FormattingAppender::formatted(const LogMessage& message) const {
    std::string_view format = m_format;
    String line;
    while (!format.empty()) {
        const size_t plain = std::min(format.find('%'), format.size());
        line += format.substr(0, plain);
        format.remove_prefix(plain);
        const size_t letter = format.find_first_not_of("-0123456789", 1);
        if (letter == format.npos) {
            line += format;
            break;
        }
        String field = fieldOf(format[letter], message);
        const auto width = static_cast<size_t>(std::abs(std::atoi(&format[1])));
        field.resize(std::max(field.size(), width), ' ');
        line += field;
        format.remove_prefix(letter + 1);
    }
    return line + '\n';
}

void CerrAppender::append(const LogMessage& message) {
    if (accepts(message.component, message.level)) {
        static_cast<void>(writeAll(STDERR_FILENO, formatted(message)));
    }
}

FileAppender::FileAppender(StringArray components, StringArray categories, String fileName,
                           String messageFormat, EOpening opening)
    : FormattingAppender(std::move(components), std::move(categories), std::move(messageFormat)),
      m_fileName(std::move(fileName)) {
    constexpr mode_t mode = 0666;
    const int guards = opening == E_GUARDED ? O_NOFOLLOW | O_NONBLOCK : 0;
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | guards;
    m_file = File(::open(FileSystem::systemPath(m_fileName), flags, mode));
    if (!m_file || ::fcntl(m_file.getFileDescriptor(), F_SETFL, O_APPEND) != 0) {
        BLOCXX_THROW_ERRNO(LoggerException,
                           Format("Cannot open the log file \"%1\"", m_fileName).toString());
    }
    if (opening == E_GUARDED && !isTrusted(m_file.getFileDescriptor())) {
        BLOCXX_THROW(LoggerException,
                     Format("Cannot open the log file \"%1\": it is no regular file of this user "
                            "or of root with a single name",
                            m_fileName));
    }
}

void FileAppender::append(const LogMessage& message) {
    if (!accepts(message.component, message.level)) {
        return;
    }
    m_isCut = !writeAll(m_file.getFileDescriptor(), (m_isCut ? "\n" : "") + formatted(message));
    if (m_isCut) {
        BLOCXX_THROW_ERRNO(LoggerException,
                           Format("Cannot write to the log file \"%1\"", m_fileName).toString());
    }
}

MultiAppender::MultiAppender(Array<LogAppenderRef> appenders) : m_appenders(std::move(appenders)) {}

bool MultiAppender::accepts(std::string_view component, ELogLevel level) const {
    return std::ranges::any_of(m_appenders, [&](const LogAppenderRef& appender) {
        return appender->accepts(component, level);
    });
}

void MultiAppender::append(const LogMessage& message) {
    std::exception_ptr failure;
    for (const LogAppenderRef& appender : m_appenders) {
        try {
            appender->append(message);
        } catch (...) {
            failure = failure ? failure : std::current_exception();
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace blocxx
