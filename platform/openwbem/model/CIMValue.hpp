// SPDX-License-Identifier: Apache-2.0
//
// The value of a property, parameter or qualifier: null, one value of a CIM data type, or an array
// of them whose elements may be null (DSP0004 5.2). Immutable and shared between copies.
#pragma once

#include <concepts>
#include <cstdint>

#include "openwbem/model/CIMDataType.hpp"
#include "openwbem/model/CIMFwd.hpp"
#include "openwbem/model/CowReference.hpp"

namespace OpenWBEM {

BLOCXX_DECLARE_EXCEPTION2(ValueCast, ::blocxx::Exception)

/// One UTF-16 code unit (DSP0004 5.2.3: char16), surrogates and zero included.
struct Char16 {
    char16_t unit = 0;
    friend bool operator==(const Char16&, const Char16&) noexcept = default;
};

namespace ValueDetail {
template <class T, class... Types>
concept OneOf = (std::same_as<T, Types> || ...);
/// The C++ types of the CIM types.
template <class T>
concept Held =
    OneOf<T, bool, uint8_t, int8_t, uint16_t, int16_t, uint32_t, int32_t, uint64_t, int64_t, float,
          double, Char16, String, CIMDateTime, CIMObjectPath, CIMInstance, CIMClass>;
}  // namespace ValueDetail

class CIMValue {
public:
    /// The null value: it has no type.
    CIMValue() noexcept = default;

    // The argument decides the type. These throw CIMException INVALID_PARAMETER for what MOF cannot
    // express: reals that are not finite, strings that are not valid UTF-8 or contain U+0000, null
    // references and objects, and those that are nested too deep.
    template <ValueDetail::Held T>
    explicit CIMValue(T value);
    explicit CIMValue(const char* value);

    /// An array of T. `nulls[i]` makes element i null, whatever `elements[i]` is;
    /// `nulls` is empty or as long as `elements`. Throws as the constructors do.
    template <ValueDetail::Held T>
    static CIMValue array(Array<T> elements, Array<bool> nulls = {});
    /// An array of `type` from single values. Throws ValueCastException for one that is neither of
    /// that type nor null.
    static CIMValue arrayOf(CIMDataType::Type type, const Array<CIMValue>& elements);

    bool isNull() const noexcept { return !m_rep; }
    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// INVALID for the null value.
    CIMDataType::Type getType() const noexcept;
    bool isArray() const noexcept;
    /// The number of elements of an array, 0 for anything else.
    size_t getArraySize() const noexcept;
    bool isNullElement(size_t index) const noexcept;
    /// Element `index` of an array as a value of its own (null for a null element).
    CIMValue getElement(size_t index) const;

    /// The value as a T. Throws ValueCastException when it is null, an array or of another type.
    template <class T>
    const T& get() const;
    /// The elements of an array of T; null elements hold a T() in their place.
    template <class T>
    const Array<T>& getArray() const;

    /// A value of any integer type. Throws ValueCastException for other types and for a number out
    /// of range.
    int64_t toSigned() const;
    uint64_t toUnsigned() const;

    /// The value as text for people and for keys: strings as they are, booleans TRUE and FALSE,
    /// reals so that they read back to the same value, arrays as their elements joined with ",",
    /// null as "".
    String toString() const;

    /// Whether both have the same type and form (single, array or null) and equal elements. Reals
    /// compare by their bits, references as object paths.
    friend bool operator==(const CIMValue& a, const CIMValue& b);

    /// Whether a value can hold the string: valid UTF-8 without U+0000.
    static bool isStorableString(std::string_view text) noexcept;

    /// Private to the implementation (CIMValueRep.hpp).
    struct Rep : CowRep<Rep> {
        Rep(CIMDataType::Type typeIn, bool isArrayIn, uint8_t depth = 0) noexcept
            : type(typeIn), isArray(isArrayIn), nesting(depth) {}
        Rep(const Rep&) = delete;
        Rep& operator=(const Rep&) = delete;
        virtual ~Rep() = default;

        virtual size_t size() const noexcept { return 0; }
        virtual bool isNullElement(size_t) const noexcept { return false; }
        virtual CIMValue element(size_t) const { return CIMValue(); }
        virtual void appendText(String& out) const = 0;
        /// `other` must have the same type and form.
        virtual bool equals(const Rep& other) const = 0;

        const CIMDataType::Type type;
        const bool isArray;
        /// How deep references and embedded objects are nested, this value included.
        const uint8_t nesting;
        static uint8_t nestingIn(const CIMValue& value) noexcept {
            return value.m_rep ? value.m_rep->nesting : 0;
        }
    };

private:
    explicit CIMValue(const Rep* rep) noexcept : m_rep(rep) {}
    boost::intrusive_ptr<const Rep> m_rep;
};

}  // namespace OpenWBEM
