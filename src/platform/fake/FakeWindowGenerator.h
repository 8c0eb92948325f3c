#pragma once

#include "platform/fake/FakeDesktop.h"

#include <cstddef>
#include <cstdint>

namespace tarnvik::fake {

// Windows shaped like real ones (toolbars, forms, tables in scroll areas, lists, web content,
// text split into pieces) with about `elements` elements, most of them on screen, for benchmarks
// and tests that need volume. The same seed gives the same window.
struct GeneratedWindow
{
    FakeElement window;
    std::size_t elements;
};

GeneratedWindow generateWindow(FakeApplication &app, std::size_t elements, std::uint32_t seed,
                               CGRect frame = makeRect(0, 0, 2560, 1600));

} // namespace tarnvik::fake
