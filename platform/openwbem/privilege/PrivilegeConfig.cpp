// SPDX-License-Identifier: Apache-2.0
#include "openwbem/privilege/PrivilegeConfig.hpp"

#include <new>
#include <utility>

#include "PrivilegeGrammar.hpp"
#include "openwbem/privilege/Reader.hpp"
#include "openwbem/privilege/Scanner.hpp"

// The scanner's header needs the name that the grammar's prefix changed.
#define YYSTYPE OPENWBEM_PRIVGRAMMAR_STYPE
#include "PrivilegeLexer.hpp"

namespace OpenWBEM::PrivilegeConfig {

ParseException* ParseException::clone() const noexcept {
    try {
        return new (std::nothrow) ParseException(*this);
    } catch (...) {
        return nullptr;
    }
}

void ParseException::rethrow() const {
    throw ParseException(*this);
}

Scanner::Scanner(SourceText& source) : m_state{source.end()} {
    if (openwbem_privgrammar_lex_init_extra(&m_state, &m_handle) != 0) {
        throw std::bad_alloc();
    }
    m_nowhere = openwbem_privgrammar__scan_buffer(m_nothing, sizeof(m_nothing), m_handle);
    m_buffer = openwbem_privgrammar__scan_buffer(source.scannerBuffer(), source.scannerBufferSize(),
                                                 m_handle);
}

Scanner::~Scanner() {
    // Going to another buffer is what makes the scanner put back the byte behind its last token. It
    // only knows the one that it is in, which goes with it.
    openwbem_privgrammar__switch_to_buffer(m_nowhere, m_handle);
    openwbem_privgrammar__delete_buffer(m_buffer, m_handle);
    openwbem_privgrammar_lex_destroy(m_handle);
}

void openwbem_privconfig_parse(const String& text, IncludeHandler& handler,
                               Privileges& privileges) {
    Privileges parsed;
    Reader(handler, parsed).read(text, "");
    privileges = std::move(parsed);
}

}  // namespace OpenWBEM::PrivilegeConfig
