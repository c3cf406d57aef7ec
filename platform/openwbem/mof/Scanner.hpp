// SPDX-License-Identifier: Apache-2.0
//
// The generated scanner on one text, as an object that cleans up after itself.
#pragma once

#include <vector>

#include "openwbem/text/SourceText.hpp"

union OPENWBEM_MOF_STYPE;
struct yy_buffer_state;

namespace OpenWBEM::MOF {

/// What the scanner's actions know besides the token.
struct ScanState {
    const char* end;      ///< of the text
    const char* comment;  ///< where the last comment began
};

/// While it lives the byte behind the current token is overwritten; its end puts it back.
class Scanner {
public:
    explicit Scanner(SourceText& source);
    ~Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    /// The next token's number, 0 at the end. Throws CompileError.
    int next(OPENWBEM_MOF_STYPE& value);
    void* handle() const noexcept { return m_handle; }

private:
    ScanState m_state;
    void* m_handle = nullptr;
    yy_buffer_state* m_buffer = nullptr;
    yy_buffer_state* m_nowhere = nullptr;  ///< over `m_nothing`
    char m_nothing[2] = {0, 0};
};

/// Throws the CompileError for the scanner's current token, where one of `expected` should stand.
[[noreturn]] void failSyntax(void* scanner, SourceText& source,
                             const std::vector<const char*>& expected);

/// Which token stands where a type should: the scanner's current one, or the one before it, which
/// would be the class of a reference if "ref" followed.
enum class UnknownType { FOUND, BEFORE };
/// Throws the CompileError for a name that is no type.
[[noreturn]] void failUnknownType(void* scanner, SourceText& source, UnknownType which);

}  // namespace OpenWBEM::MOF
