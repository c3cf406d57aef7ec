// SPDX-License-Identifier: Apache-2.0
//
// Rendered and compiled again, objects are equal: values at the limits of their types, and the
// whole DMTF schema.
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <map>
#include <random>

#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace OpenWBEM::MOF {
namespace {

constexpr const char* SCHEMA = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier EmbeddedInstance : string = null, Scope(property, method, parameter);
Qualifier EmbeddedObject : boolean = false, Scope(property, method, parameter), Flavor(DisableOverride);
Qualifier Numbers : sint64[] = null, Scope(any);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride);
Qualifier Override : string = null, Scope(property, reference, method), Flavor(Restricted);
class Part { [Key] string id; string text = "default"; };
class All {
    [Key] uint32 id;
    boolean b = true; uint8 u8 = 1; sint8 s8 = 1; uint16 u16 = 1; sint16 s16 = 1;
    uint32 u32 = 1; sint32 s32 = 1; uint64 u64 = 1; sint64 s64 = 1;
    real32 r32 = 1.0; real64 r64 = 1.0; char16 c = 'x'; string s = "default";
    datetime d = "00000000000000.000000:000";
    boolean ba[]; uint8 u8a[]; sint64 s64a[]; real64 r64a[]; char16 ca[]; string sa[]; datetime da[];
    string fixed[3];
    [EmbeddedInstance("Part")] string part;
    [EmbeddedInstance("Part")] string parts[];
    [EmbeddedObject] string any;
};
[Association] class Link { [Key] Part REF part; [Key] Link REF link; };
)";

struct Compiled {
    Array<CIMInstance> instances;
    Array<CIMClass> classes;
    Array<CIMQualifierType> qualifierTypes;
};

Compiled compileText(const String& mof) {
    Compiled result;
    compileMOF(mof, CIMOMHandleIFCRef(), "root", result.instances, result.classes,
               result.qualifierTypes);
    return result;
}

const Compiled& schema() {
    static const Compiled compiled = compileText(SCHEMA);
    return compiled;
}

const CIMClass& schemaClass(const String& name) {
    for (const CIMClass& cls : schema().classes) {
        if (blocxx::equalsIgnoreCase(cls.getName(), name)) {
            return cls;
        }
    }
    throw std::runtime_error("no class " + name);
}

/// An instance with these values. Its other properties are null.
CIMInstance instanceOf(const String& className, const Array<std::pair<String, CIMValue>>& values) {
    CIMInstance instance = schemaClass(className).newInstance();
    for (const CIMProperty& property : schemaClass(className).getProperties()) {
        instance.setProperty(property.getName(), CIMValue());
    }
    for (const auto& [name, value] : values) {
        instance.setProperty(name, value);
    }
    return instance;
}

void expectComesBack(const CIMInstance& instance) {
    const String text = toMOF(instance);
    const Compiled compiled = compileText(SCHEMA + text);
    ASSERT_EQ(1U, compiled.instances.size()) << text;
    EXPECT_TRUE(compiled.instances[0] == instance) << text;
    EXPECT_EQ(text, toMOF(compiled.instances[0]));
}

void expectValueComesBack(const char* property, const CIMValue& value) {
    SCOPED_TRACE(property);
    expectComesBack(instanceOf("All", {{"id", CIMValue(uint32_t{1})}, {property, value}}));
}

TEST(RendererRoundTripTest, NullsDoNotTurnIntoDefaults) {
    expectComesBack(instanceOf("All", {{"id", CIMValue(uint32_t{1})}}));
}

TEST(RendererRoundTripTest, NumbersComeBackExactly) {
    expectValueComesBack("u8", CIMValue(uint8_t{255}));
    expectValueComesBack("s8", CIMValue(int8_t{-128}));
    expectValueComesBack("u16", CIMValue(uint16_t{65535}));
    expectValueComesBack("s16", CIMValue(int16_t{-32768}));
    expectValueComesBack("u32", CIMValue(UINT32_MAX));
    expectValueComesBack("s32", CIMValue(INT32_MIN));
    expectValueComesBack("u64", CIMValue(UINT64_MAX));
    expectValueComesBack("s64", CIMValue(INT64_MIN));
    expectValueComesBack("b", CIMValue(false));
    expectValueComesBack("s64a", CIMValue::array<int64_t>({INT64_MIN, 0, INT64_MAX}));
    expectValueComesBack("u8a", CIMValue::array<uint8_t>({0, 255, 8}));
    expectValueComesBack("ba", CIMValue::array<bool>({true, false, true}, {false, false, true}));
}

