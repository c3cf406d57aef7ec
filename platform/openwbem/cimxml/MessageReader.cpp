// SPDX-License-Identifier: Apache-2.0
#include "openwbem/cimxml/MessageReader.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/cimxml/Limits.hpp"

namespace OpenWBEM::CIMXML {

using Fault = RequestException::Fault;

namespace {

String checked(std::string_view document) {
    if (document.size() > Limits::MAX_DOCUMENT_SIZE) {
        throw RequestException(
            __FILE__, __LINE__, Fault::TOO_LARGE,
            "the document is larger than " + std::to_string(Limits::MAX_DOCUMENT_SIZE) + " bytes");
    }
    return String(document);
}

}  // namespace

MessageReader::MessageReader(std::string_view document) : m_reader(checked(document)) {}

void MessageReader::checkVersion(const char* attribute, std::string_view major, Fault fault) const {
    if (!m_reader.required(attribute).starts_with(major)) {
        m_reader.fail(fault, blocxx::Format("%1 must be %2x", attribute, major).toString());
    }
}

void MessageReader::goTo(const char* element) {
    if (!m_reader.child()) {
        m_reader.notValid(blocxx::Format("the element %1 is missing", element).toString());
    }
}

void MessageReader::open(String& id, String& protocolVersion) {
    m_reader.root();
    if (!m_reader.is("CIM")) {
        m_reader.notValid("the document element must be CIM");
    }
    checkVersion("CIMVERSION", "2.", Fault::UNSUPPORTED_CIM_VERSION);
    checkVersion("DTDVERSION", "2.", Fault::UNSUPPORTED_DTD_VERSION);
    m_reader.expect("MESSAGE");
    checkVersion("PROTOCOLVERSION", "1.", Fault::UNSUPPORTED_PROTOCOL_VERSION);
    id = m_reader.required("ID");
    protocolVersion = m_reader.required("PROTOCOLVERSION");
    goTo("SIMPLEREQ");
}

void MessageReader::close() {
    m_reader.end();
    m_reader.end();
    m_reader.finish();
}

}  // namespace OpenWBEM::CIMXML
