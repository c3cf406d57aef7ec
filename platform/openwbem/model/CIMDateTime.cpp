// SPDX-License-Identifier: Apache-2.0
#include "openwbem/model/CIMDateTime.hpp"

#include <algorithm>
#include <cstring>

#include "openwbem/model/CIMException.hpp"

namespace OpenWBEM {

namespace {

constexpr size_t MICROSECONDS = 15;
constexpr size_t MICROSECOND_DIGITS = 6;
constexpr size_t UTC_SIGN = 21;
constexpr size_t UTC_OFFSET = 22;
constexpr int MAX_UTC_OFFSET = 720;

/// A field has only digits or only asterisks.
struct Field {
    size_t start;
    size_t length;
    int low;
    int high;
    const char* error;
};

constexpr Field TIMESTAMP_FIELDS[] = {{0, 4, 0, 9999, "the year must be 0000 to 9999"},
                                      {4, 2, 1, 12, "the month must be 01 to 12"},
                                      {6, 2, 1, 31, "the day must be 01 to 31"},
                                      {8, 2, 0, 23, "the hour must be 00 to 23"},
                                      {10, 2, 0, 59, "the minute must be 00 to 59"},
                                      // 60 is a leap second.
                                      {12, 2, 0, 60, "the second must be 00 to 60"}};
constexpr Field INTERVAL_FIELDS[] = {{0, 8, 0, 99999999, "the days must be 8 digits"},
                                     {8, 2, 0, 23, "the hours must be 00 to 23"},
                                     {10, 2, 0, 59, "the minutes must be 00 to 59"},
                                     {12, 2, 0, 59, "the seconds must be 00 to 59"}};

constexpr const char* ASTERISK_ERROR =
    "asterisks must replace whole fields, and every less significant digit of the time";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool allAsterisks(std::string_view text) {
    return text.find_first_not_of('*') == std::string_view::npos;
}

/// The number, or -1 when not all characters are digits.
int number(std::string_view digits) {
    int value = 0;
    for (const char c : digits) {
        if (!isDigit(c)) {
            return -1;
        }
        value = value * 10 + (c - '0');
    }
    return value;
}

/// Returns null for valid fields and microseconds, otherwise what is wrong.
template <size_t N>
const char* checkFields(std::string_view text, const Field (&fields)[N]) {
    bool significant = true;
    for (const Field& field : fields) {
        const std::string_view digits = text.substr(field.start, field.length);
        if (allAsterisks(digits)) {
            significant = false;
            continue;
        }
        if (!significant || digits.find('*') != std::string_view::npos) {
            return ASTERISK_ERROR;
        }
        const int value = number(digits);
        if (value < field.low || value > field.high) {
            return field.error;
        }
    }
    const std::string_view micros = text.substr(MICROSECONDS, MICROSECOND_DIGITS);
    const auto firstOther = std::find_if_not(micros.begin(), micros.end(), isDigit);
    if (std::any_of(firstOther, micros.end(), [](char c) { return c != '*'; })) {
        return "the microseconds must be six digits, asterisks on their right";
    }
    return significant || micros.front() == '*' ? nullptr : ASTERISK_ERROR;
}

const char* checkDayOfMonth(std::string_view text) {
    constexpr int DAYS[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const int month = number(text.substr(4, 2));
    const int day = number(text.substr(6, 2));
    return month < 1 || day <= DAYS[month - 1] ? nullptr : "the month has fewer days";
}

const char* checkTimestamp(std::string_view text) {
    if (const char* error = checkFields(text, TIMESTAMP_FIELDS)) {
        return error;
    }
    if (const char* error = checkDayOfMonth(text)) {
        return error;
    }
    const std::string_view offset = text.substr(UTC_OFFSET);
    const int minutes = number(offset);
    return allAsterisks(offset) || (minutes >= 0 && minutes <= MAX_UTC_OFFSET)
               ? nullptr
               : "the offset from UTC must be 000 to 720 minutes";
}

const char* checkInterval(std::string_view text) {
    if (const char* error = checkFields(text, INTERVAL_FIELDS)) {
        return error;
    }
    return text.substr(UTC_OFFSET) == "000" ? nullptr : "an interval must end in \":000\"";
}

/// Returns null for a datetime, otherwise what is wrong with the text.
const char* check(std::string_view text) {
    if (text.size() != CIMDateTime::LENGTH) {
        return "it must have 25 characters";
    }
    if (text[MICROSECONDS - 1] != '.') {
        return "the 15th character must be \".\"";
    }
    switch (text[UTC_SIGN]) {
        case '+':
        case '-':
            return checkTimestamp(text);
        case ':':
            return checkInterval(text);
        default:
            return "the 22nd character must be \"+\", \"-\" or \":\"";
    }
}

constexpr std::string_view ZERO_INTERVAL = "00000000000000.000000:000";

}  // namespace

CIMDateTime::CIMDateTime() noexcept {
    std::memcpy(m_text.data(), ZERO_INTERVAL.data(), LENGTH);
}

CIMDateTime::CIMDateTime(std::string_view text) {
    if (const char* error = check(text)) {
        constexpr size_t SHOWN = 60;
        String shown(text.substr(0, SHOWN));
        shown += text.size() > SHOWN ? "...\"" : "\"";
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, "\"" + shown + " is no datetime: " + error);
    }
    std::memcpy(m_text.data(), text.data(), LENGTH);
}

std::optional<CIMDateTime> CIMDateTime::parse(std::string_view text) noexcept {
    if (check(text) != nullptr) {
        return std::nullopt;
    }
    CIMDateTime result;
    std::memcpy(result.m_text.data(), text.data(), LENGTH);
    return result;
}

}  // namespace OpenWBEM
