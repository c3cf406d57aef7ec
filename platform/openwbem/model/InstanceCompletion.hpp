// SPDX-License-Identifier: Apache-2.0
//
// Completes an instance from its class: it gets every property of the class, in the order, spelling
// and type of the class, and with the default where it has no such property.
#pragma once

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"

namespace OpenWBEM {

/// Whether key properties may be null: only in embedded instances, which have no path.
enum class NullKeys { REFUSED, ALLOWED };

/// Completes `instance` from the derived class `cls`. Only absent properties get their default;
/// null ones stay null. Marks keys, drops the qualifiers of properties and keeps those of the
/// instance. Throws CIMException: NO_SUCH_PROPERTY, TYPE_MISMATCH (a value of another type or form,
/// or a fixed array of another length), INVALID_PARAMETER (a property given twice, or a null key).
CIMInstance completeInstance(const CIMInstance& instance, const CIMClass& cls,
                             NullKeys nullKeys = NullKeys::REFUSED);

/// Whether a property declared like `declared` may hold `value`: null, its type and form, or an
/// embedded object where a string is declared.
bool canHold(const CIMDataType& declared, const CIMValue& value) noexcept;

}  // namespace OpenWBEM
