// SPDX-License-Identifier: Apache-2.0
//
// The entry point. A run carries out one operation.
#include <sys/stat.h>

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/Process.hpp"
#include "fennik/cimom/FNHandles.hpp"
#include "fennik/cli/FNStartup.hpp"
#include "fennik/cli/FailureReport.hpp"
#include "fennik/cli/Operations.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/StandardStreams.hpp"
#include "fennik/common/TextUtils.hpp"

namespace KOVNS2 {

namespace {

using blocxx::CmdLineParser;
using blocxx::Logger;

void logCommandLine(const Logger& logger, int argc, const char* const* argv) {
    BLOCXX_LOG_DEBUG(logger,
                     blocxx::Format("Command line arguments: \"%1\"",
                                    untokenize(blocxx::StringArray(argv, argv + argc), "\" \"")));
}

/// Logs ignored arguments, such as further values after an option that takes one.
void logExtraWords(const Logger& logger, const CmdLineParser& parser) {
    const blocxx::StringArray& words = parser.getNonOptionArgs();
    if (!words.empty()) {
        BLOCXX_LOG_DEBUG(logger, blocxx::Format("Ignored words that belong to no option: \"%1\"",
                                                untokenize(words, "\" \"")));
    }
}

/// The first operation in the table's order whose option is set, or null.
const Operation* chosenOperation(const CmdLineParser& parser) {
    const auto all = operations();
    const auto chosen = std::find_if(all.begin(), all.end(), [&](const Operation& operation) {
        return parser.isSet(operation.option);
    });
    return chosen == all.end() ? nullptr : &*chosen;
}

int runOperation(const CmdLineParser& parser, const Logger& logger) {
    const bool buildSystem = parser.isSet(KOV_BUILD_SYSTEM_DEST_DIR_OPT);
    const String prefix = parser.getOptionValue(KOV_BUILD_SYSTEM_DEST_DIR_OPT);
    if (!buildSystem) {
        validateUserContext();
        CheckUlimit();
    }
    acquireLock(prefix);
    const CIMOMHandleWrapperRef wrapper =
        buildSystem ? GetRepositoryHandle(prefix) : GetCIMOMHandle();
    Run run{.parser = parser,
            .buildSystem = buildSystem,
            .prefix = prefix,
            .handle = wrapper->GetHandle()};

    const Operation* const operation = chosenOperation(parser);
    if (operation == nullptr) {
        logger.error("No options supplied.");
        Usage();
        return ErrorCode::FAILURE;
    }
    // Before this, and in an operation that changes nothing, a signal ends the process at once.
    if (operation->isChange) {
        blocxx::Interruption::catchSignals();
    }
    operation->handler(run);
    wrapper->Close();
    return run.startFailed ? ErrorCode::FAILURE : ErrorCode::DONE;
}

/// A run; main reports what it throws. Replaces `logger` once the log is set up.
int runFennik(int argc, const char* const* argv, Logger& logger) {
    const CmdLineParser parser(argc, argv, g_options, CmdLineParser::E_NON_OPTION_ARGS_ALLOWED);
    SetupLogging(parser);
    logger = Logger("fennik", blocxx::LogAppender::getDefaultLogAppender());
    const blocxx::ScopeLogger scope(logger, "\n\nFennik starting...", "Fennik terminating.\n\n");
    logCommandLine(logger, argc, argv);
    logExtraWords(logger, parser);
    blocxx::Interruption::check();
    if (parser.isSet(HELP_OPT)) {
        Usage();
        return ErrorCode::DONE;
    }
    return runOperation(parser, logger);
}

}  // namespace

}  // namespace KOVNS2

int main(int argc, char** argv) {
    KOVNS2::StandardStreams::prepare();
    blocxx::Logger logger("fennik", blocxx::LogAppenderRef());
    try {
        blocxx::WaitpidThreadFix::setWaitpidThreadFixEnabled(false);
        ::umask(077);
        const int status = KOVNS2::runFennik(argc, argv, logger);
        KOVNS2::reportLateFailure();
        return status;
    } catch (...) {
        const int status = KOVNS2::reportFailure(logger);
        blocxx::Interruption::endBySignal();
        return status;
    }
}
