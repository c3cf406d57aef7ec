// SPDX-License-Identifier: Apache-2.0
//
// The commands that kov-verify prints. An administrator types them as root, so nothing in them may
// be more than one word: names come from the repository, where others can write.
#pragma once

#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"

namespace KovVerify {

using blocxx::String;
using blocxx::StringArray;

class Commands {
public:
    /// For the installation below `prefix`.
    explicit Commands(String prefix) : m_prefix(std::move(prefix)) {}

    /// The text on one line that is safe for a terminal.
    static String oneLine(const String& text);
    /// The text as one word for the shell, on one line. Needs bash where the text has control
    /// characters.
    static String word(const String& text);

    /// "fennik ARGUMENTS --name PRODUCT".
    String fennik(const String& arguments, const String& product) const;
    /// Writes the instance, in the namespace.
    String write(const OpenWBEM::CIMInstance& instance, const String& ns) const;
    /// Deletes the instances, each named with its namespace: all or none.
    String deleteInstances(const OpenWBEM::Array<OpenWBEM::CIMObjectPath>& paths) const;
    /// A utility with its arguments.
    String utility(const String& tool, const String& arguments) const;
    String setUp() const { return utility("kov-setup", ""); }
    /// Replaces the product's providers by those of its list, which the administrator names.
    String registerProviders(const String& product) const;

private:
    String m_prefix;
};

}  // namespace KovVerify
