// SPDX-License-Identifier: Apache-2.0
//
// Forward declarations of the object model.
#pragma once

#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/String.hpp"

namespace OpenWBEM {

using blocxx::Array;
using blocxx::String;
using blocxx::StringArray;

class CIMClass;
class CIMDateTime;
class CIMException;
class CIMInstance;
class CIMMethod;
class CIMObjectPath;
class CIMParameter;
class CIMProperty;
class CIMQualifier;
class CIMQualifierType;
class CIMValue;

class CIMOMHandleIFC;
using CIMOMHandleIFCRef = blocxx::IntrusiveReference<CIMOMHandleIFC>;

}  // namespace OpenWBEM
