// SPDX-License-Identifier: Apache-2.0
#include "utilities/common/Program.hpp"

#include <sys/stat.h>

#include <iostream>

#include "blocxx/Exception.hpp"
#include "blocxx/Printable.hpp"

namespace OwUtilities {

namespace {

constexpr int FAILED = 1;
constexpr int BAD_COMMAND_LINE = 2;

String usage(const Program& program) {
    return String("Usage: ") + program.name + " " + program.synopsis + "\n\n" +
           program.description + "\n\n" + CmdLineParser::getUsage(program.options, 80);
}

int complain(const Program& program, const String& message, int status) {
    std::cerr << program.name << ": error: " << blocxx::printable(message) << "\n";
    return status;
}

int complainUsage(const Program& program, const String& message) {
    return complain(program, message + "\n\n" + usage(program), BAD_COMMAND_LINE);
}

String describe(const blocxx::CmdLineParserException& e) {
    const bool missing = e.getErrorCode() == CmdLineParser::E_MISSING_ARGUMENT;
    return (missing ? "the option needs an argument: " : "unknown option: ") +
           String(e.getMessage());
}

int carryOut(const Program& program, const CmdLineParser& parser) {
    if (parser.isSet(HELP)) {
        std::cout << usage(program);
        return 0;
    }
    if (parser.isSet(VERSION)) {
        std::cout << program.name << " " << program.version << "\n";
        return 0;
    }
    if (parser.getNonOptionArgs().empty()) {
        return complainUsage(program, program.nothingNamed);
    }
    return program.work(parser);
}

}  // namespace

int runProgram(const Program& program, int argc, const char* const* argv) noexcept {
    constexpr mode_t PRIVATE = 077;
    umask(PRIVATE);
    try {
        const CmdLineParser parser(argc, argv, program.options,
                                   CmdLineParser::E_NON_OPTION_ARGS_ALLOWED);
        return carryOut(program, parser);
    } catch (const blocxx::CmdLineParserException& e) {
        return complainUsage(program, describe(e));
    } catch (const blocxx::Exception& e) {
        return complain(program, e.getMessage(), FAILED);
    } catch (const std::exception& e) {
        return complain(program, e.what(), FAILED);
    } catch (...) {
        return complain(program, "unknown error", FAILED);
    }
}

}  // namespace OwUtilities
