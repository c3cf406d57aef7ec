// SPDX-License-Identifier: Apache-2.0
//
// What a request says in its header fields about the CIM message in its body (DSP0200 6.2, 6.3).
#pragma once

#include <optional>
#include <variant>

#include "openwbem/cimxml/Request.hpp"
#include "owcimomd/http/HttpParser.hpp"
#include "owcimomd/http/HttpWriter.hpp"

namespace OwCimomd {

namespace CIMXML = OpenWBEM::CIMXML;

/// A request that is answered with an HTTP status other than 200.
struct HttpRefusal {
    unsigned status;
    String text;        ///< for people
    String cimError{};  ///< the value of the field CIMError, if there is one
    HttpFields fields{};
};

class CIMHeaders {
public:
    static std::variant<CIMHeaders, HttpRefusal> read(const HttpRequest& request);

    /// A refusal unless the fields say what the message says (DSP0200 6.3.3, 6.3.5).
    std::optional<HttpRefusal> mismatch(const CIMXML::Request& message) const;
    /// The fields of the response: in the form of the extension framework (RFC 2774) when the
    /// request was an M-POST.
    HttpFields responseFields() const;
    /// Whether fields may follow the last chunk (RFC 9110 6.5.1).
    bool takesTrailers() const noexcept { return m_takesTrailers; }

    /// Of the response to OPTIONS (DSP0200 6.2.2).
    static HttpFields optionsFields();

private:
    String m_prefix;  // of the CIM fields, "73-" for example
    String m_method;
    String m_object;
    bool m_takesTrailers = false;
};

/// A value that HTTP and DSP0200 (6.1) can have in a field: other bytes are escaped with "%".
String escaped(std::string_view text);

}  // namespace OwCimomd
