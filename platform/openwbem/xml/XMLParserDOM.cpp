// SPDX-License-Identifier: Apache-2.0
//
// Expat gets the document as a whole, in its own buffer. If it got pieces, it would scan a token
// that is longer than a piece again from its beginning with each of them.
#include "openwbem/xml/XMLParserDOM.hpp"

#include <algorithm>
#include <exception>
#include <utility>

#include "blocxx/Format.hpp"
#include "openwbem/xml/BoundedExpat.hpp"
#include "openwbem/xml/XMLLimits.hpp"
#include "openwbem/xml/XMLText.hpp"

namespace OpenWBEM {

using blocxx::Array;
using blocxx::Format;
using blocxx::String;

/// Builds the tree from Expat's events. Exceptions must not pass through Expat: the first one stops
/// it and is thrown again when it has returned.
class XMLTreeBuilder {
public:
    XMLTreeBuilder();
    /// The buffer for a document of that size, which must be filled before build().
    char* buffer(size_t size) {
        return m_document = m_expat.documentBuffer(static_cast<int>(size));
    }
    XMLNode build(size_t size);

private:
    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char** attributes);
    static void XMLCALL onEnd(void* self, const XML_Char* name);
    static void XMLCALL onText(void* self, const XML_Char* text, int size);
    static void XMLCALL onDocumentType(void* self, const XML_Char* name, const XML_Char* systemId,
                                       const XML_Char* publicId, int hasInternalSubset);
    static void XMLCALL onEntity(void* self, const XML_Char* name, int isParameter,
                                 const XML_Char* value, int size, const XML_Char* base,
                                 const XML_Char* systemId, const XML_Char* publicId,
                                 const XML_Char* notation);
    static void XMLCALL onAttributeList(void* self, const XML_Char* element,
                                        const XML_Char* attribute, const XML_Char* type,
                                        const XML_Char* defaultValue, int isRequired);
    static void XMLCALL onSkippedEntity(void* self, const XML_Char* name, int isParameter);

    /// Runs `action` unless one has failed before.
    template <class Action>
    static void guard(void* self, const Action& action) noexcept;
    void start(const XML_Char* name, const XML_Char** attributes);
    void end();
    bool isLoneCarriageReturn() const;
    [[noreturn]] void fail(std::string_view what) const;

    BoundedExpat m_expat;
    char* m_document = nullptr;
    XMLNode m_root;
    Array<XMLNode> m_open;
    size_t m_items = 0;
    std::exception_ptr m_failure;
};

XMLTreeBuilder::XMLTreeBuilder() {
    XML_Parser parser = m_expat.get();
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetCharacterDataHandler(parser, onText);
    XML_SetStartDoctypeDeclHandler(parser, onDocumentType);
    XML_SetEntityDeclHandler(parser, onEntity);
    XML_SetAttlistDeclHandler(parser, onAttributeList);
    XML_SetSkippedEntityHandler(parser, onSkippedEntity);
}

XMLNode XMLTreeBuilder::build(size_t size) {
    XML_Parser parser = m_expat.get();
    const XML_Status status = XML_ParseBuffer(parser, static_cast<int>(size), XML_TRUE);
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    if (status != XML_STATUS_OK) {
        const XML_Error error = XML_GetErrorCode(parser);
        if (error == XML_ERROR_NO_MEMORY) {
            fail("the markup takes more memory than " +
                 std::to_string(XMLLimits::MAX_MARKUP_MEMORY) + " bytes");
        }
        fail(XML_ErrorString(error));
    }
    return m_root;
}

void XMLTreeBuilder::fail(std::string_view what) const {
    BLOCXX_THROW(XMLParseException,
                 String(Format("line %1, column %2: %3", XML_GetCurrentLineNumber(m_expat.get()),
                               XML_GetCurrentColumnNumber(m_expat.get()) + 1, what)));
}

