// SPDX-License-Identifier: Apache-2.0
//
// owmofc: compiles MOF files into the repository of an installation, or deletes classes or
// qualifier types from it. In a repository that it opens directly, all is done afterwards, or
// nothing has changed. Through the daemon, what was done before a failure stays. A failure is one
// text on standard error and exit status 1, or 2 for a usage error.
#include <deque>
#include <filesystem>
#include <iostream>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Printable.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "utilities/common/Attempt.hpp"
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
    {DELETE_CLASS, 0, "delete-class", CmdLineParser::E_NO_ARG, nullptr,
     "Delete the classes that are named, each as NAMESPACE:CLASS, instead of compiling files."},
    {DELETE_QUALIFIER_TYPE, 0, "delete-qualifier-type", CmdLineParser::E_NO_ARG, nullptr,
     "The same for qualifier types."},
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

/// Deletes the class, or the qualifier type, that `text` names as NAMESPACE:NAME or NAME.
void deleteDeclaration(CIMOMHandleIFC& handle, const String& text, const String& defaultNamespace,
                       bool isClass) {
    const size_t colon = text.find(':');
    const String ns = colon == String::npos ? defaultNamespace : text.substr(0, colon);
    const String name = text.substr(colon == String::npos ? 0 : colon + 1);
    attempt(String("delete the ") + (isClass ? "class" : "qualifier type") + " \"" + text + "\"",
            [&] { isClass ? handle.deleteClass(ns, name) : handle.deleteQualifierType(ns, name); });
}

int deleteDeclarations(const CmdLineParser& parser) {
    const String ns = parser.getOptionValue(NAMESPACE, DEFAULT_NAMESPACE);
    const auto repository = Repository::open(parser.getOptionValue(DEST_DIR));
    for (const String& text : parser.getNonOptionArgs()) {
        deleteDeclaration(*repository->handle(), text, ns, parser.isSet(DELETE_CLASS));
    }
    repository->close();
    return 0;
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

int work(const CmdLineParser& parser) {
    const int tasks =
        parser.isSet(CHECK) + parser.isSet(DELETE_CLASS) + parser.isSet(DELETE_QUALIFIER_TYPE);
    if (tasks > 1) {
        BLOCXX_THROW(
            blocxx::Exception,
            "only one of --check, --delete-class and --delete-qualifier-type can be given");
    }
    return parser.isSet(DELETE_CLASS) || parser.isSet(DELETE_QUALIFIER_TYPE)
               ? deleteDeclarations(parser)
               : compileFiles(parser);
}

constexpr Program PROGRAM = {
    "owmofc",
    KOV_VERSION,
    "[-n NAMESPACE] [--dest-dir PREFIX] [--check] FILE...\n"
    "       owmofc [-n NAMESPACE] [--dest-dir PREFIX] --delete-class CLASS...\n"
    "       owmofc [-n NAMESPACE] [--dest-dir PREFIX] --delete-qualifier-type TYPE...",
    "Compiles MOF files into the repository, all of them or nothing. \"-\" is standard input.\n"
    "Or deletes classes or qualifier types, which are named as NAMESPACE:NAME.",
    "no file or name is given",
    OPTIONS,
    work};

}  // namespace

int main(int argc, char* argv[]) {
    return runProgram(PROGRAM, argc, argv);
}
