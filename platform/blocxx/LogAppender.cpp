// SPDX-License-Identifier: Apache-2.0
//
// The kinds of appender: which messages they take and where they put them.
#include "blocxx/LogAppender.hpp"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "blocxx/LogFile.hpp"
#include "blocxx/LogOutput.hpp"

namespace blocxx {

namespace {

const char* const EVERYTHING = "*";

bool lists(const StringArray& names, std::string_view name) {
    return std::ranges::any_of(
        names, [&](const String& entry) { return entry == EVERYTHING || entry == name; });
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

CerrAppender::CerrAppender(StringArray components, StringArray categories,
                           const String& messageFormat)
    : m_components(std::move(components)),
      m_categories(std::move(categories)),
      m_output(std::make_unique<LogOutput>(messageFormat)) {}

CerrAppender::~CerrAppender() = default;

bool CerrAppender::accepts(std::string_view component, ELogLevel level) const {
    return lists(m_categories, toString(level)) && lists(m_components, component);
}

void CerrAppender::append(const LogMessage& message) {
    if (accepts(message.component, message.level)) {
        static_cast<void>(writeAll(STDERR_FILENO, m_output->render(message)));
    }
}

FileAppender::FileAppender(StringArray components, StringArray categories, const String& fileName,
                           const String& messageFormat, unsigned maxFileSize,
                           unsigned maxBackupIndex, EOpening opening)
    : m_components(std::move(components)),
      m_categories(std::move(categories)),
      m_file(
          std::make_unique<LogFile>(fileName, size_t{maxFileSize} * 1024, maxBackupIndex, opening)),
      m_output(std::make_unique<LogOutput>(messageFormat)) {}

FileAppender::~FileAppender() = default;

bool FileAppender::accepts(std::string_view component, ELogLevel level) const {
    return lists(m_categories, toString(level)) && lists(m_components, component);
}

void FileAppender::append(const LogMessage& message) {
    if (accepts(message.component, message.level)) {
        m_file->append(m_output->render(message));
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
