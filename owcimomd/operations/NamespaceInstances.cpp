// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/NamespaceInstances.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Invariant.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/model/ObjectFilter.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr const char* NAME = "Name";

// The keys that every namespace has from the object manager and its system: there is one of each.
constexpr std::pair<const char*, const char*> SCOPING_KEYS[] = {
    {"SystemCreationClassName", "CIM_ComputerSystem"},
    {"SystemName", "localhost"},
    {"ObjectManagerCreationClassName", "CIM_ObjectManager"},
    {"ObjectManagerName", "owcimomd"},
    {"CreationClassName", NamespaceInstances::CLASS_NAME}};

struct ClassNameOf {
    String operator()(const String* name) const { return *name; }
    String operator()(const CIMInstance* instance) const { return instance->getClassName(); }
    String operator()(const CIMObjectPath* path) const { return path->getClassName(); }
    template <class Other>
    String operator()(const Other& /*other*/) const {
        return {};
    }
};

[[noreturn]] void refuseChange(const char* attempt) {
    OPENWBEM_THROW_CIM(NOT_SUPPORTED,
                       Format("a namespace cannot be %1 through the object manager", attempt));
}

/// There are few namespaces, so all of them are one portion.
template <class T>
class OnePortion : public Enumeration<T> {
public:
    explicit OnePortion(Array<T> objects) : m_objects(std::move(objects)) {}
    bool next(ResultHandlerIFC<T>& result) override {
        for (const T& object : m_objects) {
            result.handle(object);
        }
        m_objects.clear();
        return false;
    }

private:
    Array<T> m_objects;
};

CIMInstance filled(const CIMInstance& instance) {
    CIMInstance result = instance;
    for (const auto& [name, value] : SCOPING_KEYS) {
        const CIMValue given = instance.getPropertyValue(name);
        if (given && given.toString() != value) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                               Format("the key %1 of a namespace is \"%2\" here", name, value));
        }
        result.setProperty(name, CIMValue(value));
    }
    return result;
}

/// The instance with what its properties have from their class, where that is asked for.
CIMInstance cut(CIMInstance instance, const CIMClass& cls,
                const ModelSupport::ObjectFilter& filter) {
    CIMPropertyArray properties = instance.getProperties();
    for (CIMProperty& property : properties) {
        if (const CIMProperty* declared = cls.getProperty(property.getName())) {
            property.setPropagated(declared->isPropagated());
            property.setClassOrigin(declared->getClassOrigin());
            property.setQualifiers(declared->getQualifiers());
        }
    }
    instance.setProperties(std::move(properties));
    return instance.filter(filter);
}

}  // namespace

bool NamespaceInstances::serves(const OperationCall& call) {
    return (traitsOf(call.operation).subject == OperationTraits::Subject::INSTANCES ||
            call.operation == Operation::DELETE_CLASS) &&
           call.filter == nullptr && blocxx::equalsIgnoreCase(call.ns, Layout::INTEROP_NS) &&
           blocxx::equalsIgnoreCase(std::visit(ClassNameOf(), call.operand), CLASS_NAME);
}

OperationResult NamespaceInstances::carryOut(const OperationCall& call) {
    switch (call.operation) {
        case Operation::GET_INSTANCE:
            return getInstance(call.as<CIMObjectPath>(), call.wanted);
        case Operation::CREATE_INSTANCE:
            return createInstance(call.as<CIMInstance>());
        case Operation::MODIFY_INSTANCE:
            refuseChange("changed");
        case Operation::DELETE_CLASS:
            OPENWBEM_THROW_CIM(CLASS_HAS_INSTANCES, "the namespaces are instances of this class");
        default:
            blocxx::ensured(call.operation == Operation::DELETE_INSTANCE);
            refuseChange("deleted");
    }
}

AnyEnumeration NamespaceInstances::open(const OperationCall& call) {
    if (call.operation == Operation::ENUM_INSTANCES) {
        return openInstances(call.wanted);
    }
    blocxx::ensured(call.operation == Operation::ENUM_INSTANCE_NAMES);
    return openInstanceNames();
}

CIMClass NamespaceInstances::requireClass() {
    try {
        return m_handle.getClass(Layout::INTEROP_NS, CLASS_NAME, E_NOT_LOCAL_ONLY,
                                 E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN, nullptr);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
        OPENWBEM_THROW_CIM(INVALID_CLASS, Format("there is no class \"%1\"", CLASS_NAME));
    }
}

CIMInstance NamespaceInstances::makeInstance(const CIMClass& cls, const String& name) const {
    CIMInstance instance(CLASS_NAME);
    for (const auto& [key, value] : SCOPING_KEYS) {
        instance.setProperty(key, CIMValue(value));
    }
    instance.setProperty(NAME, CIMValue(name));
    instance.setProperty("ClassInfo", CIMValue(uint16_t(0)));
    return completeInstance(instance, cls);
}

Array<CIMInstance> NamespaceInstances::all(const CIMClass& cls) {
    Array<CIMInstance> instances;
    auto collect = makeResultHandler<String>(
        [&](const String& name) { instances.push_back(makeInstance(cls, name)); });
    m_handle.enumNameSpace(collect);
    return instances;
}

EnumerationPtr<CIMInstance> NamespaceInstances::openInstances(const WantedParts& wanted) {
    const CIMClass cls = requireClass();
    const ModelSupport::ObjectFilter filter(wanted);
    Array<CIMInstance> instances = all(cls);
    for (CIMInstance& instance : instances) {
        instance = cut(instance, cls, filter);
    }
    return std::make_unique<OnePortion<CIMInstance>>(std::move(instances));
}

EnumerationPtr<CIMObjectPath> NamespaceInstances::openInstanceNames() {
    Array<CIMObjectPath> paths;
    for (const CIMInstance& instance : all(requireClass())) {
        paths.emplace_back(Layout::INTEROP_NS, instance);
    }
    return std::make_unique<OnePortion<CIMObjectPath>>(std::move(paths));
}

CIMInstance NamespaceInstances::getInstance(const CIMObjectPath& path, const WantedParts& wanted) {
    const CIMClass cls = requireClass();
    CIMObjectPath own = path;
    own.setHost(String()).setNameSpace(Layout::INTEROP_NS).syncWithClass(cls);
    for (const CIMInstance& instance : all(cls)) {
        if (CIMObjectPath(Layout::INTEROP_NS, instance) == own) {
            return cut(instance, cls, wanted);
        }
    }
    OPENWBEM_THROW_CIM(NOT_FOUND, Format("there is no instance %1", own.modelPath()));
}

CIMObjectPath NamespaceInstances::createInstance(const CIMInstance& instance) {
    const CIMInstance complete = completeInstance(filled(instance), requireClass());
    m_handle.createNameSpace(complete.getPropertyValue(NAME).toString());
    return {Layout::INTEROP_NS, complete};
}

}  // namespace OwCimomd
