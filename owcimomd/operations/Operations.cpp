// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/Operations.hpp"

#include <chrono>

#include "blocxx/Format.hpp"
#include "openwbem/model/ObjectStoring.hpp"
#include "openwbem/wire/RpcLimits.hpp"
#include "owcimomd/operations/Arguments.hpp"

namespace OwCimomd {

namespace {

using Clock = std::chrono::steady_clock;

/// A call that stores ends after this time, so that other clients are served.
constexpr std::chrono::milliseconds STORING_TIME{20};

capnp::Data::Reader bytesOf(const String& text) {
    return {reinterpret_cast<const capnp::byte*>(text.data()), text.size()};
}

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
const OperationTraits& traitsOf(wire::Request::Reader request, bool isEnumeration) {
    const OperationTraits* traits = findTraits(static_cast<uint16_t>(request.getOperation()));
    if (traits == nullptr) {
        OPENWBEM_THROW_CIM(NOT_SUPPORTED, "this owcimomd does not know the operation");
    }
    if ((traits->effect == OperationTraits::Effect::ENUMERATES) != isEnumeration) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, isEnumeration ? "the operation is not an enumeration"
                                                            : "the operation is an enumeration");
    }
    return *traits;
}

const char* nameOf(wire::Operation operation) {
    const OperationTraits* traits = findTraits(static_cast<uint16_t>(operation));
    return traits == nullptr ? "unknown" : traits->name;
}

Right rightFor(const OperationTraits& traits) {
    const bool isChange = traits.effect == OperationTraits::Effect::CHANGES;
    if (traits.subject == OperationTraits::Subject::INSTANCES) {
        return isChange ? Right::WRITE_INSTANCES : Right::READ_INSTANCES;
    }
    return isChange ? Right::WRITE_CLASSES : Right::READ_CLASSES;
}

String encoded(const OperationResult& result) {
    return std::visit(
        []<class T>(const T& object) {
            if constexpr (std::is_same_v<T, std::monostate>) {
                return String();
            } else {
                return Codec::encodeView(object);
            }
        },
        result);
}

}  // namespace

Operations::Operations(ServedRepository& repository, std::set<String> allowedUsers)
    : m_repository(repository),
      m_handle(repository.handle()),
      m_namespaces(m_handle),
      m_access(m_handle, std::move(allowedUsers)),
      m_audit(m_access) {
    repository.setMayRead([this](const String& ns) {
        return m_user == nullptr || m_access.has(*m_user, ns, Right::READ_INSTANCES);
    });
}

OperationResult Operations::carryOut(const OperationCall& call) {
    return NamespaceInstances::serves(call) ? m_namespaces.carryOut(call) : m_handle.carryOut(call);
}

void Operations::require(Deed& deed, const String& ns, Right right) {
    deed.ns = ns;
    m_access.require(deed.user, ns, right);
}

String Operations::carryOut(const User& user, wire::Request::Reader request) {
    Deed deed{user, nameOf(request.getOperation())};
    return m_audit.watch(deed, [&] { return carryOut(deed, request); });
}

// The commit is the commit point: the answer is sent after it, and what fails before leaves
// nothing.
String Operations::carryOut(Deed& deed, wire::Request::Reader request) {
    m_access.requireConnect(deed.user);
    const OperationTraits& traits = traitsOf(request, false);
    deed.isChange = traits.effect == OperationTraits::Effect::CHANGES;
    require(deed, nameOf(request.getNameSpace()), rightFor(traits));
    const Arguments arguments(traits, request);
    const ScopedValue current(m_user, &deed.user);
    if (!deed.isChange) {
        return encoded(carryOut(arguments.call()));
    }
    deed.object = objectOf(arguments.call());
    m_access.noteChange(arguments.call().ns);
    const OperationResult result = carryOut(arguments.call());
    if (const auto* created = std::get_if<CIMObjectPath>(&result)) {
        deed.object = created->modelPath();
    }
    String answer = encoded(result);
    m_handle.commit();
    m_audit.done(deed);
    return answer;
}

