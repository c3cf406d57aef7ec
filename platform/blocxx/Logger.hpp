// SPDX-License-Identifier: Apache-2.0
//
// A Logger passes the messages of a component to an appender. A Logger made without an appender
// uses the process-wide default appender at the time of the message, and drops the message while
// there is none.
#pragma once

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/String.hpp"

namespace blocxx {

enum class ELogLevel { FATAL, ERROR, INFO, DEBUG };

/// The category name of a level: "FATAL", "ERROR", "INFO" or "DEBUG".
const char* toString(ELogLevel level) noexcept;

struct LogMessage {
    String component;
    ELogLevel level;
    String text;
    const char* file;  ///< the source file, "" when unknown; must outlive the message
    int line;
};

class LogAppender;
using LogAppenderRef = IntrusiveReference<LogAppender>;

class Logger {
public:
    /// Logs to the default appender.
    explicit Logger(String component);
    /// Logs to `appender`; a null appender drops everything.
    Logger(String component, LogAppenderRef appender);
    // Out of line, so that users need not know LogAppender.
    Logger(const Logger& other);
    Logger(Logger&& other) noexcept;
    Logger& operator=(const Logger& other);
    Logger& operator=(Logger&& other) noexcept;
    ~Logger();

    /// Whether the appender takes messages of this level. Ask before building a costly one.
    bool isEnabled(ELogLevel level) const;
    bool isDebugEnabled() const { return isEnabled(ELogLevel::DEBUG); }
    bool isErrorEnabled() const { return isEnabled(ELogLevel::ERROR); }

    /// Passes the message on. Throws LoggerException when an appender cannot write.
    void log(ELogLevel level, std::string_view text, const char* file = "", int line = 0) const;
    void debug(std::string_view text, const char* file = "", int line = 0) const {
        log(ELogLevel::DEBUG, text, file, line);
    }
    void info(std::string_view text, const char* file = "", int line = 0) const {
        log(ELogLevel::INFO, text, file, line);
    }
    void error(std::string_view text, const char* file = "", int line = 0) const {
        log(ELogLevel::ERROR, text, file, line);
    }
    void fatal(std::string_view text, const char* file = "", int line = 0) const {
        log(ELogLevel::FATAL, text, file, line);
    }

private:
    LogAppenderRef target() const;

    String m_component;
    LogAppenderRef m_appender;
    bool m_useDefault;
};

/// Logs a debug message when made and another when destroyed. The destructor does not throw.
class ScopeLogger {
public:
    ScopeLogger(const Logger& logger, std::string_view enterMessage, String exitMessage);
    ~ScopeLogger();
    ScopeLogger(const ScopeLogger&) = delete;
    ScopeLogger& operator=(const ScopeLogger&) = delete;

private:
    Logger m_logger;
    String m_exitMessage;
};

BLOCXX_DECLARE_EXCEPTION(Logger)

/// Log a message that is built only when the appender takes messages of its level.
#define BLOCXX_LOG_DEBUG(LOGGER, MESSAGE)                                      \
    do {                                                                       \
        const auto& blocxxLogger = (LOGGER);                                   \
        if (blocxxLogger.isDebugEnabled()) {                                   \
            blocxxLogger.debug(::blocxx::String(MESSAGE), __FILE__, __LINE__); \
        }                                                                      \
    } while (false)
#define BLOCXX_LOG_ERROR(LOGGER, MESSAGE)                                      \
    do {                                                                       \
        const auto& blocxxLogger = (LOGGER);                                   \
        if (blocxxLogger.isErrorEnabled()) {                                   \
            blocxxLogger.error(::blocxx::String(MESSAGE), __FILE__, __LINE__); \
        }                                                                      \
    } while (false)

}  // namespace blocxx