TEST(RendererRoundTripTest, RealsComeBackToTheLastBit) {
    using Limits64 = std::numeric_limits<double>;
    using Limits32 = std::numeric_limits<float>;
    Array<double> reals = {0.0,
                           -0.0,
                           0.1,
                           Limits64::max(),
                           Limits64::lowest(),
                           Limits64::min(),
                           Limits64::denorm_min(),
                           1.0 / 3,
                           1e22,
                           1e23,
                           123456789012345680.0};
    std::mt19937_64 random(20241120);
    while (reals.size() < 2000) {
        const auto value = std::bit_cast<double>(random());
        if (value - value == 0) {
            reals.push_back(value);
        }
    }
    expectValueComesBack("r64a", CIMValue::array<double>(reals));
    for (const float value : {0.0F, -0.0F, 0.1F, 16777217.0F, Limits32::max(), Limits32::lowest(),
                              Limits32::min(), Limits32::denorm_min()}) {
        expectValueComesBack("r32", CIMValue(value));
    }
}

TEST(RendererRoundTripTest, EveryCharacterOf16BitsComesBack) {
    Array<Char16> all;
    for (uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
        all.push_back(Char16{static_cast<char16_t>(unit)});
    }
    expectValueComesBack("ca", CIMValue::array<Char16>(all));
}

TEST(RendererRoundTripTest, StringsComeBackByteForByte) {
    String everything;
    for (char c = 1; c < 0x7F; ++c) {
        everything += c;
    }
    const String samples[] = {
        "",
        everything + '\x7F',
        "\r\n \n\r \r\r",
        "\"\\\"\\\\",
        "\\x0041 \\n",
        "\x01"
        "f00",
        "\xC2\x80\xE2\x82\xAC\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF\xF4\x8F\xBF\xBF",
        "/* no comment */ // either",
        "#pragma namespace(\"x\")",
        "?\?/ ?\?=",
        String(1 << 20, '\\')};
    for (const String& sample : samples) {
        expectValueComesBack("s", CIMValue(sample));
    }
    expectValueComesBack("sa", CIMValue::array<String>({samples[1], "", samples[3]}));
}

TEST(RendererRoundTripTest, ArraysComeBackInTheirForm) {
    expectValueComesBack("sa", CIMValue::array<String>({}));
    expectValueComesBack("sa", CIMValue::array<String>({""}));
    expectValueComesBack("sa", CIMValue::array<String>({""}, {true}));
    expectValueComesBack("sa", CIMValue::array<String>({"", "NULL", ""}, {true, false, false}));
    expectValueComesBack("u8a", CIMValue::array<uint8_t>({}));
    expectValueComesBack("fixed", CIMValue::array<String>({"a", "b", "c"}));
}

TEST(RendererRoundTripTest, DatetimesComeBackAsTheyWere) {
    for (const char* text : {"20240229235960.123456-720", "2024**********.******+000",
                             "99999999235959.99****:000", "**************.******-***"}) {
        expectValueComesBack("d", CIMValue(CIMDateTime(text)));
    }
    expectValueComesBack(
        "da", CIMValue::array<CIMDateTime>({CIMDateTime(), CIMDateTime()}, {false, true}));
}

TEST(RendererRoundTripTest, EmbeddedObjectsComeBack) {
    const CIMInstance part =
        instanceOf("Part", {{"id", CIMValue("a\"b\\c\nd")}, {"text", CIMValue()}});
    const CIMInstance other = instanceOf("Part", {{"id", CIMValue("\\\"")}});
    expectValueComesBack("part", CIMValue(part));
    expectValueComesBack(
        "parts", CIMValue::array<CIMInstance>({part, CIMInstance(), other}, {false, true, false}));
    expectValueComesBack("any", CIMValue(part));
    const CIMInstance all =
        instanceOf("All", {{"id", CIMValue(uint32_t{2})}, {"part", CIMValue(part)}});
    expectValueComesBack("any", CIMValue(all));
    expectValueComesBack("any", CIMValue(schemaClass("Part")));
}

