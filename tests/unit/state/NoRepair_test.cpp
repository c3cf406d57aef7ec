// SPDX-License-Identifier: Apache-2.0
//
// Saved MOF needs no repair: both repairs leave it unchanged to the byte, even when texts in it,
// embedded or not, look like broken ones. Compiled, it gives the same objects.
#include <gtest/gtest.h>

#include <random>

#include "fennik/common/TextUtils.hpp"
#include "fennik/mofrepair/FNHacks.hpp"
#include "fennik/state/StateGathering.hpp"
#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/state/StateFixture.hpp"

namespace KOVNS2 {
namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

void expectUntouched(const String& mof) {
    String repaired = mof;
    fixBrokenEmbeddedInstances(repaired);
    EXPECT_EQ(repaired, mof);
    fixImproperlyEscapedCharacters(repaired);
    EXPECT_EQ(repaired, mof);
}

CIMInstance process(const CIMValue& name, const CIMValue& parameters) {
    CIMInstance instance("S_Process");
    instance.setProperty("Name", name);
    instance.setProperty("UserName", name);
    instance.setProperty("Parameters", parameters);
    return instance;
}

String held(const CIMValue& embedded) {
    return MOF::toMOF(CIMInstance("S_Holder").setProperty("Process", embedded));
}

TEST(NoRepair, OfNullsAndNumbersInEmbeddedInstances) {
    for (const CIMValue& value :
         {CIMValue(), CIMValue(uint32_t{7}), CIMValue(false), CIMValue(String()),
          CIMValue(String("-a,-b")), CIMValue::array<String>({}),
          CIMValue::array<String>({"-a", "-b,c"}), CIMValue::array<uint8_t>({1, 2})}) {
        expectUntouched(held(CIMValue(process(value, value))));
    }
}

/// Random texts with what the repairs look for, the same in every run.
class Texts {
public:
    String next() {
        constexpr const char* PIECES[] = {"\n",
                                          "\r",
                                          "\\",
                                          "\\n",
                                          "\"",
                                          "Name = ",
                                          "UserName=x",
                                          "Handle = 7;",
                                          ";",
                                          "}",
                                          "};",
                                          "{",
                                          "NULL",
                                          " ",
                                          "\t",
                                          ",",
                                          "\x01",
                                          "Parameters = a,b;",
                                          "Process = \"",
                                          "n",
                                          "x",
                                          "/*",
                                          "//",
                                          "\r\n",
                                          "instance of ",
                                          "\n    Process = \"a\";\n"};
        String result;
        for (unsigned i = m_random() % 12; i > 0; --i) {
            result += PIECES[m_random() % std::size(PIECES)];
        }
        return result;
    }
    bool coin() { return m_random() % 2 == 0; }

private:
    std::mt19937 m_random{1};  // NOLINT(cert-msc51-cpp)
};

TEST(NoRepair, OfAnyTextInEmbeddedObjects) {
    Texts texts;
    const auto text = [&] { return CIMValue(texts.next()); };
    for (int i = 0; i < 3000; ++i) {
        const CIMValue list = CIMValue::array<String>({text().toString(), text().toString()});
        CIMInstance embedded = process(text(), list);
        embedded.setProperty("Process", CIMValue(process(text(), text())));
        expectUntouched(held(CIMValue(embedded)));
        ASSERT_FALSE(::testing::Test::HasFailure()) << i;
    }
}

TEST(NoRepair, OfEmbeddedClasses) {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    MOF::compileMOF(
        "Qualifier Description : string, Scope(any);\n"
        "class S { [Description(\"a\\nName = b;\\n}\")] string Name = \"a\\nName = b\"; "
        "string Parameters[] = {\"\\\\nName = c\"}; uint8 Handle = 1; };\n",
        CIMOMHandleIFCRef(), "root", instances, classes, qualifierTypes);
    expectUntouched(held(CIMValue(classes.at(0))));
}

// Whole namespaces.

void expectRestoredAsItWas(CIMOMHandleIFC& handle, const String& ns) {
    const String saved = dumpNamespace(ns, handle);
    expectUntouched(saved);
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
    MOF::compileMOF(saved, CIMOMHandleIFCRef(), ns, instances, classes, qualifierTypes);
    Array<CIMInstance> stored;
    for (const String& top : handle.enumClassNamesA(ns, String())) {
        const Array<CIMInstance> below = handle.enumInstancesA(ns, top);
        stored.insert(stored.end(), below.begin(), below.end());
    }
    ASSERT_EQ(instances.size(), stored.size());
    for (size_t i = 0; i < instances.size(); ++i) {
        EXPECT_TRUE(instances[i] == stored[i]) << MOF::toMOF(stored[i]);
    }
    for (const CIMClass& cls : classes) {
        EXPECT_TRUE(cls == handle.getClass(ns, cls.getName())) << MOF::toMOF(cls);
    }
}

/// Classes in which "Process" begins a line in every way that MOF has, with generated texts.
String schemaWith(Texts& texts) {
    const String text = MOF::toMOFString(texts.next());
    return "Qualifier Process : string = " + text +
           ", Scope(any), Flavor(EnableOverride);\n"
           "Qualifier Parameters : string[] = {" +
           text + ", " + MOF::toMOFString(texts.next()) +
           "}, Scope(any);\n"
           "[Process(" +
           text + "), Parameters{" + text + ", " + text +
           "}] class S_Plain { [Key] string Id; [Process(" + text +
           ")] string Process = " + MOF::toMOFString(texts.next()) + "; string Handle = " + text +
           "; [Process] uint8 run([In, Process(" + text +
           ")] string a); };\n"
           "class S_Parent { [Key] string Id; };\n"
           "class S_Holder : S_Parent { [EmbeddedObject] string Process; string Parameters[]; };\n"
           "class S_Dated : S_Parent { datetime Process; };\n"
           "class S_List : S_Parent { string Process[]; };\n"
           "class S_Number : S_Parent { uint8 Process = 7; };\n"
           "[Association] class S_Link { [Key] S_Parent REF Process; [Key] S_Plain REF Name; };\n";
}

String pathTo(const char* className, const String& id) {
    CIMProperty key("Id", CIMDataType(CIMDataType::STRING), CIMValue(id));
    return MOF::toMOFString(
        CIMObjectPath(className).setKeys({std::move(key.setKey(true))}).toString());
}

/// An instance of each of the classes.
String instancesWith(Texts& texts, const String& id) {
    const auto text = [&] { return MOF::toMOFString(texts.next()); };
    const String key = " { Id = " + MOF::toMOFString(id) + "; ";
    const String embedded = MOF::toMOF(CIMInstance("S_Plain")
                                           .setProperty("Process", CIMValue(texts.next()))
                                           .setProperty("Handle", CIMValue(texts.next())));
    return "instance of S_Plain" + key + "Process = " + text() + "; Handle = " + text() +
           "; };\n"
           "instance of S_Holder" +
           key + "Process = " + (texts.coin() ? MOF::toMOFString(embedded) : String("NULL")) +
           "; Parameters = {" + text() + ", NULL, " + text() +
           "}; };\n"
           "instance of S_Dated { Id = " +
           MOF::toMOFString(id + "d") +
           "; Process = \"00000000000000.000000:000\"; };\n"
           "instance of S_List { Id = " +
           MOF::toMOFString(id + "l") + "; Process = {" + text() + ", " + text() +
           "}; };\n"
           "instance of S_Number { Id = " +
           MOF::toMOFString(id + "n") +
           "; };\n"
           "instance of S_Link { Process = " +
           pathTo("S_Parent", id) + "; Name = " + pathTo("S_Plain", id) + "; };\n";
}

TEST(NoRepair, OfWholeNamespaces) {
    Texts texts;
    Testing::StagedTree tree;
    Testing::OpenRepository repository(tree);
    for (int i = 0; i < 40; ++i) {
        const String ns = "ns" + std::to_string(i);
        repository.faults().createNameSpace(ns);
        String mof =
            "Qualifier Key : boolean = false, Scope(property, reference), "
            "Flavor(DisableOverride);\n"
            "Qualifier In : boolean = true, Scope(parameter);\n"
            "Qualifier Association : boolean = false, Scope(association), "
            "Flavor(DisableOverride);\n"
            "Qualifier EmbeddedObject : boolean = false, Scope(property);\n" +
            schemaWith(texts);
        for (const char* id : {"a", "Process = \"", "\n    Process = \"Handle = 7;"}) {
            mof += instancesWith(texts, id);
        }
        Testing::load(*repository.handle(), ns, mof);
        expectRestoredAsItWas(*repository.handle(), ns);
        ASSERT_FALSE(::testing::Test::HasFailure()) << mof;
    }
}

TEST(NoRepair, OfTheTextsThatItWouldChange) {
    for (const char* text : {"Handle = 7;", "{\nHandle = 7;\n}", "}", "Parameters = a,b;",
                             "a\\nName = b;", "a\nName = b;"}) {
        const CIMInstance instance =
            CIMInstance("S_Plain").setProperty("Process", CIMValue(String(text)));
        String changed = MOF::toMOF(instance);
        fixBrokenEmbeddedInstances(changed);
        EXPECT_NE(changed, MOF::toMOF(instance)) << text;
        expectUntouched(objectToMOF(instance));
        EXPECT_EQ(search_replace(objectToMOF(instance), "=\n        \"", "= \""),
                  MOF::toMOF(instance) + "\n");
    }
}

}  // namespace
}  // namespace KOVNS2
