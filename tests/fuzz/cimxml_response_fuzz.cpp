// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a response: they are refused, or each object that was read can be written and read
// again as the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "openwbem/cimxml/ReceivedResponse.hpp"
#include "openwbem/cimxml/Response.hpp"

namespace {

using namespace OpenWBEM;          // NOLINT(google-build-using-namespace)
using namespace OpenWBEM::CIMXML;  // NOLINT(google-build-using-namespace)

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

const Place PLACE{"h", "n"};

/// The path with what it is completed with.
CIMObjectPath completed(CIMObjectPath path) {
    if (path.getHost().empty()) {
        path.setHost(PLACE.host);
    }
    if (path.getNameSpace().empty()) {
        path.setNameSpace(PLACE.ns);
    }
    return path;
}

void write(String& out, const CIMClass& cls) {
    appendClass(out, cls);
}
void write(String& out, const CIMInstance& instance) {
    appendInstance(out, instance);
}
void write(String& out, const CIMQualifierType& qualifierType) {
    appendQualifierType(out, qualifierType);
}
void write(String& out, const ClassName& name) {
    appendClassName(out, name.name);
}
void write(String& out, const CIMObjectPath& path) {
    appendObjectPath(out, path, PLACE);
}
void write(String& out, const NamedInstance& named) {
    appendInstanceWithPath(out, named.path, named.instance, PLACE);
}
void write(String& out, const ClassWithPath& object) {
    appendObjectWithPath(out, object.cls, PLACE);
}
void write(String& out, const CIMValue& value) {
    appendValue(out, value);
}

template <class T>
bool same(const T& a, const T& b) {
    return a == b;
}
bool same(const ClassName& a, const ClassName& b) {
    return a.name == b.name;
}
bool same(const CIMObjectPath& a, const CIMObjectPath& b) {
    return completed(a) == b;
}
bool same(const NamedInstance& a, const NamedInstance& b) {
    return completed(a.path) == b.path && a.instance == b.instance;
}
bool same(const ClassWithPath& a, const ClassWithPath& b) {
    return completed(CIMObjectPath(a.cls.getName())) == b.path && a.cls == b.cls;
}

Result readAgain(const String& element) {
    const ReceivedResponse response = ReceivedResponse::parse(
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLERSP><IMETHODRESPONSE NAME=\"m\"><IRETURNVALUE>" +
        element + "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>");
    return response.results.at(0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ReceivedResponse response;
    try {
        response = ReceivedResponse::parse({reinterpret_cast<const char*>(data), size});
    } catch (const RequestException&) {
        return 0;
    } catch (const CIMException& e) {
        require(e.getErrNo() == CIMException::INVALID_PARAMETER);
        return 0;
    }
    for (const Result& result : response.results) {
        std::visit(
            [&]<class T>(const T& object) {
                String element;
                write(element, object);
                require(same(object, std::get<T>(readAgain(element))));
            },
            result);
    }
    if (response.error) {
        const ReceivedResponse again = ReceivedResponse::parse(
            failure(response.id, response.method, *response.error, response.isExtrinsic));
        require(again.error->getErrNo() == response.error->getErrNo() &&
                again.method == response.method && again.id == response.id);
    }
    return 0;
}
