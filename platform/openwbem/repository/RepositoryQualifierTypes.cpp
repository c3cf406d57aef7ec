// SPDX-License-Identifier: Apache-2.0
//
// The operations on qualifier types (DSP0200 5.3.2.25 to 5.3.2.28). A type that classes use may be
// changed only so that each class stays what it is, and not be deleted.
#include "blocxx/Format.hpp"
#include "openwbem/model/Identifier.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/repository/RepositoryOperations.hpp"

namespace OpenWBEM::RepositoryOperations {

using blocxx::Format;

namespace {

void checkQualifierType(const CIMQualifierType& type) {
    if (!isIdentifier(type.getName())) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           Format("\"%1\" is not a name for a qualifier type", type.getName()));
    }
    const CIMDataType& dataType = type.getDataType();
    if (!dataType || dataType.isReference() || dataType.getType() > CIMDataType::DATETIME) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("a qualifier type cannot be of the type of "
                                                     "\"%1\"",
                                                     type.getName()));
    }
    if (!canHold(dataType, type.getDefaultValue())) {
        OPENWBEM_THROW_CIM(TYPE_MISMATCH, Format("the default value of qualifier type \"%1\" is "
                                                 "not of its type",
                                                 type.getName()));
    }
}

/// Whether all classes of the namespace are the same with the new type as with the old one.
bool leavesClassesAsTheyAre(RepositoryStore& store, int64_t ns, const CIMQualifierType& type) {
    const QualifierTypeLookup before = store.qualifiers.lookup(ns);
    const QualifierTypeLookup after = [&](std::string_view name) {
        return blocxx::equalsIgnoreCase(name, type.getName()) ? &type : before(name);
    };
    std::unordered_map<String, CIMClass> derived;
    for (const ClassName& name : store.classes.descendants(ns, {0, String()})) {
        const CIMClass old = store.classes.require(ns, name.spelling, CIMException::FAILED).cls;
        const auto super = derived.find(blocxx::toLower(old.getSuperClass()));
        try {
            const CIMClass now = deriveClass(old, super == derived.end() ? nullptr : &super->second,
                                             after, NullDefaults::KEEP);
            if (!(now == old)) {
                return false;
            }
            derived.emplace(blocxx::toLower(name.spelling), now);
        } catch (const ClassDerivationException&) {
            return false;
        }
    }
    return true;
}

[[noreturn]] void refuseInUse(std::string_view attempt, const String& name, const String& user) {
    OPENWBEM_THROW_CIM(FAILED, Format("the qualifier type \"%1\" cannot be %2: class %3 uses it",
                                      name, attempt, user));
}

/// Throws when an object embedded somewhere would not be valid with the type changed so; empty: it
/// is deleted.
void checkEmbedded(RepositoryStore& store, int64_t ns, std::string_view attempt, const String& name,
                   const std::optional<CIMQualifierType>& type) {
    EmbeddedObjects::Change change;
    change.qualifierTypes.emplace(blocxx::toLower(name), type);
    if (const String invalid = store.embedded.findInvalid(ns, change); !invalid.empty()) {
        OPENWBEM_THROW_CIM(
            FAILED, Format("the qualifier type \"%1\" cannot be %2: it is needed for %3", name,
                           attempt, invalid));
    }
}

/// Whether classes that use the type of that name, when there is one, may have this one instead.
void checkReplacement(RepositoryStore& store, int64_t ns, const CIMQualifierType& type) {
    const auto types = store.qualifiers.types(ns);
    const CIMQualifierType* old = types->find(type.getName());
    if (old == nullptr || *old == type) {
        return;
    }
    const String user = store.classes.findQualifierUser(ns, type.getName());
    if (!user.empty() && !leavesClassesAsTheyAre(store, ns, type)) {
        refuseInUse("replaced by that one", type.getName(), user);
    }
    checkEmbedded(store, ns, "replaced by that one", type.getName(), type);
}

}  // namespace

CIMQualifierType getQualifierType(RepositoryStore& store, const OperationCall& call) {
    const String& name = call.as<String>();
    const auto types = store.qualifiers.types(store.namespaces.require(call.ns).id);
    const CIMQualifierType* type = types->find(name);
    if (type == nullptr) {
        OPENWBEM_THROW_CIM(NOT_FOUND, Format("there is no qualifier type \"%1\"", name));
    }
    return *type;
}

void setQualifierType(RepositoryStore& store, const OperationCall& call) {
    const CIMQualifierType& qualifierType = call.as<CIMQualifierType>();
    const int64_t nsId = store.namespaces.require(call.ns).id;
    checkQualifierType(qualifierType);
    checkReplacement(store, nsId, qualifierType);
    store.qualifiers.put(nsId, qualifierType);
}

void deleteQualifierType(RepositoryStore& store, const OperationCall& call) {
    const String& name = call.as<String>();
    const int64_t nsId = store.namespaces.require(call.ns).id;
    if (store.qualifiers.types(nsId)->find(name) == nullptr) {
        OPENWBEM_THROW_CIM(NOT_FOUND, Format("there is no qualifier type \"%1\"", name));
    }
    if (const String user = store.classes.findQualifierUser(nsId, name); !user.empty()) {
        refuseInUse("deleted", name, user);
    }
    checkEmbedded(store, nsId, "deleted", name, std::nullopt);
    store.qualifiers.remove(nsId, name);
}

}  // namespace OpenWBEM::RepositoryOperations
