#pragma once

#include <string_view>

namespace tarnvik {

// Diagnostics are whole lines on standard output, subject first; lines from parallel tasks
// never interleave.
void printLine(std::string_view line);

// For tools whose standard output is data (JSON): diagnostics go to standard error instead.
// Set once, before any line is printed.
void sendDiagnosticsToStandardError();

// A broken invariant: prints the text and ends the process.
[[noreturn]] void fatal(std::string_view text);

} // namespace tarnvik
