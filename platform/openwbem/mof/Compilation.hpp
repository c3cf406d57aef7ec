// SPDX-License-Identifier: Apache-2.0
//
// One run of the compiler: reads a text with everything that it includes, then builds what it
// declares and puts it in order, namespace by namespace: qualifier types, classes, instances.
#pragma once

#include <deque>

#include "openwbem/mof/ClassBuilder.hpp"
#include "openwbem/mof/SourceTexts.hpp"

namespace OpenWBEM::MOF {

class Compilation final : public ObjectResolver {
public:
    /// `onlyNamespace`: a pragma that names another namespace than the first is an error.
    Compilation(CIMOMHandleIFCRef handle, const IncludeHandler& include, bool onlyNamespace,
                Defaults defaults);

    /// Throws MOFCompilerException, and what the handle throws.
    Array<NamespaceContent> run(Source source, const String& ns);
    /// The text that was given to run(), or an empty one when it was too large. The places in what
    /// run() returned are invalid after this.
    String takeText() {
        SourceText* const text = m_sources->first();
        return text != nullptr ? std::move(*text).take() : String();
    }

private:
    struct Namespace {
        Namespace(const String& name, const CIMOMHandleIFCRef& handle, NamespaceMention mention,
                  ObjectResolver& objects)
            : scope(name, handle, mention), classes(scope, objects) {}
        Scope scope;
        ClassBuilder classes;
    };
    struct Alias {
        enum State : uint8_t { DECLARED, BEING_RESOLVED, RESOLVED };
        Namespace* home = nullptr;
        const Declaration* declaration = nullptr;
        State state = DECLARED;
        CIMObjectPath path;
    };
    using Assignments = FoldedMap<const Assignment*, std::string_view>;
    struct Frame {
        const SourceText* source;
        const Declaration* next;
    };
    /// Makes a namespace the current one for a scope.
    class Entered;
    /// Resolves the objects in the values of instances.
    class InstanceObjects;

    // Reading (Compilation.cpp)
    void load(Source source);
    void push(Source source);
    void enter(const Declaration& declaration);
    void obey(const Declaration& pragma);
    void includeSource(const Declaration& pragma, const String& name);
    void enterNamespace(const String& name, const char* at);
    void declareAlias(const Declaration& declaration);
    Array<NamespaceContent> build();
    NamespaceContent buildNamespace(Namespace& ns);

    // Instances (Instances.cpp)
    void buildInstances(Namespace& ns, NamespaceContent& content);
    CIMInstance buildInstance(Namespace& ns, const Declaration& declaration, bool embedded,
                              Defaults defaults);
    CIMPropertyArray assignedProperties(Namespace& ns, ClassEntry& entry,
                                        const Declaration& declaration, Defaults defaults);
    CIMValue assignedValue(const CIMProperty& declared, const Assignment& assignment,
                           Defaults defaults);
    ClassEntry& classOf(Namespace& ns, const Declaration& declaration);
    ClassEntry* findClass(Namespace& ns, std::string_view name);

    // References and embedded objects (Objects.cpp)
    CIMObjectPath resolveReference(const Literal& literal, const String& className) override;
    void checkReferenceClass(const CIMObjectPath& path, const String& className, const char* at);
    Namespace* namespaceInText(const CIMObjectPath& path);
    Namespace& namespaceOf(const CIMObjectPath& path, Namespace& from);
    /// In default values.
    CIMValue resolveEmbedded(const Literal& literal, const Embedding& embedding) override;
    CIMValue resolveEmbedded(const Literal& literal, const Embedding& embedding, Defaults defaults);
    CIMObjectPath resolveAlias(const Text& name);
    CIMObjectPath pathOf(Alias& alias);
    const CIMClass& classForPath(Alias& alias, const Assignments& assignments);
    void syncPath(CIMObjectPath& path, Namespace& from, unsigned depth);
    CIMValue compileEmbedded(SourceText& source, const Embedding& embedding, Defaults defaults);
    void checkEmbeddedClass(const Declaration& declaration, const Embedding& embedding);

    CIMOMHandleIFCRef m_handle;
    const IncludeHandler& m_include;
    bool m_onlyNamespace;
    Defaults m_defaults;
    NodeArena m_arena;
    std::shared_ptr<SourceTexts> m_sources = std::make_shared<SourceTexts>();
    std::deque<Namespace> m_namespaces;      ///< of the text, in the order of their first mention
    FoldedMap<Namespace*> m_namespaceIndex;  ///< the same by name
    FoldedMap<std::unique_ptr<Namespace>> m_foreignNamespaces;  ///< those that only paths name
    Namespace* m_current = nullptr;
    Array<Frame> m_frames;
    FoldedMap<Alias> m_aliases;
    size_t m_includedBytes = 0;
    unsigned m_depth = 0;       ///< of nested embedded objects
    unsigned m_aliasDepth = 0;  ///< of aliases in the keys of instances with aliases
};

class Compilation::Entered {
public:
    Entered(Compilation& compilation, Namespace& ns)
        : m_compilation(compilation), m_before(compilation.m_current) {
        compilation.m_current = &ns;
    }
    ~Entered() { m_compilation.m_current = m_before; }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;

private:
    Compilation& m_compilation;
    Namespace* m_before;
};

}  // namespace OpenWBEM::MOF
