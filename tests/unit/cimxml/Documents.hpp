// SPDX-License-Identifier: Apache-2.0
//
// Requests and responses in tests.
#pragma once

#include <gtest/gtest.h>

#include "openwbem/cimxml/ReceivedResponse.hpp"
#include "openwbem/cimxml/Request.hpp"

namespace OpenWBEM::CIMXML {

/// A MESSAGE with that content.
inline String message(const String& content) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
           "<MESSAGE ID=\"1001\" PROTOCOLVERSION=\"1.0\">" +
           content + "</MESSAGE></CIM>";
}

inline String parameter(const String& name, const String& element) {
    return "<IPARAMVALUE NAME=\"" + name + "\">" + element + "</IPARAMVALUE>";
}

/// A call of `method` in "root/x" with those parameters.
inline String call(const String& method, const String& parameters) {
    return message("<SIMPLEREQ><IMETHODCALL NAME=\"" + method +
                   "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"x\"/>"
                   "</LOCALNAMESPACEPATH>" +
                   parameters + "</IMETHODCALL></SIMPLEREQ>");
}

/// A response with those results.
inline String response(const String& results) {
    return message("<SIMPLERSP><IMETHODRESPONSE NAME=\"m\"><IRETURNVALUE>" + results +
                   "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP>");
}

/// The only argument of a call, which is of that element.
template <class T>
T argument(const String& element) {
    const Request request = Request::parse(call("m", parameter("A", element)));
    if (request.failure) {
        ADD_FAILURE() << request.failure->getMessage();
        return T();
    }
    return std::get<T>(request.arguments.at("a"));
}

/// Why the content of an argument is refused, or "read".
inline String contentError(const String& element) {
    const Request request = Request::parse(call("m", parameter("A", element)));
    if (!request.failure) {
        return "read";
    }
    EXPECT_EQ(request.failure->getErrNo(), CIMException::INVALID_PARAMETER);
    return request.failure->getMessage();
}

/// Why a document is refused, with the value of CIMError, or "read".
inline String requestError(const String& document) {
    try {
        Request::parse(document);
        return "read";
    } catch (const RequestException& e) {
        return String(e.cimError()) + ": " + e.getMessage();
    }
}

/// The same without the place of the error.
inline String elementError(const String& element) {
    const String error = requestError(call("m", parameter("A", element)));
    const size_t place = error.find("line ");
    const size_t what = error.find(": ", place);
    return place == String::npos ? error : error.substr(0, place) + error.substr(what + 2);
}

}  // namespace OpenWBEM::CIMXML
