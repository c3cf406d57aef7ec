// SPDX-License-Identifier: Apache-2.0
//
// From declarations of qualifier types and classes to the model's objects. Superclasses are built
// on demand, wherever they stand in the text.
#pragma once

#include "openwbem/model/ClassDerivation.hpp"
#include "openwbem/mof/Scope.hpp"
#include "openwbem/mof/Values.hpp"

namespace OpenWBEM::MOF {

CIMQualifierType buildQualifierType(const Declaration& declaration, ObjectResolver& objects);

/// Builds the classes of one namespace. Everything throws CompileError.
class ClassBuilder {
public:
    ClassBuilder(Scope& scope, ObjectResolver& objects);

    /// The class of that name, built; null when nobody knows it.
    ClassEntry* find(std::string_view name);
    /// Builds the class, unless it is built, after what it needs.
    void require(ClassEntry& wanted);
    /// What a reference has to know of the class of that name: its superclass and the types of its
    /// keys; null when nobody knows the class. Builds no class, so that a default value may refer
    /// to the class that it stands in.
    const CIMClass* outline(std::string_view name);
    /// A class that stands on its own, in an embedded object: nothing can refer to it.
    CIMClass buildUnnamed(const Declaration& declaration);
    /// Qualifiers as they stand in the text, for elements of any kind.
    CIMQualifierArray buildQualifiers(const List<Qualifier>& qualifiers);
    /// Whether the class `name` is the class `className` or below it, as far as its superclasses
    /// are known: true where they are not. Neither has to be built.
    bool isWithin(std::string_view name, std::string_view className);

    /// The text's classes that were required, superclasses first.
    const Array<const ClassEntry*>& built() const noexcept { return m_built; }

private:
    void build(ClassEntry& entry);
    ClassEntry* superOf(const ClassEntry& entry);
    CIMClass makeOutline(const Declaration& declaration, const CIMClass* superClass);
    CIMClass derive(const Declaration& declaration, const CIMClass* superClass);
    CIMClass declaredClass(const Declaration& declaration, const CIMClass* superClass);
    CIMProperty buildProperty(const Feature& feature, const CIMClass* superClass);
    CIMMethod buildMethod(const Feature& feature);
    CIMQualifier buildQualifier(const Qualifier& qualifier);
    void countFeatures(const CIMClass& cls, const Declaration& declaration);

    struct TextHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return FoldedHash()(text); }
    };

    Scope& m_scope;
    ObjectResolver& m_objects;
    QualifierTypeLookup m_lookup;
    /// Qualifiers that were met before, by their text: most are the same few.
    std::unordered_map<String, CIMQualifier, TextHash, std::equal_to<>> m_repeated;
    Array<const ClassEntry*> m_built;
    size_t m_featureCount = 0;  ///< of the classes that are built, and of outlines
};

}  // namespace OpenWBEM::MOF
