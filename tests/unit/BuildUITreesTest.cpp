#include "accessibility/BuildUITrees.h"

#include "platform/AXNames.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"
#include "support/CaptureDiagnostics.h"
#include "support/TreeBuilding.h"

#include <cstdio>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using fake::FakeElement;
using test::names;
using Names = std::vector<std::string>;

constexpr CGRect menubarFrame = makeRect(0, 0, 1440, 24);

class BuildUITreesTest : public ::testing::Test
{
protected:
    BuildUITreesTest()
    {
        front.addWindow(makeRect(0, 24, 1440, 876), "Page")
            .add("AXButton", makeRect(10, 40, 80, 24))
            .title("Back");
        auto bar = front.addMenuBar(menubarFrame);
        auto file = bar.add("AXMenuBarItem", makeRect(40, 0, 40, 24)).title("File");
        bar.childList(NSAccessibilityVisibleChildrenAttribute, {file});
        auto menu = file.add("AXMenu", makeRect(40, 24, 200, 100));
        menu.add("AXMenuItem", makeRect(40, 30, 200, 20)).title("Open");
        desktop.setFrontmost(1);
    }

    // An application with menu-bar extras at the given frames, in the order given.
    fake::FakeApplication &extrasApp(pid_t pid, const std::string &name,
                                     std::vector<std::pair<std::string, CGRect>> extras)
    {
        auto &app = desktop.addApplication({.processIdentifier = pid, .localizedName = name});
        auto bar = app.addExtrasMenuBar().frame(menubarFrame);
        for (const auto &[title, frame] : extras)
            bar.add("AXMenuBarItem", frame).title(title);
        return app;
    }

    BuildUITrees builder()
    {
        auto focused = desktop.copyAttributeValue(desktop.createApplication(1),
                                                  NSAccessibilityFocusedWindowAttribute);
        auto window = UIElement::fullElement(desktop, *focused.value().get<AXUIElement>());
        return BuildUITrees({{desktop, desktop, desktop}, preferences, desktop.scheduler()},
                            *desktop.frontmostApplication(), window,
                            desktop.menuBarOwningApplication(), nullptr, true);
    }

    std::optional<UITrees> build(std::stop_token cancellation = {})
    {
        return builder().build(cancellation);
    }

    fake::FakeDesktop desktop;
    fake::FakePreferenceStore store;
    Preferences preferences {store};
    fake::FakeApplication &front = desktop.addApplication(
        {.processIdentifier = 1, .bundleIdentifier = "org.example.app", .localizedName = "App"});
};

TEST_F(BuildUITreesTest, ReadsWindowMenuBarExtrasAndOpenMenus)
{
    desktop.showMenubar(menubarFrame);
    extrasApp(2, "Clock", {{"Time", makeRect(1380, 0, 60, 24)}});
    desktop.addWindowInfo(makeRect(1380, 0, 60, 22), 2, "Clock");
    extrasApp(3, "Wifi", {{"Network", makeRect(1300, 2, 30, 20)}});
    desktop.addWindowInfo(makeRect(1300, 0, 30, 24), 3, "Wifi", "Item-0");

    tarnvik::test::captureDiagnostics();
    auto trees = build();
    const std::string printed = ::testing::internal::GetCapturedStdout();
    ASSERT_TRUE(trees);
    EXPECT_EQ(printed, "menubar frame: (0.0, 0.0, 1440.0, 24.0)\n");

    EXPECT_EQ(names(trees->frontmostWindowUiTree->elementsInOrder()),
              (Names {"AXWindow Page", "AXButton Back"}));
    EXPECT_EQ(names(trees->menubarUiTree->elementsInOrder()),
              (Names {"AXMenuBar", "AXMenuBarItem File"}));
    ASSERT_EQ(trees->overlayUiTrees.size(), 1u);
    EXPECT_EQ(names(trees->overlayUiTrees[0]->elementsInOrder()),
              (Names {"AXMenu", "AXMenuItem Open"}));

    ASSERT_EQ(trees->menubarExtraUiTrees.size(), 2u);
    auto wifi = trees->menubarExtraUiTrees[0]->element(trees->menubarExtraUiTrees[0]->rootId());
    auto clock = trees->menubarExtraUiTrees[1]->element(trees->menubarExtraUiTrees[1]->rootId());
    EXPECT_EQ(wifi->title, "Network") << "sorted left to right, not by application";
    EXPECT_EQ(wifi->frame(), makeRect(1300, 0, 30, 24)) << "takes its window's frame";
    EXPECT_EQ(clock->frame(), makeRect(1380, 0, 60, 24))
        << "no window shares its centre: the bar's top and height";
    EXPECT_EQ(clock->customAttributes,
              (std::vector<std::pair<std::string, std::string>> {{"App", "Clock"}}));
}

