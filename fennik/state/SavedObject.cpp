// SPDX-License-Identifier: Apache-2.0
#include "fennik/state/SavedObject.hpp"

#include <algorithm>
#include <optional>
#include <string_view>

#include "blocxx/Format.hpp"
#include "fennik/state/StateGathering.hpp"

namespace KOVNS2 {

using blocxx::Format;
using blocxx::String;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFC;

namespace {

constexpr std::string_view INSTANCE = "instance of ";

/// One object of a saved namespace. An empty line follows each object; strings never span lines.
struct Declaration {
    std::string_view text;
    size_t instancesBefore;
};

Declaration declarationAt(std::string_view mof, size_t line) {
    size_t instances = 0;
    for (size_t lines = 1;;) {
        const std::string_view text = mof.substr(0, mof.find("\n\n"));
        const auto own = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
        if (line <= lines + own || text.size() == mof.size()) {
            return {text, instances};
        }
        instances += text.starts_with(INSTANCE) ? 1 : 0;
        lines += own + 2;
        mof.remove_prefix(text.size() + 2);
    }
}

/// The word after `keyword` on the first line that starts with it.
std::optional<String> wordBehind(std::string_view keyword, std::string_view text) {
    const String wanted = "\n" + String(keyword);
    const String lines = "\n" + String(text);
    const size_t at = lines.find(wanted);
    if (at == String::npos) {
        return std::nullopt;
    }
    const size_t begin = at + wanted.size();
    return lines.substr(begin, lines.find_first_of(" \n", begin) - begin);
}

/// The path of the instance at index `number` in the order of saving.
std::optional<CIMObjectPath> pathOfInstance(size_t number, const String& ns,
                                            CIMOMHandleIFC& handle) {
    std::optional<CIMObjectPath> path;
    size_t count = 0;
    forEachSavedInstance(ns, handle, [&](const CIMInstance& instance) {
        if (count++ == number) {
            path = CIMObjectPath(ns, instance);
        }
    });
    return path;
}

}  // namespace

SavedObject findSavedObject(const String& mof, size_t line, const String& ns,
                            CIMOMHandleIFC& handle) {
    const Declaration declaration = declarationAt(mof, line);
    if (declaration.text.starts_with(INSTANCE)) {
        const auto path = pathOfInstance(declaration.instancesBefore, ns, handle);
        if (path) {
            return {Format("the instance %1", path->toString()),
                    Format("Delete it (owdeleteinstance '%1') or give it values that fit its class",
                           path->toString())};
        }
    }
    for (const char* keyword : {"class ", "Qualifier "}) {
        if (const auto name = wordBehind(keyword, declaration.text)) {
            return {Format("the %1 %2:%3", *keyword == 'c' ? "class" : "qualifier type", ns, *name),
                    Format("Declare it anew in a form that can be compiled (owmofc -n %1)", ns)};
        }
    }
    return {Format("the namespace %1", ns), "Deregister it, and register it under another name"};
}

}  // namespace KOVNS2
