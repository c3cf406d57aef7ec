// SPDX-License-Identifier: Apache-2.0
//
// Private to this folder: the elements that requests and responses share: CIM and MESSAGE
// (DSP0201 5.2.1, 5.2.6).
#pragma once

#include "openwbem/cimxml/Decoder.hpp"

namespace OpenWBEM::CIMXML {

class MessageReader {
public:
    /// Throws RequestException TOO_LARGE.
    explicit MessageReader(std::string_view document);

    Reader& xml() noexcept { return m_reader; }
    Decoder decoder() noexcept { return Decoder(m_reader); }

    /// Goes into the MESSAGE, to the element in it. Checks the versions.
    void open(String& id, String& protocolVersion);
    /// Goes to the next element, which must be there; `element` is one that it may be.
    void goTo(const char* element);
    /// Reads to the end of the document, after the element in the MESSAGE.
    void close();

private:
    void checkVersion(const char* attribute, std::string_view major,
                      RequestException::Fault fault) const;

    Reader m_reader;
};

}  // namespace OpenWBEM::CIMXML
