#include "platform/Diagnostics.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace tarnvik {

namespace {
std::mutex outputMutex;
}

void printLine(std::string_view line)
{
    std::lock_guard lock(outputMutex);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
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
