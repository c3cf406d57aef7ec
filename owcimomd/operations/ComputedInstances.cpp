// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/ComputedInstances.hpp"

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/Invariant.hpp"
#include "layout/Layout.hpp"
#include "openwbem/model/InstanceCompletion.hpp"
#include "openwbem/model/ObjectFilter.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

struct ClassNameOf {
    String operator()(const String* name) const { return *name; }
    String operator()(const CIMInstance* instance) const { return instance->getClassName(); }
    String operator()(const CIMObjectPath* path) const { return path->getClassName(); }
    template <class Other>
    String operator()(const Other& /*other*/) const {
        return {};
    }
};

/// The value of a key in an operand.
struct KeyOf {
    const String& name;

    CIMValue operator()(const CIMInstance* instance) const {
        return instance->getPropertyValue(name);
    }
    CIMValue operator()(const CIMObjectPath* path) const { return path->getKeyValue(name); }
    template <class Other>
    CIMValue operator()(const Other& /*other*/) const {
        return CIMValue();
    }
};

/// Null when the operation is not on instances of such a class, and does not delete one.
const ComputedClass* computedClassOf(const OperationCall& call) {
    const bool concernsInstances =
        traitsOf(call.operation).subject == OperationTraits::Subject::INSTANCES ||
        call.operation == Operation::DELETE_CLASS;
    return concernsInstances && call.filter == nullptr &&
                   blocxx::equalsIgnoreCase(call.ns, Layout::INTEROP_NS)
               ? findComputedClass(std::visit(ClassNameOf(), call.operand))
               : nullptr;
}

[[noreturn]] void refuseChange(const ComputedClass& computed, const char* attempt) {
    OPENWBEM_THROW_CIM(NOT_SUPPORTED, Format("%1 cannot be %2 through the object manager",
                                             computed.noun, attempt));
}

CIMObjectPath pathOf(const CIMInstance& instance) {
    return {Layout::INTEROP_NS, instance};
}

bool hasKeysOf(const CIMInstance& instance, const OperationCall& call) {
    const CIMObjectPath path = pathOf(instance);
    return std::ranges::all_of(path.getKeys(), [&](const CIMProperty& key) {
        return std::visit(KeyOf{key.getName()}, call.operand) == key.getValue();
    });
}

/// None when the class has another form than ours, as one that a product has brought may.
std::optional<CIMInstance> completedIfItFits(const CIMInstance& instance, const CIMClass& cls) {
    try {
        CIMInstance complete = completeInstance(instance, cls);
        return pathOf(complete).isClassPath() ? std::nullopt : std::optional(std::move(complete));
    } catch (const CIMException&) {
        return std::nullopt;
    }
}

/// There are few computed instances, so all of them are in the first portion.
template <class T>
class ComputedFirst : public Enumeration<T> {
public:
    /// `stored` may be null.
    ComputedFirst(Array<T> computed, EnumerationPtr<T> stored)
        : m_computed(std::move(computed)), m_stored(std::move(stored)) {}
    bool next(ResultHandlerIFC<T>& result) override {
        for (const T& object : m_computed) {
            result.handle(object);
        }
        m_computed.clear();
        return m_stored && m_stored->next(result);
    }

private:
    Array<T> m_computed;
    EnumerationPtr<T> m_stored;
};

