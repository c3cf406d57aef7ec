// SPDX-License-Identifier: Apache-2.0
//
// The table of operations, and those that have at most one result. The enumerations are in
// Enumerations.cpp.
#include "owcimomd/operations/Operations.hpp"

#include <chrono>

#include "blocxx/Format.hpp"
#include "openwbem/model/ObjectStoring.hpp"
#include "openwbem/wire/RpcLimits.hpp"
#include "owcimomd/operations/Arguments.hpp"

namespace OwCimomd {

using wire::Operation;

namespace {

using Clock = std::chrono::steady_clock;

/// A call that stores ends after this time, so that other clients are served.
constexpr std::chrono::milliseconds STORING_TIME{20};

String textOf(capnp::Text::Reader text) {
    return {text.begin(), text.size()};
}

capnp::Data::Reader bytesOf(const String& text) {
    return {reinterpret_cast<const capnp::byte*>(text.data()), text.size()};
}

std::span<const std::byte> bytesOf(capnp::Data::Reader data) {
    return {reinterpret_cast<const std::byte*>(data.begin()), data.size()};
}

String nameOf(capnp::Text::Reader text) {
    if (text.size() > Operations::MAX_NAME_SIZE) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           blocxx::Format("a name in the request is longer than %1 bytes",
                                          Operations::MAX_NAME_SIZE));
    }
    return textOf(text);
}

/// Runs `decode`. Throws CIMException INVALID_PARAMETER for an object that cannot be decoded.
template <class Decode>
auto decoded(Decode decode) {
    try {
        return decode();
    } catch (const Codec::CodecException& e) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, e.getMessage());
    }
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

}  // namespace

/// An operation with the right that it needs and its function.
struct Operations::Row {
    Operation operation;
    Right right;
    String (Operations::*carryOut)(const Arguments&);
    Results (Operations::*open)(const Arguments&);

    bool isChange() const noexcept {
        return right == Right::WRITE_INSTANCES || right == Right::WRITE_CLASSES;
    }
};

// In the order of wire::Operation.
const Operations::Row Operations::ROWS[] = {
    {Operation::ENUM_CLASSES, Right::READ_CLASSES, nullptr, &Operations::enumClasses},
    {Operation::ENUM_CLASS_NAMES, Right::READ_CLASSES, nullptr, &Operations::enumClassNames},
    {Operation::GET_CLASS, Right::READ_CLASSES, &Operations::getClass, nullptr},
    {Operation::CREATE_CLASS, Right::WRITE_CLASSES, &Operations::createClass, nullptr},
    {Operation::MODIFY_CLASS, Right::WRITE_CLASSES, &Operations::modifyClass, nullptr},
    {Operation::DELETE_CLASS, Right::WRITE_CLASSES, &Operations::deleteClass, nullptr},
    {Operation::ENUM_INSTANCES, Right::READ_INSTANCES, nullptr, &Operations::enumInstances},
    {Operation::ENUM_INSTANCE_NAMES, Right::READ_INSTANCES, nullptr,
     &Operations::enumInstanceNames},
    {Operation::GET_INSTANCE, Right::READ_INSTANCES, &Operations::getInstance, nullptr},
    {Operation::CREATE_INSTANCE, Right::WRITE_INSTANCES, &Operations::createInstance, nullptr},
    {Operation::MODIFY_INSTANCE, Right::WRITE_INSTANCES, &Operations::modifyInstance, nullptr},
    {Operation::DELETE_INSTANCE, Right::WRITE_INSTANCES, &Operations::deleteInstance, nullptr},
    {Operation::GET_QUALIFIER_TYPE, Right::READ_CLASSES, &Operations::getQualifierType, nullptr},
    {Operation::ENUM_QUALIFIER_TYPES, Right::READ_CLASSES, nullptr,
     &Operations::enumQualifierTypes},
    {Operation::SET_QUALIFIER_TYPE, Right::WRITE_CLASSES, &Operations::setQualifierType, nullptr},
    {Operation::DELETE_QUALIFIER_TYPE, Right::WRITE_CLASSES, &Operations::deleteQualifierType,
     nullptr},
    {Operation::ASSOCIATORS, Right::READ_INSTANCES, nullptr, &Operations::associators},
    {Operation::ASSOCIATOR_NAMES, Right::READ_INSTANCES, nullptr, &Operations::associatorNames},
    {Operation::REFERENCES, Right::READ_INSTANCES, nullptr, &Operations::references},
    {Operation::REFERENCE_NAMES, Right::READ_INSTANCES, nullptr, &Operations::referenceNames},
    {Operation::ASSOCIATORS_CLASSES, Right::READ_CLASSES, nullptr, &Operations::associatorsClasses},
    {Operation::REFERENCES_CLASSES, Right::READ_CLASSES, nullptr, &Operations::referencesClasses},
};

