// SPDX-License-Identifier: Apache-2.0
//
// owshow: shows what the repository of an installation holds: names, objects as MOF, and the
// registered products. Changes nothing.
#include <algorithm>

#include "fennik/common/StandardStreams.hpp"
#include "utilities/common/Attempt.hpp"
#include "utilities/common/Options.hpp"
#include "utilities/owshow/Listing.hpp"
#include "utilities/owshow/ProductReader.hpp"

namespace {

using namespace OwShow;  // NOLINT(google-build-using-namespace)
using blocxx::UsageException;

enum OwnOptionId {
    NAMESPACES = SCHEMA_DIR + 1,
    QUALIFIER_TYPES,
    CLASSES,
    INSTANCES,
    PRODUCTS,
    AS_MOF,
    AS_DOT
};

constexpr CmdLineParser::Option OPTIONS[] = {
    Program::HELP_OPTION,
    Program::VERSION_OPTION,
    {NAMESPACES, 0, "namespaces", CmdLineParser::E_NO_ARG, nullptr, "List all namespaces."},
    {QUALIFIER_TYPES, 0, "qualifier-types", CmdLineParser::E_NO_ARG, nullptr,
     "List the qualifier types of the namespace."},
    {CLASSES, 0, "classes", CmdLineParser::E_NO_ARG, nullptr, "List the classes of the namespace."},
    {INSTANCES, 0, "instances", CmdLineParser::E_NO_ARG, nullptr,
     "List the object paths of the instances in the namespace, or of those of CLASS and its "
     "subclasses."},
    {PRODUCTS, 0, "products", CmdLineParser::E_NO_ARG, nullptr,
     "Show the products that are named, or all, with their users, files, namespaces and "
     "providers."},
    {AS_MOF, 0, "mof", CmdLineParser::E_NO_ARG, nullptr,
     "Print the list as MOF; without a list, everything in the namespace."},
    {AS_DOT, 0, "dot", CmdLineParser::E_NO_ARG, nullptr,
     "Print the products as a graph for graphviz."},
    {NAMESPACE, 'n', "namespace", CmdLineParser::E_REQUIRED_ARG, DEFAULT_NAMESPACE,
     "The namespace of the list, and of objects that do not name theirs; \"root\" when absent."},
    DEST_DIR_OPTION,
    Program::END_OF_OPTIONS};

constexpr OwnOptionId LISTS[] = {NAMESPACES, QUALIFIER_TYPES, CLASSES, INSTANCES, PRODUCTS};
constexpr std::pair<OwnOptionId, Kind> KINDS[] = {{QUALIFIER_TYPES, Kind::QUALIFIER_TYPES},
                                                  {CLASSES, Kind::CLASSES},
                                                  {INSTANCES, Kind::INSTANCES}};

void require(bool condition, const String& message) {
    if (!condition) {
        BLOCXX_THROW(UsageException, message);
    }
}

void checkUsage(const CmdLineParser& parser) {
    const auto lists =
        std::ranges::count_if(LISTS, [&](OwnOptionId id) { return parser.isSet(id); });
    const bool ofNoNamespace = parser.isSet(NAMESPACES) || parser.isSet(PRODUCTS);
    const StringArray& operands = parser.getNonOptionArgs();
    require(lists <= 1,
            "only one of --namespaces, --qualifier-types, --classes, --instances and "
            "--products can be given");
    require(lists == 1 || parser.isSet(AS_MOF) || !operands.empty(),
            "say what to show: a list, an object, or --mof for everything in a namespace");
    require(!parser.isSet(AS_DOT) || parser.isSet(PRODUCTS), "--dot needs --products");
    require(!ofNoNamespace || !parser.isSet(AS_MOF), "namespaces and products have no MOF form");
    require(!ofNoNamespace || !parser.isSet(NAMESPACE),
            "namespaces and products are in no namespace; leave --namespace out");
    const size_t allowed = lists == 0 || parser.isSet(PRODUCTS) ? operands.size()
                           : parser.isSet(INSTANCES)            ? 1
                                                                : 0;
    require(operands.size() <= allowed,
            "unexpected argument: " + (operands.empty() ? String() : operands.back()));
}

void showProducts(CIMOMHandleIFC& handle, const CmdLineParser& parser, const Sink& out) {
    ProductReader reader(handle, parser.getOptionValue(DEST_DIR));
    const StringArray& named = parser.getNonOptionArgs();
    const StringArray products = named.empty() ? reader.names() : named;
    if (!parser.isSet(AS_DOT)) {
        for (const String& product : products) {
            printText(reader.read(product), out);
        }
        return;
    }
    DotGraph graph(out);
    for (const String& product : products) {
        graph.add(reader.read(product));
    }
    graph.finish();
}

void showObjects(CIMOMHandleIFC& handle, const CmdLineParser& parser, const Sink& out) {
    for (const String& text : parser.getNonOptionArgs()) {
        attempt("show \"" + text + "\"", [&] {
            CIMObjectPath path = CIMObjectPath::parse(text);
            if (path.getNameSpace().empty()) {
                path.setNameSpace(parser.getOptionValue(NAMESPACE, DEFAULT_NAMESPACE));
            }
            showObject(handle, path, out);
        });
    }
}

void showLists(CIMOMHandleIFC& handle, const CmdLineParser& parser, const Sink& out) {
    const StringArray& operands = parser.getNonOptionArgs();
    const bool all =
        std::ranges::none_of(KINDS, [&](const auto& kind) { return parser.isSet(kind.first); });
    for (const auto& [option, kind] : KINDS) {
        if (all || parser.isSet(option)) {
            const Selection selection{kind, parser.getOptionValue(NAMESPACE, DEFAULT_NAMESPACE),
                                      operands.empty() ? String() : operands.front()};
            parser.isSet(AS_MOF) ? listMOF(handle, selection, out)
                                 : listNames(handle, selection, out);
        }
    }
}

void show(const Repository& repository, const CmdLineParser& parser, const Sink& out) {
    CIMOMHandleIFC& handle = *repository.handle();
    const bool listsObjects =
        std::ranges::any_of(KINDS, [&](const auto& kind) { return parser.isSet(kind.first); });
    if (parser.isSet(NAMESPACES)) {
        listNamespaces(repository, out);
    } else if (parser.isSet(PRODUCTS)) {
        showProducts(handle, parser, out);
    } else if (listsObjects || parser.getNonOptionArgs().empty()) {
        showLists(handle, parser, out);
    } else {
        showObjects(handle, parser, out);
    }
}

/// What the user can do about a failure, as the end of a message; empty where the message says it.
const char* remedyFor(CIMException::ErrNoType code, const CmdLineParser& parser) {
    switch (code) {
        case CIMException::ACCESS_DENIED:
            return ". Run the command as root to see everything";
        case CIMException::INVALID_NAMESPACE:
            return ". \"owshow --namespaces\" lists the namespaces";
        case CIMException::INVALID_CLASS:
            return ". \"owshow -n NAMESPACE --classes\" lists the classes";
        case CIMException::NOT_FOUND:
            return parser.isSet(PRODUCTS)
                       ? ". \"fennik --list-registered-products\" lists the products"
                       : ". \"owshow -n NAMESPACE\" with --classes or --instances lists what there "
                         "is";
        default:
            return "";
    }
}

int work(const CmdLineParser& parser) {
    checkUsage(parser);
    const auto repository = Repository::open(parser.getOptionValue(DEST_DIR));
    Output output;
    try {
        show(*repository, parser, [&](std::string_view text) { output.write(text); });
    } catch (const CIMException& e) {
        BLOCXX_THROW(blocxx::Exception, e.getMessage() + String(remedyFor(e.getErrNo(), parser)));
    }
    output.finish();
    return 0;
}

constexpr Program PROGRAM = {
    "owshow",
    KOV_VERSION,
    "[--dest-dir PREFIX] --namespaces\n"
    "       owshow [-n NAMESPACE] [--dest-dir PREFIX] [--mof] LIST\n"
    "       owshow [-n NAMESPACE] [--dest-dir PREFIX] --mof\n"
    "       owshow [-n NAMESPACE] [--dest-dir PREFIX] OBJECT...\n"
    "       owshow [--dest-dir PREFIX] [--dot] --products [PRODUCT...]",
    "Shows what the repository holds. LIST is --qualifier-types, --classes or --instances\n"
    "[CLASS]. OBJECT is a class or an object path, CLASS.KEY=\"VALUE\",... , with NAMESPACE: in\n"
    "front where it is not that of -n; it is shown as MOF.",
    "",
    OPTIONS,
    work};

}  // namespace

int main(int argc, char* argv[]) {
    KOVNS2::StandardStreams::prepare();
    return runProgram(PROGRAM, argc, argv);
}
