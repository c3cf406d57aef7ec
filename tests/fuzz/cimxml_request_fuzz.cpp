// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a request: they are refused, or the call that they ask for can be carried out, and
// each argument that was read can be written and read again as the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "openwbem/cimxml/IntrinsicMethod.hpp"
#include "openwbem/cimxml/Response.hpp"

namespace {

using namespace OpenWBEM;          // NOLINT(google-build-using-namespace)
using namespace OpenWBEM::CIMXML;  // NOLINT(google-build-using-namespace)

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void write(String& out, const String& text) {
    appendValue(out, CIMValue(text));
}
void write(String& out, const StringArray& texts) {
    appendValue(out, CIMValue::array<String>(texts));
}
void write(String& out, const ClassName& name) {
    appendClassName(out, name.name);
}
void write(String& out, const CIMObjectPath& path) {
    appendInstanceName(out, path);
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
void write(String& out, const NamedInstance& named) {
    appendNamedInstance(out, named.path, named.instance);
}

template <class T>
bool same(const T& a, const T& b) {
    return a == b;
}
bool same(const ClassName& a, const ClassName& b) {
    return a.name == b.name;
}
bool same(const CIMObjectPath& a, const CIMObjectPath& b) {
    // An INSTANCENAME has no place.
    return CIMObjectPath(a).setHost({}).setNameSpace({}) == b;
}
bool same(const NamedInstance& a, const NamedInstance& b) {
    return a.path == b.path && a.instance == b.instance;
}

Argument readAgain(const String& element) {
    const Request request = Request::parse(
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLEREQ><IMETHODCALL NAME=\"m\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"n\"/>"
        "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"a\">" +
        element + "</IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>");
    require(!request.failure);
    return request.arguments.at("a");
}

void checkRoundTrip(const Argument& argument) {
    std::visit(
        [&]<class T>(const T& object) {
            if constexpr (!std::is_same_v<T, std::monostate>) {
                String element;
                write(element, object);
                require(same(object, std::get<T>(readAgain(element))));
            }
        },
        argument);
}

/// Uses everything that a call has.
void checkCall(const IntrinsicCall& call) {
    String out;
    appendHead(out, "1", call);
    if (call.pull() == Pull::NONE || call.pull() == Pull::OPEN) {
        const OperationCall operation = call.call();
        require(&operation.ns == &call.ns());
        require((traitsOf(operation.operation).operand == OperationTraits::Operand::NONE) ==
                std::holds_alternative<std::monostate>(operation.operand));
    }
    const PullState state{false, call.pullArguments().enumerationContext};
    appendTail(out, call, &state);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const Request request = Request::parse({reinterpret_cast<const char*>(data), size});
        for (const auto& [name, argument] : request.arguments) {
            checkRoundTrip(argument);
        }
        try {
            checkCall(IntrinsicCall(request));
        } catch (const CIMException& e) {
            failure(request.id, request.method, e, request.isExtrinsic);
        }
    } catch (const RequestException& e) {
        require(e.fault() == RequestException::Fault::TOO_LARGE || *e.cimError() != '\0');
    }
    return 0;
}
