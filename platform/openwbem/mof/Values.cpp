// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/Values.hpp"

#include <limits>

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/ValueTypes.hpp"
#include "openwbem/text/Literals.hpp"

namespace OpenWBEM::MOF {

using blocxx::Format;

String readString(const Literal& literal) {
    if (literal.more.empty()) {
        return readString(literal.text);
    }
    size_t size = literal.text.size - 2;
    for (const Word& piece : literal.more) {
        size += piece.text.size - 2;
    }
    String out;
    out.reserve(size);
    appendString(out, literal.text);
    for (const Word& piece : literal.more) {
        appendString(out, piece.text);
    }
    return out;
}

namespace {

[[noreturn]] void failExpected(const Literal& literal, const char* expected) {
    throw CompileError{literal.text.data,
                       String("expected ") + expected + "; found " + inQuotes(literal.text.view())};
}

void require(const Literal& literal, Literal::Kind kind, const char* expected) {
    if (literal.kind != kind) {
        failExpected(literal, expected);
    }
}

[[noreturn]] void failRange(const Literal& literal, const String& type) {
    throw CompileError{literal.text.data,
                       inQuotes(literal.text.view()) + " is out of range for " + type};
}

// Convert a literal to a C++ value of the declared type. Throw CompileError.

void convert(const Literal& literal, bool& value) {
    if (literal.kind != Literal::TRUE_VALUE && literal.kind != Literal::FALSE_VALUE) {
        failExpected(literal, "true or false");
    }
    value = literal.kind == Literal::TRUE_VALUE;
}

template <std::integral Integer>
void convert(const Literal& literal, Integer& value) {
    using Limits = std::numeric_limits<Integer>;
    require(literal, Literal::INTEGER, "an integer");
    const IntegerLiteral number = readInteger(literal.text.view());
    // The magnitude of the least signed number is one more than that of the greatest.
    const uint64_t most = number.negative ? (Limits::is_signed ? uint64_t{Limits::max()} + 1 : 0)
                                          : uint64_t{Limits::max()};
    if (number.tooLarge || number.magnitude > most) {
        failRange(literal, String(Format("%1int%2 (%3 to %4)", Limits::is_signed ? "s" : "u",
                                         sizeof(Integer) * 8, +Limits::min(), +Limits::max())));
    }
    value = static_cast<Integer>(number.negative ? 0 - number.magnitude : number.magnitude);
}

template <std::floating_point Real>
void convert(const Literal& literal, Real& value) {
    if (literal.kind == Literal::INTEGER) {
        const IntegerLiteral number = readInteger(literal.text.view());
        if (number.tooLarge) {
            failRange(literal, "an integer literal");
        }
        value = static_cast<Real>(number.magnitude);
        value = number.negative ? -value : value;
        return;
    }
    require(literal, Literal::REAL, "a real number");
    if (!readReal(literal.text.view(), value)) {
        failRange(literal, sizeof(Real) == 4 ? "real32" : "real64");
    }
}

void convert(const Literal& literal, Char16& value) {
    require(literal, Literal::CHAR, "a character in single quotes");
    value.unit = readChar(literal.text);
}

void convert(const Literal& literal, String& value) {
    require(literal, Literal::STRING, "a string");
    value = readString(literal);
}

void convert(const Literal& literal, CIMDateTime& value) {
    require(literal, Literal::STRING, "a datetime in a string");
    try {
        value = CIMDateTime(readString(literal));
    } catch (const CIMException& e) {
        throw CompileError{literal.text.data, e.getMessage()};
    }
}

template <class T>
CIMValue makeArray(const Initializer& initializer) {
    size_t count = 0;
    bool anyNull = false;
    for (const Literal& literal : initializer.values()) {
        anyNull = anyNull || literal.kind == Literal::NULL_VALUE;
        ++count;
    }
    Array<T> elements;
    elements.reserve(count);
    Array<bool> nulls(anyNull ? count : 0);
    for (const Literal& literal : initializer.values()) {
        T value{};
        if (literal.kind == Literal::NULL_VALUE) {
            nulls[elements.size()] = true;
        } else {
            convert(literal, value);
        }
        elements.push_back(std::move(value));
    }
    return CIMValue::array(std::move(elements), std::move(nulls));
}

template <class T>
CIMValue makePlain(const Initializer& initializer) {
    if (initializer.form == Initializer::ARRAY || initializer.first == nullptr) {
        return makeArray<T>(initializer);
    }
    T value{};
    convert(*initializer.first, value);
    return CIMValue(std::move(value));
}

/// Of a type that is not plain, a string: the text of the object.
CIMValue makePlainValue(const Initializer& initializer, CIMDataType::Type type) {
    return ValueDetail::withType(type, [&]<class T>(std::type_identity<T>) {
        constexpr bool isPlain =
            std::is_arithmetic_v<T> || std::is_same_v<T, Char16> || std::is_same_v<T, CIMDateTime>;
        return makePlain<std::conditional_t<isPlain, T, String>>(initializer);
    });
}

CIMValue makeKnownObject(const Literal& literal, const CIMDataType& type,
                         const Embedding& embedding, ObjectResolver& objects) {
    if (literal.kind == Literal::NULL_VALUE) {
        return {};
    }
    if (type.isReference()) {
        if (literal.kind != Literal::ALIAS && literal.kind != Literal::STRING) {
            failExpected(literal, "an object path in a string or an alias");
        }
        return CIMValue(objects.resolveReference(literal, type.getRefClassName()));
    }
    require(literal, Literal::STRING, "a string with the MOF of an object");
    return objects.resolveEmbedded(literal, embedding);
}

CIMValue makeObject(const Literal& literal, const CIMDataType& type, const Embedding& embedding,
                    ObjectResolver& objects) {
    try {
        return makeKnownObject(literal, type, embedding, objects);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::INVALID_PARAMETER) {
            throw;  // the handle's own failure
        }
        // The objects are nested too deep.
        throw CompileError{literal.text.data, e.getMessage()};
    }
}

CIMValue makeObjects(const Initializer& initializer, const CIMDataType& type,
                     const Embedding& embedding, ObjectResolver& objects, const char* at) {
    if (initializer.form == Initializer::SCALAR) {
        return makeObject(*initializer.first, type, embedding, objects);
    }
    Array<CIMValue> elements;
    CIMDataType::Type elementType = CIMDataType::INVALID;
    for (const Literal& literal : initializer.values()) {
        elements.push_back(makeObject(literal, type, embedding, objects));
        const CIMDataType::Type found = elements.back().getType();
        if (elementType != CIMDataType::INVALID && found != CIMDataType::INVALID &&
            found != elementType) {
            throw CompileError{literal.text.data,
                               "an array cannot hold both instances and classes"};
        }
        elementType = found != CIMDataType::INVALID ? found : elementType;
    }
    if (elementType == CIMDataType::INVALID) {
        // No element shows a type: the array is empty or has only nulls.
        elementType = type.getType();
    }
    try {
        return CIMValue::arrayOf(elementType, elements);
    } catch (const blocxx::Exception& e) {
        throw CompileError{at, e.getMessage()};
    }
}

void checkForm(const Initializer& initializer, const CIMDataType& type, const char* at) {
    if (initializer.form == Initializer::ARRAY && !type.isArray()) {
        throw CompileError{at, "expected a single value; found an array"};
    }
    if (initializer.form == Initializer::SCALAR && type.isArray()) {
        throw CompileError{
            at, "expected an array in braces; found " + inQuotes(initializer.first->text.view())};
    }
    if (type.getSize() == 0 || initializer.form != Initializer::ARRAY) {
        return;
    }
    size_t count = 0;
    for (const Literal* literal = initializer.first; literal != nullptr; literal = literal->next) {
        ++count;
    }
    if (count != type.getSize()) {
        throw CompileError{at, String(Format("expected %1 elements, the declared size of the "
                                             "array; found %2",
                                             type.getSize(), count))};
    }
}

bool isNullLiteral(const Initializer& initializer) {
    return initializer.form == Initializer::SCALAR &&
           initializer.first->kind == Literal::NULL_VALUE;
}

}  // namespace

