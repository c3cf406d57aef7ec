// SPDX-License-Identifier: Apache-2.0
//
// Builds qualifier types and classes from their declarations. Superclasses are built on demand,
// wherever they are in the text.
#pragma once

#include "openwbem/model/ClassDerivation.hpp"
#include "openwbem/mof/Scope.hpp"
#include "openwbem/mof/Values.hpp"

namespace OpenWBEM::MOF {

/// Throws CompileError.
CIMQualifierType buildQualifierType(const Declaration& declaration, ObjectResolver& objects);

/// Builds the classes of one namespace. All functions throw CompileError.
class ClassBuilder {
public:
    ClassBuilder(Scope& scope, ObjectResolver& objects);

    /// Finds and builds the class of that name. Null when it is unknown.
    ClassEntry* find(std::string_view name);
    /// Builds the class and first its superclasses, unless they are built.
    void require(ClassEntry& wanted);
    /// What references need of the class of that name: its superclass and the types of its keys.
    /// Null when it is unknown. Builds no class, so that a default value may refer to the class
    /// that declares it.
    const CIMClass* outline(std::string_view name);
    /// Builds a class that is embedded in a value, which nothing can refer to.
    CIMClass buildUnnamed(const Declaration& declaration);
    /// Builds the qualifiers of an element of any kind.
    CIMQualifierArray buildQualifiers(const List<Qualifier>& qualifiers);
    /// Whether the class `name` is or inherits from `className`. True when a superclass is unknown.
    /// Builds no class.
    bool isWithin(std::string_view name, std::string_view className);

    /// The classes of the text that were built, superclasses first.
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
    /// Qualifiers by their text: most are repetitions of a few.
    std::unordered_map<String, CIMQualifier, TextHash, std::equal_to<>> m_repeated;
    Array<const ClassEntry*> m_built;
    size_t m_featureCount = 0;  ///< of the classes that are built, and of outlines
};

}  // namespace OpenWBEM::MOF
