// SPDX-License-Identifier: Apache-2.0
//
// The operations on CIM objects (DSP0200 5.3): what a handle offers, a message asks for and the
// daemon allows is this one list.
#pragma once

#include <cstdint>
#include <iterator>

namespace OpenWBEM {

/// A message between client and daemon names an operation by its number here.
enum class Operation : uint16_t {
    ENUM_CLASS,
    ENUM_CLASS_NAMES,
    GET_CLASS,
    CREATE_CLASS,
    MODIFY_CLASS,
    DELETE_CLASS,
    ENUM_INSTANCES,
    ENUM_INSTANCE_NAMES,
    GET_INSTANCE,
    CREATE_INSTANCE,
    MODIFY_INSTANCE,
    DELETE_INSTANCE,
    GET_QUALIFIER_TYPE,
    ENUM_QUALIFIER_TYPES,
    SET_QUALIFIER_TYPE,
    DELETE_QUALIFIER_TYPE,
    ASSOCIATORS,
    ASSOCIATOR_NAMES,
    REFERENCES,
    REFERENCE_NAMES,
    ASSOCIATORS_CLASSES,
    REFERENCES_CLASSES,
};

struct OperationTraits {
    enum class Effect { READS, CHANGES, ENUMERATES };
    enum class Subject { CLASSES, INSTANCES };  ///< qualifier types count as classes
    enum class Operand { NONE, NAME, CLASS, INSTANCE, QUALIFIER_TYPE, PATH };

    Operation operation;
    const char* name;
    Effect effect;
    Subject subject;
    Operand operand;
};

namespace Detail {

using enum OperationTraits::Effect;
using enum OperationTraits::Subject;
using Operand = OperationTraits::Operand;

inline constexpr OperationTraits OPERATIONS[] = {
    {Operation::ENUM_CLASS, "enumClass", ENUMERATES, CLASSES, Operand::NAME},
    {Operation::ENUM_CLASS_NAMES, "enumClassNames", ENUMERATES, CLASSES, Operand::NAME},
    {Operation::GET_CLASS, "getClass", READS, CLASSES, Operand::NAME},
    {Operation::CREATE_CLASS, "createClass", CHANGES, CLASSES, Operand::CLASS},
    {Operation::MODIFY_CLASS, "modifyClass", CHANGES, CLASSES, Operand::CLASS},
    {Operation::DELETE_CLASS, "deleteClass", CHANGES, CLASSES, Operand::NAME},
    {Operation::ENUM_INSTANCES, "enumInstances", ENUMERATES, INSTANCES, Operand::NAME},
    {Operation::ENUM_INSTANCE_NAMES, "enumInstanceNames", ENUMERATES, INSTANCES, Operand::NAME},
    {Operation::GET_INSTANCE, "getInstance", READS, INSTANCES, Operand::PATH},
    {Operation::CREATE_INSTANCE, "createInstance", CHANGES, INSTANCES, Operand::INSTANCE},
    {Operation::MODIFY_INSTANCE, "modifyInstance", CHANGES, INSTANCES, Operand::INSTANCE},
    {Operation::DELETE_INSTANCE, "deleteInstance", CHANGES, INSTANCES, Operand::PATH},
    {Operation::GET_QUALIFIER_TYPE, "getQualifierType", READS, CLASSES, Operand::NAME},
    {Operation::ENUM_QUALIFIER_TYPES, "enumQualifierTypes", ENUMERATES, CLASSES, Operand::NONE},
    {Operation::SET_QUALIFIER_TYPE, "setQualifierType", CHANGES, CLASSES, Operand::QUALIFIER_TYPE},
    {Operation::DELETE_QUALIFIER_TYPE, "deleteQualifierType", CHANGES, CLASSES, Operand::NAME},
    {Operation::ASSOCIATORS, "associators", ENUMERATES, INSTANCES, Operand::PATH},
    {Operation::ASSOCIATOR_NAMES, "associatorNames", ENUMERATES, INSTANCES, Operand::PATH},
    {Operation::REFERENCES, "references", ENUMERATES, INSTANCES, Operand::PATH},
    {Operation::REFERENCE_NAMES, "referenceNames", ENUMERATES, INSTANCES, Operand::PATH},
    {Operation::ASSOCIATORS_CLASSES, "associatorsClasses", ENUMERATES, CLASSES, Operand::PATH},
    {Operation::REFERENCES_CLASSES, "referencesClasses", ENUMERATES, CLASSES, Operand::PATH},
};

consteval bool areInOrder() {
    for (size_t i = 0; i < std::size(OPERATIONS); ++i) {
        if (OPERATIONS[i].operation != Operation(i)) {
            return false;
        }
    }
    return true;
}
static_assert(areInOrder(), "traitsOf() finds an operation by its number");

}  // namespace Detail

/// Null when there is no operation of that number.
constexpr const OperationTraits* findTraits(uint16_t number) noexcept {
    return number < std::size(Detail::OPERATIONS) ? &Detail::OPERATIONS[number] : nullptr;
}

constexpr const OperationTraits& traitsOf(Operation operation) noexcept {
    return Detail::OPERATIONS[static_cast<uint16_t>(operation)];
}

/// Whether the operation has an AssociationFilter.
constexpr bool followsAssociations(const OperationTraits& traits) noexcept {
    return traits.effect == OperationTraits::Effect::ENUMERATES &&
           traits.operand == OperationTraits::Operand::PATH;
}

}  // namespace OpenWBEM
