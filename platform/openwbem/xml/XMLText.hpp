// SPDX-License-Identifier: Apache-2.0
//
// Which characters XML can hold, and how they are written (XML 1.0, clauses 2.2 to 2.4, 2.11 and
// 3.3.3). For this folder and for rooms that write elements without a tree.
#pragma once

#include <iosfwd>
#include <string_view>

#include "openwbem/xml/XMLNode.hpp"

namespace OpenWBEM::XMLText {

/// The offset of the first character or byte that XML cannot hold, or npos.
size_t findUnprintable(std::string_view text) noexcept;
/// Whether `name` can be the name of an element or an attribute. Accepts all printable characters
/// above ASCII.
bool isName(std::string_view name) noexcept;
/// Whether `text` is empty or only white space.
bool isBlank(std::string_view text) noexcept;

/// Whether the element has children and no text but white space, which means nothing then.
bool holdsOnlyElements(const XMLNode& node);

/// Writes text so that it reads back as it is: markup as entities, carriage returns as character
/// references.
void writeText(std::ostream& out, std::string_view text);
/// The same for a value in double quotes, with tabs and line feeds as references, too.
void writeAttributeValue(std::ostream& out, std::string_view text);

// The same at the end of a string.
void appendText(blocxx::String& out, std::string_view text);
void appendAttributeValue(blocxx::String& out, std::string_view text);

}  // namespace OpenWBEM::XMLText
