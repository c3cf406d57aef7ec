// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/ValueTexts.hpp"

#include <charconv>

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "blocxx/Utf8.hpp"
#include "openwbem/model/CIMDateTime.hpp"
#include "openwbem/model/ValueTypes.hpp"

namespace OpenWBEM::CIMXML {

namespace {

[[noreturn]] void refuse(std::string_view text, std::string_view type) {
    constexpr size_t SHOWN = 60;
    BLOCXX_THROW(ContentException,
                 String(blocxx::Format("\"%1%2\" is no %3",
                                       blocxx::oneLine(blocxx::printable(text.substr(0, SHOWN))),
                                       text.size() > SHOWN ? "..." : "", type)));
}

template <class T>
[[noreturn]] void refuseAs(std::string_view text) {
    refuse(text, CIMDataType::toString(ValueDetail::typeOf<T>()));
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view WHITE_SPACE = " \t\r\n";
    const size_t begin = text.find_first_not_of(WHITE_SPACE);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(WHITE_SPACE) + 1 - begin);
}

/// Removes a sign and returns whether it was a minus.
bool takeSign(std::string_view& text) {
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative || text.starts_with('+') ? 1 : 0);
    return isNegative;
}

/// Whether the whole text is a number that `number` can hold.
template <class Number, class... Format>
bool parse(std::string_view text, Number& number, Format... format) {
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number, format...);
    return error == std::errc() && last == end && !text.empty();
}

/// An integer in decimal or, after "0x", in hexadecimal.
template <class T>
bool parseInteger(std::string_view text, T& result) {
    const bool isNegative = takeSign(text);
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    uint64_t magnitude = 0;
    // A second sign is no digit of an unsigned number.
    if (!parse(text.substr(isHex ? 2 : 0), magnitude, isHex ? 16 : 10)) {
        return false;
    }
    if (!isNegative) {
        result = static_cast<T>(magnitude);
        return std::in_range<T>(magnitude);
    }
    const auto number = static_cast<int64_t>(0 - magnitude);
    result = static_cast<T>(number);
    // Positive when the magnitude is too big.
    return number <= 0 && std::in_range<T>(number);
}

template <class T>
bool parseReal(std::string_view text, T& result) {
    // Neither INF nor NaN, which the model does not have.
    if (text.find_first_not_of("+-.0123456789eE") != std::string_view::npos) {
        return false;
    }
    std::string_view magnitude = text;
    takeSign(magnitude);
    return !magnitude.starts_with('-') && !magnitude.starts_with('+') &&
           parse(text.starts_with('+') ? magnitude : text, result);
}

}  // namespace

void failWithin(const char* what, std::string_view name, std::string_view reason) {
    constexpr size_t SHOWN = 100;
    constexpr std::string_view DESCRIPTION = "invalid parameter: ";
    if (reason.starts_with(DESCRIPTION)) {
        reason.remove_prefix(DESCRIPTION.size());
    }
    BLOCXX_THROW(
        ContentException,
        String(blocxx::Format("%1 \"%2\": %3", what,
                              blocxx::oneLine(blocxx::printable(name.substr(0, SHOWN))), reason)));
}

template <class T>
T fromText(String text) {
    const std::string_view word = trimmed(text);
    if constexpr (std::is_same_v<T, String>) {
        return text;
    } else if constexpr (std::is_same_v<T, bool>) {
        if (!blocxx::equalsIgnoreCase(word, "TRUE") && !blocxx::equalsIgnoreCase(word, "FALSE")) {
            refuseAs<T>(text);
        }
        return blocxx::equalsIgnoreCase(word, "TRUE");
    } else if constexpr (std::is_same_v<T, Char16>) {
        size_t end = 0;
        const uint32_t codePoint = text.empty() ? UINT32_MAX : blocxx::Utf8::next(text, end);
        if (codePoint > UINT16_MAX || end != text.size()) {
            refuseAs<T>(text);
        }
        return Char16{static_cast<char16_t>(codePoint)};
    } else if constexpr (std::is_same_v<T, CIMDateTime>) {
        return CIMDateTime(word);
    } else {
        T number = 0;
        bool isNumber = false;
        if constexpr (std::is_floating_point_v<T>) {
            isNumber = parseReal(word, number);
        } else {
            isNumber = parseInteger(word, number);
        }
        if (!isNumber) {
            refuseAs<T>(text);
        }
        return number;
    }
}

#define OPENWBEM_INSTANTIATE(T) template T fromText<T>(String);
OPENWBEM_INSTANTIATE(bool)
OPENWBEM_INSTANTIATE(uint8_t)
OPENWBEM_INSTANTIATE(int8_t)
OPENWBEM_INSTANTIATE(uint16_t)
OPENWBEM_INSTANTIATE(int16_t)
OPENWBEM_INSTANTIATE(uint32_t)
OPENWBEM_INSTANTIATE(int32_t)
OPENWBEM_INSTANTIATE(uint64_t)
OPENWBEM_INSTANTIATE(int64_t)
OPENWBEM_INSTANTIATE(float)
OPENWBEM_INSTANTIATE(double)
OPENWBEM_INSTANTIATE(Char16)
OPENWBEM_INSTANTIATE(String)
OPENWBEM_INSTANTIATE(CIMDateTime)
#undef OPENWBEM_INSTANTIATE

CIMValue numberFromText(const String& text) {
    const std::string_view word = trimmed(text);
    uint64_t magnitude = 0;
    if (parseInteger(word, magnitude)) {
        return CIMValue(magnitude);
    }
    int64_t number = 0;
    if (parseInteger(word, number)) {
        return CIMValue(number);
    }
    double real = 0;
    if (word.find('.') == std::string_view::npos || !parseReal(word, real)) {
        refuse(text, "number");
    }
    return CIMValue(real);
}

}  // namespace OpenWBEM::CIMXML
