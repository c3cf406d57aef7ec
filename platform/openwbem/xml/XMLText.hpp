// SPDX-License-Identifier: Apache-2.0
//
// Which characters XML can hold, and how they are written (XML 1.0, clauses 2.2 to 2.4, 2.11 and
// 3.3.3). For the sources of this room only.
#pragma once

#include <iosfwd>
#include <string_view>

#include "openwbem/xml/XMLNode.hpp"

namespace OpenWBEM::XMLText {

/// The offset of the first byte of what XML cannot hold, or npos.
size_t findUnprintable(std::string_view text) noexcept;
/// Whether `name` may name an element or an attribute. Beyond ASCII all characters pass.
bool isName(std::string_view name) noexcept;
/// Whether there is only white space in `text`, or nothing.
bool isBlank(std::string_view text) noexcept;

/// Whether the white space between the elements in it means nothing.
bool holdsOnlyElements(const XMLNode& node);

/// Writes text that is read again as it is: markup as entities, carriage returns as references.
void writeText(std::ostream& out, std::string_view text);
/// The same between double quotes, where all white space but blanks takes references.
void writeAttributeValue(std::ostream& out, std::string_view text);

}  // namespace OpenWBEM::XMLText
