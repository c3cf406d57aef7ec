// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/CIMHeaders.hpp"

#include <kj/encoding.h>

#include "blocxx/Format.hpp"

namespace OwCimomd {

using blocxx::equalsIgnoreCase;
using blocxx::Format;

namespace {

constexpr const char* EXTENSION = "http://www.dmtf.org/cim/mapping/http/v1.0";
/// Of the responses' own extension declarations: any two digits do.
constexpr const char* OWN_NUMBER = "57";

String trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\"";
    const size_t first = text.find_first_not_of(BLANKS);
    return first == std::string_view::npos
               ? String()
               : String(text.substr(first, text.find_last_not_of(BLANKS) - first + 1));
}

/// A value up to the first ";", and its parameters.
struct MediaValue {
    explicit MediaValue(std::string_view text) {
        const auto parts = blocxx::tokenize(text, ";");
        for (const String& part : parts) {
            const size_t equals = part.find('=');
            if (&part == &parts.front()) {
                value = blocxx::toLower(trimmed(part));
            } else if (equals != String::npos) {
                parameters[blocxx::toLower(trimmed(part.substr(0, equals)))] =
                    trimmed(std::string_view(part).substr(equals + 1));
            }
        }
    }
    String value;
    std::map<String, String> parameters;
};

bool isXML(std::string_view type) {
    return type == "application/xml" || type == "text/xml";
}

/// "application/xml, */*;q=0.5": whether XML is among them. Without the field everything is.
bool acceptsXML(const HttpRequest& request) {
    if (!request.has("accept")) {
        return true;
    }
    for (const String& range : blocxx::tokenize(request.field("accept"), ",")) {
        const String type = MediaValue(range).value;
        if (isXML(type) || type == "*/*" || type == "application/*" || type == "text/*") {
            return true;
        }
    }
    return false;
}

std::optional<HttpRefusal> refusedContent(const HttpRequest& request) {
    const MediaValue type(request.field("content-type"));
    if (!isXML(type.value)) {
        return HttpRefusal{415, "The content must be of the type application/xml."};
    }
    const auto charset = type.parameters.find("charset");
    if (charset != type.parameters.end() && !equalsIgnoreCase(charset->second, "utf-8")) {
        return HttpRefusal{415, "The character set must be utf-8."};
    }
    const String encoding = request.field("content-encoding");
    if (!encoding.empty() && !equalsIgnoreCase(encoding, "identity")) {
        return HttpRefusal{415, "The content must not be encoded."};
    }
    if (!acceptsXML(request)) {
        return HttpRefusal{406, "Responses are of the type application/xml."};
    }
    return std::nullopt;
}

/// It goes into the names of the response's fields.
bool isNumber(std::string_view text) {
    return !text.empty() && text.size() <= 4 &&
           text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The prefix of the CIM fields; none when an M-POST does not declare the extension.
std::optional<String> prefixOf(const HttpRequest& request) {
    if (request.method != "M-POST") {
        return String();
    }
    for (const String& declaration : blocxx::tokenize(request.field("man"), ",")) {
        const MediaValue man(declaration);
        const auto number = man.parameters.find("ns");
        if (man.value == EXTENSION && number != man.parameters.end() && isNumber(number->second)) {
            return number->second + "-";
        }
    }
    return std::nullopt;
}

String decoded(const String& text) {
    const auto bytes = kj::decodeBinaryUriComponent(kj::arrayPtr(text.data(), text.size()));
    return {reinterpret_cast<const char*>(bytes.begin()), bytes.size()};
}

bool hasToken(const String& list, std::string_view token) {
    for (const String& item : blocxx::tokenize(list, ",")) {
        if (MediaValue(item).value == token) {
            return true;
        }
    }
    return false;
}

}  // namespace

String escaped(std::string_view text) {
    String out;
    for (const char c : text) {
        if (c >= ' ' && c <= '~' && c != '%') {
            out += c;
        } else {
            constexpr char DIGITS[] = "0123456789ABCDEF";
            const auto byte = static_cast<unsigned char>(c);
            out += {'%', DIGITS[byte >> 4U], DIGITS[byte & 15U]};
        }
    }
    return out;
}

std::variant<CIMHeaders, HttpRefusal> CIMHeaders::read(const HttpRequest& request) {
    const auto prefix = prefixOf(request);
    if (!prefix) {
        return HttpRefusal{510, Format("The field Man must declare \"%1\".", EXTENSION)};
    }
    const auto field = [&](const char* name) {
        return request.field(blocxx::toLower(*prefix) + name);
    };
    if (auto refusal = refusedContent(request)) {
        return *refusal;
    }
    if (!field("cimbatch").empty()) {
        return HttpRefusal{501, "Several requests in one message are not supported.",
                           "multiple-requests-unsupported"};
    }
    if (!equalsIgnoreCase(field("cimoperation"), "MethodCall")) {
        return HttpRefusal{400, "The field CIMOperation must be MethodCall.",
                           "unsupported-operation"};
    }
    const String version = field("cimprotocolversion");
    if (!version.empty() && version.rfind("1.", 0) != 0) {
        return HttpRefusal{501, "The protocol's version must be 1.",
                           "unsupported-protocol-version"};
    }
    CIMHeaders headers;
    headers.m_prefix = *prefix;
    headers.m_method = decoded(field("cimmethod"));
    headers.m_object = decoded(field("cimobject"));
    headers.m_takesTrailers = hasToken(request.field("te"), "trailers");
    return headers;
}

std::optional<HttpRefusal> CIMHeaders::mismatch(const CIMXML::Request& message) const {
    std::string_view object = m_object;
    while (object.starts_with('/')) {
        object.remove_prefix(1);
    }
    const bool isSame =
        m_method == message.method && (message.isExtrinsic || equalsIgnoreCase(object, message.ns));
    if (isSame) {
        return std::nullopt;
    }
    return HttpRefusal{400,
                       "The fields CIMMethod and CIMObject must name the method and the "
                       "namespace of the message.",
                       "header-mismatch"};
}

HttpFields CIMHeaders::responseFields() const {
    HttpFields fields{{"Content-Type", "application/xml; charset=\"utf-8\""}};
    if (!m_prefix.empty()) {
        fields.emplace_back("Ext", "");
        fields.emplace_back(
            "Man", Format("%1 ; ns=%2", EXTENSION, m_prefix.substr(0, m_prefix.size() - 1)));
    }
    fields.emplace_back(m_prefix + "CIMOperation", "MethodResponse");
    return fields;
}

HttpFields CIMHeaders::optionsFields() {
    const String prefix = OWN_NUMBER + String("-");
    return {{"Allow", "OPTIONS, POST, M-POST"},
            {"Opt", Format("%1 ; ns=%2", EXTENSION, OWN_NUMBER)},
            {prefix + "CIMProtocolVersion", "1.4"},
            {prefix + "CIMSupportedFunctionalGroups",
             "basic-read, basic-write, schema-manipulation, instance-manipulation, "
             "qualifier-declaration, association-traversal, pulled-read"}};
}

}  // namespace OwCimomd
