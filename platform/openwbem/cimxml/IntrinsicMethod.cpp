// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/IntrinsicMethod.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "openwbem/cimxml/Limits.hpp"
#include "openwbem/cimxml/MethodTable.hpp"
#include "openwbem/cimxml/ValueTexts.hpp"
#include "openwbem/model/NameIndex.hpp"

namespace OpenWBEM::CIMXML {

using blocxx::Format;

namespace {

constexpr size_t SHOWN = 100;

struct ParameterRow {
    Parameter::Bits bit;
    const char* name;
};

constexpr ParameterRow PARAMETERS[] = {
    {Parameter::LOCAL_ONLY, "LocalOnly"},
    {Parameter::INCLUDE_QUALIFIERS, "IncludeQualifiers"},
    {Parameter::INCLUDE_CLASS_ORIGIN, "IncludeClassOrigin"},
    {Parameter::PROPERTY_LIST, "PropertyList"},
    {Parameter::DEEP_INHERITANCE, "DeepInheritance"},
    {Parameter::ASSOC_CLASS, "AssocClass"},
    {Parameter::RESULT_CLASS, "ResultClass"},
    {Parameter::ROLE, "Role"},
    {Parameter::RESULT_ROLE, "ResultRole"},
    {Parameter::PROPERTY_NAME, "PropertyName"},
    {Parameter::FILTER_QUERY_LANGUAGE, "FilterQueryLanguage"},
    {Parameter::FILTER_QUERY, "FilterQuery"},
    {Parameter::OPERATION_TIMEOUT, "OperationTimeout"},
    {Parameter::CONTINUE_ON_ERROR, "ContinueOnError"},
    {Parameter::MAX_OBJECT_COUNT, "MaxObjectCount"},
    {Parameter::ENUMERATION_CONTEXT, "EnumerationContext"},
};

/// An instance with the keys of its path, which it may leave out. They are marked, so that it can
/// be named before its class is known.
CIMInstance withKeys(const NamedInstance& named) {
    const CIMInstance& instance = named.instance;
    if (!blocxx::equalsIgnoreCase(named.path.getClassName(), instance.getClassName())) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           "the instance is not of the class that its path names");
    }
    CIMPropertyArray properties = instance.getProperties();
    const NameIndex<CIMProperty> given(instance.getProperties());
    for (const CIMProperty& key : named.path.getKeys()) {
        if (key.getName().empty()) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER, "the path of the instance must name its key");
        }
        const auto place = given.find(key.getName());
        if (!place) {
            properties.push_back(key);
            properties.back().setKey(true);
        } else if (properties[*place].getValue().toString() != key.getValue().toString()) {
            OPENWBEM_THROW_CIM(
                INVALID_PARAMETER,
                Format("the instance has another value of the key \"%1\" than its path",
                       blocxx::oneLine(key.getName().substr(0, SHOWN))));
        } else {
            properties[*place].setKey(true);
        }
    }
    CIMInstance whole = instance;
    return whole.setProperties(std::move(properties));
}

}  // namespace

class IntrinsicCall::Builder {
public:
    Builder(IntrinsicCall& call, const IntrinsicMethod& method)
        : m_call(call), m_method(method), m_flags(method.trueAtStart) {}

    void take(const String& name, Argument argument) {
        if (m_method.targetName != nullptr && blocxx::equalsIgnoreCase(name, m_method.targetName)) {
            if (!std::holds_alternative<std::monostate>(argument)) {
                takeTarget(std::move(argument));
                m_hasTarget = true;
            }
            return;
        }
        for (const ParameterRow& row : PARAMETERS) {
            if ((m_method.parameters & row.bit) != 0 && blocxx::equalsIgnoreCase(name, row.name)) {
                if (!std::holds_alternative<std::monostate>(argument)) {
                    takeParameter(row, std::move(argument));
                    m_given |= row.bit;
                }
                return;
            }
        }
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           Format("%1 has no parameter \"%2\"", m_method.name,
                                  blocxx::oneLine(blocxx::printable(name.substr(0, SHOWN)))));
    }

    /// After the last argument.
    void finish() {
        if (m_method.target != Target::NONE && !m_hasTarget) {
            if (!m_method.isTargetOptional) {
                failMissing(m_method.targetName);
            }
            m_call.m_operand = String();
        }
        for (const ParameterRow& row : PARAMETERS) {
            if ((m_method.required & ~m_given & row.bit) != 0) {
                failMissing(row.name);
            }
        }
        const bool isOfClasses = m_method.form == ResultForm::CLASS;
        m_call.m_wanted = {
            isOfClasses && has(Parameter::LOCAL_ONLY) ? E_LOCAL_ONLY : E_NOT_LOCAL_ONLY,
            has(Parameter::INCLUDE_QUALIFIERS) ? E_INCLUDE_QUALIFIERS : E_EXCLUDE_QUALIFIERS,
            has(Parameter::INCLUDE_CLASS_ORIGIN) ? E_INCLUDE_CLASS_ORIGIN : E_EXCLUDE_CLASS_ORIGIN};
        m_call.m_deep = has(Parameter::DEEP_INHERITANCE) ? E_DEEP : E_SHALLOW;
        m_call.m_pullArguments.continueOnError = has(Parameter::CONTINUE_ON_ERROR);
    }

