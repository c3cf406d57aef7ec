// SPDX-License-Identifier: Apache-2.0
//
// The syntax tree of a MOF text: plain nodes in an arena, linked in text order. Their texts are
// views of the source, which also give their place in it. Nodes are freed without being destroyed,
// so they own nothing.
#pragma once

#include "openwbem/model/CIMDataType.hpp"
#include "openwbem/mof/NodeArena.hpp"
#include "openwbem/text/SourceText.hpp"

namespace OpenWBEM::MOF {

/// A list that grows at its end.
template <class Node>
struct List {
    Node* first;
    Node* last;

    void append(Node* node) noexcept {
        (last != nullptr ? last->next : first) = node;
        last = node;
    }
    bool empty() const noexcept { return first == nullptr; }

    struct Iterator {
        Node* node;
        Node& operator*() const noexcept { return *node; }
        Iterator& operator++() noexcept {
            node = node->next;
            return *this;
        }
        bool operator!=(const Iterator& other) const noexcept { return node != other.node; }
    };
    Iterator begin() const noexcept { return {first}; }
    Iterator end() const noexcept { return {nullptr}; }
};

/// A word of a list, or one of the further literals of a string.
struct Word {
    Text text;
    Word* next;
};

/// A constant value or an element of an array.
struct Literal {
    enum Kind : uint8_t { NULL_VALUE, TRUE_VALUE, FALSE_VALUE, INTEGER, REAL, CHAR, STRING, ALIAS };
    Text text;        ///< the token, quotes included
    List<Word> more;  ///< the literals that follow a STRING's first one
    Literal* next;
    Kind kind;

    const char* end() const noexcept { return more.empty() ? text.end() : more.last->text.end(); }
};

/// The value after "=" or of a qualifier.
struct Initializer {
    enum Form : uint8_t { NONE, SCALAR, ARRAY };
    Literal* first;  ///< null for an empty array
    Form form;

    List<Literal> values() const noexcept { return {first, nullptr}; }
};

struct Qualifier {
    Text name;
    Initializer value;
    List<Word> flavors;
    Qualifier* next;
};

/// A declared type: its keyword, or the class of a reference.
struct TypeName {
    const char* data;
    uint32_t size;
    CIMDataType::Type type;

    std::string_view view() const noexcept { return {data, size}; }
};

/// "[]", "[5]" or nothing, which has a null `size.data`.
struct ArraySuffix {
    Text size;

    bool isArray() const noexcept { return size.data != nullptr; }
};

struct Parameter {
    List<Qualifier> qualifiers;
    TypeName type;
    Text name;
    ArraySuffix array;
    Parameter* next;
};

/// A property, reference or method.
struct Feature {
    List<Qualifier> qualifiers;
    TypeName type;
    Text name;
    ArraySuffix array;
    Initializer value;
    List<Parameter> parameters;
    bool isMethod;
    Feature* next;
};

/// "name = value;" in an instance.
struct Assignment {
    List<Qualifier> qualifiers;
    Text name;
    Initializer value;
    Assignment* next;
};

/// A declaration or pragma at the top of the text. The fields that its kind does not have are
/// empty. Its parts live until it is released (NodeArena).
struct Declaration {
    enum Kind : uint8_t { PRAGMA, QUALIFIER_TYPE, CLASS, INSTANCE };
    Kind kind;
    Text name;  ///< of the pragma, qualifier type or class; an instance's class
    List<Qualifier> qualifiers;
    Text alias;  ///< with its "$"
    Text superClass;
    List<Feature> features;
    List<Assignment> assignments;
    TypeName type;  ///< the fields from here are of a qualifier type, `value` also of a pragma
    ArraySuffix array;
    Initializer value;
    List<Word> scopes;
    List<Word> flavors;
    NodeArena::Block* block;  ///< holds its parts
    Declaration* next;
};

}  // namespace OpenWBEM::MOF
