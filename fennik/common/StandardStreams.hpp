// SPDX-License-Identifier: Apache-2.0
//
// Output to the standard streams, apart from the log.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2::StandardStreams {

/// Opens /dev/null for each standard stream that the caller closed, so that no file of the run gets
/// its number. Ignores SIGPIPE and SIGXFSZ: a broken pipe or a file size limit must not kill the
/// process between a change and its undo. Call once, first thing in main.
void prepare();

/// Writes the bytes unchanged to standard output. Throws IOException. When the reader has gone,
/// the process ends by SIGPIPE, unless its caller ignored that signal. Only for operations that
/// have nothing to undo.
void writeOut(std::string_view text);
/// The same for one line of a listing. Unprintable characters are escaped for a terminal, but not
/// for a program.
void writeLine(const blocxx::String& line);
/// Writes a progress message to standard output. A failure is ignored: a change must not stop
/// halfway because nobody reads its progress.
void writeProgress(std::string_view text) noexcept;
/// Writes to standard error, with unprintable characters escaped. A failure is ignored.
void writeError(std::string_view text) noexcept;

}  // namespace KOVNS2::StandardStreams
