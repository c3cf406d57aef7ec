// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/Reader.hpp"

#include <algorithm>
#include <utility>

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "openwbem/cimxml/Limits.hpp"
#include "openwbem/xml/XMLText.hpp"

namespace OpenWBEM::CIMXML {

using blocxx::Format;

Reader::Reader(String document)
    : m_expat(Limits::MAX_MARKUP_MEMORY), m_size(static_cast<int>(document.size())) {
    XML_Parser parser = m_expat.get();
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetCharacterDataHandler(parser, onText);
    XML_SetStartDoctypeDeclHandler(parser, onDocumentType);
    // Whatever the document declares: HTTP says the encoding, and we accept no other.
    XML_SetEncoding(parser, "UTF-8");
    std::ranges::copy(document, m_expat.documentBuffer(m_size));
}

void Reader::fail(Fault fault, std::string_view what) const {
    XML_Parser parser = m_expat.get();
    throw RequestException(__FILE__, __LINE__, fault,
                           Format("line %1, column %2: %3", XML_GetCurrentLineNumber(parser),
                                  XML_GetCurrentColumnNumber(parser) + 1, what));
}

void Reader::misplaced() const {
    constexpr size_t SHOWN = 100;
    notValid(
        Format("the element %1 must not be here", blocxx::oneLine(m_current.text.substr(0, SHOWN)))
            .toString());
}

/// Exceptions must not pass through Expat: the first one stops it and is thrown again when it has
/// returned.
template <class Action>
void Reader::guard(void* self, const Action& action) noexcept {
    auto& reader = *static_cast<Reader*>(self);
    if (reader.m_failure) {
        return;
    }
    try {
        action(reader);
    } catch (...) {
        reader.m_failure = std::current_exception();
        XML_StopParser(reader.m_expat.get(), XML_FALSE);
    }
}

Reader::Event& Reader::add(Event::Kind kind) {
    if (m_count == m_events.size()) {
        m_events.emplace_back();
    }
    Event& event = m_events[m_count++];
    event.kind = kind;
    event.text.clear();
    event.attributes.clear();
    return event;
}

void Reader::start(const XML_Char* name, const XML_Char** attributes) {
    if (++m_depth > Limits::MAX_DEPTH) {
        notValid("elements are nested more than " + std::to_string(Limits::MAX_DEPTH) + " deep");
    }
    Event& event = add(Event::START);
    event.text = name;
    for (; *attributes != nullptr; attributes += 2) {
        if (event.attributes.size() == Limits::MAX_ATTRIBUTES) {
            notValid("an element has more than " + std::to_string(Limits::MAX_ATTRIBUTES) +
                     " attributes");
        }
        const std::string_view value = attributes[1];
        if (value.size() > Limits::MAX_ATTRIBUTE_SIZE) {
            notValid("an attribute is longer than " + std::to_string(Limits::MAX_ATTRIBUTE_SIZE) +
                     " bytes");
        }
        event.attributes.push_back({attributes[0], String(value)});
    }
    XML_StopParser(m_expat.get(), XML_TRUE);
}

void Reader::onStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    guard(self, [&](Reader& reader) { reader.start(name, attributes); });
}

void Reader::onEnd(void* self, const XML_Char*) {
    guard(self, [](Reader& reader) {
        --reader.m_depth;
        reader.add(Event::END);
        // Fails, which does not matter, where the start of an empty element has stopped it.
        XML_StopParser(reader.m_expat.get(), XML_TRUE);
    });
}

void Reader::onText(void* self, const XML_Char* text, int size) {
    guard(self, [&](Reader& reader) {
        const bool goesOn =
            reader.m_count > 0 && reader.m_events[reader.m_count - 1].kind == Event::TEXT;
        Event& event = goesOn ? reader.m_events[reader.m_count - 1] : reader.add(Event::TEXT);
        event.text.append(text, static_cast<size_t>(size));
    });
}

void Reader::onDocumentType(void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    guard(self, [](Reader& reader) { reader.notValid("a document type is not accepted"); });
}

bool Reader::resume() {
    m_read = m_count = 0;
    const XML_Status status =
        std::exchange(m_hasBegun, true) ? m_expat.resume() : m_expat.parseBuffer(m_size);
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    if (status == XML_STATUS_ERROR) {
        const XML_Error error = XML_GetErrorCode(m_expat.get());
        if (error == XML_ERROR_NO_MEMORY) {
            fail(Fault::TOO_LARGE, "the markup takes more memory than " +
                                       std::to_string(Limits::MAX_MARKUP_MEMORY) + " bytes");
        }
        fail(Fault::NOT_WELL_FORMED, XML_ErrorString(error));
    }
    return status == XML_STATUS_SUSPENDED;
}

Reader::Event& Reader::next() {
    // Expat does not end a document while an element is open.
    while (m_read == m_count) {
        resume();
    }
    return m_events[m_read++];
}

void Reader::root() {
    std::swap(m_current, next());
}

bool Reader::child() {
    for (;;) {
        Event& event = next();
        switch (event.kind) {
            case Event::START:
                std::swap(m_current, event);
                return true;
            case Event::END:
                return false;
            case Event::TEXT:
                if (!XMLText::isBlank(event.text)) {
                    notValid("text must not be between elements");
                }
        }
    }
}

String Reader::text() {
    String text;
    for (;;) {
        Event& event = next();
        switch (event.kind) {
            case Event::START:
                std::swap(m_current, event);
                misplaced();
            case Event::END:
                return text;
            case Event::TEXT:
                text = text.empty() ? std::move(event.text) : text + event.text;
        }
    }
}

void Reader::expect(std::string_view element) {
    if (!child()) {
        notValid(Format("the element %1 is missing", element).toString());
    }
    if (!is(element)) {
        misplaced();
    }
}

void Reader::end() {
    if (child()) {
        misplaced();
    }
}

void Reader::skip() {
    for (unsigned depth = 1; depth > 0;) {
        switch (next().kind) {
            case Event::START:
                ++depth;
                break;
            case Event::END:
                --depth;
                break;
            case Event::TEXT:
                break;
        }
    }
}

void Reader::finish() {
    while (resume()) {
    }
}

const String* Reader::find(std::string_view attribute) const noexcept {
    for (const Attribute& each : m_current.attributes) {
        if (each.name == attribute) {
            return &each.value;
        }
    }
    return nullptr;
}

String Reader::optional(std::string_view attribute) const {
    const String* const value = find(attribute);
    return value != nullptr ? *value : String();
}

String Reader::required(std::string_view attribute) const {
    const String* const value = find(attribute);
    if (value == nullptr) {
        notValid(
            Format("the element %1 lacks the attribute %2", m_current.text, attribute).toString());
    }
    return *value;
}

bool Reader::flag(std::string_view attribute, bool standard) const {
    const String* const value = find(attribute);
    if (value == nullptr) {
        return standard;
    }
    if (!blocxx::equalsIgnoreCase(*value, "true") && !blocxx::equalsIgnoreCase(*value, "false")) {
        notValid(Format("the attribute %1 must be true or false", attribute).toString());
    }
    return blocxx::equalsIgnoreCase(*value, "true");
}

}  // namespace OpenWBEM::CIMXML
