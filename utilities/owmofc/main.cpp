// SPDX-License-Identifier: Apache-2.0
//
// owmofc: compiles MOF files into the repository of an installation. A repository that it opens
// directly has all objects of all files afterwards, or is unchanged. Through the daemon, what was
// written before a failure stays. A failure is one text on standard error and exit status 1, or 2
// for a usage error.
#include <deque>
#include <filesystem>
#include <iostream>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Printable.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "utilities/common/Options.hpp"
#include "utilities/owmofc/ContentWriter.hpp"

namespace {

using namespace OwMofc;  // NOLINT(google-build-using-namespace)

constexpr CmdLineParser::Option OPTIONS[] = {
    Program::HELP_OPTION,
    Program::VERSION_OPTION,
    {NAMESPACE, 'n', "namespace", CmdLineParser::E_REQUIRED_ARG, DEFAULT_NAMESPACE,
     "The namespace to compile into until a pragma names another one; \"root\" when absent."},
    {CHECK, 'c', "check", CmdLineParser::E_NO_ARG, nullptr,
     "Compile only, each file by itself, and write nothing."},
    DEST_DIR_OPTION,
    Program::END_OF_OPTIONS};

/// Whether the file is a pipe, a device or a socket: read to its end, because the user named it.
bool isSpecial(const String& file) {
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(file, failure);
    return std::filesystem::is_other(status);
}

Source open(const String& file) {
    if (file == "-") {
        return {"standard input", blocxx::FileSystem::readStandardInput(SourceText::MAX_SIZE)};
    }
    return isSpecial(file)
               ? Source{file, blocxx::FileSystem::getFileContents(
                                  file, blocxx::FileSystem::NamedBy::CALLER, SourceText::MAX_SIZE)}
               : MOF::includeFile(file, String());
}

void compileInto(Repository& repository, ContentWriter& writer, const String& ns,
                 const String& file, bool checkOnly) {
    // Never freed: destroying a schema object by object would take a tenth of the run.
    static auto* const compiled = new std::deque<Array<MOF::NamespaceContent>>;
    compiled->push_back(MOF::compile(open(file), repository.handle(), ns, MOF::includeFile,
                                     MOF::Defaults::LEFT_OUT));
    for (const MOF::NamespaceContent& content : compiled->back()) {
        if (checkOnly) {
            writer.requireNameSpace(content);
        } else {
            writer.write(content);
        }
    }
}

int compileFiles(const CmdLineParser& parser) {
    const String ns = parser.getOptionValue(NAMESPACE, DEFAULT_NAMESPACE);
    const auto opened = Repository::open(parser.getOptionValue(DEST_DIR));
    Repository& repository = *opened;
    if (!repository.hasNameSpace(ns)) {
        OPENWBEM_THROW_CIM(INVALID_NAMESPACE, "the namespace \"" + ns + "\" does not exist");
    }
    ContentWriter writer(repository);
    try {
        for (const String& file : parser.getNonOptionArgs()) {
            compileInto(repository, writer, ns, file, parser.isSet(CHECK));
        }
    } catch (const MOF::MOFCompilerException& e) {
        // The message begins with its place, as editors expect.
        std::cerr << blocxx::printable(e.getMessage()) << "\n";
        return 1;
    }
    repository.close();
    std::cout << writer.summary();
    return 0;
}

constexpr Program PROGRAM = {
    "owmofc",
    KOV_VERSION,
    "[-n NAMESPACE] [--check] [--dest-dir PREFIX] FILE...",
    "Compiles MOF files into the repository, all of them or nothing. \"-\" is standard input.",
    "no file is named",
    OPTIONS,
    compileFiles};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
