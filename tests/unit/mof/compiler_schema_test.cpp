// SPDX-License-Identifier: Apache-2.0
//
// Whole schemas: the DMTF's, if it is present, and one of our own with every construct.
#include <bit>
#include <cmath>
#include <filesystem>
#include <random>

#include "blocxx/Utf8.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::MOF {
namespace {

template <class Object>
void expectSame(const Array<Object>& before, const Array<Object>& after) {
    ASSERT_EQ(before.size(), after.size());
    for (size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(before[i], after[i]) << toMOF(before[i]);
    }
}

/// Renders everything, compiles the text and expects equal objects.
void expectRoundTrip(const NamespaceContent& content) {
    String text;
    for (const auto& qualifierType : content.qualifierTypes) {
        text += toMOF(qualifierType) + "\n";
    }
    for (const auto& cls : content.classes) {
        text += toMOF(cls) + "\n";
    }
    for (const auto& instance : content.instances) {
        text += toMOF(instance) + "\n";
    }
    const Compiled again = compileText(text);
    expectSame(content.qualifierTypes, again.qualifierTypes);
    expectSame(content.classes, again.classes);
    expectSame(content.instances, again.instances);
}

TEST(MofSchemaTest, TheWholeDmtfSchemaCompiles) {
    const String path = KOV_MOF_CORPUS "/dmtf-cim-2.41/cim_schema_2.41.0.mof";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << path << " is absent";
    }
    const auto contents = compile(includeFile(path, ""), {}, "root", includeFile);
    ASSERT_EQ(contents.size(), 1U);
    EXPECT_EQ(contents[0].classes.size(), 1438U);
    EXPECT_EQ(contents[0].qualifierTypes.size(), 70U);
    EXPECT_TRUE(contents[0].instances.empty());
    expectRoundTrip(contents[0]);
}

TEST(MofSchemaTest, OurOwnSchemaComesBackFromItsText) {
    const auto contents =
        compile(includeFile(KOV_TEST_DATA "/mof/complete.mof", ""), {}, "root", includeFile);
    ASSERT_EQ(contents.size(), 1U);
    EXPECT_EQ(contents[0].qualifierTypes.size(), 30U);
    EXPECT_EQ(contents[0].classes.size(), 9U);
    EXPECT_EQ(contents[0].instances.size(), 7U);
    expectRoundTrip(contents[0]);
}

/// Random values that are hard to render, the same in each run.
class Generator {
public:
    uint64_t number() {
        constexpr uint64_t EDGES[] = {0,
                                      1,
                                      127,
                                      128,
                                      255,
                                      256,
                                      32768,
                                      65535,
                                      UINT32_MAX,
                                      INT64_MAX,
                                      uint64_t{1} << 63,
                                      UINT64_MAX};
        return m_random() % 2 == 0 ? EDGES[m_random() % std::size(EDGES)] : m_random();
    }
    String text() {
        constexpr uint32_t PIECES[] = {'"',  '\\', '\'', '\n', '\r',   '\t',   '\b',    '\f',
                                       1,    0x7f, 'x',  '0',  '$',    '{',    '}',     ';',
                                       0x85, 0xa0, 0xe9, '%',  0x2028, 0xfeff, 0x1f600, 0x10ffff};
        String text;
        for (uint64_t length = m_random() % 12; length > 0; --length) {
            blocxx::Utf8::append(text, PIECES[m_random() % std::size(PIECES)]);
        }
        return text;
    }
    double real() {
        for (;;) {
            const double value = std::bit_cast<double>(m_random());
            if (std::isnormal(value)) {
                return value;
            }
        }
    }
    bool chance() { return m_random() % 4 == 0; }

private:
    std::mt19937_64 m_random{20260101};  // NOLINT(cert-msc51-cpp): the same values each time
};

CIMInstance generate(Generator& g, const CIMClass& all, const CIMClass& part, uint32_t id) {
    const auto set = [&](CIMInstance& instance, const char* name, CIMValue value) {
        instance.setProperty(name, g.chance() ? CIMValue() : std::move(value));
    };
    CIMInstance instance = all.newInstance();
    instance.setProperty("id", CIMValue(id));
    set(instance, "u8", CIMValue(static_cast<uint8_t>(g.number())));
    set(instance, "s8", CIMValue(static_cast<int8_t>(g.number())));
    set(instance, "u64", CIMValue(g.number()));
    set(instance, "s64", CIMValue(static_cast<int64_t>(g.number())));
    set(instance, "r64", CIMValue(g.real()));
    set(instance, "c", CIMValue(Char16{static_cast<char16_t>(g.number())}));
    set(instance, "s", CIMValue(g.text()));
    set(instance, "sa",
        CIMValue::array<String>({g.text(), "", g.text()}, {false, g.chance(), false}));
    CIMInstance inner = part.newInstance();
    inner.setProperty("id", CIMValue(g.text()));
    set(instance, "part", CIMValue(inner));
    CIMObjectPath path("Part");
    path.setKeyValue("id", CIMValue(g.text()));
    set(instance, "path", CIMValue(path.toString()));
    return instance;
}

TEST(MofSchemaTest, TenThousandHostileInstancesComeBack) {
    const auto contents =
        compile(includeFile(KOV_TEST_DATA "/mof/hostile.mof", ""), {}, "root", includeFile);
    NamespaceContent content = contents.at(0);
    const CIMClass part = content.classes.at(0);
    const CIMClass all = content.classes.at(1);
    Generator generator;
    for (uint32_t i = 0; i < 10000; ++i) {
        content.instances.push_back(generate(generator, all, part, i));
    }
    expectRoundTrip(content);
}

}  // namespace
}  // namespace OpenWBEM::MOF
