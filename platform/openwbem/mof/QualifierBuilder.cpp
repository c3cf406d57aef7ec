// SPDX-License-Identifier: Apache-2.0
//
// Builds qualifiers and qualifier types (DSP0004 5.5.4, 7.5.4, 7.8).
#include <array>

#include "blocxx/Format.hpp"
#include "openwbem/mof/ClassBuilder.hpp"

namespace OpenWBEM::MOF {

using blocxx::equalsIgnoreCase;
using blocxx::Format;

namespace {

void applyFlavor(CIMFlavor& flavor, const Text& word) {
    const std::string_view name = word.view();
    if (equalsIgnoreCase(name, "EnableOverride")) {
        flavor.overridable = true;
    } else if (equalsIgnoreCase(name, "DisableOverride")) {
        flavor.overridable = false;
    } else if (equalsIgnoreCase(name, "ToSubclass")) {
        flavor.toSubclass = true;
    } else if (equalsIgnoreCase(name, "Restricted")) {
        flavor.toSubclass = false;
    } else if (equalsIgnoreCase(name, "Translatable")) {
        flavor.translatable = true;
    } else {
        throw CompileError{word.data,
                           "expected EnableOverride, DisableOverride, ToSubclass, Restricted or "
                           "Translatable; found " +
                               inQuotes(name)};
    }
}

/// Refuses flavors that exclude each other (DSP0004 7.8): the last one would silently win.
void refuseContradiction(const List<Word>& words, std::string_view one, std::string_view other) {
    bool foundOne = false;
    bool foundOther = false;
    for (const Word& word : words) {
        foundOne = foundOne || equalsIgnoreCase(word.text.view(), one);
        foundOther = foundOther || equalsIgnoreCase(word.text.view(), other);
        if (foundOne && foundOther) {
            throw CompileError{
                word.text.data,
                String(Format("the flavors %1 and %2 contradict each other", one, other))};
        }
    }
}

CIMFlavor readFlavor(CIMFlavor flavor, const List<Word>& words) {
    for (const Word& word : words) {
        applyFlavor(flavor, word.text);
    }
    refuseContradiction(words, "EnableOverride", "DisableOverride");
    refuseContradiction(words, "ToSubclass", "Restricted");
    return flavor;
}

uint8_t readScopes(const List<Word>& words) {
    struct Row {
        const char* name;
        uint8_t bit;
    };
    constexpr std::array<Row, 8> ROWS{{{"Class", CIMScope::CLASS},
                                       {"Association", CIMScope::ASSOCIATION},
                                       {"Indication", CIMScope::INDICATION},
                                       {"Property", CIMScope::PROPERTY},
                                       {"Reference", CIMScope::REFERENCE},
                                       {"Method", CIMScope::METHOD},
                                       {"Parameter", CIMScope::PARAMETER},
                                       {"Any", CIMScope::ANY}}};
    unsigned scopes = 0;
    for (const Word& word : words) {
        const auto* row = ROWS.begin();
        while (row != ROWS.end() && !equalsIgnoreCase(row->name, word.text.view())) {
            ++row;
        }
        if (row == ROWS.end()) {
            throw CompileError{word.text.data,
                               "expected Class, Association, Indication, Property, Reference, "
                               "Method, Parameter or Any; found " +
                                   inQuotes(word.text.view())};
        }
        scopes |= row->bit;
    }
    return static_cast<uint8_t>(scopes);
}

}  // namespace

CIMQualifierType buildQualifierType(const Declaration& declaration, ObjectResolver& objects) {
    CIMQualifierType type{String(declaration.name.view())};
    const CIMDataType dataType = makeType(declaration.type, declaration.array);
    type.setDataType(dataType);
    type.setDefaultValue(
        makeValue(declaration.value, dataType, {}, objects, declaration.name.data));
    type.setScopes(readScopes(declaration.scopes));
    type.setFlavor(readFlavor(CIMFlavor(), declaration.flavors));
    return type;
}

CIMQualifier ClassBuilder::buildQualifier(const Qualifier& qualifier) {
    const CIMQualifierType* const type = m_scope.findQualifierType(qualifier.name.view());
    if (type == nullptr) {
        throw CompileError{
            qualifier.name.data,
            String(Format("the qualifier \"%1\" is not declared", qualifier.name.view()))};
    }
    const CIMDataType& dataType = type->getDataType();
    CIMValue value;
    if (qualifier.value.form != Initializer::NONE) {
        value = makeValue(qualifier.value, dataType, {}, m_objects, qualifier.name.data);
    } else if (dataType.getType() == CIMDataType::BOOLEAN && !dataType.isArray()) {
        value = CIMValue(true);
    }
    return {String(qualifier.name.view()), std::move(value),
            readFlavor(type->getFlavor(), qualifier.flavors)};
}

}  // namespace OpenWBEM::MOF
