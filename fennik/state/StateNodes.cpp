// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/StateNodes.hpp"

#include <algorithm>
#include <sstream>
#include <utility>

#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/NameRules.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "fennik/state/StateFormat.hpp"

namespace KOVNS2 {

using blocxx::Format;
using NameRules::WHITE_SPACE;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;

XMLNode createNamedNode(const char* name, String text) {
    XMLNode node(name);
    node.setText(std::move(text));
    return node;
}

XMLNode createCIMInstanceNameNode(const char* name, const String& ns,
                                  const Array<CIMInstance>& instances, const char* childName) {
    XMLNode node(name);
    for (const CIMInstance& instance : instances) {
        node.addChild(createNamedNode(childName, CIMObjectPath(ns, instance).toString()));
    }
    return node;
}

XMLNode createInstanceMOFNode(const char* name, const Array<CIMInstance>& instances,
                              const char* childName) {
    XMLNode node(name);
    for (const CIMInstance& instance : instances) {
        node.addChild(createNamedNode(childName, OpenWBEM::MOF::toMOF(instance)));
    }
    return node;
}

void checkNodeName(const XMLNode& node, const char* name, const char* prefix, CallSite place) {
    if (!node) {
        throw FennikException(
            Format("%1Found NULL XML node when node \"%2\" was expected", prefix, name),
            ErrorCode::INVALID_INPUT, nullptr, place);
    }
    if (node.getName() != name) {
        throw FennikException(Format("%1Found XML node \"%2\" when node \"%3\" was expected",
                                     prefix, node.getName(), name),
                              ErrorCode::INVALID_INPUT, nullptr, place);
    }
}

XMLNode findChildByName(const XMLNode& node, const char* name) {
    const UnitLog log = StateFormat::log();
    log.debug("Searching for child node with name \"%1\"", name);
    if (!node) {
        log.debug("Given node is null.  Cannot search children");
        return {};
    }
    if (node.getChildren().empty()) {
        log.debug("Node has no children");
        return {};
    }
    XMLNode child = node.findChild(name);
    if (child) {
        log.debug("Found child node with name \"%1\"", name);
    } else {
        log.debug("No children with name \"%1\"", name);
    }
    return child;
}

Array<XMLNode> childrenByName(const XMLNode& node, const char* name) {
    Array<XMLNode> children;
    for (const XMLNode& child : node.getChildren()) {
        if (child.getName() == name) {
            children.push_back(child);
        }
    }
    return children;
}

namespace {

StringArray extractInstanceArrays(const Array<XMLNode>& nodes, const char* tag) {
    const UnitLog log = StateFormat::log();
    log.debug("extractInstanceArrays() called for tag \"%1\"", tag);
    StringArray texts;
    for (const XMLNode& node : nodes) {
        const bool matches = node.getName() == tag;
        log.debug("Tag \"%1\" %2", node.getName(), matches ? "matches" : "does not match");
        if (matches) {
            texts.push_back(node.getText());
        }
    }
    log.debug("extractInstanceArrays() done for tag \"%1\": %2 instances located", tag,
              texts.size());
    return texts;
}

}  // namespace

StringArray extractChildInstanceArrays(const XMLNode& container, const char* childName) {
    return extractInstanceArrays(container.getChildren(), childName);
}

String toString(const XMLNode& node) {
    std::ostringstream out;
    node.printNode(out);
    return std::move(out).str();
}

String trimmed(String text) {
    text.resize(text.find_last_not_of(WHITE_SPACE) + 1);
    return withoutLeadingSpace(std::move(text));
}

String withoutLeadingSpace(String text) {
    text.erase(0, std::min(text.find_first_not_of(WHITE_SPACE), text.size()));
    return text;
}

Array<CIMInstance> createFakeInstanceArray(const StringArray& paths) {
    Array<CIMInstance> instances;
    for (const String& text : paths) {
        StateFormat::log().debug("createFakeInstanceArray cur = %1", text);
        instances.push_back(ProviderModel::keysOnly(CIMObjectPath::parse(text)));
    }
    return instances;
}

}  // namespace KOVNS2
