#pragma once

#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeInput.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"

#include <utility>

namespace tarnvik::test {

// A screen of 1440 by 900 points.
class OneScreen : public Screens
{
public:
    std::vector<Screen> screens() override
    {
        return {{makeRect(0, 0, 1440, 900), makeRect(0, 0, 1440, 875), 2, 1.0 / 60}};
    }
};

// Work that waits until the test lets it run, as a busy queue would; unheld, it runs at once.
struct HeldQueue : WorkQueue
{
    void async(std::function<void()> work) override
    {
        if (hold)
            held.push_back(std::move(work));
        else
            work();
    }
    void runAll()
    {
        for (auto &work : std::exchange(held, {}))
            work();
    }
    bool hold = true;
    std::vector<std::function<void()>> held;
};

// What a session starts over: a fake desktop with one application in front, its empty window
// of 800 by 600, the user's preferences, one screen and the user's keyboard and mouse. Tests add
// their elements.
struct FrontWindow
{
    // A key press and its release, as the user types them; then the posted actions run. Answers
    // whether the press reached the application.
    bool press(std::uint16_t keyCode, std::uint64_t flags = 0)
    {
        const bool reached = input.type(keyCode, flags, EventType::keyDown);
        input.type(keyCode, flags, EventType::keyUp);
        scheduler.runPending();
        return reached;
    }

    fake::FakeDesktop desktop;
    fake::FakeScheduler &scheduler = desktop.scheduler();
    fake::FakeApplication &front = desktop.addApplication({.processIdentifier = 1,
                                                           .bundleIdentifier = "org.example.app",
                                                           .bundlePath = "/usr/bin/example",
                                                           .localizedName = "App"});
    fake::FakeElement window = front.addWindow(makeRect(0, 0, 800, 600), "Window");
    fake::FakePreferenceStore store;
    Preferences preferences {store};
    OneScreen screens;
    fake::FakeInput input;
};

} // namespace tarnvik::test
