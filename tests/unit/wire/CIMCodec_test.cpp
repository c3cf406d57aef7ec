// SPDX-License-Identifier: Apache-2.0
//
// Decoding gives the object that was encoded, and refuses all other bytes.
#include <capnp/serialize.h>
#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <variant>

#include "cim.capnp.h"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/Identifier.hpp"
#include "openwbem/wire/CIMCodec.hpp"

namespace {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
using T = CIMDataType;

Codec::Bytes bytesOf(const String& text) {
    return std::as_bytes(std::span(text));
}

CIMProperty property(const String& name, CIMDataType type, CIMValue value = CIMValue()) {
    return CIMProperty(name, std::move(type), std::move(value));
}

template <class V>
void add(CIMPropertyArray& all, const V& value) {
    const CIMValue single(value);
    const T::Type declared = single.getType() >= T::EMBEDDEDINSTANCE ? T::STRING : single.getType();
    const String name = "P" + std::to_string(all.size());
    all.push_back(property(name, declared, single));
    all.push_back(property(name + "Empty", T::array(declared), CIMValue::array<V>({})));
    all.push_back(property(name + "Some", T::array(declared), CIMValue::array<V>({value, value})));
    all.push_back(property(name + "Holes", T::array(declared),
                           CIMValue::array<V>({value, V(), value}, {false, true, false})));
    all.push_back(property(name + "Null", declared));
}

CIMObjectPath path() {
    return CIMObjectPath("Car", "root/cars")
        .setHost("host:5988")
        .setKeyValue("Number", CIMValue(uint32_t(7)))
        .setKeyValue("Name", CIMValue("\"q\\\" \xC3\xA4"));
}

CIMClass declaredClass() {
    CIMFlavor flavor;
    flavor.overridable = false;
    flavor.toSubclass = false;
    flavor.translatable = true;
    const CIMQualifier note("Note", CIMValue("text"), flavor);
    CIMParameter in("In", T::array(T::UINT8, 3));
    in.setQualifiers({note});
    CIMMethod method("Run", T::UINT32);
    method
        .setParameters({in, CIMParameter("Where", T::reference("Car")),
                        CIMParameter("Others", T::referenceArray("Car")),
                        CIMParameter("Two", T::referenceArray("Thing", 2))})
        .setQualifiers({note});
    CIMProperty number("Number", T::UINT16, CIMValue(uint16_t(5)));
    number.setQualifiers({note, CIMQualifier("Empty", CIMValue())});
    CIMClass cls("Car", "Thing");
    cls.setQualifiers({note}).setMethods({method});
    cls.setProperties({number, CIMProperty("Owner", T::reference("Person"))});
    return cls;
}

CIMInstance instanceOfEverything() {
    CIMPropertyArray all;
    add(all, true);
    add(all, std::numeric_limits<uint8_t>::max());
    add(all, std::numeric_limits<int8_t>::min());
    add(all, std::numeric_limits<uint16_t>::max());
    add(all, std::numeric_limits<int16_t>::min());
    add(all, std::numeric_limits<uint32_t>::max());
    add(all, std::numeric_limits<int32_t>::min());
    add(all, std::numeric_limits<uint64_t>::max());
    add(all, std::numeric_limits<int64_t>::min());
    add(all, -0.0F);
    add(all, std::numeric_limits<double>::denorm_min());
    add(all, Char16{0xD800});
    add(all, String("line\r\n\t\xE2\x82\xAC"));
    add(all, CIMDateTime("20240229235959.123456+060"));
    add(all, path());
    add(all, CIMInstance("Inner").setProperty("Deep", CIMValue(path())));
    add(all, declaredClass());
    CIMInstance instance("Everything");
    all.front().setKey(true);
    instance.setProperties(all);
    instance.setQualifiers({CIMQualifier("Version", CIMValue("1"))});
    return instance;
}

TEST(CIMCodec, InstancesComeBackAsTheyWere) {
    const CIMInstance instance = instanceOfEverything();
    const CIMInstance back = Codec::decodeInstance(bytesOf(Codec::encode(instance)));
    EXPECT_EQ(instance, back);
    EXPECT_TRUE(back.getProperties().front().isKey());
    EXPECT_FALSE(back.getProperties().back().isKey());
    EXPECT_EQ(CIMInstance("A"), Codec::decodeInstance(bytesOf(Codec::encode(CIMInstance("A")))));
}

TEST(CIMCodec, PathsComeBackAsTheyWere) {
    EXPECT_EQ(path(), Codec::decodeObjectPath(bytesOf(Codec::encode(path()))));
    EXPECT_EQ("host:5988", Codec::decodeObjectPath(bytesOf(Codec::encode(path()))).getHost());
}

TEST(CIMCodec, QualifierTypesComeBackAsTheyWere) {
    CIMQualifierType type("Values");
    CIMFlavor flavor;
    flavor.translatable = true;
    type.setDataType(T::array(T::STRING, 4)).setScopes(CIMScope::METHOD).setFlavor(flavor);
    type.setDefaultValue(CIMValue::array<String>({"a", "", "c", "d"}));
    EXPECT_EQ(type, Codec::decodeQualifierType(bytesOf(Codec::encode(type))));
}

TEST(CIMCodec, OfAClassItsOwnPartsAreKept) {
    EXPECT_EQ(declaredClass(), Codec::decodeClass(bytesOf(Codec::encode(declaredClass()))));
    CIMClass derived = declaredClass();
    CIMPropertyArray properties = derived.getProperties();
    properties.push_back(property("Inherited", T::STRING).setPropagated(true));
    CIMQualifierArray qualifiers = properties[0].getQualifiers();
    qualifiers.push_back(CIMQualifier("Passed", CIMValue(true)).setPropagated(true));
    properties[0].setQualifiers(qualifiers);
    CIMMethodArray methods = derived.getMethods();
    methods.push_back(CIMMethod("Old", T::UINT8).setPropagated(true));
    derived.setProperties(properties).setMethods(methods);
    EXPECT_EQ(declaredClass(), Codec::decodeClass(bytesOf(Codec::encode(derived))));
}

TEST(CIMCodec, ClassesInValuesAreKeptWhole) {
    CIMClass derived("Derived", "Base");
    CIMProperty inherited = property("Inherited", T::STRING);
    derived.setProperties({inherited.setPropagated(true).setClassOrigin("Base").setKey(true)});
    CIMInstance holder("Holder");
    holder.setProperties({property("Class", T::STRING, CIMValue(derived))});
    const CIMInstance back = Codec::decodeInstance(bytesOf(Codec::encode(holder)));
    EXPECT_EQ(holder, back);
    const auto& cls = back.getPropertyValue("Class").get<CIMClass>();
    EXPECT_TRUE(cls.getProperties().at(0).isPropagated());
    EXPECT_TRUE(cls.getProperties().at(0).isKey());
    EXPECT_EQ("Base", cls.getProperties().at(0).getClassOrigin());
}

TEST(CIMCodec, BytesNeedNoAlignment) {
    const String encoded = Codec::encode(instanceOfEverything());
    for (size_t shift = 0; shift < 8; ++shift) {
        const String shifted = String(shift, '#') + encoded;
        EXPECT_EQ(instanceOfEverything(), Codec::decodeInstance(bytesOf(shifted).subspan(shift)));
    }
}

/// Decodes as each kind of object. Each attempt succeeds or throws a CodecException.
void decodeAll(const String& bytes) {
    const auto attempt = [&](auto decode) {
        try {
            decode(bytesOf(bytes));
        } catch (const Codec::CodecException& e) {
            EXPECT_NE(0u, std::strlen(e.what()));
        }
    };
    attempt([](Codec::Bytes b) { Codec::encode(Codec::decodeClass(b)); });
    attempt([](Codec::Bytes b) { Codec::encode(Codec::decodeInstance(b)); });
    attempt([](Codec::Bytes b) { Codec::encode(Codec::decodeQualifierType(b)); });
    attempt([](Codec::Bytes b) { Codec::encode(Codec::decodeObjectPath(b)); });
}

TEST(CIMCodec, CutMessagesAreRefused) {
    const String encoded = Codec::encode(instanceOfEverything());
    for (size_t length = 0; length < encoded.size(); ++length) {
        EXPECT_THROW(Codec::decodeInstance(bytesOf(encoded.substr(0, length))),
                     Codec::CodecException)
            << length;
    }
    EXPECT_THROW(Codec::decodeInstance(bytesOf(encoded + "x")), Codec::CodecException);
    EXPECT_THROW(Codec::decodeInstance(bytesOf(encoded + "12345678")), Codec::CodecException);
}

TEST(CIMCodec, NoiseNeverMakesAnythingButAnObjectOrARefusal) {
    std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same noise every time
    for (const String& good : {Codec::encode(instanceOfEverything()),
                               Codec::encode(declaredClass()), Codec::encode(path())}) {
        for (size_t at = 0; at < good.size(); ++at) {
            String bad = good;
            bad[at] = static_cast<char>(bad[at] ^ (1 << random() % 8));
            decodeAll(bad);
            bad[random() % bad.size()] = static_cast<char>(random());
            decodeAll(bad);
        }
    }
}

TEST(CIMCodec, ManyPointersToOnePlaceDoNotMultiply) {
    // The names of 250 qualifiers all point to the same long text.
    constexpr size_t COUNT = 250;
    constexpr size_t LENGTH = 1000;
    CIMQualifierArray qualifiers(COUNT, CIMQualifier("Q", CIMValue()));
    qualifiers[0] = CIMQualifier(String(LENGTH, 'x'), CIMValue());
    CIMClass cls("Bomb");
    cls.setQualifiers(qualifiers);
    String bytes = Codec::encode(cls);
    const auto word = [&](size_t i) {
        uint64_t value = 0;
        std::memcpy(&value, bytes.data() + i * 8, 8);
        return value;
    };
    // The pointer to a list (kind 1) with as many bytes as the text and its terminator.
    size_t first = 0;
    while ((word(first) & 3) != 1 || word(first) >> 35 != LENGTH + 1) {
        ASSERT_LT(++first, bytes.size() / 8);
    }
    // Pointers are relative to their own position. A qualifier has three words.
    const size_t target = first + 1 + (static_cast<uint32_t>(word(first)) >> 2);
    for (size_t i = first + 3; i < first + COUNT * 3; i += 3) {
        const uint64_t pointer =
            word(first) >> 32 << 32 | static_cast<uint32_t>((target - i - 1) << 2) | 1;
        std::memcpy(bytes.data() + i * 8, &pointer, 8);
    }
    try {
        Codec::decodeClass(bytesOf(bytes));
        FAIL();
    } catch (const Codec::CodecException& e) {
        EXPECT_THAT(e.what(), ::testing::HasSubstr("traversal limit"));
    }
}

TEST(CIMCodec, WhatTheModelRefusesIsRefused) {
    // A string that is not UTF-8.
    CIMInstance instance("A");
    instance.setProperty("P", CIMValue("MARKER"));
    String bytes = Codec::encode(instance);
    bytes.replace(bytes.find("MARKER"), 1, "\xFF");
    EXPECT_THROW(Codec::decodeInstance(bytesOf(bytes)), Codec::CodecException);
    // A name that is not an identifier.
    CIMInstance named("MARKER");
    bytes = Codec::encode(named);
    bytes.replace(bytes.find("MARKER"), 1, "1");
    EXPECT_THROW(Codec::decodeInstance(bytesOf(bytes)), Codec::CodecException);
    // A value of another type than its property.
    CIMInstance mixed("A");
    mixed.setProperties({property("P", T::UINT8, CIMValue("text"))});
    EXPECT_THROW(Codec::decodeInstance(bytesOf(Codec::encode(mixed))), Codec::CodecException);
}

/// The bytes of an instance with a property P of a type, whose value `fill` makes.
String withValue(wire::Type type, bool isArray,
                 const std::function<void(wire::Value::Builder)>& fill) {
    capnp::MallocMessageBuilder message;
    auto instance = message.initRoot<wire::Instance>();
    instance.setClassName("A");
    auto property = instance.initProperties(1)[0];
    property.setName("P");
    property.setType(type);
    property.setIsArray(isArray);
    auto value = property.initValue();
    value.setType(type);
    value.setIsArray(isArray);
    fill(value);
    const auto words = capnp::messageToFlatArray(message);
    const auto bytes = words.asChars();
    return {bytes.begin(), bytes.size()};
}

/// The value of P, or why the bytes are refused.
std::variant<CIMValue, String> decodedValue(const String& bytes) {
    try {
        return Codec::decodeInstance(bytesOf(bytes)).getPropertyValue("P");
    } catch (const Codec::CodecException& e) {
        return String(e.getMessage());
    }
}

TEST(CIMCodec, ANumberIsInTheRangeOfItsType) {
    const auto unsignedValue = [](wire::Type type, uint64_t number) {
        return decodedValue(withValue(type, false, [&](auto value) { value.setUnsigned(number); }));
    };
    const auto signedValue = [](wire::Type type, int64_t number) {
        return decodedValue(withValue(type, false, [&](auto value) { value.setSigned(number); }));
    };
    using Type = wire::Type;
    const std::variant<CIMValue, String> refused("a number is out of the range of its type");
    EXPECT_EQ(CIMValue(uint8_t(255)), std::get<CIMValue>(unsignedValue(Type::UINT8, 255)));
    EXPECT_EQ(CIMValue(int16_t(-32768)), std::get<CIMValue>(signedValue(Type::SINT16, -32768)));
    EXPECT_EQ(refused, unsignedValue(Type::UINT8, 256));
    EXPECT_EQ(refused, unsignedValue(Type::UINT32, uint64_t(1) << 32U));
    EXPECT_EQ(refused, unsignedValue(Type::CHAR16, 65536));
    EXPECT_EQ(refused, signedValue(Type::SINT8, 128));
    EXPECT_EQ(refused, signedValue(Type::SINT16, -32769));
    const auto inAnArray = [](auto value) { value.initUnsigneds(2).set(1, 65536); };
    EXPECT_EQ(refused, decodedValue(withValue(Type::UINT16, true, inAnArray)));
}

TEST(CIMCodec, AnArrayHasAsManyNullFlagsAsElementsOrNone) {
    const auto decoded = [](unsigned flags) {
        return decodedValue(withValue(wire::Type::UINT16, true, [flags](auto value) {
            value.initUnsigneds(2).set(1, 7);
            auto nulls = value.initNulls(flags);
            if (flags > 0) {
                nulls.set(0, true);
            }
        }));
    };
    EXPECT_EQ(CIMValue::array<uint16_t>({0, 7}), std::get<CIMValue>(decoded(0)));
    EXPECT_EQ(CIMValue::array<uint16_t>({0, 7}, {true, false}), std::get<CIMValue>(decoded(2)));
    const std::variant<CIMValue, String> refused(
        "an array does not say of each element whether it is null");
    for (const unsigned flags : {1U, 3U, 64U, 100000U}) {
        EXPECT_EQ(refused, decoded(flags)) << flags;
    }
}

TEST(Identifier, IsALetterAndThenLettersAndDigits) {
    for (const char* name : {"a", "_", "CIM_Foo1", "\xC3\xA4z"}) {
        EXPECT_TRUE(isIdentifier(name)) << name;
    }
    for (const char* name : {"", "1a", "a b", "a-b", "a.b", "\xC3", "a/b"}) {
        EXPECT_FALSE(isIdentifier(name)) << name;
    }
}

}  // namespace
