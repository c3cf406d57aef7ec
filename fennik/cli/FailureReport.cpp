// SPDX-License-Identifier: Apache-2.0
#include "fennik/cli/FailureReport.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "fennik/cli/Options.hpp"
#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/StandardStreams.hpp"

namespace KOVNS2 {

using blocxx::CmdLineParser;
using blocxx::CmdLineParserException;
using blocxx::String;
using StandardStreams::writeError;

namespace {

void reportCommandLine(const CmdLineParserException& e) {
    if (e.getErrorCode() == CmdLineParser::E_INVALID_OPTION) {
        writeError(String("Invalid option: ") + e.getMessage() + "\n");
    } else if (e.getErrorCode() == CmdLineParser::E_MISSING_ARGUMENT) {
        writeError(String("Argument not specified for option: ") + e.getMessage() + "\n");
    }
    Usage();
}

void reportLogger(const blocxx::LoggerException& e) {
    writeError("An error has occurred.\nDetails: " + toString(e) + "\n");
}

void reportDetails(const blocxx::Logger& logger, const blocxx::String& details) {
    BLOCXX_LOG_ERROR(logger, blocxx::Format("An error has occurred.\nDetails: %1", details));
}

/// Rethrows what interrupted the run, even when it was wrapped in another exception since.
[[noreturn]] void rethrow() {
    if (const std::exception_ptr interruption = blocxx::Interruption::thrown()) {
        std::rethrow_exception(interruption);
    }
    throw;
}

int reportCurrent(const blocxx::Logger& logger) {
    try {
        rethrow();
    } catch (const CmdLineParserException& e) {
        reportCommandLine(e);
    } catch (const FennikException& e) {
        reportDetails(logger, toString(e));
        return e.getErrorCode();
    } catch (const blocxx::LoggerException& e) {
        reportLogger(e);
    } catch (const blocxx::Exception& e) {  // CIMException among them
        reportDetails(logger, toString(e));
    } catch (const std::exception& e) {
        reportDetails(logger, e.what());
    } catch (...) {
        writeError("An unknown error has occurred.\n");
    }
    return ErrorCode::FAILURE;
}

}  // namespace

int reportFailure(const blocxx::Logger& logger) noexcept {
    try {
        return reportCurrent(logger);
    } catch (...) {
        writeError("An unknown error has occurred.\n");
        return ErrorCode::FAILURE;
    }
}

void reportLateFailure() noexcept {
    try {
        blocxx::Interruption::check();
    } catch (const blocxx::InterruptedException& e) {
        writeError(String(e.what()) + " when the operation was complete.\n");
    } catch (const std::exception& e) {
        writeError(String("The operation is complete, but the debug log is not: ") + e.what() +
                   "\n");
    }
}

}  // namespace KOVNS2
