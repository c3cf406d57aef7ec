// SPDX-License-Identifier: Apache-2.0
//
// Where log messages go. An appender takes the messages of the components and categories it was
// made for and writes them in its message format: "%d" is the local date and time, "%t" the thread,
// "%p" the category, "%c" the component and "%m" the message with control characters made visible;
// "%-5p" fills the category up to five characters. Every message ends with an end of line.
#pragma once

#include "blocxx/File.hpp"
#include "blocxx/Logger.hpp"

namespace blocxx {

class LogAppender : public IntrusiveCountableBase {
public:
    static const StringArray ALL_COMPONENTS;
    static const StringArray ALL_CATEGORIES;
    /// Time, thread, category, component and message.
    static const char* const STR_TTCC_MESSAGE_FORMAT;

    /// Whether this appender takes messages of that component and level.
    virtual bool accepts(std::string_view component, ELogLevel level) const = 0;
    /// Writes the message when accepts() says so. Throws LoggerException when it cannot be written.
    virtual void append(const LogMessage& message) = 0;

    /// The process-wide appender, null at start.
    static void setDefaultLogAppender(const LogAppenderRef& appender);
    static LogAppenderRef getDefaultLogAppender();
};

/// Standard error. A message that cannot be written there is lost in silence: nobody is left to be
/// told, and work that undoes a failure must not stop over it.
class CerrAppender : public LogAppender {
public:
    CerrAppender(StringArray components, StringArray categories, String messageFormat);
    bool accepts(std::string_view component, ELogLevel level) const override;
    void append(const LogMessage& message) override;

private:
    StringArray m_components;
    StringArray m_categories;
    String m_format;
};

/// A file that is appended to, created with mode 0666 less the umask, flushed after every message.
class FileAppender : public LogAppender {
public:
    enum EOpening {
        E_GUARDED,  ///< a link at the end of the path, or a FIFO without a reader, is an error
        E_AS_ANY_PROGRAM  ///< links are followed, a FIFO is waited for: the user named the file
    };

    /// Throws LoggerException, naming the file, when it cannot be opened.
    FileAppender(StringArray components, StringArray categories, String fileName,
                 String messageFormat, EOpening opening = E_GUARDED);
    bool accepts(std::string_view component, ELogLevel level) const override;
    void append(const LogMessage& message) override;

private:
    StringArray m_components;
    StringArray m_categories;
    String m_fileName;
    String m_format;
    File m_file;
};

/// Hands each message to every one of a list of appenders. One that throws does not keep the
/// message from the others; its exception is thrown in the end.
class MultiAppender : public LogAppender {
public:
    explicit MultiAppender(Array<LogAppenderRef> appenders);
    bool accepts(std::string_view component, ELogLevel level) const override;
    void append(const LogMessage& message) override;

private:
    Array<LogAppenderRef> m_appenders;
};

}  // namespace blocxx
