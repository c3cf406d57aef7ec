// SPDX-License-Identifier: Apache-2.0
//
// A request of DSP0200 (5.3, 5.4) as it was sent: a MESSAGE with a SIMPLEREQ (DSP0201 5.2.6). What
// its method takes is not known here (IntrinsicMethod.hpp).
//
// Documents are hostile: Limits.hpp bounds them, and a document type, which could declare entities,
// is refused. Attributes that DSP0201 does not have are ignored, elements are refused. White space
// between elements means nothing; texts keep theirs.
#pragma once

#include <map>
#include <optional>
#include <variant>

#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMInstance.hpp"
#include "openwbem/model/CIMObjectPath.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace OpenWBEM::CIMXML {

/// VALUE.NAMEDINSTANCE (DSP0201 5.2.3).
struct NamedInstance {
    CIMObjectPath path;
    CIMInstance instance;
};

/// CLASSNAME (DSP0201 5.2.4).
struct ClassName {
    String name;
};

/// The child of an IPARAMVALUE (DSP0201 5.2.6): nothing (null); VALUE; VALUE.ARRAY; CLASSNAME;
/// INSTANCENAME or VALUE.REFERENCE; CLASS; INSTANCE; QUALIFIER.DECLARATION; VALUE.NAMEDINSTANCE.
using Argument = std::variant<std::monostate, String, StringArray, ClassName, CIMObjectPath,
                              CIMClass, CIMInstance, CIMQualifierType, NamedInstance>;

struct Request {
    String id;  ///< of the MESSAGE, which the response repeats
    String protocolVersion;
    String method;
    String ns;                 ///< "root/cimv2"
    bool isExtrinsic = false;  ///< a METHODCALL, which is not read to its end: none is supported
    std::map<String, Argument> arguments;  ///< by their names in lower case
    /// INVALID_PARAMETER when an argument is a valid element with a content that no object of the
    /// model can have; then `arguments` lacks it and those after it. Kept here, and not thrown,
    /// because its response needs the fields above. IntrinsicCall throws it.
    std::optional<CIMException> failure{};

    /// Throws RequestException.
    static Request parse(std::string_view document);
};

/// A document that is no request, or none that can be carried out: an HTTP status and the header
/// CIMError answer it (DSP0200 6.2, 7.3), not a response.
class RequestException : public blocxx::Cloneable<RequestException> {
public:
    enum class Fault : uint8_t {
        NOT_WELL_FORMED,
        NOT_VALID,
        UNSUPPORTED_CIM_VERSION,
        UNSUPPORTED_DTD_VERSION,
        UNSUPPORTED_PROTOCOL_VERSION,
        MULTIPLE_REQUESTS,
        TOO_LARGE  ///< has no value of CIMError; HTTP's own status 413 says it
    };

    /// The message begins with the place in the document, "line LINE, column COLUMN: ", both from
    /// one: that of what is wrong, or just behind it.
    RequestException(const char* file, int line, Fault fault, const String& message)
        : Cloneable(file, line, message.c_str()), m_fault(fault) {}

    Fault fault() const noexcept { return m_fault; }
    /// The value of the header CIMError (DSP0200 7.3), "request-not-valid" for example; empty for
    /// TOO_LARGE.
    const char* cimError() const noexcept;

private:
    Fault m_fault;
};

}  // namespace OpenWBEM::CIMXML
