// SPDX-License-Identifier: Apache-2.0
//
// The intrinsic methods (DSP0200 5.3.2): which arguments each takes, their defaults, the operation
// that carries it out, and the form in which its results are sent.
//
// LocalOnly is ignored for instances, for which it is deprecated: nothing is left out. GetProperty
// is carried out as getInstance. SetProperty, ExecQuery and OpenQueryInstances are not supported.
#pragma once

#include <optional>

#include "openwbem/cimxml/Request.hpp"
#include "openwbem/model/ObjectFilter.hpp"
#include "openwbem/model/OperationCall.hpp"

namespace OpenWBEM::CIMXML {

/// What results are sent as: the names of the elements in IRETURNVALUE (DSP0201 5.2.6).
enum class ResultForm : uint8_t {
    NOTHING,
    CLASS,
    CLASS_NAME,
    INSTANCE,
    INSTANCE_NAME,
    QUALIFIER_TYPE,
    NAMED_INSTANCE,
    OBJECT_WITH_PATH,
    OBJECT_PATH,
    INSTANCE_WITH_PATH,
    INSTANCE_PATH,
    PROPERTY_VALUE,  ///< of GetProperty: VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY
    NUMBER           ///< of EnumerationCount
};

/// The arguments of pulled enumerations (DSP0200 5.3.2.24). Those that the method does not have
/// keep their defaults.
struct PullArguments {
    std::optional<uint32_t> operationTimeout;  ///< seconds; none: the server chooses
    uint32_t maxObjectCount = 0;               ///< of an Open..., zero opens only
    bool continueOnError = false;
    String enumerationContext;
};

/// Which part of a pulled enumeration a method is.
enum class Pull : uint8_t { NONE, OPEN, PULL, CLOSE, COUNT };

struct IntrinsicMethod;  // a row of the table of methods

class IntrinsicCall {
public:
    /// Throws CIMException: NOT_SUPPORTED (an extrinsic method, one that is not supported, one
    /// that there is not), INVALID_PARAMETER (an argument that is missing, unknown or of another
    /// kind than the method takes, and the request's own failure),
    /// FILTERED_ENUMERATION_NOT_SUPPORTED (a filter query).
    explicit IntrinsicCall(Request request);

    /// The method's name as DSP0200 spells it.
    const char* name() const noexcept;
    const String& ns() const noexcept { return m_ns; }
    Pull pull() const noexcept;
    ResultForm form() const noexcept;
    const PullArguments& pullArguments() const noexcept { return m_pullArguments; }

    /// The operation that carries the method out, without a handler of results; of an Open..., the
    /// enumeration that it begins. Not for PULL, CLOSE and COUNT. Refers to this object. It has no
    /// property list where instances are sent with their paths: they need the keys, and
    /// appendResult() drops what is not listed.
    OperationCall call() const;
    /// The properties to which instances are reduced when they are written; null for all.
    const StringArray* propertyList() const noexcept;
    /// The instance with those properties. A list of thousands of names costs its size once, and
    /// not for each instance.
    CIMInstance reduced(const CIMInstance& instance) const;

private:
    class Builder;  // checks the arguments and takes them over

    Operation operation() const noexcept;
    bool sendsInstancesWithPaths() const noexcept;

    const IntrinsicMethod* m_method = nullptr;
    String m_ns;
    /// As OperationCall's, by value.
    std::variant<std::monostate, String, CIMClass, CIMInstance, CIMQualifierType, CIMObjectPath>
        m_operand;
    bool m_isOfClass = false;  ///< an association method on a class
    WantedParts m_wanted;      ///< without the property list
    EDeepFlag m_deep = E_SHALLOW;
    AssociationFilter m_filter;
    std::optional<StringArray> m_propertyList;
    std::optional<ModelSupport::ObjectFilter> m_reduction;  // of propertyList()
    PullArguments m_pullArguments;
};

}  // namespace OpenWBEM::CIMXML
