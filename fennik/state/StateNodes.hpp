// SPDX-License-Identifier: Apache-2.0
//
// Makes and reads the elements of a state file.
#pragma once

#include "fennik/common/FennikException.hpp"
#include "fennik/mofrepair/FNHacks.hpp"
#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/CIMQualifierType.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "openwbem/xml/XMLNode.hpp"

namespace KOVNS2 {

using blocxx::Array;
using blocxx::String;
using blocxx::StringArray;
using OpenWBEM::XMLNode;

XMLNode createNamedNode(const char* name, String text);

/// An element with one child per class or qualifier type, which holds its name.
template <class Object>
XMLNode createCIMObjectNameNode(const char* name, const Array<Object>& objects,
                                const char* childName) {
    XMLNode node(name);
    for (const Object& object : objects) {
        node.addChild(createNamedNode(childName, object.getName()));
    }
    return node;
}

/// An element with one child per instance, which holds its object path in `ns`.
XMLNode createCIMInstanceNameNode(const char* name, const String& ns,
                                  const Array<OpenWBEM::CIMInstance>& instances,
                                  const char* childName);
/// An element with one child per instance, which holds its MOF.
XMLNode createInstanceMOFNode(const char* name, const Array<OpenWBEM::CIMInstance>& instances,
                              const char* childName);

/// The MOF of an object and a line feed, in a form that the repairs of restoring leave unchanged.
template <class Object>
String objectToMOF(const Object& object) {
    String mof = OpenWBEM::MOF::toMOF(object) + "\n";
    keepFromRepair(mof);
    return mof;
}

/// The MOF of all objects, each followed by a line feed.
template <class Object>
String arrayToMOF(const Array<Object>& objects) {
    String mof;
    for (const Object& object : objects) {
        mof += objectToMOF(object);
    }
    return mof;
}

/// Throws FennikException, with a message that begins with `prefix`, when the node is null or has
/// another name. `place` is the caller's.
void checkNodeName(const XMLNode& node, const char* name, const char* prefix,
                   CallSite place = CallSite::here());
/// The first child of that name; a null node when there is none.
XMLNode findChildByName(const XMLNode& node, const char* name);
/// All children of that name, in document order.
Array<XMLNode> childrenByName(const XMLNode& node, const char* name);
/// The texts of the children of that name, in document order.
StringArray extractChildInstanceArrays(const XMLNode& container, const char* childName);

/// The node as XML, for messages.
String toString(const XMLNode& node);

/// `text` without white space at both ends.
String trimmed(String text);
/// `text` without white space at the front.
String withoutLeadingSpace(String text);

/// Classes or qualifier types with a name and nothing else.
template <class Object>
Array<Object> createFakeCIMObjectArray(const StringArray& names) {
    Array<Object> objects;
    for (const String& name : names) {
        objects.push_back(Object(name));
    }
    return objects;
}

/// Instances with a class and keys and nothing else, from object paths. Throws CIMException for a
/// text that is not an object path.
Array<OpenWBEM::CIMInstance> createFakeInstanceArray(const StringArray& paths);

}  // namespace KOVNS2
