// SPDX-License-Identifier: Apache-2.0
//
// Reads an XML document into a tree of XMLNode. Documents are hostile: nothing outside of them is
// opened, and their cost is limited (XMLLimits). Well-formed documents are refused, too, when they
// declare entities or attributes, or when their document type is defined elsewhere. All other
// declarations are ignored; nothing is validated.
//
// It deviates from XML 1.0 (2.11) in one point: a carriage return that no line feed follows stays
// one in an element's text, because old files have them as data. A carriage return with a line feed
// becomes a line feed, and attributes and markup follow the standard.
#pragma once

#include "openwbem/xml/XMLNode.hpp"

namespace OpenWBEM {

class XMLParserDOM {
public:
    /// Returns the document element. Ignores comments and processing instructions. Throws
    /// XMLParseException.
    static XMLNode parse(blocxx::String document);
};

}  // namespace OpenWBEM
