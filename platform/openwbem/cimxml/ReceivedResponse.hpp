// SPDX-License-Identifier: Apache-2.0
//
// A response of DSP0200 (5.3, 5.4) as a client gets it: a MESSAGE with a SIMPLERSP (DSP0201 5.2.6).
// Documents are as hostile as requests; see Request.hpp.
#pragma once

#include "openwbem/cimxml/Request.hpp"

namespace OpenWBEM::CIMXML {

/// VALUE.OBJECTWITHPATH of a class (DSP0201 5.2.3).
struct ClassWithPath {
    CIMObjectPath path;
    CIMClass cls;
};

/// A child of IRETURNVALUE (DSP0201 5.2.6): CLASS; INSTANCE; QUALIFIER.DECLARATION; CLASSNAME;
/// INSTANCENAME, OBJECTPATH or INSTANCEPATH; VALUE.NAMEDINSTANCE, VALUE.INSTANCEWITHPATH or
/// VALUE.OBJECTWITHPATH; VALUE, VALUE.ARRAY or VALUE.REFERENCE, with strings for all simple types.
using Result = std::variant<CIMClass, CIMInstance, CIMQualifierType, ClassName, CIMObjectPath,
                            NamedInstance, ClassWithPath, CIMValue>;

struct ReceivedResponse {
    String id;
    String protocolVersion;
    String method;
    bool isExtrinsic = false;           ///< a METHODRESPONSE, whose results are not kept
    std::optional<CIMException> error;  ///< ERROR
    Array<Result> results;
    std::map<String, CIMValue> outputs;  ///< PARAMVALUE by name, as strings

    /// Throws RequestException, and CIMException INVALID_PARAMETER for a content that no object of
    /// the model can have.
    static ReceivedResponse parse(std::string_view document);
};

}  // namespace OpenWBEM::CIMXML