void Operations::requireForStoring(const User& user, const String& ns,
                                   wire::Storing::Reader storing) {
    const unsigned classes = storing.getQualifierTypes().size() + storing.getClasses().size();
    const unsigned instances = storing.getInstances().size();
    if (classes > RpcLimits::MAX_OBJECTS || instances > RpcLimits::MAX_OBJECTS - classes) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("there are more than %1 objects in the request",
                                          RpcLimits::MAX_OBJECTS));
    }
    if (classes > 0) {
        m_access.require(user, ns, Right::WRITE_CLASSES);
    }
    if (instances > 0 || classes == 0) {
        m_access.require(user, ns, Right::WRITE_INSTANCES);
    }
}

size_t Operations::storeSome(Deed& deed, wire::Storing::Reader storing) {
    const String& ns = deed.ns;
    const auto end = Clock::now() + STORING_TIME;
    size_t index = 0;
    const auto each = [&](auto objects, auto decode, auto store) {
        for (const auto object : objects) {
            if (index > 0 && Clock::now() >= end) {
                return;
            }
            try {
                const auto decoded = Codec::operand([&] { return decode(bytesOf(object)); });
                if (index == 0) {
                    deed.object = objectOf({Operation::CREATE_INSTANCE, ns, &decoded});
                }
                store(decoded, object);
            } catch (const CIMException& e) {
                throw ObjectStoringException(index, e);
            }
            ++index;
        }
    };
    each(storing.getQualifierTypes(), Codec::decodeQualifierTypeArgument,
         [&](const CIMQualifierType& object, auto) { storeQualifierType(m_handle, ns, object); });
    each(storing.getClasses(), Codec::decodeClassArgument,
         [&](const CIMClass& object, capnp::Data::Reader received) {
             storeClass(m_handle, ns, object, [&](const CIMClass& existing) {
                 return received == bytesOf(Codec::encode(existing));
             });
         });
    each(storing.getInstances(), Codec::decodeInstanceArgument,
         [&](const CIMInstance& object, auto) {
             const OperationCall call{Operation::CREATE_INSTANCE, ns, &object};
             if (NamespaceInstances::serves(call)) {
                 m_namespaces.carryOut(call);
             } else {
                 storeInstance(m_handle, ns, object);
             }
         });
    return index;
}

size_t Operations::store(const User& user, wire::Storing::Reader storing) {
    Deed deed{user, "store", true};
    return m_audit.watch(deed, [&] { return store(deed, storing); });
}

size_t Operations::store(Deed& deed, wire::Storing::Reader storing) {
    m_access.requireConnect(deed.user);
    deed.ns = nameOf(storing.getNameSpace());
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

PermittedEnumeration Operations::open(const User& user, wire::Request::Reader request) {
    Deed deed{user, nameOf(request.getOperation())};
    return m_audit.watch(deed, [&] { return open(deed, request); });
}

PermittedEnumeration Operations::open(Deed& deed, wire::Request::Reader request) {
    m_access.requireConnect(deed.user);
    const OperationTraits& traits = traitsOf(request, true);
    Array<NeededRight> needed{{nameOf(request.getNameSpace()), rightFor(traits)}};
    require(deed, needed[0].ns, needed[0].right);
    const Arguments arguments(traits, request);
    const OperationCall& call = arguments.call();
    // The object whose associations are followed may be in another namespace.
    if (followsAssociations(traits) && traits.subject == OperationTraits::Subject::INSTANCES) {
        const String ns = call.as<CIMObjectPath>().getNameSpace();
        if (!ns.empty()) {
            require(deed, ns, Right::READ_INSTANCES);
            needed.push_back({ns, Right::READ_INSTANCES});
        }
    }
    const ScopedValue current(m_user, &deed.user);
    return {NamespaceInstances::serves(call) ? m_namespaces.open(call) : m_handle.open(call),
            std::move(needed), deed.operation};
}

bool Operations::next(const User& user, PermittedEnumeration& enumeration, StringArray& portion) {
    Deed deed{user, enumeration.operation};
    m_audit.watch(deed, [&] {
        for (const NeededRight& needed : enumeration.neededRights) {
            require(deed, needed.ns, needed.right);
        }
    });
    const ScopedValue current(m_user, &user);
    return std::visit(
        [&]<class T>(EnumerationPtr<T>& results) {
            auto append = makeResultHandler<T>(
                [&](const T& object) { portion.push_back(Codec::encodeView(object)); });
            return results->next(append);
        },
        enumeration.results);
}

void Operations::sync(const User& user) {
    m_audit.watch({user, "sync"}, [&] { m_access.requireConnect(user); });
    m_repository.sync();
}

}  // namespace OwCimomd