Operations::Arguments::Arguments(wire::Request::Reader request)
    : ns(nameOf(request.getNameSpace())),
      name(nameOf(request.getName())),
      deep(request.getDeep() ? E_DEEP : E_SHALLOW),
      wanted{request.getLocalOnly() ? E_LOCAL_ONLY : E_NOT_LOCAL_ONLY,
             request.getIncludeQualifiers() ? E_INCLUDE_QUALIFIERS : E_EXCLUDE_QUALIFIERS,
             request.getIncludeClassOrigin() ? E_INCLUDE_CLASS_ORIGIN : E_EXCLUDE_CLASS_ORIGIN},
      filter{nameOf(request.getAssocClass()), nameOf(request.getResultClass()),
             nameOf(request.getRole()), nameOf(request.getResultRole())} {
    m_object = bytesOf(request.getObject());
    if (request.getHasPropertyList()) {
        const auto list = request.getPropertyList();
        if (list.size() > Operations::MAX_LISTED) {
            OPENWBEM_THROW_CIM(
                INVALID_PARAMETER,
                blocxx::Format("the property list has more than %1 names", Operations::MAX_LISTED));
        }
        for (const auto property : list) {
            m_list.push_back(nameOf(property));
        }
        wanted.propertyList = &m_list;
    }
}

CIMClass Operations::Arguments::cls() const {
    return decoded([this] { return Codec::decodeClassArgument(m_object); });
}
CIMInstance Operations::Arguments::instance() const {
    return decoded([this] { return Codec::decodeInstanceArgument(m_object); });
}
CIMObjectPath Operations::Arguments::path() const {
    return decoded([this] { return Codec::decodeObjectPathArgument(m_object); });
}
CIMQualifierType Operations::Arguments::qualifierType() const {
    return decoded([this] { return Codec::decodeQualifierTypeArgument(m_object); });
}

Operations::Operations(ServedRepository& repository, std::set<String> allowedUsers)
    : m_repository(repository),
      m_handle(repository.handle()),
      m_namespaces(m_handle),
      m_access(m_handle, std::move(allowedUsers)) {
    repository.setMayRead([this](const String& ns) {
        return m_user == nullptr || m_access.has(*m_user, ns, Right::READ_INSTANCES);
    });
}

const Operations::Row& Operations::rowOf(Operation operation) {
    for (const Row& row : ROWS) {
        if (row.operation == operation) {
            return row;
        }
    }
    OPENWBEM_THROW_CIM(NOT_SUPPORTED, "this owcimomd does not know the operation");
}

void Operations::require(const User& user, const String& ns, Right right) {
    m_access.require(user, ns, right);
    m_needed.push_back({ns, right});
}

String Operations::carryOut(const User& user, wire::Request::Reader request) {
    m_needed.clear();
    m_access.requireConnect(user);
    const Row& row = rowOf(request.getOperation());
    if (row.carryOut == nullptr) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, "the operation is an enumeration");
    }
    require(user, nameOf(request.getNameSpace()), row.right);
    const Arguments arguments(request);
    const ScopedValue current(m_user, &user);
    return row.isChange() ? change(row, arguments) : (this->*row.carryOut)(arguments);
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

