// SPDX-License-Identifier: Apache-2.0
//
// Making and reading the elements of a state file.
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

// Making.

XMLNode createNamedNode(const char* name, String text);

/// One child for each class or qualifier type, with its name.
template <class Object>
XMLNode createCIMObjectNameNode(const char* name, const Array<Object>& objects,
                                const char* childName) {
    XMLNode node(name);
    for (const Object& object : objects) {
        node.addChild(createNamedNode(childName, object.getName()));
    }
    return node;
}

/// One child for each instance, with its object path in the namespace.
XMLNode createCIMInstanceNameNode(const char* name, const String& ns,
                                  const Array<OpenWBEM::CIMInstance>& instances,
                                  const char* childName);
/// One child for each instance, with its MOF.
XMLNode createInstanceMOFNode(const char* name, const Array<OpenWBEM::CIMInstance>& instances,
                              const char* childName);

/// The MOF of an object with a line feed after it, so written that restoring does not take it for
/// what it has to repair.
template <class Object>
String objectToMOF(const Object& object) {
    String mof = OpenWBEM::MOF::toMOF(object) + "\n";
    keepFromRepair(mof);
    return mof;
}

/// The MOF of all objects, each with a line feed after it.
template <class Object>
String arrayToMOF(const Array<Object>& objects) {
    String mof;
    for (const Object& object : objects) {
        mof += objectToMOF(object);
    }
    return mof;
}

// Reading.

/// Throws FennikException, whose message begins with `prefix`, when the node is null or has another
/// name; its place is the caller's.
void checkNodeName(const XMLNode& node, const char* name, const char* prefix,
                   CallSite place = CallSite::here());
/// The first child of that name, or a null node.
XMLNode findChildByName(const XMLNode& node, const char* name);
/// The children of that name, in document order.
Array<XMLNode> childrenByName(const XMLNode& node, const char* name);
/// The texts of the children of that name, in document order.
StringArray extractChildInstanceArrays(const XMLNode& container, const char* childName);

/// The node as XML, for messages.
String toString(const XMLNode& node);

/// Without white space at both ends.
String trimmed(String text);
/// Without white space at the front.
String withoutLeadingSpace(String text);

/// Classes or qualifier types that have nothing but their names.
template <class Object>
Array<Object> createFakeCIMObjectArray(const StringArray& names) {
    Array<Object> objects;
    for (const String& name : names) {
        objects.push_back(Object(name));
    }
    return objects;
}

/// Instances that have nothing but their class and their keys, from object paths. Throws
/// CIMException for a text that is none.
Array<OpenWBEM::CIMInstance> createFakeInstanceArray(const StringArray& paths);

}  // namespace KOVNS2