TEST(RendererRoundTripTest, ReferencesComeBack) {
    CIMObjectPath part("Part", "a/b");
    part.setHost("host").setKeyValue("id", CIMValue("\"quoted\\\" and,commas=."));
    CIMObjectPath link("Link");
    link.setKeyValue("part", CIMValue(part.toString())).setKeyValue("link", CIMValue("Link"));
    for (const CIMObjectPath& target : {CIMObjectPath("Link"), link}) {
        CIMObjectPath synced = target;
        if (!target.isClassPath()) {
            synced.syncWithClass(schemaClass("Link"));
        }
        expectComesBack(instanceOf("Link", {{"part", CIMValue(part)}, {"link", CIMValue(synced)}}));
    }
}

TEST(RendererRoundTripTest, InstanceQualifiersComeBack) {
    CIMInstance instance = instanceOf("Part", {{"id", CIMValue("x")}});
    const CIMFlavor flavor{false, true, true};
    instance.setQualifiers({CIMQualifier("Description", CIMValue("\n"), flavor),
                            CIMQualifier("Numbers", CIMValue::array<int64_t>({-1}), CIMFlavor())});
    expectComesBack(instance);
}

void expectClassesComeBack(const Array<CIMQualifierType>& types, const Array<CIMClass>& classes) {
    String text;
    for (const CIMQualifierType& type : types) {
        text += toMOF(type);
    }
    for (const CIMClass& cls : classes) {
        text += toMOF(cls);
    }
    const Compiled again = compileText(text);
    ASSERT_EQ(types.size(), again.qualifierTypes.size());
    ASSERT_EQ(classes.size(), again.classes.size());
    std::map<String, CIMClass> byName;
    for (const CIMClass& cls : again.classes) {
        byName[blocxx::toLower(cls.getName())] = cls;
    }
    for (const CIMClass& cls : classes) {
        const CIMClass& other = byName[blocxx::toLower(cls.getName())];
        EXPECT_TRUE(cls == other) << toMOF(cls) << toMOF(other);
        EXPECT_EQ(toMOF(cls), toMOF(other));
    }
    for (size_t i = 0; i < types.size(); ++i) {
        EXPECT_TRUE(types[i] == again.qualifierTypes[i]) << toMOF(types[i]);
    }
}

TEST(RendererRoundTripTest, ClassesAndQualifierTypesComeBack) {
    const String more = R"(
Qualifier AllOfIt : real64[] = {1.5, NULL, -0.0}, Scope(any), Flavor(DisableOverride, Restricted);
Qualifier Letter : char16 = '\x0000', Scope(method, parameter);
Qualifier When : datetime = "00000000000000.000000:000", Scope(class);
[Description("line\nline"), When(NULL), AllOfIt {}]
class Derived : All {
    [Override("s"), Description(NULL)] string s = "other\\";
    [Description("x") : DisableOverride] uint16 own[4] = {1, 2, NULL, 4};
    char16 letter = '\'';
    string Class; uint8 Instance; boolean Qualifier;
    [Letter('"'), Numbers {}] uint32 run([In, Numbers {1, -9223372036854775808}] string a[],
        [In(false), EmbeddedInstance("Part")] string b, Part REF c, Link REF d[2]);
    boolean stop();
};
class Empty {};
class EmptyDerived : Empty {};
)";
    const Compiled compiled = compileText(SCHEMA + more);
    expectClassesComeBack(compiled.qualifierTypes, compiled.classes);
}

TEST(RendererRoundTripTest, TheWholeDmtfSchemaComesBack) {
    const std::filesystem::path directory = std::filesystem::path(KOV_MOF_CORPUS) / "dmtf-cim-2.41";
    if (!std::filesystem::is_directory(directory)) {
        GTEST_SKIP() << directory << " is absent";
    }
    std::filesystem::path root;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        const String name = entry.path().filename();
        if (name.starts_with("cim_schema_") && name.ends_with(".mof")) {
            root = entry.path();
        }
    }
    ASSERT_FALSE(root.empty());
    const auto content = compile(includeFile(root, ""), CIMOMHandleIFCRef(), "root", includeFile);
    ASSERT_EQ(1U, content.size());
    EXPECT_GT(content[0].classes.size(), 1000U);
    expectClassesComeBack(content[0].qualifierTypes, content[0].classes);
}

}  // namespace
}  // namespace OpenWBEM::MOF
