// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/ClassBuilder.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"

namespace OpenWBEM::MOF {

using blocxx::equalsIgnoreCase;
using blocxx::Format;

namespace {

// Every class holds what it inherits, so a short text with many features above many classes could
// exhaust the memory. This is some fifty times what the largest published schema needs.
constexpr size_t MOST_FEATURES = 4'000'000;
// Longer qualifiers are texts for people, which do not repeat.
constexpr size_t LONGEST_REPEATED = 64;

/// The place in the text that the exception is about.
const char* findPlace(const Declaration& declaration, const ClassDerivationException& e) {
    const auto named = [](const auto& list, const String& name) -> decltype(list.first) {
        for (auto& node : list) {
            if (!name.empty() && equalsIgnoreCase(node.name.view(), name)) {
                return &node;
            }
        }
        return nullptr;
    };
    const char* place = declaration.name.data;
    const List<Qualifier>* qualifiers = &declaration.qualifiers;
    // The last feature of that name: when it is declared twice, the second is at fault.
    for (const Feature& feature : declaration.features) {
        if (!e.feature().empty() && equalsIgnoreCase(feature.name.view(), e.feature())) {
            place = feature.name.data;
            qualifiers = &feature.qualifiers;
            if (const Parameter* parameter = named(feature.parameters, e.parameter())) {
                place = parameter->name.data;
                qualifiers = &parameter->qualifiers;
            }
        }
    }
    const Qualifier* qualifier = named(*qualifiers, e.qualifier());
    return qualifier != nullptr ? qualifier->name.data : place;
}

[[noreturn]] void failCircle(const Declaration& declaration) {
    throw CompileError{declaration.name.data, String(Format("the class \"%1\" inherits from itself",
                                                            declaration.name.view()))};
}

/// Whether the feature's own qualifiers make it a key. An inherited key does not need them.
bool isDeclaredKey(const Feature& feature) {
    for (const Qualifier& qualifier : feature.qualifiers) {
        if (equalsIgnoreCase(qualifier.name.view(), "Key")) {
            return qualifier.value.form == Initializer::NONE ||
                   (qualifier.value.first != nullptr &&
                    qualifier.value.first->kind == Literal::TRUE_VALUE);
        }
    }
    return false;
}

/// Replaces inherited defaults by null where the text says NULL.
void applyNullDefaults(CIMClass& derived, const Declaration& declaration) {
    Array<std::string_view> names;
    for (const Feature& feature : declaration.features) {
        if (feature.value.form == Initializer::SCALAR &&
            feature.value.first->kind == Literal::NULL_VALUE) {
            names.push_back(feature.name.view());
        }
    }
    if (names.empty()) {
        return;
    }
    CIMPropertyArray properties = derived.getProperties();
    const NameIndex<CIMProperty> index(properties);
    for (const std::string_view name : names) {
        if (const auto place = index.find(name)) {
            properties[*place].setValue(CIMValue());
        }
    }
    derived.setProperties(std::move(properties));
}

/// The length of the qualifier's text, or 0 when it is not likely to be repeated.
size_t repeatableLength(const Qualifier& qualifier) {
    const char* end = qualifier.name.end();
    if (qualifier.value.form == Initializer::ARRAY) {
        return 0;
    }
    if (qualifier.value.form == Initializer::SCALAR) {
        end = qualifier.value.first->end();
    }
    if (!qualifier.flavors.empty()) {
        end = qualifier.flavors.last->text.end();
    }
    const auto length = static_cast<size_t>(end - qualifier.name.data);
    return length <= LONGEST_REPEATED ? length : 0;
}

size_t featureCount(const CIMClass& cls) {
    return cls.getProperties().size() + cls.getMethods().size();
}

template <class Node>
size_t countOf(const List<Node>& list) {
    size_t count = 0;
    for (const Node* node = list.first; node != nullptr; node = node->next) {
        ++count;
    }
    return count;
}

}  // namespace

ClassBuilder::ClassBuilder(Scope& scope, ObjectResolver& objects)
    : m_scope(scope),
      m_objects(objects),
      m_lookup([this](std::string_view name) { return m_scope.findQualifierType(name); }) {}

ClassEntry* ClassBuilder::find(std::string_view name) {
    ClassEntry* const wanted = m_scope.findClass(name);
    if (wanted != nullptr) {
        require(*wanted);
    }
    return wanted;
}

void ClassBuilder::require(ClassEntry& wanted) {
    // The classes that have to be built, each followed by its superclass.
    Array<ClassEntry*> chain;
    for (ClassEntry* entry = &wanted; entry != nullptr && entry->state != ClassEntry::BUILT;
         entry = entry->super) {
        const Declaration& declaration = *entry->declaration;
        if (entry->state == ClassEntry::BEING_BUILT) {
            if (std::find(chain.begin(), chain.end(), entry) != chain.end()) {
                failCircle(declaration);
            }
            throw CompileError{declaration.name.data,
                               String(Format("the class \"%1\" needs itself for a default value",
                                             declaration.name.view()))};
        }
        entry->state = ClassEntry::BEING_BUILT;
        chain.push_back(entry);
        if (!declaration.superClass.empty()) {
            entry->super = m_scope.findClass(declaration.superClass.view());
            if (entry->super == nullptr) {
                throw CompileError{
                    declaration.superClass.data,
                    String(Format("unknown superclass \"%1\"", declaration.superClass.view()))};
            }
        }
    }
    for (size_t i = chain.size(); i > 0; --i) {
        ClassEntry& entry = *chain[i - 1];
        build(entry);
        countFeatures(entry.cls, *entry.declaration);
        m_built.push_back(&entry);
    }
}

void ClassBuilder::build(ClassEntry& entry) {
    const CIMClass* superClass = entry.super != nullptr ? &entry.super->cls : nullptr;
    entry.cls = derive(*entry.declaration, superClass);
    entry.state = ClassEntry::BUILT;
    NodeArena::release(*entry.declaration);
}

void ClassBuilder::countFeatures(const CIMClass& cls, const Declaration& declaration) {
    m_featureCount += featureCount(cls);
    if (m_featureCount > MOST_FEATURES) {
        throw CompileError{declaration.name.data,
                           String(Format("the classes have more than %1 features together, those "
                                         "inherited included",
                                         MOST_FEATURES))};
    }
}

CIMClass ClassBuilder::buildUnnamed(const Declaration& declaration) {
    ClassEntry* super = nullptr;
    if (!declaration.superClass.empty()) {
        super = find(declaration.superClass.view());
        if (super == nullptr) {
            throw CompileError{
                declaration.superClass.data,
                String(Format("unknown superclass \"%1\"", declaration.superClass.view()))};
        }
    }
    return derive(declaration, super != nullptr ? &super->cls : nullptr);
}

/// The superclass, built or not; null when there is none or it is unknown.
ClassEntry* ClassBuilder::superOf(const ClassEntry& entry) {
    const std::string_view name = entry.declaration != nullptr
                                      ? entry.declaration->superClass.view()
                                      : std::string_view(entry.cls.getSuperClass());
    return name.empty() ? nullptr : m_scope.findClass(name);
}

bool ClassBuilder::isWithin(std::string_view name, std::string_view className) {
    ClassEntry* entry = m_scope.findClass(name);
    // The handle's classes may inherit from classes that the text declares anew, so there may be a
    // cycle. The mark finds it, as in Brent's algorithm.
    size_t steps = 0;
    size_t nextMark = 1;
    const ClassEntry* mark = nullptr;
    while (entry != nullptr && entry != mark) {
        const bool isDeclared = entry->declaration != nullptr;
        const std::string_view known =
            isDeclared ? entry->declaration->name.view() : std::string_view(entry->cls.getName());
        if (equalsIgnoreCase(known, className)) {
            return true;
        }
        if (isDeclared ? entry->declaration->superClass.empty()
                       : entry->cls.getSuperClass().empty()) {
            return false;
        }
        if (++steps == nextMark) {
            mark = entry;
            nextMark *= 2;
        }
        entry = superOf(*entry);
    }
    return entry == nullptr;
}

const CIMClass* ClassBuilder::outline(std::string_view name) {
    // The classes whose outlines have to be made, each followed by its superclass.
    Array<ClassEntry*> chain;
    const CIMClass* known = nullptr;
    for (ClassEntry* entry = m_scope.findClass(name); entry != nullptr && known == nullptr;
         entry = superOf(*entry)) {
        if (entry->state == ClassEntry::BUILT) {
            known = &entry->cls;
        } else if (entry->outline) {
            known = &*entry->outline;
        } else if (chain.size() == m_scope.classes().size()) {
            failCircle(*entry->declaration);
        } else {
            chain.push_back(entry);
        }
    }
    for (size_t i = chain.size(); i > 0; --i) {
        ClassEntry& entry = *chain[i - 1];
        entry.outline = makeOutline(*entry.declaration, known);
        known = &*entry.outline;
    }
    return known;
}

CIMClass ClassBuilder::makeOutline(const Declaration& declaration, const CIMClass* superClass) {
    CIMClass outline(String(declaration.name.view()), String(declaration.superClass.view()));
    const CIMPropertyArray inherited =
        superClass != nullptr ? superClass->getKeys() : CIMPropertyArray();
    const NameIndex<CIMProperty> inheritedIndex(inherited);
    CIMPropertyArray keys = inherited;
    for (const Feature& feature : declaration.features) {
        if (!feature.isMethod && isDeclaredKey(feature) &&
            !inheritedIndex.find(feature.name.view())) {
            keys.emplace_back(String(feature.name.view()), makeType(feature.type, feature.array));
            keys.back().setKey(true);
        }
    }
    outline.setProperties(std::move(keys));
    countFeatures(outline, declaration);
    return outline;
}

CIMClass ClassBuilder::derive(const Declaration& declaration, const CIMClass* superClass) {
    const CIMClass declared = declaredClass(declaration, superClass);
    try {
        CIMClass derived = deriveClass(declared, superClass, m_lookup, NullDefaults::INHERIT);
        if (superClass != nullptr) {
            applyNullDefaults(derived, declaration);
        }
        return derived;
    } catch (const ClassDerivationException& e) {
        throw CompileError{findPlace(declaration, e), e.getMessage()};
    }
}

CIMClass ClassBuilder::declaredClass(const Declaration& declaration, const CIMClass* superClass) {
    CIMClass cls(String(declaration.name.view()),
                 superClass != nullptr ? superClass->getName() : String());
    CIMPropertyArray properties;
    CIMMethodArray methods;
    properties.reserve(countOf(declaration.features));
    // Most features originate in this class. Setting that before they are shared saves a copy.
    for (const Feature& feature : declaration.features) {
        if (feature.isMethod) {
            methods.push_back(buildMethod(feature));
            methods.back().setClassOrigin(cls.getName());
        } else {
            properties.push_back(buildProperty(feature, superClass));
            properties.back().setClassOrigin(cls.getName());
        }
    }
    cls.setQualifiers(buildQualifiers(declaration.qualifiers));
    cls.setProperties(std::move(properties));
    cls.setMethods(std::move(methods));
    return cls;
}

CIMProperty ClassBuilder::buildProperty(const Feature& feature, const CIMClass* superClass) {
    CIMProperty property(String(feature.name.view()), makeType(feature.type, feature.array));
    property.setQualifiers(buildQualifiers(feature.qualifiers));
    if (feature.value.form == Initializer::NONE) {
        return property;
    }
    Embedding embedding;
    if (feature.type.type == CIMDataType::STRING) {
        embedding = embeddingOf(property.getQualifiers());
        if (embedding.kind == Embedding::NOTHING && superClass != nullptr) {
            if (const CIMProperty* above = superClass->getProperty(feature.name.view())) {
                embedding = embeddingOf(above->getQualifiers());
            }
        }
    }
    property.setValue(
        makeValue(feature.value, property.getDataType(), embedding, m_objects, feature.name.data));
    return property;
}

CIMMethod ClassBuilder::buildMethod(const Feature& feature) {
    CIMMethod method(String(feature.name.view()), makeType(feature.type, {}));
    method.setQualifiers(buildQualifiers(feature.qualifiers));
    CIMParameterArray parameters;
    parameters.reserve(countOf(feature.parameters));
    for (const Parameter& declared : feature.parameters) {
        CIMParameter parameter(String(declared.name.view()),
                               makeType(declared.type, declared.array));
        parameter.setQualifiers(buildQualifiers(declared.qualifiers));
        parameters.push_back(std::move(parameter));
    }
    method.setParameters(std::move(parameters));
    return method;
}

CIMQualifierArray ClassBuilder::buildQualifiers(const List<Qualifier>& qualifiers) {
    CIMQualifierArray built;
    built.reserve(countOf(qualifiers));
    for (const Qualifier& qualifier : qualifiers) {
        const size_t length = repeatableLength(qualifier);
        if (length == 0) {
            built.push_back(buildQualifier(qualifier));
            continue;
        }
        const std::string_view text(qualifier.name.data, length);
        auto found = m_repeated.find(text);
        if (found == m_repeated.end()) {
            found = m_repeated.emplace(text, buildQualifier(qualifier)).first;
        }
        built.push_back(found->second);
    }
    return built;
}

}  // namespace OpenWBEM::MOF
