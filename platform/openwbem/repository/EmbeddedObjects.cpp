// SPDX-License-Identifier: Apache-2.0
#include "openwbem/repository/EmbeddedObjects.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "openwbem/repository/StoredForm.hpp"

namespace OpenWBEM {

using blocxx::Format;
using blocxx::toLower;

namespace {

/// How many namespaces are remembered.
constexpr size_t MAX_KNOWN = 8;

bool refersTo(const EmbeddedNames& names, const EmbeddedObjects::Change& change) {
    return std::ranges::any_of(
               change.classes,
               [&](const auto& changed) { return names.classes.contains(changed.first); }) ||
           std::ranges::any_of(change.qualifierTypes, [&](const auto& changed) {
               return names.qualifiers.contains(changed.first);
           });
}

void add(const EmbeddedNames& more, EmbeddedNames& names) {
    names.classes.insert(more.classes.begin(), more.classes.end());
    names.qualifiers.insert(more.qualifiers.begin(), more.qualifiers.end());
}

bool takesEmbedded(const CIMClass& cls) {
    return std::ranges::any_of(cls.getProperties(), [](const CIMProperty& property) {
        return OpenWBEM::takesEmbedded(property);
    });
}

}  // namespace

EmbeddingSchema EmbeddedObjects::schema(int64_t ns, const Change& change) {
    return {[this, ns, &change](const String& name) -> std::optional<CIMClass> {
                if (const auto changed = change.classes.find(toLower(name));
                    changed != change.classes.end()) {
                    return changed->second;
                }
                const auto found = m_classes.find(ns, name);
                return found ? std::optional(found->cls) : std::nullopt;
            },
            [&change, now = m_qualifiers.lookup(ns)](std::string_view name) {
                const auto changed = change.qualifierTypes.find(toLower(name));
                if (changed == change.qualifierTypes.end()) {
                    return now(name);
                }
                return changed->second ? &*changed->second : nullptr;
            }};
}

EmbeddedNames EmbeddedObjects::namesIn(const CIMPropertyArray& properties) {
    EmbeddedNames names;
    for (const CIMProperty& property : properties) {
        collectEmbeddedNames(property.getValue(), names);
    }
    return names;
}

void EmbeddedObjects::forEachHolder(int64_t ns, const Visit& visit) {
    std::map<int64_t, String> classes;
    for (const char* qualifier : {"EmbeddedInstance", "EmbeddedObject"}) {
        for (const String& name : m_classes.findQualifierUsers(ns, qualifier)) {
            const StoredClass user = m_classes.require(ns, name, CIMException::FAILED);
            for (const ClassName& below :
                 m_classes.descendants(ns, {user.id, user.cls.getName()})) {
                classes.emplace(below.id, below.spelling);
            }
        }
    }
    for (const auto& [id, name] : classes) {
        const StoredClass stored = m_classes.require(ns, name, CIMException::FAILED);
        if (takesEmbedded(stored.cls)) {
            visit({"class " + name, stored.cls.getProperties(), stored.cls});
            forEachInstance(stored, visit);
        }
    }
}

void EmbeddedObjects::forEachInstance(const StoredClass& stored, const Visit& visit) {
    m_instances.forEach(stored.id, [&](int64_t /*id*/, const CIMInstance& instance) {
        visit({"instance " + CIMObjectPath(String(), instance).modelPath(),
               instance.getProperties(), stored.cls});
    });
}

const EmbeddedNames& EmbeddedObjects::names(int64_t ns) {
    if (const auto known = m_known.find(ns); known != m_known.end()) {
        return known->second;
    }
    if (m_known.size() >= MAX_KNOWN) {
        m_known.clear();
    }
    EmbeddedNames names;
    forEachHolder(ns, [&](const Holder& holder) { add(namesIn(holder.properties), names); });
    return m_known.emplace(ns, std::move(names)).first->second;
}

String EmbeddedObjects::findInvalid(int64_t ns, const Change& change) {
    if (!refersTo(names(ns), change)) {
        return {};
    }
    String invalid;
    EmbeddedNames exact;
    const EmbeddingSchema after = schema(ns, change);
    forEachHolder(ns, [&](const Holder& holder) {
        const auto changed = change.classes.find(toLower(holder.cls.getName()));
        if (changed != change.classes.end() && !changed->second) {
            return;  // the class is being removed
        }
        for (const CIMProperty& property : holder.properties) {
            EmbeddedNames own;
            collectEmbeddedNames(property.getValue(), own);
            add(own, exact);
            const CIMProperty* declared = holder.cls.getProperty(property.getName());
            if (!invalid.empty() || declared == nullptr || !refersTo(own, change)) {
                continue;
            }
            try {
                completeEmbedded(*declared, property.getValue(), after);
            } catch (const CIMException& e) {
                invalid = Format("the object embedded in property \"%1\" of %2: %3",
                                 property.getName(), holder.name, e.getMessage());
            }
        }
    });
    m_known[ns] = std::move(exact);
    return invalid;
}

CIMInstance EmbeddedObjects::completeStored(int64_t ns, CIMInstance instance, const CIMClass& cls) {
    static const Change NONE;
    CIMPropertyArray completed;  // empty while no embedded object has been found
    for (size_t i = 0; i < instance.getProperties().size(); ++i) {
        const CIMProperty& property = instance.getProperties()[i];
        const CIMProperty* declared =
            property.getValue().isNull() ? nullptr : cls.getProperty(property.getName());
        if (declared == nullptr ||
            (!holdsObjects(property.getValue()) && !OpenWBEM::takesEmbedded(*declared))) {
            continue;
        }
        try {
            CIMValue value = completeEmbedded(*declared, property.getValue(), schema(ns, NONE));
            if (completed.empty()) {
                completed = instance.getProperties();
            }
            completed[i].setValue(std::move(value));
        } catch (const CIMException& e) {
            throw CIMException(
                __FILE__, __LINE__, e.getErrNo(),
                Format("the object embedded in property \"%1\" of an instance of %2: %3",
                       property.getName(), cls.getName(), e.getMessage()));
        }
    }
    if (!completed.empty()) {
        instance.setProperties(std::move(completed));
    }
    if (const auto known = m_known.find(ns); known != m_known.end()) {
        add(namesIn(instance.getProperties()), known->second);
    }
    return instance;
}

void EmbeddedObjects::noteClass(int64_t ns, const CIMClass& cls) {
    // Its instances may get the objects embedded in its defaults.
    if (const auto known = m_known.find(ns); known != m_known.end()) {
        add(namesIn(cls.getProperties()), known->second);
    }
}

}  // namespace OpenWBEM
