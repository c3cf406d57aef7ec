// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/ClassModification.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/Embedding.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/repository/Statement.hpp"

namespace OpenWBEM {

using blocxx::Format;
using blocxx::toLower;

namespace {

/// Whether both may hold the same embedded objects, or none. True when `a` is not a string.
bool holdTheSame(const CIMProperty& a, const CIMProperty& b) {
    const Embedding inA = embeddingOf(a.getQualifiers());
    const Embedding inB = embeddingOf(b.getQualifiers());
    return a.getDataType().getType() != CIMDataType::STRING ||
           (inA.kind == inB.kind && blocxx::equalsIgnoreCase(inA.className, inB.className));
}

}  // namespace

CIMClass ClassModification::deriveModified(const CIMClass& declared, int64_t& superId) {
    std::optional<StoredClass> super;
    if (!declared.getSuperClass().empty()) {
        super = m_store.classes.find(m_ns, declared.getSuperClass());
        if (!super) {
            OPENWBEM_THROW_CIM(INVALID_SUPERCLASS,
                               Format("the superclass %1 of class %2 does not "
                                      "exist",
                                      declared.getSuperClass(), declared.getName()));
        }
    }
    superId = super ? super->id : 0;
    return m_store.classes.derive(declared, super ? &super->cls : nullptr,
                                  m_store.qualifiers.lookup(m_ns));
}

Array<ClassModification::Change> ClassModification::derivedChanges(const StoredClass& old,
                                                                   const CIMClass& after) {
    Array<Change> changes;
    changes.push_back({old.id, old.cls, after, m_store.instances.hasInstances(old.id)});
    std::unordered_map<String, CIMClass> derived{{toLower(after.getName()), after}};
    const QualifierTypeLookup lookup = m_store.qualifiers.lookup(m_ns);
    Array<ClassName> below = m_store.classes.descendants(m_ns, {old.id, old.cls.getName()});
    below.erase(below.begin());
    for (const ClassName& name : below) {
        const StoredClass child =
            m_store.classes.require(m_ns, name.spelling, CIMException::FAILED);
        const auto super = derived.find(toLower(child.cls.getSuperClass()));
        if (super == derived.end()) {
            OPENWBEM_THROW_CIM(FAILED,
                               Format("the repository holds the class %1 below a class that is not "
                                      "its superclass; put a backup of the repository back",
                                      name.spelling));
        }
        try {
            const CIMClass now = deriveClass(child.cls, &super->second, lookup, NullDefaults::KEEP);
            derived.emplace(toLower(name.spelling), now);
            changes.push_back({child.id, child.cls, now, m_store.instances.hasInstances(child.id)});
        } catch (const ClassDerivationException& e) {
            OPENWBEM_THROW_CIM(CLASS_HAS_CHILDREN,
                               Format("the change would make the subclass %1 invalid: %2",
                                      name.spelling, e.getMessage()));
        }
    }
    return changes;
}

void ClassModification::checkInstances(const Change& change) {
    const auto refuse = [&](std::string_view what, const String& name) {
        OPENWBEM_THROW_CIM(CLASS_HAS_INSTANCES,
                           Format("the change would make instances of class %1 invalid: %2 \"%3\"",
                                  change.before.getName(), what, name));
    };
    for (const CIMProperty& property : change.before.getProperties()) {
        const CIMProperty* now = change.after.getProperty(property.getName());
        if (now == nullptr) {
            refuse("they have the property", property.getName());
        } else if (!(now->getDataType() == property.getDataType())) {
            refuse("another type of the property", property.getName());
        } else if (now->isKey() != property.isKey()) {
            refuse("another key property", property.getName());
        } else if (!holdTheSame(*now, property)) {
            refuse("another kind of object embedded in the property", property.getName());
        }
    }
    for (const CIMProperty& property : change.after.getProperties()) {
        if (property.isKey() && change.before.getProperty(property.getName()) == nullptr) {
            refuse("another key property", property.getName());
        }
    }
    if (change.after.isAbstract() ||
        change.after.isAssociation() != change.before.isAssociation()) {
        refuse("another kind of class", change.after.getName());
    }
}

void ClassModification::checkEmbedded(const Array<Change>& changes) {
    EmbeddedObjects::Change embedded;
    for (const Change& change : changes) {
        embedded.classes.emplace(toLower(change.after.getName()), change.after);
    }
    if (const String invalid = m_store.embedded.findInvalid(m_ns, embedded); !invalid.empty()) {
        OPENWBEM_THROW_CIM(CLASS_HAS_INSTANCES,
                           Format("the change would make invalid %1", invalid));
    }
}

void ClassModification::completeInstances(const Change& change) {
    m_store.instances.forEach(change.id, [&](int64_t id, const CIMInstance& instance) {
        m_store.instances.update(m_ns, id, completeInstance(instance, change.after));
    });
}

void ClassModification::apply(const CIMClass& declared) {
    const StoredClass old =
        m_store.classes.require(m_ns, declared.getName(), CIMException::NOT_FOUND);
    int64_t superId = 0;
    const CIMClass after = deriveModified(declared, superId);
    if (superId != old.super) {
        if (m_store.classes.hasChildren(m_ns, old.id)) {
            OPENWBEM_THROW_CIM(CLASS_HAS_CHILDREN, Format("the superclass of %1 cannot change: "
                                                          "it has subclasses",
                                                          declared.getName()));
        }
        if (m_store.instances.hasInstances(old.id)) {
            OPENWBEM_THROW_CIM(CLASS_HAS_INSTANCES, Format("the superclass of %1 cannot change: "
                                                           "it has instances",
                                                           declared.getName()));
        }
        if (m_store.classes.isA(superId, old.id)) {
            OPENWBEM_THROW_CIM(INVALID_SUPERCLASS, Format("the class %1 cannot be its own "
                                                          "superclass",
                                                          declared.getName()));
        }
    }
    const Array<Change> changes = derivedChanges(old, after);
    for (const Change& change : changes) {
        if (change.hasInstances) {
            checkInstances(change);
        }
    }
    checkEmbedded(changes);
    m_store.classes.replace(m_ns, old.id, after, superId);
    m_store.embedded.noteClass(m_ns, after);
    for (const Change& change : changes) {
        if (change.hasInstances &&
            change.after.getProperties().size() != change.before.getProperties().size()) {
            completeInstances(change);
        }
    }
}

}  // namespace OpenWBEM