private:
    bool has(Parameter::Bits flag) const noexcept { return (m_flags & flag) != 0; }

    [[noreturn]] void failMissing(const char* name) const {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           Format("%1 needs the parameter %2", m_method.name, name));
    }
    [[noreturn]] void failKind(const char* name, const char* kind) const {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER,
                           Format("the parameter %1 of %2 must be %3", name, m_method.name, kind));
    }

    /// The argument, which must be a T.
    template <class T>
    T as(const char* name, Argument argument, const char* kind) const {
        T* const held = std::get_if<T>(&argument);
        if (held == nullptr) {
            failKind(name, kind);
        }
        return std::move(*held);
    }
    template <class T>
    T value(const ParameterRow& row, Argument argument) const {
        try {
            return fromText<T>(text(row.name, std::move(argument)));
        } catch (const ContentException& e) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("the parameter %1 of %2: %3", row.name,
                                                         m_method.name, e.getMessage()));
        }
    }
    String text(const char* name, Argument argument) const {
        return as<String>(name, std::move(argument), "a VALUE");
    }
    String className(const char* name, Argument argument) const {
        return as<ClassName>(name, std::move(argument), "a CLASSNAME").name;
    }
    CIMObjectPath instanceName(const char* name, Argument argument) const {
        auto path = as<CIMObjectPath>(name, std::move(argument), "an INSTANCENAME");
        // Of a VALUE.REFERENCE. The call names its namespace itself.
        if (!path.getHost().empty() || !path.getNameSpace().empty()) {
            failKind(name, "an INSTANCENAME");
        }
        return path;
    }
    StringArray propertyList(const char* name, Argument argument) const {
        auto list = as<StringArray>(name, std::move(argument), "a VALUE.ARRAY");
        if (list.size() > Limits::MAX_PROPERTY_LIST) {
            OPENWBEM_THROW_CIM(INVALID_PARAMETER, Format("the property list has more than %1 names",
                                                         Limits::MAX_PROPERTY_LIST));
        }
        return list;
    }

    void takeTarget(Argument argument) {
        const char* const name = m_method.targetName;
        switch (m_method.target) {
            case Target::NONE:
                return;
            case Target::CLASS_NAME:
                m_call.m_operand = className(name, std::move(argument));
                return;
            case Target::INSTANCE_NAME:
                m_call.m_operand = instanceName(name, std::move(argument));
                return;
            case Target::OBJECT_NAME:
                if (auto* const cls = std::get_if<ClassName>(&argument)) {
                    m_call.m_operand = CIMObjectPath(std::move(cls->name));
                    m_call.m_isOfClass = true;
                } else {
                    m_call.m_operand = instanceName(name, std::move(argument));
                }
                return;
            case Target::NAME:
                m_call.m_operand = text(name, std::move(argument));
                return;
            case Target::CLASS:
                m_call.m_operand = as<CIMClass>(name, std::move(argument), "a CLASS");
                return;
            case Target::INSTANCE:
                m_call.m_operand = as<CIMInstance>(name, std::move(argument), "an INSTANCE");
                return;
            case Target::NAMED_INSTANCE:
                m_call.m_operand =
                    withKeys(as<NamedInstance>(name, std::move(argument), "a VALUE.NAMEDINSTANCE"));
                return;
            case Target::QUALIFIER_TYPE:
                m_call.m_operand =
                    as<CIMQualifierType>(name, std::move(argument), "a QUALIFIER.DECLARATION");
                return;
        }
    }

    void takeParameter(const ParameterRow& row, Argument argument) {
        AssociationFilter& filter = m_call.m_filter;
        PullArguments& pull = m_call.m_pullArguments;
        switch (row.bit) {
            case Parameter::LOCAL_ONLY:
            case Parameter::INCLUDE_QUALIFIERS:
            case Parameter::INCLUDE_CLASS_ORIGIN:
            case Parameter::DEEP_INHERITANCE:
            case Parameter::CONTINUE_ON_ERROR:
                m_flags =
                    value<bool>(row, std::move(argument)) ? m_flags | row.bit : m_flags & ~row.bit;
                return;
            case Parameter::PROPERTY_LIST:
                m_call.m_propertyList = propertyList(row.name, std::move(argument));
                return;
            case Parameter::PROPERTY_NAME:
                m_call.m_propertyList = StringArray{text(row.name, std::move(argument))};
                return;
            case Parameter::ASSOC_CLASS:
                filter.assocClass = className(row.name, std::move(argument));
                return;
            case Parameter::RESULT_CLASS:
                filter.resultClass = className(row.name, std::move(argument));
                return;
            case Parameter::ROLE:
                filter.role = text(row.name, std::move(argument));
                return;
            case Parameter::RESULT_ROLE:
                filter.resultRole = text(row.name, std::move(argument));
                return;
            case Parameter::FILTER_QUERY_LANGUAGE:
            case Parameter::FILTER_QUERY:
                if (!text(row.name, std::move(argument)).empty()) {
                    OPENWBEM_THROW_CIM(FILTERED_ENUMERATION_NOT_SUPPORTED,
                                       "no query language is supported");
                }
                return;
            case Parameter::OPERATION_TIMEOUT:
                pull.operationTimeout = value<uint32_t>(row, std::move(argument));
                return;
            case Parameter::MAX_OBJECT_COUNT:
                pull.maxObjectCount = value<uint32_t>(row, std::move(argument));
                return;
            case Parameter::ENUMERATION_CONTEXT:
                pull.enumerationContext = text(row.name, std::move(argument));
                return;
        }
    }

    IntrinsicCall& m_call;
    const IntrinsicMethod& m_method;
    uint32_t m_flags;  ///< those that are true
    uint32_t m_given = 0;
    bool m_hasTarget = false;
};

