// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/Output.hpp"

#include <unistd.h>

#include <utility>

#include "blocxx/Exception.hpp"
#include "blocxx/Printable.hpp"
#include "fennik/common/StandardStreams.hpp"

namespace OwShow {

namespace {

constexpr size_t BUFFER_SIZE = size_t{64} << 10U;

/// What a collected text takes beside its characters.
constexpr size_t OVERHEAD = 128;

}  // namespace

void Output::write(std::string_view text) {
    m_buffer += text;
    if (m_buffer.size() >= BUFFER_SIZE) {
        finish();
    }
}

void Output::finish() {
    const String text = std::exchange(m_buffer, {});
    const bool forTerminal = ::isatty(STDOUT_FILENO) == 1;
    KOVNS2::StandardStreams::writeOut(forTerminal ? blocxx::printable(text) : text);
}

String oneLine(std::string_view text) {
    String line;
    line.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            case '\t':
                line += "\\t";
                break;
            default:
                line += c;
        }
    }
    return line;
}

void Budget::take(std::string_view text) {
    if (text.size() + OVERHEAD > m_left) {
        BLOCXX_THROW(blocxx::Exception,
                     "there is more to sort than fits in memory. Name a class or a product, or "
                     "use --mof, which sorts nothing");
    }
    m_left -= text.size() + OVERHEAD;
}

}  // namespace OwShow