TEST_F(BuildUITreesTest, NoMenuBarOnScreenMeansNoMenuBarAndNoExtras)
{
    extrasApp(2, "Clock", {{"Time", makeRect(1380, 0, 60, 24)}});
    desktop.addWindowInfo(makeRect(1380, 0, 60, 24), 2, "Clock");
    desktop.showMenubar(makeRect(0, 0, 1440, 25)); // another frame than the bar's own

    auto trees = build();
    ASSERT_TRUE(trees);
    EXPECT_TRUE(trees->frontmostWindowUiTree);
    EXPECT_FALSE(trees->menubarUiTree);
    EXPECT_TRUE(trees->menubarExtraUiTrees.empty());
}

TEST_F(BuildUITreesTest, ExtrasThatAreNotReallyThereAreRemoved)
{
    desktop.showMenubar(menubarFrame);
    auto &odd = extrasApp(2, "Odd",
                          {{"Outside", makeRect(1500, 0, 20, 24)},
                           {"Covered", makeRect(1000, 0, 20, 24)},
                           {"Kept", makeRect(900, 0, 20, 24)}});
    // Something of the same application lies over the second extra.
    odd.element().add("AXWindow", makeRect(990, 0, 40, 24));
    desktop.addWindowInfo(makeRect(900, 0, 200, 24), 2, "Odd");
    auto &hung = extrasApp(4, "Hung", {{"Never", makeRect(800, 0, 20, 24)}});
    hung.hang();
    desktop.addWindowInfo(makeRect(800, 0, 20, 24), 4, "Hung");
    desktop.addWindowInfo(makeRect(700, 0, 20, 24), 99, "Gone");

    tarnvik::test::captureDiagnostics();
    const auto started = desktop.clock().now();
    auto trees = build();
    const Seconds spent = desktop.clock().now() - started;
    ::testing::internal::GetCapturedStdout();

    ASSERT_TRUE(trees);
    ASSERT_EQ(trees->menubarExtraUiTrees.size(), 1u);
    EXPECT_EQ(
        trees->menubarExtraUiTrees[0]->element(trees->menubarExtraUiTrees[0]->rootId())->title,
        "Kept");
    EXPECT_NEAR(spent.count(), 0.05, 1e-6) << "the hung application costs one short time-out";
}

TEST_F(BuildUITreesTest, OnlyBrowsersUseThePredicateAndOnlyWhenFast)
{
    BuildUITrees trees({{desktop, desktop, desktop}, preferences, desktop.scheduler()},
                       front.info(), nullptr, std::nullopt, nullptr, false);
    auto app = [](const char *id) {
        return RunningApplication {.bundleIdentifier = id};
    };
    EXPECT_TRUE(trees.shouldUseSearchPredicate(app("com.google.Chrome")));
    EXPECT_FALSE(trees.shouldUseSearchPredicate(app("notion.id")));
    EXPECT_FALSE(trees.shouldUseSearchPredicate(RunningApplication {}));
    preferences.setBool(Preferences::Keys::useSearchPredicate, false);
    EXPECT_FALSE(trees.shouldUseSearchPredicate(app("com.google.Chrome")));
}

TEST_F(BuildUITreesTest, ACancelledBuildAnswersNothingAfterEveryTaskHasEnded)
{
    std::stop_source source;
    source.request_stop();
    EXPECT_FALSE(build(source.get_token()));
    EXPECT_TRUE(build());
}

TEST_F(BuildUITreesTest, ThisProgramsOwnWindowsAreReadOnTheMainThread)
{
    desktop.setCurrentProcess(1);
    auto trees = builder();
    ASSERT_TRUE(trees.isTargetSelf);
    auto result = std::async(std::launch::async, [&] { return trees.build({}); });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (result.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        // A build stuck waiting for the main thread ends the run here: its thread can't be
        // stopped, and the future's end would wait for it, hanging the suite instead.
        if (std::chrono::steady_clock::now() > deadline) {
            std::fputs("BuildUITreesTest: the build never ended\n", stderr);
            std::abort();
        }
        desktop.scheduler().runPending();
    }
    ASSERT_TRUE(result.get());
    EXPECT_EQ(desktop.callingThreads(), std::set {std::this_thread::get_id()});
}

} // namespace
} // namespace tarnvik