IntrinsicCall::IntrinsicCall(Request request)
    : m_method(findMethod(request.method)), m_ns(std::move(request.ns)) {
    if (request.isExtrinsic) {
        OPENWBEM_THROW_CIM(NOT_SUPPORTED, "no class has a method that can be called");
    }
    if (m_method == nullptr) {
        OPENWBEM_THROW_CIM(
            NOT_SUPPORTED,
            Format("this server has no method \"%1\"",
                   blocxx::oneLine(blocxx::printable(request.method.substr(0, SHOWN)))));
    }
    if (request.failure) {
        throw CIMException(*request.failure);
    }
    Builder builder(*this, *m_method);
    for (auto& [name, argument] : request.arguments) {
        builder.take(name, std::move(argument));
    }
    builder.finish();
    if (propertyList() != nullptr) {
        m_reduction.emplace(WantedParts{E_NOT_LOCAL_ONLY, E_INCLUDE_QUALIFIERS,
                                        E_INCLUDE_CLASS_ORIGIN, propertyList()});
    }
}

const char* IntrinsicCall::name() const noexcept {
    return m_method->name;
}

Pull IntrinsicCall::pull() const noexcept {
    return m_method->pull;
}

ResultForm IntrinsicCall::form() const noexcept {
    return m_method->form;
}

bool IntrinsicCall::sendsInstancesWithPaths() const noexcept {
    return !m_isOfClass &&
           (form() == ResultForm::NAMED_INSTANCE || form() == ResultForm::OBJECT_WITH_PATH ||
            form() == ResultForm::INSTANCE_WITH_PATH);
}

const StringArray* IntrinsicCall::propertyList() const noexcept {
    return m_propertyList && sendsInstancesWithPaths() ? &*m_propertyList : nullptr;
}

CIMInstance IntrinsicCall::reduced(const CIMInstance& instance) const {
    return m_reduction ? instance.filter(*m_reduction) : instance;
}

Operation IntrinsicCall::operation() const noexcept {
    if (!m_isOfClass) {
        return m_method->operation;
    }
    const bool leadsToClasses = m_method->operation == Operation::ASSOCIATORS ||
                                m_method->operation == Operation::ASSOCIATOR_NAMES;
    return leadsToClasses ? Operation::ASSOCIATORS_CLASSES : Operation::REFERENCES_CLASSES;
}

OperationCall IntrinsicCall::call() const {
    OperationCall call{operation(), m_ns};
    std::visit(
        [&]<class T>(const T& operand) {
            if constexpr (!std::is_same_v<T, std::monostate>) {
                call.operand = &operand;
            }
        },
        m_operand);
    call.wanted = m_wanted;
    if (m_propertyList && !sendsInstancesWithPaths()) {
        call.wanted.propertyList = &*m_propertyList;
    }
    call.deep = m_deep;
    if (followsAssociations(traitsOf(call.operation))) {
        call.filter = &m_filter;
    }
    return call;
}

}  // namespace OpenWBEM::CIMXML
