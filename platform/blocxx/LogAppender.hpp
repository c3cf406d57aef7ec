// SPDX-License-Identifier: Apache-2.0
//
// An appender writes the log messages of certain components and categories in its message format:
// "%d" is the local date and time, "%t" the thread, "%p" the category, "%c" the component and "%m"
// the message with control characters made visible; "%-5p" pads the category to five characters.
// Every message ends with an end of line.
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

/// Takes the messages of the components and categories that are listed, in one format.
class FormattingAppender : public LogAppender {
public:
    FormattingAppender(StringArray components, StringArray categories, String messageFormat)
        : m_components(std::move(components)),
          m_categories(std::move(categories)),
          m_format(std::move(messageFormat)) {}
    bool accepts(std::string_view component, ELogLevel level) const override;

protected:
    /// The message in the format, with an end of line.
    String formatted(const LogMessage& message) const;

private:
    StringArray m_components;
    StringArray m_categories;
    String m_format;
};

/// Writes to standard error. Ignores failures: there is nowhere to report them, and they must not
/// stop the undoing of another failure.
class CerrAppender : public FormattingAppender {
public:
    using FormattingAppender::FormattingAppender;
    void append(const LogMessage& message) override;
};

/// Appends to a file, which it creates with mode 0666 less the umask. Does not buffer messages.
class FileAppender : public FormattingAppender {
public:
    enum EOpening {
        E_GUARDED,  ///< a link at the end of the path, a second name of the file, a file of another
                    ///< user and a FIFO are errors
        E_AS_ANY_PROGRAM  ///< for a name from the user: follows links, waits for a FIFO's reader
    };

    /// Throws a LoggerException that names the file when it cannot be opened.
    FileAppender(StringArray components, StringArray categories, String fileName,
                 String messageFormat, EOpening opening = E_GUARDED);
    /// Throws a LoggerException when the line cannot be written, or not all of it. The next one
    /// begins a line of its own all the same.
    void append(const LogMessage& message) override;

private:
    String m_fileName;
    File m_file;
    bool m_isCut = false;  ///< the last line may have no end
};

/// Passes each message to all its appenders, even when one throws. Then throws the first exception.
class MultiAppender : public LogAppender {
public:
    explicit MultiAppender(Array<LogAppenderRef> appenders);
    bool accepts(std::string_view component, ELogLevel level) const override;
    void append(const LogMessage& message) override;

private:
    Array<LogAppenderRef> m_appenders;
};

}  // namespace blocxx
