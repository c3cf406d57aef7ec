// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/Operations.hpp"

#include <algorithm>
#include <chrono>

#include "blocxx/Format.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/ObjectStoring.hpp"

namespace OwCimomd {

namespace {

using Clock = std::chrono::steady_clock;

/// A call that stores ends after this time, so that other clients are served.
constexpr std::chrono::milliseconds STORING_TIME{20};

/// Sets a variable for a scope.
template <class T>
class ScopedValue {
public:
    ScopedValue(T& variable, T value) : m_variable(variable) { variable = value; }
    ~ScopedValue() { m_variable = T(); }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

private:
    T& m_variable;
};

/// Throws CIMException INVALID_PARAMETER unless the operation is an enumeration or not, as wanted.
const OperationTraits& traitsOf(const Request& request, bool isEnumeration) {
    const OperationTraits* traits = request.traits();
    if (traits == nullptr) {
        OPENWBEM_THROW_CIM(NOT_SUPPORTED, "this owcimomd does not know the operation");
    }
    if ((traits->effect == OperationTraits::Effect::ENUMERATES) != isEnumeration) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, isEnumeration ? "the operation is not an enumeration"
                                                            : "the operation is an enumeration");
    }
    return *traits;
}

const char* nameOf(const Request& request) {
    return request.traits() == nullptr ? "unknown" : request.traits()->name;
}

Right rightFor(const OperationTraits& traits) {
    const bool isChange = traits.effect == OperationTraits::Effect::CHANGES;
    if (traits.subject == OperationTraits::Subject::INSTANCES) {
        return isChange ? Right::WRITE_INSTANCES : Right::READ_INSTANCES;
    }
    return isChange ? Right::WRITE_CLASSES : Right::READ_CLASSES;
}

void handOut(const OperationResult& result, const ResultReceiver& receive) {
    std::visit(
        [&]<class T>(const T& object) {
            if constexpr (!std::is_same_v<T, std::monostate>) {
                receive(&object);
            }
        },
        result);
}

}  // namespace

Operations::Operations(ServedRepository& repository, std::set<String> allowedUsers)
    : m_repository(repository),
      m_handle(repository.handle()),
      m_computed(m_handle),
      m_access(m_handle, std::move(allowedUsers)),
      m_audit(m_access) {
    repository.setMayRead([this](const String& ns) {
        return m_user == nullptr || m_access.has(*m_user, ns, Right::READ_INSTANCES);
    });
}

OperationResult Operations::carryOut(const OperationCall& call) {
    return m_computed.serves(call) ? m_computed.carryOut(call) : m_handle.carryOut(call);
}

void Operations::require(Deed& deed, const String& ns, Right right) {
    deed.ns = ns;
    m_access.require(deed.user, ns, right);
}

String Operations::nameSpaceFor(const String& name) {
    constexpr std::string_view USUAL[] = {"interop", "root/interop"};
    const auto isSame = [&](std::string_view other) {
        return blocxx::equalsIgnoreCase(name, other);
    };
    if (std::none_of(std::begin(USUAL), std::end(USUAL), isSame)) {
        return name;
    }
    bool isThere = false;
    auto look =
        makeResultHandler<String>([&](const String& ns) { isThere = isThere || isSame(ns); });
    m_handle.enumNameSpace(look);
    return isThere ? name : Layout::INTEROP_NS;
}

void Operations::carryOut(const User& user, Request& request, const ResultReceiver& receive) {
    Deed deed{user, nameOf(request)};
    m_audit.watch(deed, [&] { carryOut(deed, request, receive); });
}

void Operations::carryOut(Deed& deed, Request& request, const ResultReceiver& receive) {
    m_access.requireConnect(deed.user);
    const OperationTraits& traits = traitsOf(request, false);
    deed.isChange = traits.effect == OperationTraits::Effect::CHANGES;
    require(deed, request.ns(), rightFor(traits));
    const OperationCall call = request.unpack();
    const ScopedValue current(m_user, &deed.user);
    if (deed.isChange) {
        change(deed, call, receive);
    } else {
        handOut(carryOut(call), receive);
    }
}

// The commit is the commit point: the answer is sent after it, and what fails before leaves
// nothing.
void Operations::change(Deed& deed, const OperationCall& call, const ResultReceiver& receive) {
    deed.object = objectOf(call);
    m_access.noteChange(call.ns);
    const OperationResult result = carryOut(call);
    try {
        if (const auto* created = std::get_if<CIMObjectPath>(&result)) {
            deed.object = created->modelPath();
        }
        handOut(result, receive);
    } catch (...) {
        m_repository.rollBack();
        throw;
    }
    m_handle.commit();
    m_audit.done(deed);
}

