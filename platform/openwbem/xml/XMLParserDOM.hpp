// SPDX-License-Identifier: Apache-2.0
//
// Reads an XML document into a tree of XMLNode. A document is taken as hostile: nothing outside of
// it is ever opened, and what it may cost is limited (XMLLimits). So some well-formed documents are
// refused: those that declare entities or attributes, or whose document type is defined elsewhere.
// All other declarations are read over; nothing is validated.
//
// In one point it deviates from XML 1.0 (2.11): a carriage return that no line feed follows stays
// one in an element's text. Old files hold such, and mean them. A carriage return with a line feed
// is a line feed, and in attributes and markup all is as the standard has it.
#pragma once

#include <iosfwd>
#include <string_view>

#include "openwbem/xml/XMLNode.hpp"

namespace OpenWBEM {

class XMLParserDOM {
public:
    /// The document element of the document that is the rest of `in`. Comments and processing
    /// instructions are left out. Throws XMLParseException.
    static XMLNode parse(std::istream& in);
    static XMLNode parse(std::string_view document);
    /// The same for a document that is needed no more: its memory is given back before the tree is
    /// built, so that less is held at once.
    static XMLNode consume(blocxx::String document);
};

}  // namespace OpenWBEM
