// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/EmbeddedValues.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/Embedding.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/model/NameIndex.hpp"
#include "openwbem/repository/QualifierUses.hpp"

namespace OpenWBEM {

using blocxx::equalsIgnoreCase;
using blocxx::Format;
using blocxx::toLower;

namespace {

/// The value with `change` applied to it, or to each element of an array, unless it is null.
template <class Change>
CIMValue withEachSingle(const CIMValue& value, const Change& change) {
    if (!value.isArray()) {
        return value.isNull() ? value : change(value);
    }
    Array<CIMValue> elements;
    elements.reserve(value.getArraySize());
    for (size_t i = 0; i < value.getArraySize(); ++i) {
        elements.push_back(value.isNullElement(i) ? CIMValue() : change(value.getElement(i)));
    }
    return CIMValue::arrayOf(value.getType(), elements);
}

/// Calls `visit` for the value, or for each element of an array, unless it is null.
template <class Visit>
void forEachSingle(const CIMValue& value, const Visit& visit) {
    if (!value.isArray()) {
        if (!value.isNull()) {
            visit(value);
        }
        return;
    }
    for (size_t i = 0; i < value.getArraySize(); ++i) {
        if (!value.isNullElement(i)) {
            visit(value.getElement(i));
        }
    }
}

CIMClass requireClass(const String& name, const EmbeddingSchema& schema) {
    auto cls = schema.findClass(name);
    if (!cls) {
        OPENWBEM_THROW_CIM(INVALID_CLASS, Format("there is no class \"%1\"", name));
    }
    return *std::move(cls);
}

bool isWithin(const CIMClass& cls, const String& ancestor, const EmbeddingSchema& schema) {
    std::optional<CIMClass> next = cls;
    while (next && !equalsIgnoreCase(next->getName(), ancestor)) {
        next =
            next->getSuperClass().empty() ? std::nullopt : schema.findClass(next->getSuperClass());
    }
    return next.has_value();
}

void checkQualifiers(const CIMQualifierArray& qualifiers, const EmbeddingSchema& schema) {
    for (const CIMQualifier& qualifier : qualifiers) {
        const CIMQualifierType* type = schema.qualifierTypes(qualifier.getName());
        if (type == nullptr) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                               Format("there is no qualifier type \"%1\"", qualifier.getName()));
        }
        if (!canHold(type->getDataType(), qualifier.getValue())) {
            OPENWBEM_THROW_CIM(TYPE_MISMATCH, Format("the qualifier \"%1\" is of another type",
                                                     qualifier.getName()));
        }
    }
}

CIMInstance completeEmbedded(const CIMInstance& instance, const Embedding& embedding,
                             const EmbeddingSchema& schema) {
    const CIMClass cls = requireClass(instance.getClassName(), schema);
    if (embedding.kind == Embedding::INSTANCE && !isWithin(cls, embedding.className, schema)) {
        OPENWBEM_THROW_CIM(TYPE_MISMATCH, Format("an instance of \"%1\" stands where one of \"%2\" "
                                                 "may",
                                                 cls.getName(), embedding.className));
    }
    checkQualifiers(instance.getQualifiers(), schema);
    CIMInstance complete = completeInstance(instance, cls, NullKeys::ALLOWED);
    CIMPropertyArray properties = complete.getProperties();
    const NameIndex<CIMProperty> ownNames(instance.getProperties());
    for (size_t i = 0; i < properties.size(); ++i) {
        // Defaults stay as they are: completing one that embeds an instance of its own class would
        // never end.
        if (!properties[i].getValue().isNull() && ownNames.find(properties[i].getName())) {
            CIMValue value =
                completeEmbedded(cls.getProperties()[i], properties[i].getValue(), schema);
            if (holdsObjects(value)) {
                properties[i].setValue(std::move(value));
            }
        }
    }
    return complete.setProperties(std::move(properties));
}

void checkClass(const CIMClass& cls, const Embedding& embedding, const EmbeddingSchema& schema) {
    if (embedding.kind == Embedding::INSTANCE) {
        OPENWBEM_THROW_CIM(TYPE_MISMATCH, Format("a class stands where an instance of \"%1\" may",
                                                 embedding.className));
    }
    std::optional<CIMClass> super;
    if (!cls.getSuperClass().empty()) {
        super = requireClass(cls.getSuperClass(), schema);
    }
    try {
        deriveClass(cls, super ? &*super : nullptr, schema.qualifierTypes, NullDefaults::KEEP);
    } catch (const ClassDerivationException& e) {
        throw CIMException(__FILE__, __LINE__,
                           static_cast<CIMException::ErrNoType>(e.getErrorCode()), e.getMessage());
    }
    for (const CIMProperty& property : cls.getProperties()) {
        if (!property.isPropagated()) {
            completeEmbedded(property, property.getValue(), schema);
        }
    }
}

}  // namespace

bool holdsObjects(const CIMValue& value) {
    return value.getType() == CIMDataType::EMBEDDEDINSTANCE ||
           value.getType() == CIMDataType::EMBEDDEDCLASS;
}

bool takesEmbedded(const CIMProperty& declared) {
    return declared.getDataType().getType() == CIMDataType::STRING &&
           embeddingOf(declared.getQualifiers()).kind != Embedding::NOTHING;
}

CIMValue completeEmbedded(const CIMProperty& declared, const CIMValue& value,
                          const EmbeddingSchema& schema) {
    if (value.isNull() || declared.getDataType().getType() != CIMDataType::STRING) {
        return value;
    }
    const Embedding embedding = embeddingOf(declared.getQualifiers());
    if (embedding.kind == Embedding::NOTHING) {
        if (holdsObjects(value)) {
            OPENWBEM_THROW_CIM(TYPE_MISMATCH, Format("property \"%1\" holds text and no objects",
                                                     declared.getName()));
        }
        return value;
    }
    return withEachSingle(value, [&](const CIMValue& single) {
        if (single.getType() == CIMDataType::EMBEDDEDINSTANCE) {
            return CIMValue(completeEmbedded(single.get<CIMInstance>(), embedding, schema));
        }
        if (single.getType() != CIMDataType::EMBEDDEDCLASS) {
            OPENWBEM_THROW_CIM(TYPE_MISMATCH, Format("property \"%1\" holds objects and no text",
                                                     declared.getName()));
        }
        checkClass(single.get<CIMClass>(), embedding, schema);
        return single;
    });
}

void collectEmbeddedNames(const CIMValue& value, EmbeddedNames& names) {
    if (!holdsObjects(value)) {
        return;
    }
    const auto collectProperties = [&](const CIMPropertyArray& properties) {
        for (const CIMProperty& property : properties) {
            collectEmbeddedNames(property.getValue(), names);
        }
    };
    forEachSingle(value, [&](const CIMValue& single) {
        if (single.getType() == CIMDataType::EMBEDDEDINSTANCE) {
            const auto& instance = single.get<CIMInstance>();
            names.classes.insert(toLower(instance.getClassName()));
            collectQualifiers(instance.getQualifiers(), names.qualifiers);
            collectProperties(instance.getProperties());
        } else {
            const auto& cls = single.get<CIMClass>();
            names.classes.insert(toLower(cls.getSuperClass()));
            collectQualifiers(cls, names.qualifiers);
            collectProperties(cls.getProperties());
        }
    });
}

}  // namespace OpenWBEM
