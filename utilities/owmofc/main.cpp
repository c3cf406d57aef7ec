// SPDX-License-Identifier: Apache-2.0
//
// owmofc: compiles MOF files into the repository of an installation. Either everything that all the
// files declare is in the repository afterwards, or nothing has changed. Failures are one text on
// standard error and exit status 1; a command line that cannot be read has exit status 2.
#include <sys/stat.h>

#include <cstdio>
#include <iostream>

#include "blocxx/CmdLineParser.hpp"
#include "blocxx/FileSystem.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "utilities/owmofc/ContentWriter.hpp"

namespace {

using namespace OwMofc;  // NOLINT(google-build-using-namespace)
using blocxx::CmdLineParser;

enum OptionId { HELP, VERSION, NAMESPACE, DEST_DIR };

constexpr const char* DEFAULT_NAMESPACE = "root";
constexpr const char* REPOSITORY = "/var/opt/tarvo/kov/openwbem/repository";

constexpr CmdLineParser::Option OPTIONS[] = {
    {HELP, 'h', "help", CmdLineParser::E_NO_ARG, nullptr, "Show this help."},
    {VERSION, 'v', "version", CmdLineParser::E_NO_ARG, nullptr, "Show the version."},
    {NAMESPACE, 'n', "namespace", CmdLineParser::E_REQUIRED_ARG, DEFAULT_NAMESPACE,
     "The namespace to compile into until a pragma names another one; \"root\" when absent."},
    {DEST_DIR, 0, "dest-dir", CmdLineParser::E_REQUIRED_ARG, nullptr,
     "Use the repository below this directory instead of this machine's own."},
    {0, 0, nullptr, CmdLineParser::E_NO_ARG, nullptr, nullptr}};

String usage() {
    return "Usage: owmofc [-n NAMESPACE] [--dest-dir PREFIX] FILE...\n\n"
           "Compiles MOF files into the repository, all of them or nothing. \"-\" is standard "
           "input.\n\n" +
           CmdLineParser::getUsage(OPTIONS, 80);
}

MOF::Source open(const String& file) {
    if (file != "-") {
        return MOF::includeFile(file, String());
    }
    // Standard input belongs to the caller: it is read, not closed.
    String text;
    char buffer[65536];
    for (;;) {
        const size_t count = std::fread(buffer, 1, sizeof(buffer), stdin);
        text.append(buffer, count);
        if (count < sizeof(buffer)) {
            break;
        }
    }
    if (std::ferror(stdin) != 0) {
        BLOCXX_THROW_ERRNO(blocxx::FileSystemException, "Cannot read standard input");
    }
    return {"standard input", std::move(text)};
}

void compileInto(LocalRepository& repository, ContentWriter& writer, const String& ns,
                 const String& file) {
    const auto contents = MOF::compile(open(file), repository.handle(), ns, MOF::includeFile);
    for (const MOF::NamespaceContent& content : contents) {
        writer.write(content);
    }
}

int run(const CmdLineParser& parser) {
    if (parser.isSet(HELP)) {
        std::cout << usage();
        return 0;
    }
    if (parser.isSet(VERSION)) {
        std::cout << "owmofc " KOV_VERSION "\n";
        return 0;
    }
    if (parser.getNonOptionArgs().empty()) {
        std::cerr << "owmofc: error: no file is named\n\n" << usage();
        return 2;
    }
    const String ns = parser.getOptionValue(NAMESPACE, DEFAULT_NAMESPACE);
    LocalRepository repository(parser.getOptionValue(DEST_DIR) + REPOSITORY);
    if (!repository.hasNameSpace(ns)) {
        OPENWBEM_THROW_CIM(INVALID_NAMESPACE, "the namespace \"" + ns + "\" does not exist");
    }
    ContentWriter writer(repository);
    for (const String& file : parser.getNonOptionArgs()) {
        compileInto(repository, writer, ns, file);
    }
    repository.close();
    std::cout << writer.summary();
    return 0;
}

int complain(const String& message) {
    std::cerr << "owmofc: error: " << message << "\n";
    return 1;
}

/// A command line that cannot be read.
int complainUsage(const blocxx::CmdLineParserException& e) {
    const bool missing = e.getErrorCode() == CmdLineParser::E_MISSING_ARGUMENT;
    complain((missing ? "the option needs an argument: " : "unknown option: ") +
             String(e.getMessage()) + "\n\n" + usage());
    return 2;
}

}  // namespace

int main(int argc, char* argv[]) {
    umask(077);
    try {
        const CmdLineParser parser(argc, argv, OPTIONS, CmdLineParser::E_NON_OPTION_ARGS_ALLOWED);
        return run(parser);
    } catch (const blocxx::CmdLineParserException& e) {
        return complainUsage(e);
    } catch (const MOF::MOFCompilerException& e) {
        // It begins with its place, as editors expect.
        std::cerr << e.getMessage() << "\n";
        return 1;
    } catch (const blocxx::Exception& e) {
        return complain(e.getMessage());
    } catch (const std::exception& e) {
        return complain(e.what());
    } catch (...) {
        return complain("unknown error");
    }
}
