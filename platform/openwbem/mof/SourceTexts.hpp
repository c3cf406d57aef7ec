// SPDX-License-Identifier: Apache-2.0
//
// All texts of a compilation.
#pragma once

#include <deque>

#include "openwbem/mof/MOFCompiler.hpp"

namespace OpenWBEM::MOF {

class SourceTexts {
public:
    /// Throws MOFCompilerException for a text that is too large.
    SourceText& add(Source source);
    size_t size() const noexcept { return m_texts.size(); }
    /// The first, or null.
    SourceText* first() noexcept { return m_texts.empty() ? nullptr : &m_texts.front(); }
    /// The exception for an error in one of the texts. Its place is the beginning of the first text
    /// when the error is in none of them.
    MOFCompilerException describe(const CompileError& error,
                                  int errorCode = blocxx::Exception::UNKNOWN_ERROR_CODE) const;

private:
    std::deque<SourceText> m_texts;
};

}  // namespace OpenWBEM::MOF
