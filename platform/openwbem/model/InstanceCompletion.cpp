// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/InstanceCompletion.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/NameIndex.hpp"

namespace OpenWBEM {

using blocxx::Format;

namespace {

void refuseUnknownAndRepeated(const CIMInstance& instance, const CIMClass& cls,
                              const NameIndex<CIMProperty>& given) {
    const CIMPropertyArray& properties = instance.getProperties();
    if (const auto twice = given.findDuplicate()) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           Format("property \"%1\" of an instance of %2 is given twice",
                                  properties[*twice].getName(), cls.getName()));
    }
    const NameIndex<CIMProperty> known(cls.getProperties());
    for (const CIMProperty& property : properties) {
        if (!known.find(property.getName())) {
            OPENWBEM_THROW_CIM(NO_SUCH_PROPERTY, Format("class %1 has no property \"%2\"",
                                                        cls.getName(), property.getName()));
        }
    }
}

bool isEmbedded(const CIMValue& value) noexcept {
    return value.getType() == CIMDataType::EMBEDDEDINSTANCE ||
           value.getType() == CIMDataType::EMBEDDEDCLASS;
}

bool takesEmbedded(const CIMProperty& declared) noexcept {
    return declared.getQualifier("EmbeddedInstance") != nullptr ||
           declared.getQualifier("EmbeddedObject") != nullptr;
}

void checkValue(const CIMProperty& declared, const CIMValue& value, const CIMClass& cls) {
    const CIMDataType& type = declared.getDataType();
    // In other properties, MOF would read the object back as a plain string.
    if (!canHold(type, value) || (isEmbedded(value) && !takesEmbedded(declared))) {
        OPENWBEM_THROW_CIM(
            TYPE_MISMATCH,
            Format(
                "property \"%1\" of class %2 is of type %3%4 and cannot hold a value of type %5%6",
                declared.getName(), cls.getName(), type.toString(), type.isArray() ? "[]" : "",
                CIMDataType::toString(value.getType()), value.isArray() ? "[]" : ""));
    }
    if (type.getSize() != 0 && !value.isNull() && value.getArraySize() != type.getSize()) {
        OPENWBEM_THROW_CIM(
            TYPE_MISMATCH,
            Format("property \"%1\" of class %2 takes exactly %3 elements, not %4",
                   declared.getName(), cls.getName(), type.getSize(), value.getArraySize()));
    }
}

CIMProperty completeProperty(const CIMProperty& declared, const CIMProperty* given,
                             const CIMClass& cls, NullKeys nullKeys) {
    const CIMValue& value = given != nullptr ? given->getValue() : declared.getValue();
    checkValue(declared, value, cls);
    if (declared.isKey() && value.isNull() && nullKeys == NullKeys::REFUSED) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("key property \"%1\" of class %2 has no value",
                                                     declared.getName(), cls.getName()));
    }
    CIMProperty result = declared.asInstanceProperty();
    // Most properties of most instances are null. They take no memory while they stay shared.
    if (given != nullptr && !(value.isNull() && declared.getValue().isNull())) {
        result.setValue(value);
    }
    return result;
}

}  // namespace

bool canHold(const CIMDataType& declared, const CIMValue& value) noexcept {
    if (value.isNull()) {
        return true;
    }
    if (declared.isArray() != value.isArray()) {
        return false;
    }
    return value.getType() == declared.getType() ||
           (isEmbedded(value) && declared.getType() == CIMDataType::STRING);
}

CIMInstance completeInstance(const CIMInstance& instance, const CIMClass& cls, NullKeys nullKeys) {
    const NameIndex<CIMProperty> given(instance.getProperties());
    refuseUnknownAndRepeated(instance, cls, given);
    CIMPropertyArray properties;
    properties.reserve(cls.getProperties().size());
    for (const CIMProperty& declared : cls.getProperties()) {
        const auto place = given.find(declared.getName());
        const CIMProperty* own = place ? &instance.getProperties()[*place] : nullptr;
        properties.push_back(completeProperty(declared, own, cls, nullKeys));
    }
    CIMInstance result(cls.getName());
    result.setQualifiers(instance.getQualifiers());
    result.setProperties(std::move(properties));
    return result;
}

}  // namespace OpenWBEM
