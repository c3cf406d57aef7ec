// SPDX-License-Identifier: Apache-2.0
//
// The names of one namespace: those that the text declares in it, then those of the handle.
#pragma once

#include <deque>
#include <memory>
#include <optional>

#include "openwbem/model/FoldedMap.hpp"
#include "openwbem/model/NameIndex.hpp"
#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/SyntaxTree.hpp"

namespace OpenWBEM::MOF {

/// A class of the text, which is built on demand, or a class of the handle.
struct ClassEntry {
    enum State : uint8_t { DECLARED, BEING_BUILT, BUILT };
    const Declaration* declaration = nullptr;  ///< null for a class of the handle
    ClassEntry* super = nullptr;               ///< null until it has been looked up
    State state = DECLARED;
    CIMClass cls;                     ///< derived, once it is built
    std::optional<CIMClass> outline;  ///< see ClassBuilder::outline
    std::optional<NameIndex<CIMProperty>> properties;

    /// The built class's property of that name, or null.
    const CIMProperty* findProperty(std::string_view name);
};

/// What named a namespace, which decides what it means when the handle does not have it.
struct NamespaceMention {
    enum Kind : uint8_t { START, PRAGMA, PATH };
    Kind kind = START;
    const char* at = nullptr;  ///< the place of a PRAGMA
};

class Scope {
public:
    /// `handle` may be null. A namespace that only a PATH names is empty when the handle does not
    /// have it or denies access to it.
    Scope(String nameSpace, CIMOMHandleIFCRef handle, NamespaceMention mention = {});
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    const String& nameSpace() const noexcept { return m_nameSpace; }
    const NamespaceMention& mention() const noexcept { return m_mention; }

    /// Adds a declaration of the text. Throws CompileError when the name is declared already.
    void declare(const Declaration& declaration);
    const std::deque<const Declaration*>& qualifierTypes() const { return m_qualifierTypeOrder; }
    const std::deque<ClassEntry*>& classes() const { return m_classOrder; }
    const std::deque<const Declaration*>& instances() const { return m_instances; }

    /// Adds the qualifier type that was built from a declaration.
    void define(const Declaration& declaration, CIMQualifierType qualifierType);
    /// The qualifier type of that name, or null. The pointer stays valid.
    const CIMQualifierType* findQualifierType(std::string_view name);
    /// The class of that name, or null; not necessarily built.
    ClassEntry* findClass(std::string_view name);

private:
    struct QualifierEntry {
        const Declaration* declaration = nullptr;
        CIMQualifierType type;
        bool known = false;
    };
    QualifierEntry fetchQualifierType(const String& name) const;
    std::unique_ptr<ClassEntry> fetchClass(const String& name) const;
    bool isAbsence(const CIMException& e) const;

    String m_nameSpace;
    CIMOMHandleIFCRef m_handle;
    NamespaceMention m_mention;
    FoldedMap<QualifierEntry> m_qualifierTypes;
    FoldedMap<std::unique_ptr<ClassEntry>> m_classes;  ///< a null entry: does not exist
    std::deque<const Declaration*> m_qualifierTypeOrder;
    std::deque<ClassEntry*> m_classOrder;
    std::deque<const Declaration*> m_instances;
};

}  // namespace OpenWBEM::MOF
