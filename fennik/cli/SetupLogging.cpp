// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Interruption.hpp"
#include "blocxx/LogAppender.hpp"
#include "fennik/cli/FNStartup.hpp"
#include "fennik/cli/Options.hpp"

namespace KOVNS2 {

using blocxx::LogAppender;

namespace {

/// A debug log. One that cannot be written makes the run fail, but at its next step: the step that
/// is being logged has succeeded and must get its undo, and undoing must not stop over a log.
class DebugLog : public LogAppender {
public:
    explicit DebugLog(const blocxx::LogAppenderRef& file) : m_file(file) {}

    bool accepts(std::string_view component, blocxx::ELogLevel level) const override {
        return m_file->accepts(component, level);
    }
    void append(const blocxx::LogMessage& message) override {
        try {
            m_file->append(message);
        } catch (const std::exception&) {
            blocxx::Interruption::failLater(std::current_exception());
        }
    }

private:
    blocxx::LogAppenderRef m_file;
};

}  // namespace

// Standard error comes first: an error is seen there even when the log file cannot be written.
void SetupLogging(const blocxx::CmdLineParser& parser) {
    blocxx::Array<blocxx::LogAppenderRef> appenders;
    appenders.push_back(new blocxx::CerrAppender(LogAppender::ALL_COMPONENTS,
                                                 blocxx::tokenize("ERROR FATAL"), "%m"));
    if (parser.isSet(LOG_FILE_OPT)) {
        const blocxx::String fileName =
            parser.mustGetOptionValue(LOG_FILE_OPT, "A filename must be specified");
        appenders.push_back(new DebugLog(new blocxx::FileAppender(
            LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, fileName,
            LogAppender::STR_TTCC_MESSAGE_FORMAT, blocxx::FileAppender::E_AS_ANY_PROGRAM)));
    }
    LogAppender::setDefaultLogAppender(new blocxx::MultiAppender(std::move(appenders)));
}

}  // namespace KOVNS2