template <class Action>
void XMLTreeBuilder::guard(void* self, const Action& action) noexcept {
    auto& builder = *static_cast<XMLTreeBuilder*>(self);
    if (builder.m_failure) {
        return;
    }
    try {
        action(builder);
    } catch (...) {
        builder.m_failure = std::current_exception();
        XML_StopParser(builder.m_expat.get(), XML_FALSE);
    }
}

void XMLTreeBuilder::start(const XML_Char* name, const XML_Char** attributes) {
    Array<XMLAttribute> list;
    for (; *attributes != nullptr; attributes += 2) {
        list.push_back({attributes[0], attributes[1]});
    }
    m_items += 1 + list.size();
    if (m_items > XMLLimits::MAX_ITEMS) {
        fail("the document has more than " + std::to_string(XMLLimits::MAX_ITEMS) +
             " elements and attributes");
    }
    const XMLNode node(name, std::move(list));
    if (m_open.empty()) {
        m_root = node;
    } else {
        m_open.back().append(node);
    }
    m_open.push_back(node);
}

void XMLTreeBuilder::end() {
    XMLNode& node = m_open.back();
    if (!node.getChildren().empty() && XMLText::isBlank(node.getText())) {
        node.setText({});
    }
    m_open.pop_back();
}

/// Whether the text that Expat has just found is a carriage return without a line feed in the
/// document. Expat turns it into a line feed.
bool XMLTreeBuilder::isLoneCarriageReturn() const {
    XML_Parser parser = m_expat.get();
    const std::string_view bytes(m_document + XML_GetCurrentByteIndex(parser),
                                 static_cast<size_t>(XML_GetCurrentByteCount(parser)));
    return bytes.find('\r') != std::string_view::npos && bytes.find('\n') == std::string_view::npos;
}

void XMLTreeBuilder::onStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    guard(self, [&](XMLTreeBuilder& builder) { builder.start(name, attributes); });
}

void XMLTreeBuilder::onEnd(void* self, const XML_Char*) {
    guard(self, [](XMLTreeBuilder& builder) { builder.end(); });
}

void XMLTreeBuilder::onText(void* self, const XML_Char* text, int size) {
    guard(self, [&](XMLTreeBuilder& builder) {
        const std::string_view given(text, static_cast<size_t>(size));
        const bool isKept = given == "\n" && builder.isLoneCarriageReturn();
        builder.m_open.back().appendText(isKept ? "\r" : given);
    });
}

void XMLTreeBuilder::onDocumentType(void* self, const XML_Char*, const XML_Char* systemId,
                                    const XML_Char* publicId, int) {
    guard(self, [&](XMLTreeBuilder& builder) {
        if (systemId != nullptr || publicId != nullptr) {
            builder.fail("a document type that is defined outside of the document is not accepted");
        }
    });
}

void XMLTreeBuilder::onEntity(void* self, const XML_Char*, int, const XML_Char*, int,
                              const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*) {
    guard(self, [](XMLTreeBuilder& builder) {
        builder.fail("a document that declares entities is not accepted");
    });
}

void XMLTreeBuilder::onAttributeList(void* self, const XML_Char*, const XML_Char*, const XML_Char*,
                                     const XML_Char*, int) {
    guard(self, [](XMLTreeBuilder& builder) {
        builder.fail("a document that declares attributes is not accepted");
    });
}

void XMLTreeBuilder::onSkippedEntity(void* self, const XML_Char*, int) {
    guard(self, [](XMLTreeBuilder& builder) {
        builder.fail("an entity that is not declared is not accepted");
    });
}

XMLNode XMLParserDOM::parse(String document) {
    const size_t size = document.size();
    if (size > XMLLimits::MAX_DOCUMENT_SIZE) {
        BLOCXX_THROW(XMLParseException, "line 1, column 1: the document is larger than " +
                                            std::to_string(XMLLimits::MAX_DOCUMENT_SIZE) +
                                            " bytes");
    }
    XMLTreeBuilder builder;
    std::ranges::copy(document, builder.buffer(size));
    // A large document exists only once while its tree is built.
    String().swap(document);
    return builder.build(size);
}

}  // namespace OpenWBEM
