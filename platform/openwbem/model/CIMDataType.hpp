// SPDX-License-Identifier: Apache-2.0
//
// The CIM data types (DSP0004 5.2 and 5.5) with their array form.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM {

class CIMDataType {
public:
    enum Type : uint8_t {
        INVALID,
        BOOLEAN,
        UINT8,
        SINT8,
        UINT16,
        SINT16,
        UINT32,
        SINT32,
        UINT64,
        SINT64,
        REAL32,
        REAL64,
        CHAR16,
        STRING,
        DATETIME,
        REFERENCE,
        EMBEDDEDINSTANCE,  ///< only of values: the element is declared as a string (Embedding.hpp)
        EMBEDDEDCLASS      ///< likewise
    };

    CIMDataType() = default;
    CIMDataType(Type type) : m_type(type) {}  // NOLINT(google-explicit-constructor)
    /// An array of `type`; `size` 0 is an array of any length.
    static CIMDataType array(Type type, uint32_t size = 0);
    /// A reference to instances of `className` and its subclasses.
    static CIMDataType reference(String className);
    /// An array of such references.
    static CIMDataType referenceArray(String className, uint32_t size = 0) {
        CIMDataType type = reference(std::move(className));
        type.m_isArray = true;
        type.m_size = size;
        return type;
    }

    Type getType() const noexcept { return m_type; }
    bool isArray() const noexcept { return m_isArray; }
    /// The fixed length of an array, 0 for any.
    uint32_t getSize() const noexcept { return m_size; }
    const String& getRefClassName() const noexcept { return m_refClassName; }
    bool isReference() const noexcept { return m_type == REFERENCE; }
    explicit operator bool() const noexcept { return m_type != INVALID; }

    /// The MOF keyword: "uint8", "string", "CIM_Foo REF"; without any array brackets.
    String toString() const;
    static const char* toString(Type type) noexcept;
    /// The intrinsic type of that MOF keyword, which is compared without regard to case.
    static std::optional<Type> fromKeyword(std::string_view keyword) noexcept;

    static bool isInteger(Type type) noexcept { return type >= UINT8 && type <= SINT64; }
    static bool isReal(Type type) noexcept { return type == REAL32 || type == REAL64; }

    /// Reference class names compare without regard to case.
    friend bool operator==(const CIMDataType& a, const CIMDataType& b) noexcept;

private:
    Type m_type = INVALID;
    bool m_isArray = false;
    uint32_t m_size = 0;
    String m_refClassName;
};

}  // namespace OpenWBEM
