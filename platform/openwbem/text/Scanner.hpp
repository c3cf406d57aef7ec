// SPDX-License-Identifier: Apache-2.0
//
// A scanner that flex has generated, on one text, as an object that cleans up after itself.
#pragma once

#include <new>

#include "openwbem/text/SourceText.hpp"

struct yy_buffer_state;

namespace OpenWBEM {

/// What a scanner's actions know besides the token.
struct ScanState {
    const char* end;                ///< of the text
    const char* comment = nullptr;  ///< where the last comment began
};

/// `Flex` names the generated functions. While a scanner lives, the byte behind the current token
/// is overwritten; its end puts it back.
template <class Flex>
class Scanner {
public:
    explicit Scanner(SourceText& source) : m_state{source.end()} {
        if (Flex::init(&m_state, &m_handle) != 0) {
            throw std::bad_alloc();
        }
        m_nowhere = Flex::scan(m_nothing, sizeof(m_nothing), m_handle);
        m_buffer = Flex::scan(source.scannerBuffer(), source.scannerBufferSize(), m_handle);
    }
    ~Scanner() {
        // Going to another buffer is what makes the scanner put back the byte behind its last
        // token. It only knows the one that it is in, which goes with it.
        Flex::switchTo(m_nowhere, m_handle);
        Flex::remove(m_buffer, m_handle);
        Flex::destroy(m_handle);
    }
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

}  // namespace OpenWBEM