size_t Operations::storeSome(const String& ns, wire::Storing::Reader storing) {
    const auto end = Clock::now() + STORING_TIME;
    size_t index = 0;
    const auto each = [&](auto objects, auto decode, auto store) {
        for (const auto object : objects) {
            if (index > 0 && Clock::now() >= end) {
                return;
            }
            try {
                store(decoded([&] { return decode(bytesOf(object)); }), object);
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
             if (NamespaceInstances::serves(ns, object.getClassName())) {
                 m_namespaces.createInstance(object);
             } else {
                 storeInstance(m_handle, ns, object);
             }
         });
    return index;
}

size_t Operations::store(const User& user, wire::Storing::Reader storing) {
    m_access.requireConnect(user);
    const String ns = nameOf(storing.getNameSpace());
    requireForStoring(user, ns, storing);
    m_access.noteChange(ns);
    const ScopedValue current(m_user, &user);
    size_t stored = 0;
    try {
        stored = storeSome(ns, storing);
    } catch (...) {
        m_repository.rollBack();
        throw;
    }
    m_handle.commit();
    return stored;
}

// The commit is the commit point: the answer is sent after it, and what fails before leaves
// nothing.
String Operations::change(const Row& row, const Arguments& arguments) {
    m_access.noteChange(arguments.ns);
    String result = (this->*row.carryOut)(arguments);
    m_handle.commit();
    return result;
}

Operations::Results Operations::open(const User& user, wire::Request::Reader request) {
    m_access.requireConnect(user);
    const Row& row = rowOf(request.getOperation());
    if (row.open == nullptr) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, "the operation is not an enumeration");
    }
    m_needed.clear();
    require(user, nameOf(request.getNameSpace()), row.right);
    const Arguments arguments(request);
    const ScopedValue current(m_user, &user);
    Results enumeration = (this->*row.open)(arguments);
    enumeration->setNeededRights(std::move(m_needed));
    return enumeration;
}

bool Operations::next(const User& user, EncodedEnumeration& enumeration, StringArray& portion) {
    for (const NeededRight& needed : enumeration.neededRights()) {
        m_access.require(user, needed.ns, needed.right);
    }
    const ScopedValue current(m_user, &user);
    return enumeration.next(portion);
}

void Operations::sync(const User& user) {
    m_access.requireConnect(user);
    m_repository.sync();
}

String Operations::getClass(const Arguments& a) {
    return Codec::encodeView(m_handle.getClass(a.ns, a.name, a.wanted.localOnly,
                                               a.wanted.qualifiers, a.wanted.classOrigin,
                                               a.wanted.propertyList));
}

String Operations::createClass(const Arguments& a) {
    m_handle.createClass(a.ns, a.cls());
    return {};
}

String Operations::modifyClass(const Arguments& a) {
    m_handle.modifyClass(a.ns, a.cls());
    return {};
}

String Operations::deleteClass(const Arguments& a) {
    m_handle.deleteClass(a.ns, a.name);
    return {};
}

String Operations::getInstance(const Arguments& a) {
    const CIMObjectPath path = a.path();
    if (NamespaceInstances::serves(a.ns, path.getClassName())) {
        return Codec::encodeView(m_namespaces.getInstance(path, a.wanted));
    }
    return Codec::encodeView(m_handle.getInstance(a.ns, path, a.wanted.localOnly,
                                                  a.wanted.qualifiers, a.wanted.classOrigin,
                                                  a.wanted.propertyList));
}

String Operations::createInstance(const Arguments& a) {
    const CIMInstance instance = a.instance();
    if (NamespaceInstances::serves(a.ns, instance.getClassName())) {
        return Codec::encode(m_namespaces.createInstance(instance));
    }
    return Codec::encode(m_handle.createInstance(a.ns, instance));
}

String Operations::modifyInstance(const Arguments& a) {
    const CIMInstance instance = a.instance();
    if (NamespaceInstances::serves(a.ns, instance.getClassName())) {
        NamespaceInstances::refuseChange("changed");
    }
    m_handle.modifyInstance(a.ns, instance, a.wanted.qualifiers, a.wanted.propertyList);
    return {};
}

String Operations::deleteInstance(const Arguments& a) {
    const CIMObjectPath path = a.path();
    if (NamespaceInstances::serves(a.ns, path.getClassName())) {
        NamespaceInstances::refuseChange("deleted");
    }
    m_handle.deleteInstance(a.ns, path);
    return {};
}

String Operations::getQualifierType(const Arguments& a) {
    return Codec::encode(m_handle.getQualifierType(a.ns, a.name));
}

String Operations::setQualifierType(const Arguments& a) {
    m_handle.setQualifierType(a.ns, a.qualifierType());
    return {};
}

String Operations::deleteQualifierType(const Arguments& a) {
    m_handle.deleteQualifierType(a.ns, a.name);
    return {};
}

}  // namespace OwCimomd
