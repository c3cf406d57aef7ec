// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/QualifierDerivation.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/model/NameIndex.hpp"

namespace OpenWBEM {

using blocxx::equalsIgnoreCase;
using blocxx::Format;

namespace {

String scopeName(uint8_t scope) {
    switch (scope) {
        case CIMScope::CLASS:
            return "a class";
        case CIMScope::ASSOCIATION:
            return "an association";
        case CIMScope::INDICATION:
            return "an indication";
        case CIMScope::PROPERTY:
            return "a property";
        case CIMScope::REFERENCE:
            return "a reference";
        case CIMScope::METHOD:
            return "a method";
        default:
            return "a parameter";
    }
}

void checkAgainstType(const CIMQualifier& qualifier, uint8_t scope, const DerivationPlace& place,
                      const QualifierTypeLookup& types) {
    const String& name = qualifier.getName();
    const CIMQualifierType* type = types(name);
    if (type == nullptr) {
        place.fail(CIMException::INVALID_PARAMETER,
                   String(Format("qualifier \"%1\" is not declared", name)), name);
    }
    // Associations and indications are classes, so they may have the qualifiers of classes.
    const uint8_t accepted = (scope & (CIMScope::ASSOCIATION | CIMScope::INDICATION)) != 0
                                 ? static_cast<uint8_t>(scope | CIMScope::CLASS)
                                 : scope;
    if ((type->getScopes() & accepted) == 0) {
        place.fail(CIMException::INVALID_PARAMETER,
                   String(Format("qualifier \"%1\" may not stand on %2", name, scopeName(scope))),
                   name);
    }
    if (!canHold(type->getDataType(), qualifier.getValue())) {
        place.fail(CIMException::TYPE_MISMATCH,
                   String(Format("qualifier \"%1\" takes a value of type %2%3", name,
                                 type->getDataType().toString(),
                                 type->getDataType().isArray() ? "[]" : "")),
                   name);
    }
}

void refuseRepeated(const CIMQualifierArray& own, const DerivationPlace& place) {
    const NameIndex<CIMQualifier> index(own);
    if (const auto twice = index.findDuplicate()) {
        const String& name = own[*twice].getName();
        place.fail(CIMException::INVALID_PARAMETER,
                   String(Format("qualifier \"%1\" is given twice", name)), name);
    }
}

/// Checks and returns the qualifiers of `declared` that are not propagated.
CIMQualifierArray ownQualifiers(const CIMQualifierArray& declared, uint8_t scope,
                                const DerivationPlace& place, const QualifierTypeLookup& types) {
    CIMQualifierArray own;
    own.reserve(declared.size());
    for (const CIMQualifier& qualifier : declared) {
        if (!qualifier.isPropagated()) {
            checkAgainstType(qualifier, scope, place, types);
            own.push_back(qualifier);
        }
    }
    refuseRepeated(own, place);
    return own;
}

void addInherited(CIMQualifierArray& own, const CIMQualifierArray& above,
                  const DerivationPlace& place) {
    const size_t ownCount = own.size();
    for (const CIMQualifier& inherited : above) {
        if (!inherited.getFlavor().toSubclass) {
            continue;
        }
        const auto end = own.begin() + static_cast<std::ptrdiff_t>(ownCount);
        const auto same = std::find_if(own.begin(), end, [&](const CIMQualifier& q) {
            return equalsIgnoreCase(q.getName(), inherited.getName());
        });
        if (same == end) {
            own.push_back(inherited);
            own.back().setPropagated(true);
        } else if (!inherited.getFlavor().overridable &&
                   !(same->getValue() == inherited.getValue())) {
            place.fail(CIMException::INVALID_PARAMETER,
                       String(Format("qualifier \"%1\" cannot be overridden with another value",
                                     inherited.getName())),
                       inherited.getName());
        }
    }
}

}  // namespace

void DerivationPlace::fail(CIMException::ErrNoType status, std::string_view what,
                           std::string_view qualifier) const {
    String message = "class " + String(className);
    if (!feature.empty()) {
        message += ", " + String(feature);
    }
    if (!parameter.empty()) {
        message += ", parameter " + String(parameter);
    }
    message += ": " + String(what);
    throw ClassDerivationException(__FILE__, __LINE__, status, message, String(feature),
                                   String(parameter), String(qualifier));
}

CIMQualifierArray inheritableQualifiers(const CIMQualifierArray& qualifiers) {
    CIMQualifierArray result;
    result.reserve(qualifiers.size());
    for (const CIMQualifier& qualifier : qualifiers) {
        if (qualifier.getFlavor().toSubclass) {
            result.push_back(qualifier);
            result.back().setPropagated(true);
        }
    }
    return result;
}

bool areInherited(const CIMQualifierArray& qualifiers) noexcept {
    return std::all_of(qualifiers.begin(), qualifiers.end(),
                       [](const CIMQualifier& q) { return q.isPropagated(); });
}

bool inheritsNone(const CIMQualifierArray& qualifiers, const CIMQualifierArray* above) noexcept {
    const auto isPassedDown = [](const CIMQualifier& q) { return q.getFlavor().toSubclass; };
    return std::none_of(qualifiers.begin(), qualifiers.end(),
                        [](const CIMQualifier& q) { return q.isPropagated(); }) &&
           (above == nullptr || std::none_of(above->begin(), above->end(), isPassedDown));
}

void checkAgainstTypes(const CIMQualifierArray& qualifiers, uint8_t scope,
                       const DerivationPlace& place, const QualifierTypeLookup& types) {
    for (const CIMQualifier& qualifier : qualifiers) {
        if (!qualifier.isPropagated()) {
            checkAgainstType(qualifier, scope, place, types);
        }
    }
}

void checkQualifiers(const CIMQualifierArray& own, uint8_t scope, const DerivationPlace& place,
                     const QualifierTypeLookup& types) {
    checkAgainstTypes(own, scope, place, types);
    refuseRepeated(own, place);
}

CIMQualifierArray mergeQualifiers(const CIMQualifierArray& declared, const CIMQualifierArray* above,
                                  uint8_t scope, const DerivationPlace& place,
                                  const QualifierTypeLookup& types) {
    CIMQualifierArray merged = ownQualifiers(declared, scope, place, types);
    if (above != nullptr) {
        addInherited(merged, *above, place);
    }
    return merged;
}

}  // namespace OpenWBEM
