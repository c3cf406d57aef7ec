// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Logger.hpp"

#include <utility>

#include "blocxx/LogAppender.hpp"

namespace blocxx {

const char* toString(ELogLevel level) noexcept {
    switch (level) {
        case ELogLevel::FATAL:
            return "FATAL";
        case ELogLevel::ERROR:
            return "ERROR";
        case ELogLevel::INFO:
            return "INFO";
        case ELogLevel::DEBUG:
            return "DEBUG";
    }
    return "UNKNOWN";
}

Logger::Logger(String component) : m_component(std::move(component)), m_useDefault(true) {}

Logger::Logger(String component, LogAppenderRef appender)
    : m_component(std::move(component)), m_appender(std::move(appender)), m_useDefault(false) {}

Logger::Logger(const Logger& other) = default;
Logger::Logger(Logger&& other) noexcept = default;
Logger& Logger::operator=(const Logger& other) = default;
Logger& Logger::operator=(Logger&& other) noexcept = default;
Logger::~Logger() = default;

LogAppenderRef Logger::target() const {
    return m_useDefault ? LogAppender::getDefaultLogAppender() : m_appender;
}

bool Logger::isEnabled(ELogLevel level) const {
    const LogAppenderRef appender = target();
    return appender && appender->accepts(m_component, level);
}

void Logger::log(ELogLevel level, std::string_view text, const char* file, int line) const {
    const LogAppenderRef appender = target();
    if (appender && appender->accepts(m_component, level)) {
        appender->append({m_component, level, String(text), file ? file : "", line});
    }
}

ScopeLogger::ScopeLogger(const Logger& logger, std::string_view enterMessage, String exitMessage)
    : m_logger(logger), m_exitMessage(std::move(exitMessage)) {
    m_logger.debug(enterMessage);
}

ScopeLogger::~ScopeLogger() {
    try {
        m_logger.debug(m_exitMessage);
    } catch (...) {  // NOLINT(bugprone-empty-catch): a scope may end because of another exception
    }
}

}  // namespace blocxx
