// SPDX-License-Identifier: Apache-2.0
//
// A datetime value (DSP0004 5.2.4): a timestamp "yyyymmddhhmmss.mmmmmmsutc" or an interval
// "ddddddddhhmmss.mmmmmm:000", with asterisks for what is not significant. Keeps the 25 characters
// as they were given.
#pragma once

#include <array>
#include <optional>

#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM {

class CIMDateTime {
public:
    static constexpr size_t LENGTH = 25;

    /// The interval of length zero.
    CIMDateTime() noexcept;
    /// Throws CIMException INVALID_PARAMETER, with the text and the reason, when it is not a
    /// datetime.
    explicit CIMDateTime(std::string_view text);
    /// The same, but returns none for a text that is not a datetime.
    static std::optional<CIMDateTime> parse(std::string_view text) noexcept;

    bool isInterval() const noexcept { return m_text[21] == ':'; }
    String toString() const { return String(m_text.data(), m_text.size()); }

    friend bool operator==(const CIMDateTime&, const CIMDateTime&) noexcept = default;

private:
    std::array<char, LENGTH> m_text;
};

}  // namespace OpenWBEM
