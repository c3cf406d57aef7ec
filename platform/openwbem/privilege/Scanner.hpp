// SPDX-License-Identifier: Apache-2.0
//
// The generated scanner on one text, as an object that cleans up after itself.
#pragma once

#include "openwbem/text/SourceText.hpp"

struct yy_buffer_state;

namespace OpenWBEM::PrivilegeConfig {

/// What the scanner's actions know besides the token.
struct ScanState {
    const char* end;  ///< of the text
};

/// While it lives the byte behind the current token is overwritten; its end puts it back.
class Scanner {
public:
    explicit Scanner(SourceText& source);
    ~Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    void* handle() const noexcept { return m_handle; }

private:
    ScanState m_state;
    void* m_handle = nullptr;
    yy_buffer_state* m_buffer = nullptr;
    yy_buffer_state* m_nowhere = nullptr;  ///< over `m_nothing`
    char m_nothing[2] = {0, 0};
};

}  // namespace OpenWBEM::PrivilegeConfig
