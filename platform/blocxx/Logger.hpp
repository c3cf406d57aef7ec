// SPDX-License-Identifier: Apache-2.0
//
// The front of the log: a Logger names its component and hands messages to an appender. A Logger
// made without an appender uses the process-wide default appender of the moment it logs, or drops
// the message while there is none.
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
    const char* file;  ///< source unit that logged, "" when unknown; must outlive the message
    int line;
};

class LogAppender;
using LogAppenderRef = IntrusiveReference<LogAppender>;

class Logger {
public:
    /// A logger of `component` over the default appender.
    explicit Logger(String component);
    /// A logger over `appender`; a null appender drops everything.
    Logger(String component, LogAppenderRef appender);
    // Out of line, so that users need not know LogAppender.
    Logger(const Logger& other);
    Logger(Logger&& other) noexcept;
    Logger& operator=(const Logger& other);
    Logger& operator=(Logger&& other) noexcept;
    ~Logger();

    /// Whether a message of this level would reach any appender: asked before building a costly
    /// one.
    bool isEnabled(ELogLevel level) const;
    bool isDebugEnabled() const { return isEnabled(ELogLevel::DEBUG); }
    bool isErrorEnabled() const { return isEnabled(ELogLevel::ERROR); }

    /// Hands the message on. Throws LoggerException when an appender cannot write.
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

/// Logs one message at debug level when made and another when destroyed. Never throws when
/// destroyed.
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

/// Logs a debug message that is only built when some appender wants debug messages.
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
