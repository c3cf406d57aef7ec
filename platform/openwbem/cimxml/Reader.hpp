// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: reads a document element by element, on Expat, which is stopped after
// each tag. So the functions that read elements can call each other as the elements stand in each
// other, and no tree is built.
//
// Whoever reads an element calls child() until it returns false, or text() once: that is its end.
#pragma once

#include <exception>

#include "openwbem/cimxml/Request.hpp"
#include "openwbem/xml/BoundedExpat.hpp"

namespace OpenWBEM::CIMXML {

class Reader {
public:
    using Fault = RequestException::Fault;

    explicit Reader(String document);
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    // All throw RequestException: NOT_WELL_FORMED, NOT_VALID, or TOO_LARGE when a limit is reached.

    /// Goes to the document element.
    void root();
    /// Goes to the next element in the current one, which becomes the current one; false at its
    /// end. Throws when there is text between the elements.
    bool child();
    /// Goes to the next element in the current one, which must be of that name.
    void expect(std::string_view element);
    /// The text of the current element, to its end. Throws when there are elements in it.
    String text();
    /// Reads the current element, in which no further one may be, to its end.
    void end();
    /// Reads the current element, whatever it holds, to its end.
    void skip();
    /// Reads to the end of the document, after the end of its element.
    void finish();

    // These are of the current element as long as none in it has been read.
    const String& name() const noexcept { return m_current.text; }
    bool is(std::string_view element) const noexcept { return m_current.text == element; }
    /// Null when there is none.
    const String* find(std::string_view attribute) const noexcept;
    String optional(std::string_view attribute) const;
    String required(std::string_view attribute) const;
    /// An attribute "true" or "false".
    bool flag(std::string_view attribute, bool standard) const;

    [[noreturn]] void fail(Fault fault, std::string_view what) const;
    [[noreturn]] void notValid(std::string_view what) const { fail(Fault::NOT_VALID, what); }
    /// The current element must not stand where it does.
    [[noreturn]] void misplaced() const;

private:
    struct Attribute {
        String name;
        String value;
    };
    struct Event {
        enum Kind : uint8_t { START, END, TEXT };
        Kind kind = END;
        String text;  ///< the name of a START
        Array<Attribute> attributes{};
    };

    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char** attributes);
    static void XMLCALL onEnd(void* self, const XML_Char* name);
    static void XMLCALL onText(void* self, const XML_Char* text, int size);
    static void XMLCALL onDocumentType(void* self, const XML_Char* name, const XML_Char* systemId,
                                       const XML_Char* publicId, int hasInternalSubset);
    template <class Action>
    static void guard(void* self, const Action& action) noexcept;

    void start(const XML_Char* name, const XML_Char** attributes);
    Event& add(Event::Kind kind);
    /// Lets Expat go on. False at the end of the document.
    bool resume();
    /// The next event.
    Event& next();

    BoundedExpat m_expat;
    int m_size;
    bool m_hasBegun = false;
    unsigned m_depth = 0;
    /// What Expat has found and has not been read: the first `m_count` from `m_read` on. It may
    /// find more than one event before it stops.
    Array<Event> m_events;
    size_t m_read = 0;
    size_t m_count = 0;
    Event m_current;
    std::exception_ptr m_failure;
};

}  // namespace OpenWBEM::CIMXML
