// SPDX-License-Identifier: Apache-2.0
//
// What the grammar makes of a MOF text: plain nodes in an arena, linked in text order, whose texts are
// views of the source. A node's place in the source is where its text points. Nodes are never freed one
// by one and hold nothing that would have to be.
#pragma once

#include <cstdint>
#include <string_view>

#include "openwbem/model/CIMDataType.hpp"

namespace OpenWBEM::MOF {

/// A piece of the source. A plain struct, since it has to live in the parser's union.
struct Text {
    const char* data;
    uint32_t size;

    std::string_view view() const noexcept { return {data, size}; }
    const char* end() const noexcept { return data + size; }
    bool empty() const noexcept { return size == 0; }
};

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

/// A further literal of a string that is written in pieces, or a word of a list.
struct Word {
    Text text;
    Word* next;
};

/// One constant value; an element of an array.
struct Literal {
    enum Kind : uint8_t { NULL_VALUE, TRUE_VALUE, FALSE_VALUE, INTEGER, REAL, CHAR, STRING, ALIAS };
    Kind kind;
    Text text;         ///< the token, quotes included
    List<Word> more;   ///< the literals that follow a STRING's first one
    Literal* next;
};

/// The value behind "=" or of a qualifier.
struct Initializer {
    enum Form : uint8_t { NONE, SCALAR, ARRAY };
    Form form;
    Text at;            ///< where it begins; of an array its brace
    const char* end;    ///< behind its last token; of an array behind its last element
    List<Literal> values;
};

struct Qualifier {
    Text name;
    Initializer value;
    List<Word> flavors;
    Qualifier* next;
};

/// A declared type: a keyword's, or a reference to a class.
struct TypeName {
    CIMDataType::Type type;
    Text className;
};

/// "[]", "[5]" or nothing.
struct ArraySuffix {
    bool isArray;
    Text size;
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

/// A production at the top of the text. The fields that a kind does not have are empty.
struct Declaration {
    enum Kind : uint8_t { PRAGMA, QUALIFIER_TYPE, CLASS, INSTANCE };
    Kind kind;
    Text name;                     ///< of the pragma, qualifier type or class; an instance's class
    List<Qualifier> qualifiers;
    Text alias;                    ///< with its "$"
    Text superClass;
    List<Feature> features;
    List<Assignment> assignments;
    TypeName type;                 ///< the rest: of a qualifier type, `value` also of a pragma
    ArraySuffix array;
    Initializer value;
    List<Word> scopes;
    List<Word> flavors;
    Declaration* next;
};

}  // namespace OpenWBEM::MOF
