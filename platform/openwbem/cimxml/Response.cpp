// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/Response.hpp"

#include "blocxx/Invariant.hpp"
#include "blocxx/Printable.hpp"
#include "openwbem/cimxml/ElementWriter.hpp"
#include "openwbem/xml/XMLText.hpp"

namespace OpenWBEM::CIMXML {

namespace {

// The oldest versions of these majors, which clients of all minors take.
constexpr const char* HEAD =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">";

void openMessage(ElementWriter& xml, const String& id) {
    xml.begin("MESSAGE");
    xml.attribute("ID", id);
    xml.attribute("PROTOCOLVERSION", "1.0");
    xml.content();
    xml.begin("SIMPLERSP");
    xml.content();
}

void openResponse(ElementWriter& xml, const char* element, const String& method) {
    xml.begin(element);
    xml.attribute("NAME", method);
    xml.content();
}

void closeMessage(ElementWriter& xml, const char* response) {
    xml.end(response);
    xml.end("SIMPLERSP");
    xml.end("MESSAGE");
    xml.end("CIM");
}

void parameter(ElementWriter& xml, const char* name, const char* type, const String* value) {
    xml.begin("PARAMVALUE");
    xml.attribute("NAME", name);
    xml.attribute("PARAMTYPE", type);
    xml.content();
    if (value != nullptr) {
        xml.element("VALUE", *value);
    }
    xml.end("PARAMVALUE");
}

/// A message as XML can hold it.
String sendable(const char* message) {
    String text = blocxx::printable(message);
    // What is left are U+FFFE and U+FFFF.
    constexpr std::string_view START = "\xEF\xBF";
    for (size_t at = text.find(START); at != String::npos; at = text.find(START, at + 1)) {
        if (XMLText::findUnprintable(std::string_view(text).substr(at, 3)) == 0) {
            text.replace(at, 3, "???");
        }
    }
    return text;
}

/// Leaves `out` as it was when `append` throws.
template <class Append>
void appendWhole(String& out, const Append& append) {
    const size_t before = out.size();
    try {
        append();
    } catch (...) {
        out.resize(before);
        throw;
    }
}

void appendProperty(String& out, const IntrinsicCall& call, const CIMInstance& instance) {
    const String& name = call.call().wanted.propertyList->front();
    const CIMProperty* const property = instance.getProperty(name);
    if (property == nullptr) {
        OPENWBEM_THROW_CIM(NO_SUCH_PROPERTY, "an instance of " + instance.getClassName() +
                                                 " has no property \"" + name + '"');
    }
    appendValue(out, property->getValue());
}

}  // namespace

void appendHead(String& out, const String& id, const IntrinsicCall& call) {
    out += HEAD;
    ElementWriter xml(out);
    openMessage(xml, id);
    openResponse(xml, "IMETHODRESPONSE", call.name());
    if (call.form() != ResultForm::NOTHING) {
        xml.begin("IRETURNVALUE");
        xml.content();
    }
}

void appendTail(String& out, const IntrinsicCall& call, const PullState* state) {
    ElementWriter xml(out);
    if (call.form() != ResultForm::NOTHING) {
        xml.end("IRETURNVALUE");
    }
    if (state != nullptr) {
        const String isAtEnd = state->isAtEnd ? "TRUE" : "FALSE";
        parameter(xml, "EndOfSequence", "boolean", &isAtEnd);
        parameter(xml, "EnumerationContext", "string",
                  state->isAtEnd ? nullptr : &state->enumerationContext);
    }
    closeMessage(xml, "IMETHODRESPONSE");
}

String failure(const String& id, const String& method, const CIMException& e, bool isExtrinsic) {
    const char* const response = isExtrinsic ? "METHODRESPONSE" : "IMETHODRESPONSE";
    String out = HEAD;
    ElementWriter xml(out);
    openMessage(xml, id);
    openResponse(xml, response, method);
    xml.begin("ERROR");
    xml.attribute("CODE", std::to_string(e.getErrNo()));
    xml.attribute("DESCRIPTION", sendable(e.getMessage()));
    xml.endEmpty();
    closeMessage(xml, response);
    return out;
}

void appendResult(String& out, const IntrinsicCall& call, const Place& /*place*/,
                  const String& name) {
    blocxx::ensured(call.form() == ResultForm::CLASS_NAME);
    appendWhole(out, [&] { appendClassName(out, name); });
}

void appendResult(String& out, const IntrinsicCall& call, const Place& place, const CIMClass& cls) {
    appendWhole(out, [&] {
        switch (call.form()) {
            case ResultForm::CLASS:
                return appendClass(out, cls);
            case ResultForm::OBJECT_WITH_PATH:
                return appendObjectWithPath(out, cls, place);
            default:
                blocxx::ensured(call.form() == ResultForm::OBJECT_PATH);
                return appendObjectPath(out, CIMObjectPath(cls.getName()), place);
        }
    });
}

void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const CIMObjectPath& path, const CIMInstance& instance) {
    appendWhole(out, [&] {
        switch (call.form()) {
            case ResultForm::INSTANCE:
                return appendInstance(out, instance);
            case ResultForm::PROPERTY_VALUE:
                return appendProperty(out, call, instance);
            case ResultForm::NAMED_INSTANCE:
                return appendNamedInstance(out, path, call.reduced(instance));
            case ResultForm::OBJECT_WITH_PATH:
                return appendObjectWithPath(out, path, call.reduced(instance), place);
            default:
                blocxx::ensured(call.form() == ResultForm::INSTANCE_WITH_PATH);
                return appendInstanceWithPath(out, path, call.reduced(instance), place);
        }
    });
}

void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const CIMInstance& instance) {
    appendResult(out, call, place, CIMObjectPath(place.ns, instance), instance);
}

void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const CIMObjectPath& path) {
    appendWhole(out, [&] {
        switch (call.form()) {
            case ResultForm::INSTANCE_NAME:
                return appendInstanceName(out, path);
            case ResultForm::OBJECT_PATH:
                return appendObjectPath(out, path, place);
            default:
                blocxx::ensured(call.form() == ResultForm::INSTANCE_PATH);
                return appendInstancePath(out, path, place);
        }
    });
}

void appendResult(String& out, const IntrinsicCall& call, const Place& /*place*/,
                  const CIMQualifierType& qualifierType) {
    blocxx::ensured(call.form() == ResultForm::QUALIFIER_TYPE);
    appendWhole(out, [&] { appendQualifierType(out, qualifierType); });
}

void appendResult(String& out, const IntrinsicCall& call, const Place& place,
                  const OperationResult& result) {
    std::visit(
        [&]<class T>(const T& object) {
            if constexpr (!std::is_same_v<T, std::monostate>) {
                appendResult(out, call, place, object);
            }
        },
        result);
}

void appendResult(String& out, const IntrinsicCall& call, uint64_t count) {
    blocxx::ensured(call.form() == ResultForm::NUMBER);
    appendValue(out, CIMValue(count));
}

}  // namespace OpenWBEM::CIMXML
