// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderMof.hpp"

#include <algorithm>
#include <optional>
#include <set>

#include "fennik/common/ErrorCode.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/common/RegularExpression.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "openwbem/mof/MOFCompiler.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMValue;

namespace {

[[noreturn]] void refuse(const String& message, int errorCode = INVALID_INPUT,
                         CallSite place = CallSite::here()) {
    throw FennikException(message, errorCode, nullptr, place);
}

struct NamespacePragma {
    std::optional<String> nameSpace;
    size_t end;  ///< where the text after the pragma begins
};

/// Matches the line from `begin` to `end`.
std::optional<NamespacePragma> matchLine(const String& text, size_t begin, size_t end) {
    static const RE expression("^[ \t]*#pragma[ \t]+namespace\\(\"([^\"]+)\"\\)", REG_NEWLINE);
    regmatch_t matches[2] = {};
    matches[0].rm_eo = static_cast<regoff_t>(end - begin);
    if (::regexec(expression.compiled(), text.data() + begin, std::size(matches), matches,
                  REG_STARTEND) != 0) {
        return std::nullopt;
    }
    NamespacePragma found{std::nullopt, begin + static_cast<size_t>(matches[0].rm_eo)};
    if (matches[1].rm_so >= 0) {
        found.nameSpace = text.substr(begin + static_cast<size_t>(matches[1].rm_so),
                                      static_cast<size_t>(matches[1].rm_eo - matches[1].rm_so));
    }
    return found;
}

// Matches only lines that begin with "#", one at a time: matching a large text as a whole would
// take many times its memory.
std::optional<NamespacePragma> findNamespacePragma(const String& text, size_t begin = 0) {
    while (begin < text.size()) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const size_t first = text.find_first_not_of(" \t", begin);
        if (first < end && text[first] == '#') {
            if (auto found = matchLine(text, begin, end)) {
                return found;
            }
        }
        begin = end + 1;
    }
    return std::nullopt;
}

/// The output of a compilation.
struct CompiledContent {
    Array<CIMInstance>& instances;
    Array<OpenWBEM::CIMClass>& classes;
    Array<OpenWBEM::CIMQualifierType>& qualifierTypes;
};

/// `kind` is the compiler's name for the text, because `path` may be that of another file.
void compile(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& mof, const String& ns,
             const char* kind, const String& path, CompiledContent content,
             OpenWBEM::MOF::Defaults defaults) {
    try {
        OpenWBEM::MOF::compileMOF(mof, handle, ns, content.instances, content.classes,
                                  content.qualifierTypes, kind, defaults);
    } catch (const OpenWBEM::MOF::MOFCompilerException& e) {
        refuse(Format("MOF Compiler exception compiling %1.  Error: %2", path, e.getMessage()),
               ErrorCode::MOF_COMPILER_ERROR);
    }
}

bool isRegistration(const CIMInstance& instance) {
    return instance.getClassName() == OOP_REGISTRATION || instance.getClassName() == OOP_PROCESS;
}

void checkLeadingInstance(const Array<CIMInstance>& instances, const String& path) {
    const CIMInstance& leading = instances.front();
    if (leading.getClassName() == OOP_REGISTRATION && instances.size() > 1) {
        refuse(
            Format("\"ProviderRegistration\" types must contain only that instance.  %1 has "
                   "%2.",
                   path, instances.size()));
    }
    if (!isRegistration(leading)) {
        refuse(
            Format("%1 must contain only one instance of interop's provider registration, and "
                   "it must lead the list.",
                   path));
    }
}

/// The instances of a registration MOF, to which its associations may lead.
class Declared {
public:
    explicit Declared(const Array<CIMInstance>& instances) {
        for (const CIMInstance& instance : instances) {
            m_keys.insert(CIMObjectPath(INTEROP_NS, instance).canonicalKey());
        }
    }

    bool contains(const CIMObjectPath& path) const {
        const String& ns = path.getNameSpace();
        return path.getHost().empty() && (ns.empty() || blocxx::equalsIgnoreCase(ns, INTEROP_NS)) &&
               m_keys.contains(CIMObjectPath(path).setNameSpace(INTEROP_NS).canonicalKey());
    }

private:
    std::set<String> m_keys;
};

