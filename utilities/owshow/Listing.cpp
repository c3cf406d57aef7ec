// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/Listing.hpp"

#include <algorithm>

#include "blocxx/Printable.hpp"
#include "layout/Layout.hpp"
#include "openwbem/mof/MOFRenderer.hpp"
#include "utilities/common/Attempt.hpp"

namespace OwShow {

namespace {

/// Names that are printed in the order of their bytes.
class SortedNames {
public:
    void add(const String& name) {
        m_budget.take(name);
        m_names.push_back(name);
    }
    void print(const Sink& out) {
        std::ranges::sort(m_names);
        for (const String& name : m_names) {
            out(blocxx::oneLine(name) + "\n");
        }
    }

private:
    Budget m_budget;
    StringArray m_names;
};

String describe(const Selection& selection) {
    constexpr const char* KINDS[] = {"qualifier types", "classes", "instances"};
    String text = String("list the ") + KINDS[static_cast<size_t>(selection.kind)];
    if (!selection.className.empty()) {
        text += " of the class \"" + selection.className + "\"";
    }
    return text + " in the namespace \"" + selection.ns + "\"";
}

/// The classes whose instances, with those of their subclasses, are all that are selected.
StringArray topClasses(CIMOMHandleIFC& handle, const Selection& selection) {
    if (!selection.className.empty()) {
        return {selection.className};
    }
    StringArray names;
    Budget budget;
    auto collect = makeResultHandler<String>([&](const String& name) {
        budget.take(name);
        names.push_back(name);
    });
    handle.enumClassNames(selection.ns, String(), collect);
    return names;
}

/// Whether an instance is none that the repository holds: the daemon computes one for each
/// namespace, for itself and for its profile. They could not be compiled back.
bool isComputed(const Selection& selection, const CIMObjectPath& path) {
    if (!selection.className.empty() ||
        !blocxx::equalsIgnoreCase(selection.ns, Layout::INTEROP_NS)) {
        return false;
    }
    const auto is = [&](const char* className) {
        return blocxx::equalsIgnoreCase(path.getClassName(), className);
    };
    return is("CIM_Namespace") ||
           (is("CIM_ObjectManager") &&
            path.getKeyValue("Name") == CIMValue(Layout::OBJECT_MANAGER_NAME)) ||
           (is("CIM_RegisteredProfile") &&
            path.getKeyValue("InstanceID") == CIMValue(Layout::REGISTRATION_PROFILE_ID));
}

void collectNames(CIMOMHandleIFC& handle, const Selection& selection, SortedNames& names) {
    const String& ns = selection.ns;
    if (selection.kind == Kind::QUALIFIER_TYPES) {
        auto add = makeResultHandler<CIMQualifierType>(
            [&](const CIMQualifierType& type) { names.add(type.getName()); });
        handle.enumQualifierTypes(ns, add);
        return;
    }
    if (selection.kind == Kind::CLASSES) {
        auto add = makeResultHandler<String>([&](const String& name) { names.add(name); });
        handle.enumClassNames(ns, String(), add, E_DEEP);
        return;
    }
    auto add = makeResultHandler<CIMObjectPath>([&](const CIMObjectPath& path) {
        if (!isComputed(selection, path)) {
            names.add(path.toString());
        }
    });
    for (const String& top : topClasses(handle, selection)) {
        handle.enumInstanceNames(ns, top, add);
    }
}

template <class T>
void printObject(const T& object, const Sink& out) {
    out(MOF::toMOF(object) + "\n");
}

void printMOF(CIMOMHandleIFC& handle, const Selection& selection, const Sink& out) {
    const String& ns = selection.ns;
    if (selection.kind == Kind::QUALIFIER_TYPES) {
        auto print = makeResultHandler<CIMQualifierType>(
            [&](const CIMQualifierType& type) { printObject(type, out); });
        handle.enumQualifierTypes(ns, print);
        return;
    }
    if (selection.kind == Kind::CLASSES) {
        auto print =
            makeResultHandler<CIMClass>([&](const CIMClass& cls) { printObject(cls, out); });
        handle.enumClass(ns, String(), print, E_DEEP, E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                         E_INCLUDE_CLASS_ORIGIN);
        return;
    }
    auto print = makeResultHandler<CIMInstance>([&](const CIMInstance& instance) {
        if (!isComputed(selection, CIMObjectPath(selection.ns, instance))) {
            printObject(instance, out);
        }
    });
    for (const String& top : topClasses(handle, selection)) {
        handle.enumInstances(ns, top, print);
    }
}

}  // namespace

void listNamespaces(const Repository& repository, const Sink& out) {
    SortedNames names;
    auto add = makeResultHandler<String>([&](const String& name) { names.add(name); });
    attempt("list the namespaces", [&] { repository.enumNameSpace(add); });
    names.print(out);
}

void listNames(CIMOMHandleIFC& handle, const Selection& selection, const Sink& out) {
    SortedNames names;
    attempt(describe(selection), [&] { collectNames(handle, selection, names); });
    names.print(out);
}

void listMOF(CIMOMHandleIFC& handle, const Selection& selection, const Sink& out) {
    attempt(describe(selection), [&] { printMOF(handle, selection, out); });
}

void showObject(CIMOMHandleIFC& handle, const CIMObjectPath& path, const Sink& out) {
    const String& ns = path.getNameSpace();
    if (path.isClassPath()) {
        out(MOF::toMOF(handle.getClass(ns, path.getClassName(), E_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                       E_INCLUDE_CLASS_ORIGIN)));
    } else {
        out(MOF::toMOF(handle.getInstance(ns, path)));
    }
}

}  // namespace OwShow
