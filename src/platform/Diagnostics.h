#pragma once

#include <string_view>

namespace tarnvik {

// Diagnostics are whole lines on standard output, subject first; lines from parallel tasks
// never interleave. They name the program's own parts, so they are printed only when asked for:
// with TARNVIK_TRACE set, or by a command whose job is to show them.
void printLine(std::string_view line);

// A line for the user, who can act on it: printed always, as diagnostics are.
void tellUser(std::string_view line);

// Diagnostics are printed from now on.
void showDiagnostics();

// Whether TARNVIK_TRACE is set: then the program also says on standard error what each shortcut
// did and how long its labels took, lines the integration tests wait for.
bool tracing();
// One such line, when tracing.
void trace(std::string_view line);

// For tools whose standard output is data (JSON): diagnostics go to standard error instead.
// Set once, before any line is printed.
void sendDiagnosticsToStandardError();

// A broken invariant: prints the text and ends the process.
[[noreturn]] void fatal(std::string_view text);

} // namespace tarnvik
