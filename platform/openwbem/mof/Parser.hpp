// SPDX-License-Identifier: Apache-2.0
//
// Parses a text into its syntax tree; also what the generated scanner and grammar share.
#pragma once

#include <new>
#include <vector>

#include "blocxx/Interruption.hpp"
#include "openwbem/mof/SyntaxTree.hpp"

namespace OpenWBEM::MOF {

/// Makes the nodes for the grammar's actions.
class ParseContext {
public:
    ParseContext(SourceText& source, NodeArena& arena) : m_source(source), m_arena(arena) {}

    template <class Node>
    Node* make(const Node& node) {
        return new (m_arena.allocate(sizeof(Node), alignof(Node))) Node(node);
    }
    Declaration* make(const Declaration& declaration) {
        auto* const made = new (m_arena.allocateLasting(sizeof(Declaration), alignof(Declaration)))
            Declaration(declaration);
        made->block = m_arena.endDeclaration();
        return made;
    }
    void add(Declaration* declaration) {
        blocxx::Interruption::check();
        m_declarations.append(declaration);
    }
    const List<Declaration>& declarations() const noexcept { return m_declarations; }
    SourceText& source() const noexcept { return m_source; }

private:
    SourceText& m_source;
    NodeArena& m_arena;
    List<Declaration> m_declarations{};
};

/// Parses `source`; the nodes live in `arena`. Throws CompileError.
List<Declaration> parse(SourceText& source, NodeArena& arena);

/// Counts the tokens of `source`, a measure of what compiling it may cost. Throws CompileError.
size_t countTokens(SourceText& source);

// For the grammar, which passes its scanner.

/// Throws the CompileError for the scanner's current token, which should be one of `expected`.
[[noreturn]] void failSyntax(void* scanner, SourceText& source,
                             const std::vector<const char*>& expected);

/// Which token should be a type: the scanner's current one, or the one before it, which would be
/// the class of a reference if "ref" followed.
enum class UnknownType { FOUND, BEFORE };
/// Throws the CompileError for a name that is not a type.
[[noreturn]] void failUnknownType(void* scanner, SourceText& source, UnknownType which);

}  // namespace OpenWBEM::MOF
