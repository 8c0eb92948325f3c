#pragma once

#include <string_view>

namespace tarnvik {

// Diagnostics are whole lines on standard output, subject first; lines from parallel tasks
// never interleave.
void printLine(std::string_view line);

// A broken invariant: prints the text and ends the process.
[[noreturn]] void fatal(std::string_view text);

} // namespace tarnvik
