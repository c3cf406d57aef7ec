// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/Schema.hpp"

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "layout/Layout.hpp"

namespace KovSetup {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

namespace {

constexpr const char* QUALIFIERS = "qualifiers.mof";

struct NamespaceFile {
    const char* nameSpace;
    const char* file;
};

constexpr NamespaceFile FILES[] = {
    {Layout::INTEROP_NS, "interop.mof"},
    {Layout::SECURITY_NS, "security.mof"},
    {Layout::KOV_NS, "kov.mof"},
};

/// Compiles the text of both files as one. What they need must be in them: a repository that has
/// an older schema could not say what the new one means.
void compileInto(Schema& schema, const char* ns, const Source& qualifiers, const Source& classes) {
    const Source both{classes.name + " with " + qualifiers.name,
                      "#pragma include (\"qualifiers\")\n#pragma include (\"classes\")\n"};
    const auto include = [&](const String& name, const String&) {
        return name == "qualifiers" ? qualifiers : classes;
    };
    for (MOF::NamespaceContent& content : MOF::compile(both, {}, ns, include)) {
        schema.push_back(std::move(content));
    }
}

}  // namespace

Schema readSchema(const String& directory) {
    const String first = directory + "/" + QUALIFIERS;
    if (!blocxx::FileSystem::exists(first)) {
        BLOCXX_THROW(blocxx::Exception,
                     blocxx::Format("there is no schema: \"%1\" does not exist; put the schema "
                                    "there, or name its directory with --schema-dir",
                                    first));
    }
    const Source qualifiers = MOF::includeFile(first, String());
    Schema schema;
    for (const auto& [ns, file] : FILES) {
        compileInto(schema, ns, qualifiers, MOF::includeFile(directory + "/" + file, String()));
    }
    return schema;
}

}  // namespace KovSetup