CIMValue makeValue(const Initializer& initializer, const CIMDataType& type,
                   const Embedding& embedding, ObjectResolver& objects, const char* at) {
    if (initializer.form == Initializer::NONE || isNullLiteral(initializer)) {
        return {};
    }
    const char* const place = initializer.first != nullptr ? initializer.first->text.data : at;
    checkForm(initializer, type, place);
    if (type.isReference() || embedding.kind != Embedding::NOTHING) {
        return makeObjects(initializer, type, embedding, objects, place);
    }
    return makePlainValue(initializer, type.getType());
}

CIMDataType makeType(const TypeName& name, const ArraySuffix& array) {
    uint32_t size = 0;
    if (!array.size.empty()) {
        const IntegerLiteral number = readInteger(array.size.view());
        if (number.negative || number.tooLarge || number.magnitude == 0 ||
            number.magnitude > std::numeric_limits<uint32_t>::max()) {
            throw CompileError{array.size.data, "expected a positive size of the array; found " +
                                                    inQuotes(array.size.view())};
        }
        size = static_cast<uint32_t>(number.magnitude);
    }
    if (name.type == CIMDataType::REFERENCE) {
        String className(name.view());
        return array.isArray() ? CIMDataType::referenceArray(std::move(className), size)
                               : CIMDataType::reference(std::move(className));
    }
    return array.isArray() ? CIMDataType::array(name.type, size) : CIMDataType(name.type);
}

}  // namespace OpenWBEM::MOF
