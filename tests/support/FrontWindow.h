#pragma once

#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"

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

// What a session starts over: a fake desktop with one application in front, its empty window
// of 800 by 600, the user's preferences and one screen. Tests add their elements.
struct FrontWindow
{
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
};

} // namespace tarnvik::test
