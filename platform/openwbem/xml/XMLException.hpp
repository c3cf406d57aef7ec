// SPDX-License-Identifier: Apache-2.0
//
// The exceptions of the XML library.
#pragma once

#include <cstddef>

#include "blocxx/Exception.hpp"

namespace OpenWBEM {

/// A tree does not have the requested element, or cannot be changed or written.
BLOCXX_DECLARE_EXCEPTION(XMLNode)

/// A text is not an XML document, or not one that is accepted. The message begins with the place,
/// "line LINE, column COLUMN: ", both from one.
BLOCXX_DECLARE_EXCEPTION(XMLParse)

}  // namespace OpenWBEM
