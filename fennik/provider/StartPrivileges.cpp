// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/StartPrivileges.hpp"

#include <istream>
#include <memory>

#include "fennik/common/FennikException.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "openwbem/privilege/PrivilegeConfig.hpp"

namespace KOVNS2::StartPrivileges {

using blocxx::Format;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMValue;
namespace PrivilegeConfig = OpenWBEM::PrivilegeConfig;

namespace {

constexpr const char* AGENT_USER = "owprovdr";

struct Statement {
    bool monitored;
    String process;
    CIMValue args;
    String name;  ///< the privilege file when monitored, otherwise the user
};

/// Each argument as a MOF string, followed by a blank.
String argumentText(const CIMValue& args) {
    String text;
    for (size_t i = 0; i < args.getArraySize(); ++i) {
        text += OpenWBEM::MOF::toMOF(args.getElement(i)) + " ";
    }
    return text;
}

String render(const Statement& statement) {
    const String args = argumentText(statement.args);
    return statement.monitored ? String(Format("monitored_exec_check_args { %1 %2 @ %3 }\n",
                                               statement.process, args, statement.name))
                               : String(Format("user_exec_check_args { %1 %2 @ owprovdr }\n",
                                               statement.process, args));
}

/// The privileges that the text must grant, and no others.
PrivilegeConfig::Privileges meaningOf(const Statement& statement) {
    PrivilegeConfig::CheckedCommand command{statement.process, {}, statement.name};
    for (size_t i = 0; i < statement.args.getArraySize(); ++i) {
        command.args.push_back(statement.args.getElement(i).toString());
    }
    PrivilegeConfig::Privileges meaning;
    (statement.monitored ? meaning.monitored_exec_check_args : meaning.user_exec_check_args)
        .push_back(std::move(command));
    return meaning;
}

class NoIncludes : public PrivilegeConfig::IncludeHandler {
public:
    std::unique_ptr<std::istream> getInclude(const String&) override { return nullptr; }
    void endInclude() override {}
};

bool isParsedAsMeant(const Statement& statement) {
    NoIncludes includes;
    PrivilegeConfig::Privileges found;
    try {
        PrivilegeConfig::openwbem_privconfig_parse(render(statement), includes, found);
    } catch (const PrivilegeConfig::ParseException&) {
        return false;
    }
    return found == meaningOf(statement);
}

/// The property that makes the text of a statement mean something else.
String misreadProperty(const Statement& statement) {
    if (!isParsedAsMeant({statement.monitored, statement.process, {}, AGENT_USER})) {
        return "Process";
    }
    return isParsedAsMeant({statement.monitored, statement.process, {}, statement.name})
               ? "Args"
               : "InstanceID";
}

const char* remedy(const String& property) {
    return property == "Args" ? "give each argument a value"
                              : "it must be a text without blanks, control characters, quotes, "
                                "backslashes and braces that does not begin with # or @";
}

}  // namespace

// Process and name are not quoted in the text. One that is more than a single token could end the
// statement and begin another, with which a product could have a program started as any user.
String generate(const CIMInstance& registrationInstance, bool monitored) {
    using ProviderModel::text;
    const Statement statement{
        monitored, text(registrationInstance, "Process"),
        registrationInstance.getPropertyValue("Args"),
        monitored ? PrivilegeFiles::fileName(registrationInstance) : String(AGENT_USER)};
    if (!isParsedAsMeant(statement)) {
        const String property = misreadProperty(statement);
        throw FennikException(
            Format("Instance %1: %2 property cannot be written into a privilege file: %3",
                   text(registrationInstance, "InstanceID"), property, remedy(property)),
            ProviderModel::INVALID_INPUT);
    }
    return render(statement);
}

}  // namespace KOVNS2::StartPrivileges
