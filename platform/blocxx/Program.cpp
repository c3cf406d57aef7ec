// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Program.hpp"

#include <sys/stat.h>

#include <iostream>

#include "blocxx/Printable.hpp"

namespace blocxx {

namespace {

String usage(const Program& program) {
    return String("Usage: ") + program.name + " " + program.synopsis + "\n\n" +
           program.description + "\n\n" + CmdLineParser::getUsage(program.options, 80);
}

int printLines(const Program& program, const String& message, int status) {
    std::cerr << program.name << ": error: " << printable(message) << "\n";
    return status;
}

/// On one line: a name in the message, which may come from others, cannot forge another line.
int printError(const Program& program, const String& message, int status) {
    return printLines(program, oneLine(message), status);
}

int printUsageError(const Program& program, const String& message) {
    return printLines(program, oneLine(message) + "\n\n" + usage(program),
                      program.usageErrorStatus);
}

String describe(const CmdLineParserException& e) {
    switch (e.getErrorCode()) {
        case CmdLineParser::E_INVALID_OPTION:
            return String("unknown option: ") + e.getMessage();
        case CmdLineParser::E_MISSING_ARGUMENT:
            return String("the option needs an argument: ") + e.getMessage();
        default:
            return String("unexpected argument: ") + e.getMessage();
    }
}

int carryOut(const Program& program, const CmdLineParser& parser) {
    if (parser.isSet(Program::HELP)) {
        std::cout << usage(program);
        return 0;
    }
    if (parser.isSet(Program::VERSION)) {
        std::cout << program.name << " " << program.version << "\n";
        return 0;
    }
    if (program.missingOperand != nullptr && *program.missingOperand != '\0' &&
        parser.getNonOptionArgs().empty()) {
        return printUsageError(program, program.missingOperand);
    }
    return program.work(parser);
}

}  // namespace

int runProgram(const Program& program, int argc, const char* const* argv) noexcept {
    constexpr mode_t PRIVATE = 077;
    umask(PRIVATE);
    try {
        const CmdLineParser parser(argc, argv, program.options,
                                   program.missingOperand != nullptr
                                       ? CmdLineParser::E_NON_OPTION_ARGS_ALLOWED
                                       : CmdLineParser::E_NON_OPTION_ARGS_INVALID);
        return carryOut(program, parser);
    } catch (const CmdLineParserException& e) {
        return printUsageError(program, describe(e));
    } catch (const UsageException& e) {
        return printUsageError(program, e.getMessage());
    } catch (const LinesException& e) {
        return printLines(program, e.getMessage(), program.failureStatus);
    } catch (const Exception& e) {
        return printError(program, e.getMessage(), program.failureStatus);
    } catch (const std::exception& e) {
        return printError(program, e.what(), program.failureStatus);
    } catch (...) {
        return printError(program, "unknown error", program.failureStatus);
    }
}

}  // namespace blocxx