/// The values of an instance's reference properties. Only associations have any.
Array<CIMObjectPath> referencesOf(const CIMInstance& instance) {
    Array<CIMObjectPath> paths;
    for (const auto& property : instance.getProperties()) {
        const CIMValue& value = property.getValue();
        if (value.getType() != OpenWBEM::CIMDataType::REFERENCE) {
            continue;
        }
        if (!value.isArray()) {
            paths.push_back(value.get<CIMObjectPath>());
            continue;
        }
        for (size_t i = 0; i < value.getArraySize(); ++i) {
            if (!value.isNullElement(i)) {
                paths.push_back(value.getElement(i).get<CIMObjectPath>());
            }
        }
    }
    return paths;
}

/// Removing a process removes what its associations lead to. That must belong to the process:
/// anything else would be deleted with it, or prevent its removal.
void checkAssociations(const Array<CIMInstance>& instances, const String& path) {
    const Declared declared(instances);
    for (const CIMInstance& instance : instances) {
        for (const CIMObjectPath& reference : referencesOf(instance)) {
            if (!declared.contains(reference)) {
                refuse(
                    Format("%1: the association %2 names %3, which that file does not declare.  "
                           "Associations in a registration MOF connect the process and the "
                           "capabilities of the same file.",
                           path, CIMObjectPath(String(), instance).modelPath(), reference));
            }
        }
    }
}

}  // namespace

RegistrationMof compileRegistrationMof(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& mof,
                                       const String& path) {
    log().debug("Building OOP registration instances from %1", path);
    log().debug("Provider mof contains:\n%1", mof);
    if (findNamespacePragma(mof)) {
        refuse(Format("%1 must not contain #pragma namespace", path),
               ErrorCode::NAMESPACE_IN_REGISTRATION_MOF);
    }
    RegistrationMof result;
    compile(handle, mof, INTEROP_NS, "registration MOF", path,
            {result.instances, result.classes, result.qualifierTypes},
            OpenWBEM::MOF::Defaults::FILLED_IN);
    if (!result.qualifierTypes.empty()) {
        refuse(Format("%1 cannot contain qualifier types.", path));
    }
    if (result.instances.empty()) {
        refuse(
            Format("Provider Registration requires an OOP Registration instance.  %1 has no "
                   "instances.",
                   path));
    }
    checkLeadingInstance(result.instances, path);
    result.registrationInstance = result.instances.front();
    return result;
}

void checkInstancesOfRegistration(const Array<CIMInstance>& instances, const String& path) {
    if (std::any_of(instances.begin() + 1, instances.end(), isRegistration)) {
        refuse(
            Format("%1 must contain only one instance of interop's provider registration.", path));
    }
    checkAssociations(instances, path);
}

ProviderMof compileProviderMof(const OpenWBEM::CIMOMHandleIFCRef& handle, const String& mof,
                               const String& path,
                               const std::function<StringArray()>& registeredNamespaces) {
    log().debug("Building OOP provider instances from %1", path);
    ProviderMof result;
    if (mof.empty()) {
        log().debug("No MOF to compile");
        return result;
    }
    const auto pragma = findNamespacePragma(mof);
    if (!pragma) {
        refuse(Format("%1 must contain a #pragma namespace", path));
    }
    if (!pragma->nameSpace) {
        refuse(Format("%1 must contain a #pragma namespace with a value", path));
    }
    result.nameSpace = *pragma->nameSpace;
    if (std::ranges::count(registeredNamespaces(), result.nameSpace) == 0) {
        refuse(Format("%1 uses a namespace (%2) that is not registered", path, result.nameSpace));
    }
    if (findNamespacePragma(mof, pragma->end)) {
        refuse(Format("%1 must contain only one #pragma namespace", path));
    }
    // Defaults are left out: classes of other providers of the list may be replaced before these
    // instances are written.
    compile(handle, mof, result.nameSpace, "provider MOF", path,
            {result.instances, result.classes, result.qualifierTypes},
            OpenWBEM::MOF::Defaults::LEFT_OUT);
    log().debug("Found %1 provider instances and %2 classes", result.instances.size(),
                result.classes.size());
    return result;
}

}  // namespace KOVNS2
