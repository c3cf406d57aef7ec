// SPDX-License-Identifier: Apache-2.0
#include "tests/system/setup/UpgradeTree.hpp"

#include <filesystem>

#include "openwbem/model/ObjectStoring.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace KovSetupTest {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

void UpgradeTree::SetUp() {
    const Outcome outcome = setUpTree();
    ASSERT_TRUE(outcome.status.terminatedSuccessfully()) << outcome.output;
    std::filesystem::create_directories(path("/schema"));
    std::filesystem::copy(KOV_SCHEMA_DIR, path("/schema"));
}

void UpgradeTree::edit(const String& file, const String& from, const String& to) const {
    String text = readFile(path("/schema/" + file));
    const size_t at = text.find(from);
    ASSERT_NE(at, String::npos) << from;
    writeFile(path("/schema/" + file), text.replace(at, from.size(), to));
}

void UpgradeTree::append(const String& file, const String& text) const {
    writeFile(path("/schema/" + file), readFile(path("/schema/" + file)) + text);
}

void UpgradeTree::editAll() const {
    append("qualifiers.mof",
           "Qualifier Newer : string = null, Scope(any), Flavor(EnableOverride);\n");
    edit("qualifiers.mof", "Qualifier UnknownValues : string[] = null,\n    Scope(property)",
         "Qualifier UnknownValues : string[] = null,\n    Scope(property, parameter)");
    append("kov.mof", "[Newer (\"yes\")] class KOV_Newer : KOV_Product { uint8 More; };\n");
    edit("kov.mof", "string Usernames[];", "string Usernames[];\n    uint8 Level = 3;");
    edit("kov.mof", "A software package that is registered", "A package that is registered");
    edit("security.mof", "string capability;", "string capability = \"rR\";");
}

void UpgradeTree::store(const String& ns, const String& mof) const {
    const OpenRepository opened(repository());
    for (const auto& content : MOF::compile({"MOF", mof}, opened.handle(), ns, {})) {
        storeObjects(*opened, content.nameSpace,
                     {content.qualifierTypes, content.classes, content.instances});
    }
    opened.repository().close();
}

void UpgradeTree::addProduct() const {
    {
        const OpenRepository opened(repository());
        opened->createNameSpace("sample/one");
        opened.repository().close();
    }
    store("kov",
          "instance of KOV_Product as $p { Name = \"sample\"; Usernames = {\"alice\"}; };"
          "instance of KOV_ReservedNamespace as $n { Name = \"sample/one\"; };"
          "instance of KOV_ReservedNamespace { Name = \"gone\"; };"
          "instance of KOV_ProductReservedNamespace { Product = $p; ReservedNamespace = $n; };");
    store("root",
          "Qualifier Sample : string = null, Scope(any), Flavor(EnableOverride);"
          "[Sample (\"s\")] class Sample_Process : OpenWBEM_OOPProviderProcess { [Units (\"s\")] "
          "string Extra; };"
          "instance of Sample_Process { InstanceID = \"sample:1\"; Process = \"/p\";"
          "    Protocol = \"owcpp1\"; Extra = \"kept\"; };");
    store("sample/one",
          "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);"
          "Qualifier Max : string = \"other\", Scope(any), Flavor(EnableOverride);"
          "[Max (\"m\")] class Sample_Disk { [Key] string id; };"
          "instance of Sample_Disk { id = \"1\"; };");
}

UpgradeTree::Content UpgradeTree::content() const {
    const OpenRepository opened(repository());
    StringArray namespaces;
    ArrayBuilder<String> names(namespaces);
    opened->enumNameSpace(names);
    Content all;
    for (const String& ns : namespaces) {
        all[ns] = "";
        for (const auto& type : opened->enumQualifierTypesA(ns)) {
            all[ns + " type " + blocxx::toLower(type.getName())] = Codec::encode(type);
        }
        for (const auto& cls : opened->enumClassA(ns, "", E_DEEP, E_NOT_LOCAL_ONLY,
                                                  E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN)) {
            all[ns + " class " + blocxx::toLower(cls.getName())] = Codec::encode(cls);
        }
        for (const String& top : opened->enumClassNamesA(ns, "")) {
            for (const auto& instance : opened->enumInstancesA(ns, top)) {
                all[ns + " instance " + CIMObjectPath(ns, instance).toString()] =
                    Codec::encode(instance);
            }
        }
    }
    return all;
}

}  // namespace KovSetupTest
