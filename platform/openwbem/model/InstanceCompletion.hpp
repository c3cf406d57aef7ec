// SPDX-License-Identifier: Apache-2.0
//
// Bringing an instance in line with its class: every property of the class, in class order and
// spelling, with the declared type and, where the instance says nothing, the default.
#pragma once

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"

namespace OpenWBEM {

/// Whether key properties may be null: only in embedded instances, which have no path.
enum class NullKeys { REFUSED, ALLOWED };

/// Completes `instance` from the derived class `cls`. A property that the instance holds with a
/// null value stays null; only absent ones take their default. Keys are marked; qualifiers of
/// properties are dropped, those of the instance itself stay. Throws CIMException:
/// NO_SUCH_PROPERTY, TYPE_MISMATCH (a value of another type or form, a fixed array of another
/// length), INVALID_PARAMETER (a property twice; a null key).
CIMInstance completeInstance(const CIMInstance& instance, const CIMClass& cls,
                             NullKeys nullKeys = NullKeys::REFUSED);

/// Whether a property declared like `declared` may hold `value`: null, its type and form, or an
/// embedded object where a string is declared.
bool canHold(const CIMDataType& declared, const CIMValue& value) noexcept;

}  // namespace OpenWBEM
