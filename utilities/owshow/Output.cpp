// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/Output.hpp"

#include <unistd.h>

#include <utility>

#include "blocxx/Printable.hpp"
#include "fennik/common/StandardStreams.hpp"

namespace OwShow {

namespace {

constexpr size_t BUFFER_SIZE = size_t{64} << 10U;

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

}  // namespace OwShow
