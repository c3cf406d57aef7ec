// SPDX-License-Identifier: Apache-2.0
//
// What the tool writes to its standard streams, apart from the log.
#pragma once

#include "blocxx/String.hpp"

namespace KOVNS2::StandardStreams {

/// Keeps the numbers 0 to 2 from being given to files that the run opens, where the caller closed
/// them, and lets a broken pipe be an error instead of a sudden end between a change and its undo.
void prepare();

/// Writes to standard output as it is. Throws IOException. When the reader has gone, the process
/// ends quietly by SIGPIPE, unless its caller had it ignored: only for operations that have nothing
/// to undo.
void writeOut(std::string_view text);
/// Writes a line of a listing in the same way. At a terminal it is printable; a program gets the
/// names as they are.
void writeLine(const blocxx::String& line);
/// Writes to standard output what is of use only while a change is being made. A failure is
/// ignored: that nobody can read how far the change has come is no reason to stop half way.
void writeProgress(std::string_view text) noexcept;
/// Writes to standard error, printable; a failure is ignored, as there is nowhere left to report
/// it.
void writeError(std::string_view text) noexcept;

}  // namespace KOVNS2::StandardStreams
