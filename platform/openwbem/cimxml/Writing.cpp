// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/Writing.hpp"

#include "openwbem/cimxml/ObjectWriter.hpp"

namespace OpenWBEM::CIMXML {

namespace {

/// An element without attributes around what `content` writes.
template <class Content>
void wrap(String& out, const char* element, const Content& content) {
    ObjectWriter writer(out);
    writer.xml().begin(element);
    writer.xml().content();
    content(writer);
    writer.xml().end(element);
}

}  // namespace

void appendClass(String& out, const CIMClass& cls) {
    ObjectWriter(out).put(cls);
}

void appendInstance(String& out, const CIMInstance& instance) {
    ObjectWriter(out).put(instance);
}

void appendQualifierType(String& out, const CIMQualifierType& qualifierType) {
    ObjectWriter(out).put(qualifierType);
}

void appendClassName(String& out, const String& name) {
    ObjectWriter(out).putClassName(name);
}

void appendInstanceName(String& out, const CIMObjectPath& path) {
    ObjectWriter(out).putInstanceName(path);
}

void appendInstancePath(String& out, const CIMObjectPath& path, const Place& place) {
    ObjectWriter(out).putInstancePath(path, place);
}

void appendObjectPath(String& out, const CIMObjectPath& path, const Place& place) {
    wrap(out, "OBJECTPATH", [&](ObjectWriter& writer) { writer.putPath(path, place); });
}

void appendValue(String& out, const CIMValue& value) {
    ObjectWriter(out).put(value);
}

void appendNamedInstance(String& out, const CIMObjectPath& path, const CIMInstance& instance) {
    wrap(out, "VALUE.NAMEDINSTANCE", [&](ObjectWriter& writer) {
        writer.putInstanceName(path);
        writer.put(instance);
    });
}

void appendInstanceWithPath(String& out, const CIMObjectPath& path, const CIMInstance& instance,
                            const Place& place) {
    wrap(out, "VALUE.INSTANCEWITHPATH", [&](ObjectWriter& writer) {
        writer.putInstancePath(path, place);
        writer.put(instance);
    });
}

void appendObjectWithPath(String& out, const CIMObjectPath& path, const CIMInstance& instance,
                          const Place& place) {
    wrap(out, "VALUE.OBJECTWITHPATH", [&](ObjectWriter& writer) {
        writer.putInstancePath(path, place);
        writer.put(instance);
    });
}

void appendObjectWithPath(String& out, const CIMClass& cls, const Place& place) {
    wrap(out, "VALUE.OBJECTWITHPATH", [&](ObjectWriter& writer) {
        writer.putPath(CIMObjectPath(cls.getName()), place);
        writer.put(cls);
    });
}

}  // namespace OpenWBEM::CIMXML
