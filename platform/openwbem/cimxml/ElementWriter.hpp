// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: appends tags, attributes and text, and knows what is being written when
// XML cannot hold a text.
#pragma once

#include "openwbem/model/CIMFwd.hpp"

namespace OpenWBEM::CIMXML {

class ElementWriter {
public:
    explicit ElementWriter(String& out) noexcept : m_out(out) {}
    /// Writes to `out` as a part of what `around` is writing.
    ElementWriter(String& out, const ElementWriter& around) noexcept
        : m_out(out), m_subject(around.m_subject) {}
    ElementWriter(const ElementWriter&) = delete;
    ElementWriter& operator=(const ElementWriter&) = delete;

    /// Names what is being written, for messages, as long as it lives.
    class Subject {
    public:
        Subject(ElementWriter& writer, const char* kind, const String& name) noexcept
            : m_writer(writer), m_kind(kind), m_name(name), m_around(writer.m_subject) {
            writer.m_subject = this;
        }
        ~Subject() { m_writer.m_subject = m_around; }
        Subject(const Subject&) = delete;
        Subject& operator=(const Subject&) = delete;

    private:
        friend class ElementWriter;
        ElementWriter& m_writer;
        const char* m_kind;
        const String& m_name;
        const Subject* m_around;
    };

    /// Begins a start tag, which attributes may follow until content() or endEmpty().
    void begin(std::string_view element);
    void attribute(std::string_view name, std::string_view value);
    /// An attribute "true" or "false", left out where it has its default.
    void flag(std::string_view name, bool value, bool standard);
    void content() { m_out += '>'; }
    void endEmpty() { m_out += "/>"; }
    void end(std::string_view element);
    void text(std::string_view text);
    /// A whole element without attributes.
    void element(std::string_view name, std::string_view content);

    /// Throws CIMException FAILED with what is being written and why it cannot be.
    [[noreturn]] void fail(std::string_view why) const;

private:
    void check(std::string_view text) const;

    String& m_out;
    const Subject* m_subject = nullptr;
};

}  // namespace OpenWBEM::CIMXML
