// SPDX-License-Identifier: Apache-2.0
//
// Whole schemas, written and read back: the DMTF's, if it is present, and one of our own with every
// construct.
#include <algorithm>
#include <filesystem>

#include "openwbem/cimxml/Writing.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "tests/unit/cimxml/Documents.hpp"
#include "tests/unit/mof/Compiled.hpp"

namespace OpenWBEM::CIMXML {
namespace {

template <class T>
String written(void (*append)(String&, const T&), const Array<T>& objects) {
    String elements;
    for (const T& object : objects) {
        append(elements, object);
    }
    return elements;
}

template <class T>
void expectSame(const ReceivedResponse& received, const Array<T>& objects) {
    ASSERT_EQ(received.results.size(), objects.size());
    for (size_t i = 0; i < objects.size(); ++i) {
        EXPECT_EQ(std::get<T>(received.results[i]), objects[i]) << MOF::toMOF(objects[i]);
    }
}

template <class T>
void expectRoundTrip(void (*append)(String&, const T&), const Array<T>& objects) {
    // In portions, so that each is within the limit of a document.
    constexpr size_t PORTION = 100;
    for (size_t i = 0; i < objects.size(); i += PORTION) {
        const Array<T> portion(
            objects.begin() + static_cast<ptrdiff_t>(i),
            objects.begin() + static_cast<ptrdiff_t>(std::min(i + PORTION, objects.size())));
        expectSame(ReceivedResponse::parse(response(written(append, portion))), portion);
    }
}

MOF::NamespaceContent compiled(const String& path) {
    const auto contents = MOF::compile(MOF::includeFile(path, ""), {}, "root", MOF::includeFile);
    return contents.at(0);
}

void expectRoundTrip(const MOF::NamespaceContent& content) {
    expectRoundTrip(appendQualifierType, content.qualifierTypes);
    expectRoundTrip(appendClass, content.classes);
    expectRoundTrip(appendInstance, content.instances);
}

TEST(CIMXMLSchemaTest, TheWholeDmtfSchemaComesBackFromItsElements) {
    const String path = KOV_MOF_CORPUS "/dmtf-cim-2.41/cim_schema_2.41.0.mof";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << path << " is absent";
    }
    const MOF::NamespaceContent content = compiled(path);
    EXPECT_EQ(content.classes.size(), 1438U);
    EXPECT_EQ(content.qualifierTypes.size(), 70U);
    expectRoundTrip(content);
}

/// The object with other values where it has characters that XML does not have.
template <class T>
T sendable(T object) {
    CIMPropertyArray properties = object.getProperties();
    for (CIMProperty& property : properties) {
        const CIMValue& value = property.getValue();
        if (value.getType() == CIMDataType::CHAR16) {
            property.setValue(value.isArray() ? CIMValue::array<Char16>({{u'<'}, {u'\r'}, {u' '}})
                                              : CIMValue(Char16{0x2028}));
        } else if (property.getName() == "s" && !value.isNull()) {
            property.setValue(CIMValue("\t\n\r \"'<&]]>\xF0\x9F\x98\x80 "));
        }
    }
    return object.setProperties(std::move(properties));
}

TEST(CIMXMLSchemaTest, OurOwnSchemaComesBackFromItsElements) {
    MOF::NamespaceContent content = compiled(KOV_TEST_DATA "/mof/complete.mof");
    std::ranges::transform(content.classes, content.classes.begin(), sendable<CIMClass>);
    std::ranges::transform(content.instances, content.instances.begin(), sendable<CIMInstance>);
    EXPECT_EQ(content.classes.size(), 9U);
    EXPECT_EQ(content.instances.size(), 7U);
    expectRoundTrip(content);
}

}  // namespace
}  // namespace OpenWBEM::CIMXML
