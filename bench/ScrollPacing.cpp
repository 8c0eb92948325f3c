// How evenly the scroll engine paces a held key: ticks against the refresh period, and pixels a
// second against the rate. Runs the engine on the real frame clock for a few seconds, and on
// the fake one for the same number of frames.
//
//   tarnvik_scroll_pacing [SECONDS] [HZ] [PX_PER_MS]
#include "platform/Pointer.h"
#include "platform/fake/FakeFrameClock.h"
#include "platform/linux/TimerFrameClock.h"
#include "scroll/BufferAndRateScroller.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace tarnvik;
using Clock = std::chrono::steady_clock;

// Notes when each scroll came and how long it was.
class Recorder final : public ScrollPosting
{
public:
    void postScroll(double verticalPx, double) override
    {
        std::lock_guard lock(mutex);
        times.push_back(Clock::now());
        pixels += -verticalPx;
    }
    std::mutex mutex;
    std::vector<Clock::time_point> times;
    double pixels = 0;
};

double percentile(std::vector<double> values, double p)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1))];
}

void report(const char *clock, const std::vector<double> &intervalsMs, double pixels,
            double seconds, double periodMs, double rate)
{
    double worst = 0;
    for (double interval : intervalsMs)
        worst = std::max(worst, std::abs(interval - periodMs));
    std::printf("%-6s %5zu ticks  interval median %.3f ms, p99 %.3f ms, max |deviation| %.3f ms"
                "  |  %.1f px/s for a rate of %.1f px/s (%+.2f%%)\n",
                clock, intervalsMs.size(), percentile(intervalsMs, 0.5),
                percentile(intervalsMs, 0.99), worst, pixels / seconds, rate * 1000,
                100 * (pixels / seconds / (rate * 1000) - 1));
}

} // namespace

int main(int argc, char **argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 5;
    const double hz = argc > 2 ? std::atof(argv[2]) : 60;
    const double rate = argc > 3 ? std::atof(argv[3]) : 1.0;
    const double periodMs = 1000 / hz;

    Recorder real;
    linux::TimerFrameClock timer([hz] { return 1 / hz; });
    BufferAndRateScroller scroller(timer, real);
    const auto started = Clock::now();
    scroller.start(ScrollDirection::down, 0, rate);
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    scroller.willStopWhenBufferIsEmpty = true;
    // The stop takes effect on the next tick; its time counts.
    while (scroller.direction())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::vector<double> intervals;
    {
        std::lock_guard lock(real.mutex);
        auto last = started;
        for (auto t : real.times) {
            intervals.push_back(std::chrono::duration<double, std::milli>(t - last).count());
            last = t;
        }
    }
    const double elapsed = std::chrono::duration<double>(real.times.back() - started).count();
    report("timer", intervals, real.pixels, elapsed, periodMs, rate);

    // The fake clock has no time of its own: it checks the engine's arithmetic alone, the
    // same number of frames at the nominal period.
    Recorder fake;
    fake::FakeFrameClock manual;
    manual.setPeriod(1 / hz);
    BufferAndRateScroller fakeScroller(manual, fake);
    fakeScroller.start(ScrollDirection::down, 0, rate);
    for (std::size_t i = 0; i < intervals.size(); ++i)
        manual.tick();
    const double fakeSeconds = static_cast<double>(fake.times.size()) / hz;
    std::printf(
        "fake   %5zu ticks of %.3f ms, %.3f px each  |  %.1f px/s for a rate of %.1f px/s\n",
        fake.times.size(), periodMs, fake.pixels / static_cast<double>(fake.times.size()),
        fake.pixels / fakeSeconds, rate * 1000);
    return 0;
}
