// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/Compilation.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "openwbem/mof/Parser.hpp"

namespace OpenWBEM::MOF {

using blocxx::equalsIgnoreCase;
using blocxx::Format;

namespace {

// Chains of includes may be endless, and sources that each include the next one twice double in
// number with each level.
constexpr size_t DEEPEST_INCLUDE = 100;
constexpr size_t MOST_SOURCES = 20'000;
// A large file that is included again and again would otherwise take memory out of proportion.
constexpr size_t MOST_INCLUDED_BYTES = 256U << 20U;
// Each takes a few thousand bytes of memory, but its pragma only two dozen bytes of text.
constexpr size_t MOST_NAMESPACES = 10'000;

}  // namespace

Compilation::Compilation(CIMOMHandleIFCRef handle, const IncludeHandler& include,
                         bool onlyNamespace, Defaults defaults)
    : m_handle(std::move(handle)),
      m_include(include),
      m_onlyNamespace(onlyNamespace),
      m_defaults(defaults) {}

Array<NamespaceContent> Compilation::run(Source source, const String& ns) {
    try {
        enterNamespace(ns, nullptr);
        load(std::move(source));
        return build();
    } catch (const CompileError& error) {
        throw m_sources->describe(error);
    }
}

void Compilation::load(Source source) {
    push(std::move(source));
    while (!m_frames.empty()) {
        Frame& frame = m_frames.back();
        if (frame.next == nullptr) {
            m_frames.pop_back();
            continue;
        }
        const Declaration& declaration = *frame.next;
        frame.next = declaration.next;
        enter(declaration);
    }
}

void Compilation::push(Source source) {
    SourceText& text = m_sources->add(std::move(source));
    m_frames.push_back({&text, parse(text, m_arena).first});
}

void Compilation::enter(const Declaration& declaration) {
    blocxx::Interruption::check();
    if (declaration.kind == Declaration::PRAGMA) {
        obey(declaration);
        NodeArena::release(declaration);
        return;
    }
    m_current->scope.declare(declaration);
    if (!declaration.alias.empty()) {
        declareAlias(declaration);
    }
}

void Compilation::declareAlias(const Declaration& declaration) {
    const auto [place, isNew] =
        m_aliases.try_emplace(String(declaration.alias.view()),
                              Alias{m_current, &declaration, Alias::DECLARED, CIMObjectPath()});
    if (!isNew) {
        throw CompileError{declaration.alias.data, String(Format("the alias %1 is declared twice",
                                                                 declaration.alias.view()))};
    }
}

void Compilation::obey(const Declaration& pragma) {
    const bool include = equalsIgnoreCase(pragma.name.view(), "include");
    if (!include && !equalsIgnoreCase(pragma.name.view(), "namespace")) {
        return;
    }
    const Literal& value = *pragma.value.first;
    if (value.kind != Literal::STRING) {
        throw CompileError{value.text.data,
                           "expected a string; found " + inQuotes(value.text.view())};
    }
    const String argument = readString(value);
    if (include) {
        includeSource(pragma, argument);
    } else {
        enterNamespace(argument, value.text.data);
    }
}

void Compilation::includeSource(const Declaration& pragma, const String& name) {
    const char* const at = pragma.value.first->text.data;
    if (!m_include) {
        throw CompileError{at, "a text compiled here cannot include others"};
    }
    if (m_frames.size() >= DEEPEST_INCLUDE || m_sources->size() >= MOST_SOURCES) {
        throw CompileError{at, String(Format("too many includes: at most %1 within each other and "
                                             "%2 in all",
                                             DEEPEST_INCLUDE, MOST_SOURCES))};
    }
    Source included;
    try {
        included = m_include(name, m_frames.back().source->name());
    } catch (const blocxx::Exception& e) {
        throw CompileError{at, e.getMessage()};
    }
    for (const Frame& frame : m_frames) {
        if (frame.source->isSameAs(included)) {
            throw CompileError{at, String(Format("\"%1\" includes itself", included.name))};
        }
    }
    m_includedBytes += included.text.size();
    if (m_includedBytes > MOST_INCLUDED_BYTES) {
        throw CompileError{at, String(Format("too many includes: the texts are larger than %1 "
                                             "bytes together",
                                             MOST_INCLUDED_BYTES))};
    }
    push(std::move(included));
}

void Compilation::enterNamespace(const String& name, const char* at) {
    if (const auto known = m_namespaceIndex.find(name); known != m_namespaceIndex.end()) {
        m_current = known->second;
        return;
    }
    if (m_onlyNamespace && m_current != nullptr) {
        throw CompileError{
            at, String(Format("the text is compiled for the namespace \"%1\" and cannot declare "
                              "anything in \"%2\"",
                              m_current->scope.nameSpace(), name))};
    }
    if (name.empty() && at != nullptr) {
        throw CompileError{at, "expected the name of a namespace; found an empty string"};
    }
    if (m_namespaces.size() >= MOST_NAMESPACES) {
        throw CompileError{at,
                           String(Format("the text declares something in more than %1 namespaces",
                                         MOST_NAMESPACES))};
    }
    const auto kind = at != nullptr ? NamespaceMention::PRAGMA : NamespaceMention::START;
    m_current = &m_namespaces.emplace_back(name, m_handle, NamespaceMention{kind, at}, *this);
    m_namespaceIndex.emplace(name, m_current);
}

Array<NamespaceContent> Compilation::build() {
    // All qualifier types first: building a class may need one of another namespace.
    for (Namespace& ns : m_namespaces) {
        const Entered entered(*this, ns);
        for (const Declaration* declaration : ns.scope.qualifierTypes()) {
            ns.scope.define(*declaration, buildQualifierType(*declaration, *this));
            NodeArena::release(*declaration);
        }
    }
    Array<NamespaceContent> contents;
    for (Namespace& ns : m_namespaces) {
        const Entered entered(*this, ns);
        contents.push_back(buildNamespace(ns));
    }
    return contents;
}

NamespaceContent Compilation::buildNamespace(Namespace& ns) {
    NamespaceContent content;
    ContentPlaces& places = content.places;
    places.texts = m_sources;
    places.nameSpace = ns.scope.mention().at;
    content.nameSpace = ns.scope.nameSpace();
    content.qualifierTypes.reserve(ns.scope.qualifierTypes().size());
    for (const Declaration* declaration : ns.scope.qualifierTypes()) {
        content.qualifierTypes.push_back(*ns.scope.findQualifierType(declaration->name.view()));
        places.qualifierTypes.push_back(declaration->name.data);
    }
    for (ClassEntry* entry : ns.scope.classes()) {
        blocxx::Interruption::check();
        ns.classes.require(*entry);
    }
    content.classes.reserve(ns.classes.built().size());
    places.classes.reserve(ns.classes.built().size());
    for (const ClassEntry* entry : ns.classes.built()) {
        content.classes.push_back(entry->cls);
        places.classes.push_back(entry->declaration->name.data);
    }
    buildInstances(ns, content);
    return content;
}

}  // namespace OpenWBEM::MOF
