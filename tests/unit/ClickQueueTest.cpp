#include "platform/ClickQueue.h"

#include "platform/KeyEvents.h"
#include "platform/fake/FakeScheduler.h"

#include <gtest/gtest.h>
#include <vector>

namespace tarnvik {
namespace {

struct Posted
{
    int button;
    bool down;
    std::uint64_t flags;
    double at;
};

// Clicks as a session asks for them: the press, and its release a tenth of a second later, while
// the user's keyboard holds what the test says.
class ClickQueueTest : public testing::Test
{
protected:
    fake::FakeClock clock;
    fake::FakeScheduler scheduler {clock};
    const TimePoint start = clock.now();
    std::uint64_t held = 0;
    std::vector<Posted> posted;
    int beeps = 0;
    ClickQueue queue {scheduler,
                      {.heldModifiers = [this] { return held; },
                       .post =
                           [this](const ClickQueue::Press &press) {
                               posted.push_back({press.button, press.down, press.flags,
                                                 (clock.now() - start).count()});
                           },
                       .beep =
                           [this] {
                               ++beeps;
                           }}};

    void click(int button, std::uint64_t flags)
    {
        queue.ask({button, true, {10, 20}, flags});
        scheduler.scheduleOnMain(Seconds(0.1), [this, button, flags] {
            queue.ask({button, false, {10, 20}, flags});
        });
    }
};

TEST_F(ClickQueueTest, APressWaitsForTheModifiersThatChoseItAndItsReleaseKeepsItsDistance)
{
    // Shift chose a right click, Super a Command-click, and the user still holds them.
    held = ModifierFlag::shift;
    click(1, 0);
    scheduler.advance(Seconds(0.3));
    EXPECT_TRUE(posted.empty());
    held = 0;
    scheduler.advance(Seconds(0.5));
    ASSERT_EQ(posted.size(), 2u);
    EXPECT_EQ(posted[0].down, true);
    EXPECT_NEAR(posted[1].at - posted[0].at, 0.1, 0.011);

    // A Command-click carries Control, so a Control the user holds does not hold it back.
    posted.clear();
    held = ModifierFlag::command | ModifierFlag::control;
    click(0, ModifierFlag::command);
    scheduler.advance(Seconds(0.2));
    EXPECT_TRUE(posted.empty());
    held = ModifierFlag::control;
    scheduler.advance(Seconds(0.2));
    ASSERT_EQ(posted.size(), 2u);
    EXPECT_EQ(posted[0].flags, ModifierFlag::command);
    EXPECT_EQ(beeps, 0);
}

TEST_F(ClickQueueTest, AModifierHeldPastTheWaitDropsThatClickAloneWithABeep)
{
    held = ModifierFlag::option;
    click(0, 0);
    scheduler.advance(Seconds(1.0));
    // A second click asked meanwhile waits behind the first.
    click(1, 0);
    scheduler.advance(Seconds(0.6));
    EXPECT_TRUE(posted.empty());
    EXPECT_EQ(beeps, 1);
    held = 0;
    scheduler.advance(Seconds(0.2));
    ASSERT_EQ(posted.size(), 2u);
    EXPECT_EQ(posted[0].button, 1);
    EXPECT_EQ(posted[0].down, true);
    EXPECT_EQ(posted[1].button, 1);
    EXPECT_EQ(posted[1].down, false);
    EXPECT_NEAR(posted[1].at - posted[0].at, 0.1, 0.011);
}

TEST_F(ClickQueueTest, ASecondPressBeforeTheFirstReleaseReleasesItFirstAndNoButtonOutlivesTheQueue)
{
    click(0, ModifierFlag::command);
    scheduler.advance(Seconds(0.05));
    click(0, 0);
    scheduler.advance(Seconds(0.2));
    ASSERT_EQ(posted.size(), 4u);
    EXPECT_EQ(posted[1].down, false);
    EXPECT_EQ(posted[1].flags, ModifierFlag::command) << "the first one's Control let go with it";
    EXPECT_EQ(posted[2].down, true);
    EXPECT_EQ(posted[3].down, false);

    posted.clear();
    {
        ClickQueue cut {scheduler,
                        {.heldModifiers = [] { return std::uint64_t {0}; },
                         .post =
                             [this](const ClickQueue::Press &press) {
                                 posted.push_back({press.button, press.down, press.flags, 0});
                             },
                         .beep =
                             [] {
                             }}};
        cut.ask({1, true, {0, 0}, ModifierFlag::command});
    }
    ASSERT_EQ(posted.size(), 2u);
    EXPECT_EQ(posted[1].down, false);
    EXPECT_EQ(posted[1].flags, ModifierFlag::command);
}

} // namespace
} // namespace tarnvik