void Operations::requireForStoring(const User& user, const String& ns, const Storing& storing) {
    storing.check();
    const size_t classes = storing.qualifierTypes() + storing.classes();
    if (classes > 0) {
        m_access.require(user, ns, Right::WRITE_CLASSES);
    }
    if (storing.instances() > 0 || classes == 0) {
        m_access.require(user, ns, Right::WRITE_INSTANCES);
    }
}

size_t Operations::storeSome(Deed& deed, const Storing& storing) {
    const String& ns = deed.ns;
    const auto end = Clock::now() + STORING_TIME;
    size_t index = 0;
    const auto each = [&](size_t count, auto unpack, auto store) {
        for (size_t i = 0; i < count; ++i) {
            if (index > 0 && Clock::now() >= end) {
                return;
            }
            try {
                const auto object = unpack(i);
                if (index == 0) {
                    deed.object = objectOf({Operation::CREATE_INSTANCE, ns, &object});
                }
                store(object, i);
            } catch (const CIMException& e) {
                throw ObjectStoringException(index, e);
            }
            ++index;
        }
    };
    each(
        storing.qualifierTypes(), [&](size_t i) { return storing.qualifierType(i); },
        [&](const CIMQualifierType& object, size_t) { storeQualifierType(m_handle, ns, object); });
    each(
        storing.classes(), [&](size_t i) { return storing.cls(i); },
        [&](const CIMClass& object, size_t i) {
            storeClass(m_handle, ns, object,
                       [&](const CIMClass& existing) { return storing.isSame(i, existing); });
        });
    each(
        storing.instances(), [&](size_t i) { return storing.instance(i); },
        [&](const CIMInstance& object, size_t) {
            const OperationCall call{Operation::CREATE_INSTANCE, ns, &object};
            if (m_computed.serves(call)) {
                m_computed.carryOut(call);
            } else {
                storeInstance(m_handle, ns, object);
            }
        });
    return index;
}

size_t Operations::store(const User& user, const Storing& storing) {
    Deed deed{user, "store", true};
    return m_audit.watch(deed, [&] { return store(deed, storing); });
}

size_t Operations::store(Deed& deed, const Storing& storing) {
    m_access.requireConnect(deed.user);
    deed.ns = storing.ns();
    requireForStoring(deed.user, deed.ns, storing);
    m_access.noteChange(deed.ns);
    const ScopedValue current(m_user, &deed.user);
    try {
        deed.objects = storeSome(deed, storing);
    } catch (...) {
        m_repository.rollBack();
        throw;
    }
    m_handle.commit();
    m_audit.done(deed);
    return deed.objects;
}

PermittedEnumeration Operations::open(const User& user, Request& request) {
    Deed deed{user, nameOf(request)};
    return m_audit.watch(deed, [&] { return open(deed, request); });
}

PermittedEnumeration Operations::open(Deed& deed, Request& request) {
    m_access.requireConnect(deed.user);
    const OperationTraits& traits = traitsOf(request, true);
    Array<NeededRight> needed{{request.ns(), rightFor(traits)}};
    require(deed, needed[0].ns, needed[0].right);
    const OperationCall call = request.unpack();
    // The object whose associations are followed may be in another namespace.
    if (followsAssociations(traits) && traits.subject == OperationTraits::Subject::INSTANCES) {
        const String ns = call.as<CIMObjectPath>().getNameSpace();
        if (!ns.empty()) {
            require(deed, ns, Right::READ_INSTANCES);
            needed.push_back({ns, Right::READ_INSTANCES});
        }
    }
    const ScopedValue current(m_user, &deed.user);
    return {m_computed.serves(call) ? m_computed.open(call) : m_handle.open(call),
            std::move(needed), deed.operation};
}

void Operations::requireStill(const User& user, const PermittedEnumeration& enumeration) {
    Deed deed{user, enumeration.operation};
    m_audit.watch(deed, [&] {
        for (const NeededRight& needed : enumeration.neededRights) {
            require(deed, needed.ns, needed.right);
        }
    });
}

bool Operations::next(const User& user, PermittedEnumeration& enumeration,
                      const ResultReceiver& receive) {
    requireStill(user, enumeration);
    const ScopedValue current(m_user, &user);
    return std::visit(
        [&]<class T>(EnumerationPtr<T>& results) {
            auto handOn = makeResultHandler<T>([&](const T& object) { receive(&object); });
            return results->next(handOn);
        },
        enumeration.results);
}

void Operations::sync(const User& user) {
    m_audit.watch({user, "sync"}, [&] { m_access.requireConnect(user); });
    m_repository.sync();
}

}  // namespace OwCimomd
