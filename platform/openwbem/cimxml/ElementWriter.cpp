// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/ElementWriter.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/xml/XMLText.hpp"

namespace OpenWBEM::CIMXML {

void ElementWriter::fail(std::string_view why) const {
    constexpr size_t SHOWN = 200;
    String subject;
    for (const Subject* at = m_subject; at != nullptr; at = at->m_around) {
        subject += subject.empty() ? "" : " of ";
        subject += at->m_kind;
        subject += " \"" + blocxx::oneLine(at->m_name.substr(0, SHOWN)) + '"';
    }
    OPENWBEM_THROW_CIM(FAILED, blocxx::Format("%1 cannot be sent as XML: %2", subject, why));
}

void ElementWriter::check(std::string_view text) const {
    const size_t offset = XMLText::findUnprintable(text);
    if (offset != std::string_view::npos) {
        fail(blocxx::Format("it has a character at byte %1 that XML cannot hold", offset + 1)
                 .toString());
    }
}

void ElementWriter::begin(std::string_view element) {
    m_out += '<';
    m_out += element;
}

void ElementWriter::attribute(std::string_view name, std::string_view value) {
    check(value);
    m_out += ' ';
    m_out += name;
    m_out += "=\"";
    XMLText::appendAttributeValue(m_out, value);
    m_out += '"';
}

void ElementWriter::flag(std::string_view name, bool value, bool standard) {
    if (value != standard) {
        attribute(name, value ? "true" : "false");
    }
}

void ElementWriter::end(std::string_view element) {
    m_out += "</";
    m_out += element;
    m_out += '>';
}

void ElementWriter::text(std::string_view text) {
    check(text);
    XMLText::appendText(m_out, text);
}

void ElementWriter::element(std::string_view name, std::string_view content) {
    begin(name);
    m_out += '>';
    text(content);
    end(name);
}

}  // namespace OpenWBEM::CIMXML
