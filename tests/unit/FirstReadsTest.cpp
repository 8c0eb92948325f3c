#include "app/FirstReads.h"

#include "support/FrontWindow.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

class FirstReadsTest : public ::testing::Test, protected test::FrontWindow
{
protected:
    FirstReadsTest()
    {
        window.add("AXButton", makeRect(10, 40, 80, 24)).title("Save");
        otherWindow.add("AXButton", makeRect(5, 5, 50, 20));
        desktop.setFrontmost(1);
        desktop.setMenuBarOwner(1);
        desktop.setCurrentProcess(99);
    }

    // Brings the application to the front and lets the queued reads run.
    void bringToFront(pid_t pid)
    {
        desktop.setMenuBarOwner(pid);
        desktop.activate(pid);
        queue.runAll();
    }

    fake::FakeApplication &other = desktop.addApplication(
        {.processIdentifier = 2, .bundlePath = "/usr/bin/other", .localizedName = "Other"});
    fake::FakeElement otherWindow = other.addWindow(makeRect(0, 0, 800, 600), "Other");
    test::HeldQueue queue;
    FirstReads reads {{.reading = {{desktop, desktop, desktop}, screens, preferences, scheduler},
                       .queue = queue}};
};

TEST_F(FirstReadsTest, EachApplicationIsReadOnceOnTheQueueWhenItFirstComesToTheFront)
{
    reads.start();
    EXPECT_EQ(desktop.totalCalls(), 0) << "read on the queue, not at once";
    queue.runAll();
    const int frontRead = window.calls();
    EXPECT_GT(frontRead, 0) << "the frontmost application is read at start";
    EXPECT_EQ(otherWindow.calls(), 0);

    bringToFront(2);
    const int otherRead = otherWindow.calls();
    EXPECT_GT(otherRead, 0);

    bringToFront(1);
    bringToFront(2);
    EXPECT_EQ(window.calls(), frontRead) << "read once only";
    EXPECT_EQ(otherWindow.calls(), otherRead);
}

TEST_F(FirstReadsTest, NeitherIgnoredApplicationsNorThisProgramNorOneThatLostTheFrontAreRead)
{
    preferences.setDisabledBundlePaths({"/usr/bin/example"});
    auto &self = desktop.addApplication({.processIdentifier = 99, .localizedName = "Tarnvik"});
    auto settings = self.addWindow(makeRect(0, 0, 400, 300), "Settings");
    reads.start();
    queue.runAll();
    EXPECT_EQ(window.calls(), 0) << "ignored";
    bringToFront(99);
    EXPECT_EQ(settings.calls(), 0);

    // The application came to the front and left it before its read ran.
    desktop.setMenuBarOwner(2);
    desktop.activate(2);
    desktop.setFrontmost(99);
    queue.runAll();
    EXPECT_EQ(otherWindow.calls(), 0);
}

} // namespace
} // namespace tarnvik
