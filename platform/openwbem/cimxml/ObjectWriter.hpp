// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: writes whole objects; see Writing.hpp.
#pragma once

#include "openwbem/cimxml/ElementWriter.hpp"
#include "openwbem/cimxml/Writing.hpp"

namespace OpenWBEM::CIMXML {

class ObjectWriter {
public:
    explicit ObjectWriter(String& out) : m_xml(out) {}
    /// Writes an object that is in a value of what `around` writes.
    ObjectWriter(String& out, const ObjectWriter& around) : m_xml(out, around.m_xml) {}

    // ClassWriting.cpp
    void put(const CIMClass& cls);
    void put(const CIMInstance& instance);
    void put(const CIMQualifierType& qualifierType);

    // PathWriting.cpp
    void putClassName(const String& name);
    void putInstanceName(const CIMObjectPath& path);
    void putInstancePath(const CIMObjectPath& path, const Place& place);
    /// INSTANCEPATH, or CLASSPATH for a path without keys.
    void putPath(const CIMObjectPath& path, const Place& place);
    /// VALUE.REFERENCE, with as much of host and namespace as the path has.
    void putReference(const CIMObjectPath& path);

    // ValueWriting.cpp
    /// Nothing for null.
    void put(const CIMValue& value);
    /// The text of a value that is neither an array nor a reference.
    void putText(const CIMValue& value);

    ElementWriter& xml() noexcept { return m_xml; }

private:
    void put(const CIMQualifierArray& qualifiers);
    void put(const CIMQualifier& qualifier);
    void put(const CIMProperty& property);
    void put(const CIMMethod& method);
    void put(const CIMParameter& parameter);
    void putScope(uint8_t scopes);
    void putFlavor(const CIMFlavor& flavor);
    void putArraySize(const CIMDataType& type);
    void putRefClass(const CIMDataType& type);
    void putEmbedding(const CIMProperty& property);

    void putKeys(const CIMObjectPath& path);
    void putKeyValue(const CIMValue& value);
    void putNamespace(const String& ns);
    void putNamespacePath(const CIMObjectPath& path, const Place& place);
    /// INSTANCENAME, or CLASSNAME for a path without keys.
    void putName(const CIMObjectPath& path);

    void putElement(const CIMValue& value);

    ElementWriter m_xml;
};

}  // namespace OpenWBEM::CIMXML