/// The instance with what its properties have from their class, where that is asked for.
CIMInstance cut(CIMInstance instance, const CIMClass& cls, const ModelSupport::ObjectFilter& filter,
                bool withPath) {
    if (withPath) {
        instance.setPath(pathOf(instance));
    }
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

bool ComputedInstances::serves(const OperationCall& call) {
    const ComputedClass* computed = computedClassOf(call);
    if (computed == nullptr || !computed->canStoreOthers) {
        return computed != nullptr;
    }
    if (traitsOf(call.operation).effect == OperationTraits::Effect::ENUMERATES) {
        return true;
    }
    return std::ranges::any_of(allOf(*computed), [&](const CIMInstance& instance) {
        return call.operation == Operation::DELETE_CLASS || hasKeysOf(instance, call);
    });
}

OperationResult ComputedInstances::carryOut(const OperationCall& call) {
    const ComputedClass& computed = *computedClassOf(call);
    switch (call.operation) {
        case Operation::GET_INSTANCE:
            return getInstance(computed, call.as<CIMObjectPath>(), call.wanted);
        case Operation::CREATE_INSTANCE:
            if (computed.create == nullptr) {
                refuseChange(computed, "created");
            }
            return computed.create(m_handle, requireClass(computed), call.as<CIMInstance>());
        case Operation::MODIFY_INSTANCE:
            refuseChange(computed, "changed");
        case Operation::DELETE_CLASS:
            OPENWBEM_THROW_CIM(CLASS_HAS_INSTANCES, computed.whyItIsNeeded);
        default:
            blocxx::ensured(call.operation == Operation::DELETE_INSTANCE);
            refuseChange(computed, "deleted");
    }
}

template <class T, class Form>
AnyEnumeration ComputedInstances::withStored(const OperationCall& call,
                                             const Array<CIMInstance>& instances, Form form) {
    Array<T> results;
    std::ranges::transform(instances, std::back_inserter(results), form);
    EnumerationPtr<T> stored;
    if (computedClassOf(call)->canStoreOthers) {
        stored = std::get<EnumerationPtr<T>>(m_handle.open(call));
    }
    return std::make_unique<ComputedFirst<T>>(std::move(results), std::move(stored));
}

AnyEnumeration ComputedInstances::open(const OperationCall& call) {
    const ComputedClass& computed = *computedClassOf(call);
    const CIMClass cls = requireClass(computed);
    const Array<CIMInstance> instances = allOf(computed, cls);
    if (call.operation == Operation::ENUM_INSTANCES) {
        const ModelSupport::ObjectFilter filter(call.wanted);
        return withStored<CIMInstance>(call, instances, [&](const CIMInstance& instance) {
            return cut(instance, cls, filter, call.wanted.withPath);
        });
    }
    blocxx::ensured(call.operation == Operation::ENUM_INSTANCE_NAMES);
    return withStored<CIMObjectPath>(call, instances, pathOf);
}

std::optional<CIMClass> ComputedInstances::findClass(const ComputedClass& computed) {
    try {
        return m_handle.getClass(Layout::INTEROP_NS, computed.name, E_NOT_LOCAL_ONLY,
                                 E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN, nullptr);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
        return std::nullopt;
    }
}

CIMClass ComputedInstances::requireClass(const ComputedClass& computed) {
    std::optional<CIMClass> cls = findClass(computed);
    if (!cls) {
        OPENWBEM_THROW_CIM(INVALID_CLASS, Format("there is no class \"%1\"", computed.name));
    }
    return std::move(*cls);
}

bool ComputedInstances::isStored(const CIMObjectPath& path) {
    try {
        m_handle.getInstance(Layout::INTEROP_NS, path);
        return true;
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND) {
            throw;
        }
        return false;
    }
}

Array<CIMInstance> ComputedInstances::allOf(const ComputedClass& computed, const CIMClass& cls) {
    Array<CIMInstance> instances;
    for (const CIMInstance& instance : computed.instances(m_handle)) {
        if (!computed.canStoreOthers) {
            instances.push_back(completeInstance(instance, cls));
        } else if (auto complete = completedIfItFits(instance, cls);
                   complete && !isStored(pathOf(*complete))) {
            instances.push_back(std::move(*complete));
        }
    }
    return instances;
}

Array<CIMInstance> ComputedInstances::allOf(const ComputedClass& computed) {
    const std::optional<CIMClass> cls = findClass(computed);
    return cls ? allOf(computed, *cls) : Array<CIMInstance>();
}

CIMInstance ComputedInstances::getInstance(const ComputedClass& computed, const CIMObjectPath& path,
                                           const WantedParts& wanted) {
    const CIMClass cls = requireClass(computed);
    CIMObjectPath own = path;
    own.setHost(String()).setNameSpace(Layout::INTEROP_NS).syncWithClass(cls);
    for (const CIMInstance& instance : allOf(computed, cls)) {
        if (pathOf(instance) == own) {
            return cut(instance, cls, wanted, wanted.withPath);
        }
    }
    OPENWBEM_THROW_CIM(NOT_FOUND, Format("there is no instance %1", own.modelPath()));
}

}  // namespace OwCimomd
