#include "platform/Diagnostics.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace tarnvik {

namespace {
std::mutex outputMutex;
std::FILE *diagnostics = stdout;
const bool traced = std::getenv("TARNVIK_TRACE") != nullptr;
std::atomic<bool> shown = traced;
} // namespace

bool tracing()
{
    return traced;
}

void trace(std::string_view line)
{
    if (!traced)
        return;
    std::lock_guard lock(outputMutex);
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fputc('\n', stderr);
}

void showDiagnostics()
{
    shown = true;
}

void sendDiagnosticsToStandardError()
{
    std::lock_guard lock(outputMutex);
    diagnostics = stderr;
}

void printLine(std::string_view line)
{
    if (shown)
        tellUser(line);
}

void tellUser(std::string_view line)
{
    std::lock_guard lock(outputMutex);
    std::fwrite(line.data(), 1, line.size(), diagnostics);
    std::fputc('\n', diagnostics);
    std::fflush(diagnostics);
}

void fatal(std::string_view text)
{
    {
        std::lock_guard lock(outputMutex);
        std::fwrite(text.data(), 1, text.size(), stderr);
        std::fputc('\n', stderr);
    }
    std::abort();
}

} // namespace tarnvik
