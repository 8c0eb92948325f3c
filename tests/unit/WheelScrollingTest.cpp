#include "platform/linux/WheelScrolling.h"

#include <cmath>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <linux/input.h>
#include <optional>
#include <unistd.h>
#include <vector>

namespace tarnvik::linux {
namespace {

struct Event
{
    int code;
    int value;
    bool operator==(const Event &) const = default;
};

// The virtual mouse writing into a pipe in place of /dev/uinput; the events read back without
// the reports that end each scroll.
class UinputEvents : public testing::Test
{
protected:
    void SetUp() override
    {
        int fds[2];
        ASSERT_EQ(pipe2(fds, O_NONBLOCK), 0);
        _read = fds[0];
        mouse.emplace(fds[1]);
    }
    void TearDown() override
    {
        mouse.reset();
        close(_read);
    }

    std::vector<Event> events()
    {
        std::vector<Event> read;
        input_event event {};
        while (::read(_read, &event, sizeof event) == static_cast<ssize_t>(sizeof event)) {
            if (event.type == EV_REL)
                read.push_back({event.code, event.value});
            else
                EXPECT_TRUE(event.type == EV_SYN && event.code == SYN_REPORT);
        }
        return read;
    }

    std::optional<UinputScrolling> mouse;

private:
    int _read = -1;
};

TEST_F(UinputEvents, PixelsBecomeHighResolutionUnitsWithWholeStepsForTheOldAxes)
{
    // 50 px is one step of 120 units: 25 px is 60 of them, and the second half completes a step.
    mouse->postScroll(25, 0);
    EXPECT_EQ(events(), (std::vector<Event> {{REL_WHEEL_HI_RES, 60}}));
    mouse->postScroll(25, 0);
    EXPECT_EQ(events(), (std::vector<Event> {{REL_WHEEL_HI_RES, 60}, {REL_WHEEL, 1}}));

    // A pixel is 2.4 units: what doesn't make a whole unit is carried to the next scroll.
    mouse->postScroll(1, 0);
    mouse->postScroll(1, 0);
    EXPECT_EQ(events(), (std::vector<Event> {{REL_WHEEL_HI_RES, 2}, {REL_WHEEL_HI_RES, 3}}));

    // Downwards is negative, and a change of direction drops the carry.
    mouse->postScroll(-50, 0);
    EXPECT_EQ(events(), (std::vector<Event> {{REL_WHEEL_HI_RES, -120}, {REL_WHEEL, -1}}));
}

TEST_F(UinputEvents, TheKernelsHorizontalWheelIsPositiveToTheRight)
{
    mouse->postScroll(0, 50);
    EXPECT_EQ(events(), (std::vector<Event> {{REL_HWHEEL_HI_RES, -120}, {REL_HWHEEL, -1}}))
        << "positive is to the left";
    mouse->postScroll(0, -25);
    EXPECT_EQ(events(), (std::vector<Event> {{REL_HWHEEL_HI_RES, 60}}));
}

TEST_F(UinputEvents, NumbersThatAreNoDistanceLeaveLaterScrollsAlone)
{
    mouse->postScroll(std::numeric_limits<double>::quiet_NaN(), 0);
    mouse->postScroll(std::numeric_limits<double>::infinity(), 0);
    EXPECT_EQ(events(), std::vector<Event> {});
    mouse->postScroll(50, 0);
    EXPECT_EQ(events(), (std::vector<Event> {{REL_WHEEL_HI_RES, 120}, {REL_WHEEL, 1}}));

    mouse->postScroll(1e300, 0);
    const auto huge = events();
    ASSERT_FALSE(huge.empty());
    EXPECT_EQ(huge.front().code, REL_WHEEL_HI_RES);
    EXPECT_GT(huge.front().value, 0) << "bounded, not wrapped round";
}

} // namespace
} // namespace tarnvik::linux
