// SPDX-License-Identifier: Apache-2.0
//
// How the XML library fails.
#pragma once

#include <cstddef>

#include "blocxx/Exception.hpp"

namespace OpenWBEM {

/// A tree does not hold what is asked for, or cannot be written.
BLOCXX_DECLARE_EXCEPTION(XMLNode)

/// A text is no XML document, or none that is accepted. The message begins with the place, "line
/// LINE, column COLUMN: ", both from one.
BLOCXX_DECLARE_EXCEPTION(XMLParse)

}  // namespace OpenWBEM
