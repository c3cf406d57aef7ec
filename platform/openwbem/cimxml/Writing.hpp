// SPDX-License-Identifier: Apache-2.0
//
// Writes the objects of the model as elements of CIM-XML (DSP0201 5.2). Each function appends one
// element, without white space between elements.
//
// They throw CIMException FAILED, which names the property or object, for what the elements cannot
// hold: control characters, halves of surrogate pairs, properties that are arrays of references,
// keys that are null or arrays, a host without a namespace. The beginning of the element is in
// `out` then.
#pragma once

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM::CIMXML {

/// Where objects are: what a path that has none itself is completed with.
struct Place {
    String host;  ///< as clients name it, with a port if need be; not empty
    String ns;
};

/// CLASS (DSP0201 5.2.5), with everything that the class has: inherited features and qualifiers are
/// marked with PROPAGATED.
void appendClass(String& out, const CIMClass& cls);
/// INSTANCE (DSP0201 5.2.5).
void appendInstance(String& out, const CIMInstance& instance);
/// QUALIFIER.DECLARATION (DSP0201 5.2.2), always with SCOPE.
void appendQualifierType(String& out, const CIMQualifierType& qualifierType);

/// CLASSNAME (DSP0201 5.2.4).
void appendClassName(String& out, const String& name);
/// INSTANCENAME (DSP0201 5.2.4): the path without host and namespace.
void appendInstanceName(String& out, const CIMObjectPath& path);
/// INSTANCEPATH (DSP0201 5.2.4).
void appendInstancePath(String& out, const CIMObjectPath& path, const Place& place);
/// OBJECTPATH (DSP0201 5.2.4) with an INSTANCEPATH, or with a CLASSPATH for a path without keys.
void appendObjectPath(String& out, const CIMObjectPath& path, const Place& place);

/// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY (DSP0201 5.2.3); nothing for null.
void appendValue(String& out, const CIMValue& value);
/// VALUE.NAMEDINSTANCE (DSP0201 5.2.3).
void appendNamedInstance(String& out, const CIMObjectPath& path, const CIMInstance& instance);
/// VALUE.INSTANCEWITHPATH (DSP0201 5.2.3).
void appendInstanceWithPath(String& out, const CIMObjectPath& path, const CIMInstance& instance,
                            const Place& place);
/// VALUE.OBJECTWITHPATH (DSP0201 5.2.3) of an instance, or of a class.
void appendObjectWithPath(String& out, const CIMObjectPath& path, const CIMInstance& instance,
                          const Place& place);
void appendObjectWithPath(String& out, const CIMClass& cls, const Place& place);

}  // namespace OpenWBEM::CIMXML
