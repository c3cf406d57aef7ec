// SPDX-License-Identifier: Apache-2.0
#include "blocxx/LogAppender.hpp"
#include "fennik/cli/FNStartup.hpp"
#include "fennik/cli/Options.hpp"

namespace KOVNS2 {

using blocxx::LogAppender;

// Standard error comes first: an error is seen there even when the log file cannot be written.
void SetupLogging(const blocxx::CmdLineParser& parser) {
    blocxx::Array<blocxx::LogAppenderRef> appenders;
    appenders.push_back(new blocxx::CerrAppender(LogAppender::ALL_COMPONENTS,
                                                 blocxx::tokenize("ERROR FATAL"), "%m"));
    if (parser.isSet(LOG_FILE_OPT)) {
        const blocxx::String fileName =
            parser.mustGetOptionValue(LOG_FILE_OPT, "A filename must be specified");
        appenders.push_back(new blocxx::FileAppender(
            LogAppender::ALL_COMPONENTS, LogAppender::ALL_CATEGORIES, fileName,
            LogAppender::STR_TTCC_MESSAGE_FORMAT, blocxx::FileAppender::NO_MAX_LOG_SIZE, 0,
            blocxx::FileAppender::E_AS_ANY_PROGRAM));
    }
    LogAppender::setDefaultLogAppender(new blocxx::MultiAppender(std::move(appenders)));
}

}  // namespace KOVNS2
