#pragma once

#include "platform/Diagnostics.h"

#include <gtest/gtest.h>

namespace tarnvik::test {

// Starts capturing standard output with the diagnostic lines shown, as TARNVIK_TRACE shows
// them; testing::internal::GetCapturedStdout() ends it.
inline void captureDiagnostics()
{
    showDiagnostics();
    testing::internal::CaptureStdout();
}

} // namespace tarnvik::test
