// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/ClassDerivation.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/model/NameIndex.hpp"
#include "openwbem/model/QualifierDerivation.hpp"

namespace OpenWBEM {

using blocxx::equalsIgnoreCase;
using blocxx::Format;

ClassDerivationException::ClassDerivationException(const char* file, int line, int cimStatus,
                                                   const String& message, String feature,
                                                   String parameter, String qualifier)
    : Cloneable(file, line, message.c_str(), cimStatus),
      m_feature(std::move(feature)),
      m_parameter(std::move(parameter)),
      m_qualifier(std::move(qualifier)) {}

namespace {

template <class Element>
void refuseRepeated(const Array<Element>& elements, const DerivationPlace& place,
                    std::string_view kind) {
    const NameIndex<Element> index(elements);
    if (const auto twice = index.findDuplicate()) {
        const String& name = elements[*twice].getName();
        DerivationPlace at = place;
        (kind == "parameter" ? at.parameter : at.feature) = name;
        at.fail(CIMException::INVALID_PARAMETER,
                String(Format("%1 \"%2\" is declared twice", kind, name)));
    }
}

/// Checks the qualifiers of an element and adds the inherited ones. Most elements inherit none and
/// stay shared.
template <class Element>
void deriveQualifiers(Element& element, const Element* above, uint8_t scope,
                      const DerivationPlace& place, const QualifierTypeLookup& types) {
    const CIMQualifierArray& declared = element.getQualifiers();
    const CIMQualifierArray* const qualifiersAbove =
        above != nullptr ? &above->getQualifiers() : nullptr;
    if (inheritsNone(declared, qualifiersAbove)) {
        checkQualifiers(declared, scope, place, types);
    } else {
        element.setQualifiers(mergeQualifiers(declared, qualifiersAbove, scope, place, types));
    }
}

/// The feature that an Override qualifier names, without its class; empty without that qualifier.
std::string_view overriddenName(const CIMQualifierArray& qualifiers, std::string_view ownName) {
    const CIMQualifier* qualifier = findQualifier(qualifiers, "Override");
    if (qualifier == nullptr || qualifier->isPropagated()) {
        return {};
    }
    const CIMValue& value = qualifier->getValue();
    if (value.getType() != CIMDataType::STRING || value.isArray()) {
        return ownName;
    }
    const std::string_view text = value.get<String>();
    return text.substr(text.find_last_of('.') + 1);
}

template <class Feature>
void checkOverrideTarget(const Feature& declared, const Feature* above,
                         const DerivationPlace& place) {
    const std::string_view target = overriddenName(declared.getQualifiers(), declared.getName());
    if (target.empty()) {
        return;
    }
    if (!equalsIgnoreCase(target, declared.getName())) {
        place.fail(CIMException::INVALID_PARAMETER,
                   String(Format("an overriding feature keeps its name: it cannot override \"%1\"",
                                 target)),
                   "Override");
    }
    if (above == nullptr) {
        place.fail(CIMException::INVALID_PARAMETER, "overrides a feature that no superclass has",
                   "Override");
    }
}

// Properties

bool isSameType(const CIMDataType& a, const CIMDataType& b) {
    return a.getType() == b.getType() && a.isArray() == b.isArray() && a.getSize() == b.getSize();
}

void checkPropertyType(const CIMProperty& declared, const CIMProperty* above,
                       const DerivationPlace& place) {
    const CIMDataType& type = declared.getDataType();
    if (!canHold(type, declared.getValue())) {
        place.fail(CIMException::TYPE_MISMATCH,
                   "the default value does not have the declared type");
    }
    if (type.getSize() != 0 && !declared.getValue().isNull() &&
        declared.getValue().getArraySize() != type.getSize()) {
        place.fail(CIMException::TYPE_MISMATCH,
                   "the default value does not have the declared length");
    }
    if (above == nullptr) {
        return;
    }
    const CIMDataType& old = above->getDataType();
    if (!isSameType(type, old)) {
        place.fail(CIMException::TYPE_MISMATCH,
                   String(Format("overrides a property of another type (%1%2)", old.toString(),
                                 old.isArray() ? "[]" : "")));
    }
}

uint8_t scopeOf(const CIMProperty& property) noexcept {
    return property.getDataType().isReference() ? CIMScope::REFERENCE : CIMScope::PROPERTY;
}

CIMProperty declareProperty(const CIMProperty& declared, const CIMProperty* above,
                            std::string_view className, const QualifierTypeLookup& types,
                            NullDefaults nullDefaults) {
    const DerivationPlace place{className, declared.getName()};
    checkPropertyType(declared, above, place);
    checkOverrideTarget(declared, above, place);
    CIMProperty property = declared;
    deriveQualifiers(property, above, scopeOf(declared), place, types);
    if (nullDefaults == NullDefaults::INHERIT && above != nullptr && property.getValue().isNull() &&
        !above->getValue().isNull()) {
        property.setValue(above->getValue());
    }
    const std::string_view origin = above != nullptr && !above->getClassOrigin().empty()
                                        ? std::string_view(above->getClassOrigin())
                                        : className;
    if (property.getClassOrigin() != origin) {
        property.setClassOrigin(String(origin));
    }
    property.setKey(hasTrueQualifier(property.getQualifiers(), "Key"));
    if (property.isKey() && property.getDataType().isArray()) {
        place.fail(CIMException::INVALID_PARAMETER, "an array cannot be a key", "Key");
    }
    return property;
}

// Methods

CIMParameterArray declareParameters(const CIMMethod& declared, const CIMMethod* above,
                                    std::string_view className, const QualifierTypeLookup& types) {
    refuseRepeated(declared.getParameters(), DerivationPlace{className, declared.getName()},
                   "parameter");
    static const CIMParameterArray none;
    const NameIndex<CIMParameter> inherited(above != nullptr ? above->getParameters() : none);
    CIMParameterArray parameters = declared.getParameters();
    for (CIMParameter& parameter : parameters) {
        const auto same = inherited.find(parameter.getName());
        deriveQualifiers(
            parameter, same ? &above->getParameters()[*same] : nullptr, CIMScope::PARAMETER,
            DerivationPlace{className, declared.getName(), parameter.getName()}, types);
    }
    return parameters;
}

/// An overriding method has the signature of the overridden one (DSP0004, Override). The classes of
/// references are not compared; nor are those of properties.
void checkSignature(const CIMMethod& declared, const CIMMethod& above,
                    const DerivationPlace& place) {
    if (!isSameType(declared.getReturnType(), above.getReturnType())) {
        place.fail(CIMException::TYPE_MISMATCH, "overrides a method of another return type");
    }
    const CIMParameterArray& own = declared.getParameters();
    const CIMParameterArray& old = above.getParameters();
    for (size_t i = 0; i < std::min(own.size(), old.size()); ++i) {
        if (!equalsIgnoreCase(own[i].getName(), old[i].getName()) ||
            !isSameType(own[i].getDataType(), old[i].getDataType())) {
            DerivationPlace at = place;
            at.parameter = own[i].getName();
            at.fail(CIMException::TYPE_MISMATCH,
                    String(Format("the overridden method has %1%2 %3 in its place",
                                  old[i].getDataType().toString(),
                                  old[i].getDataType().isArray() ? "[]" : "", old[i].getName())));
        }
    }
    if (own.size() != old.size()) {
        place.fail(CIMException::TYPE_MISMATCH,
                   String(Format("overrides a method with %1 parameters, not %2", old.size(),
                                 own.size())));
    }
}

CIMMethod declareMethod(const CIMMethod& declared, const CIMMethod* above,
                        std::string_view className, const QualifierTypeLookup& types) {
    const DerivationPlace place{className, declared.getName()};
    checkOverrideTarget(declared, above, place);
    if (above != nullptr) {
        checkSignature(declared, *above, place);
    }
    CIMMethod method = declared;
    deriveQualifiers(method, above, CIMScope::METHOD, place, types);
    if (!declared.getParameters().empty()) {
        method.setParameters(declareParameters(declared, above, className, types));
    }
    const std::string_view origin = above != nullptr && !above->getClassOrigin().empty()
                                        ? std::string_view(above->getClassOrigin())
                                        : className;
    if (method.getClassOrigin() != origin) {
        method.setClassOrigin(String(origin));
    }
    return method;
}

// Classes

/// Inherited and overridden features in the superclass's order, then new ones.
template <class Feature, class Declare>
Array<Feature> mergeFeatures(const Array<Feature>& declared, const Array<Feature>& above,
                             Declare declare) {
    const NameIndex<Feature> inheritedIndex(above);
    Array<Feature> merged(above.size());
    Array<Feature> added;
    added.reserve(declared.size());
    for (const Feature& feature : declared) {
        if (feature.isPropagated()) {
            continue;
        }
        if (const auto place = inheritedIndex.find(feature.getName())) {
            merged[*place] = declare(feature, &above[*place]);
        } else {
            added.push_back(declare(feature, nullptr));
        }
    }
    for (size_t i = 0; i < above.size(); ++i) {
        if (!merged[i]) {
            merged[i] = above[i].inherited();
        }
    }
    merged.insert(merged.end(), std::make_move_iterator(added.begin()),
                  std::make_move_iterator(added.end()));
    return merged;
}

uint8_t classScope(const CIMQualifierArray& declared, const CIMClass* superClass) {
    const auto is = [&](std::string_view name) {
        return hasTrueQualifier(declared, name) ||
               (superClass != nullptr && hasTrueQualifier(superClass->getQualifiers(), name));
    };
    if (is("Association")) {
        return CIMScope::ASSOCIATION;
    }
    return is("Indication") ? CIMScope::INDICATION : CIMScope::CLASS;
}

void checkClass(const CIMClass& cls, const CIMClass* superClass) {
    const DerivationPlace place{cls.getName()};
    const bool association = cls.isAssociation();
    if (association && superClass != nullptr && !superClass->isAssociation()) {
        place.fail(CIMException::INVALID_SUPERCLASS,
                   String(Format("an association cannot be derived from %1, which is none",
                                 superClass->getName())));
    }
    const bool keysAreFixed = superClass != nullptr && superClass->hasKeys();
    for (const CIMProperty& property : cls.getProperties()) {
        if (property.isPropagated()) {
            continue;
        }
        const DerivationPlace at{cls.getName(), property.getName()};
        if (property.getDataType().isReference() && !association) {
            at.fail(CIMException::INVALID_PARAMETER, "only an association may have references");
        }
        if (keysAreFixed && property.isKey()) {
            const CIMProperty* above = superClass->getProperty(property.getName());
            if (above == nullptr || !above->isKey()) {
                at.fail(CIMException::INVALID_PARAMETER,
                        "a key cannot be added below a class that has keys", "Key");
            }
        }
    }
}

void refuseSharedNames(const CIMPropertyArray& properties, const CIMMethodArray& methods,
                       const String& className) {
    if (methods.empty()) {
        return;
    }
    const NameIndex<CIMMethod> index(methods);
    for (const CIMProperty& property : properties) {
        if (index.find(property.getName())) {
            DerivationPlace{className, property.getName()}.fail(
                CIMException::INVALID_PARAMETER,
                "a property and a method cannot have the same name");
        }
    }
}

/// Repeats what may have changed since the derivation: other qualifiers may be declared now.
void checkClassAgainstTypes(const CIMClass& derived, const CIMClass* superClass,
                            const QualifierTypeLookup& types) {
    const String& name = derived.getName();
    checkAgainstTypes(derived.getQualifiers(), classScope(derived.getQualifiers(), superClass),
                      DerivationPlace{name}, types);
    for (const CIMProperty& property : derived.getProperties()) {
        if (!property.isPropagated()) {
            checkAgainstTypes(property.getQualifiers(), scopeOf(property),
                              DerivationPlace{name, property.getName()}, types);
        }
    }
    for (const CIMMethod& method : derived.getMethods()) {
        if (method.isPropagated()) {
            continue;
        }
        checkAgainstTypes(method.getQualifiers(), CIMScope::METHOD,
                          DerivationPlace{name, method.getName()}, types);
        for (const CIMParameter& parameter : method.getParameters()) {
            checkAgainstTypes(parameter.getQualifiers(), CIMScope::PARAMETER,
                              DerivationPlace{name, method.getName(), parameter.getName()}, types);
        }
    }
}

template <class Feature>
Array<Feature> localFeatures(const Array<Feature>& features) {
    Array<Feature> local;
    local.reserve(features.size());
    std::copy_if(features.begin(), features.end(), std::back_inserter(local),
                 [](const Feature& feature) { return !feature.isPropagated(); });
    return local;
}

}  // namespace

CIMClass deriveClass(const CIMClass& declared, const CIMClass* superClass,
                     const QualifierTypeLookup& qualifierTypes, NullDefaults nullDefaults) {
    if (nullDefaults == NullDefaults::KEEP && declared.isKnownDerivedFrom(superClass)) {
        checkClassAgainstTypes(declared, superClass, qualifierTypes);
        return declared;
    }
    const String& name = declared.getName();
    const DerivationPlace place{name};
    const CIMPropertyArray ownProperties = localFeatures(declared.getProperties());
    const CIMMethodArray ownMethods = localFeatures(declared.getMethods());
    refuseRepeated(ownProperties, place, "property");
    refuseRepeated(ownMethods, place, "method");

    if (superClass != nullptr && hasTrueQualifier(superClass->getQualifiers(), "Terminal")) {
        place.fail(CIMException::INVALID_SUPERCLASS,
                   String(Format("the class %1 is terminal: nothing can be derived from it",
                                 superClass->getName())));
    }
    static const CIMClass nothing;
    const CIMClass& above = superClass != nullptr ? *superClass : nothing;
    CIMClass result(name, superClass != nullptr ? superClass->getName() : String());
    result.setQualifiers(mergeQualifiers(
        declared.getQualifiers(), superClass != nullptr ? &above.getQualifiers() : nullptr,
        classScope(declared.getQualifiers(), superClass), place, qualifierTypes));
    result.setProperties(mergeFeatures(ownProperties, above.getProperties(),
                                       [&](const CIMProperty& own, const CIMProperty* overridden) {
                                           return declareProperty(own, overridden, name,
                                                                  qualifierTypes, nullDefaults);
                                       }));
    result.setMethods(mergeFeatures(ownMethods, above.getMethods(),
                                    [&](const CIMMethod& own, const CIMMethod* overridden) {
                                        return declareMethod(own, overridden, name, qualifierTypes);
                                    }));
    checkClass(result, superClass);
    // Properties and methods share one set of names (DSP0004 5.1.2). The inherited ones were
    // compared with each other when the superclass was derived.
    refuseSharedNames(ownProperties, result.getMethods(), name);
    refuseSharedNames(result.getProperties(), ownMethods, name);
    result.recordDerivedFrom(superClass);
    return result;
}

}  // namespace OpenWBEM
