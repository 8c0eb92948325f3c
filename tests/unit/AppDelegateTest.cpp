#include "app/AppDelegate.h"

#include "keyboard/InputSources.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeInput.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using Titles = std::vector<std::string>;

struct RecordingViews : ShellViews, StatusItemView
{
    void showPermissionPrompt() override { ++promptsShown; }
    void closePermissionPrompt() override { ++promptsClosed; }
    void openSettings(const std::string &tabId) override { tabsOpened.push_back(tabId); }
    void openLabelDesigner() override { }
    void preferencesChanged() override { ++reloads; }
    StatusItemView &makeStatusItem(MenuBuilder builder) override
    {
        menu = std::move(builder);
        return *this;
    }
    void setVisible(bool isVisible) override { visible = isVisible; }

    Titles titles() const
    {
        Titles result;
        for (const auto &e : menu())
            result.push_back(e.title);
        return result;
    }
    void choose(const std::string &title) const
    {
        for (const auto &e : menu())
            if (e.title == title)
                return e.action();
        FAIL() << "no entry " << title;
    }

    int promptsShown = 0;
    int promptsClosed = 0;
    Titles tabsOpened;
    int reloads = 0;
    MenuBuilder menu;
    bool visible = false;
};

struct RecordingLoginItem : LoginItem
{
    void setEnabled(bool enabled) override { written.push_back(enabled); }
    std::vector<bool> written;
};

// The program's shell over a fake desktop whose front application is a text editor.
struct Shell
{
    Shell()
    {
        desktop.addApplication({.processIdentifier = 1,
                                .bundleIdentifier = "org.gnome.gedit",
                                .bundlePath = "/usr/share/applications/org.gnome.gedit.desktop",
                                .localizedName = "Text Editor"});
        desktop.setFrontmost(1);
        desktop.setCurrentProcess(99);
    }

    fake::FakeDesktop desktop;
    fake::FakeScheduler &scheduler = desktop.scheduler();
    fake::FakePreferenceStore store;
    Preferences preferences {store};
    RecordingViews views;
    RecordingLoginItem loginItem;
    fake::FakeInput input;
    InputSources inputSources {input};
    int wirings = 0;
    int readsAhead = 0;
    AppDelegate delegate {{.preferences = preferences,
                           .ax = desktop,
                           .workspace = desktop,
                           .scheduler = scheduler,
                           .views = views,
                           .loginItem = loginItem,
                           .inputSources = inputSources,
                           .readAhead = [this] { ++readsAhead; },
                           .wireShortcuts = [this] { ++wirings; },
                           .deactivateModes =
                               [] {
                               }}};
};

class AppDelegateTest : public ::testing::Test, protected Shell
{ };

TEST_F(AppDelegateTest, AStartByHandOpensTheSettingsAndAStartAtLoginStaysSilent)
{
    store.setBool(Preferences::Keys::launchAtLogin, true);
    delegate.applicationDidFinishLaunching(true);
    scheduler.runPending();
    EXPECT_EQ(loginItem.written, std::vector<bool> {true});
    EXPECT_TRUE(delegate.isSetUp());
    EXPECT_EQ(wirings, 1);
    EXPECT_EQ(readsAhead, 1);
    EXPECT_TRUE(views.menu) << "the status item is made at set-up";
    EXPECT_TRUE(views.tabsOpened.empty());
    EXPECT_EQ(views.promptsShown, 0);

    Shell byHand;
    byHand.delegate.applicationDidFinishLaunching(false);
    EXPECT_TRUE(byHand.views.tabsOpened.empty()) << "opened from the main queue, not inside";
    byHand.scheduler.runPending();
    EXPECT_EQ(byHand.views.tabsOpened, Titles {""}) << "on the tab shown last";
    EXPECT_EQ(byHand.loginItem.written, std::vector<bool> {false});

    byHand.delegate.applicationShouldHandleReopen();
    byHand.scheduler.runPending();
    EXPECT_EQ(byHand.views.tabsOpened.size(), 2u);
}

TEST_F(AppDelegateTest, WithoutAccessibilityThePromptWaitsForItPollingEveryThirdOfASecond)
{
    desktop.setTrusted(false);
    delegate.applicationDidFinishLaunching(true);
    EXPECT_EQ(views.promptsShown, 1);
    for (int i = 0; i < 5; ++i)
        scheduler.advance(Seconds(AppDelegate::permissionPollSeconds));
    EXPECT_FALSE(delegate.isSetUp());
    EXPECT_EQ(wirings, 0) << "no shortcut before accessibility is on";

    desktop.setTrusted(true);
    scheduler.advance(Seconds(AppDelegate::permissionPollSeconds * 0.9));
    EXPECT_EQ(views.promptsClosed, 0);
    scheduler.advance(Seconds(AppDelegate::permissionPollSeconds * 0.1));
    scheduler.runPending();
    EXPECT_EQ(views.promptsClosed, 1);
    EXPECT_TRUE(delegate.isSetUp());
    EXPECT_EQ(wirings, 1);
    EXPECT_EQ(views.tabsOpened.size(), 1u) << "after the prompt, even at login";
    scheduler.advance(Seconds(10));
    EXPECT_EQ(views.promptsClosed, 1) << "the poll stops";
}

TEST_F(AppDelegateTest, TheMenuNamesTheFrontApplicationAndDisablesAndEnablesIt)
{
    delegate.applicationDidFinishLaunching(true);
    const auto entries = views.titles().size();
    ASSERT_EQ(views.titles()[2], "Disable Tarnvik in Text Editor");

    views.choose("Disable Tarnvik in Text Editor");
    EXPECT_EQ(preferences.disabledBundlePaths(),
              std::vector<std::string> {"/usr/share/applications/org.gnome.gedit.desktop"});
    EXPECT_EQ(views.titles()[2], "Enable Tarnvik in Text Editor");
    const auto flagsBefore = desktop.performed().size();
    views.choose("Enable Tarnvik in Text Editor");
    EXPECT_TRUE(preferences.disabledBundlePaths().empty());
    EXPECT_GT(desktop.performed().size(), flagsBefore) << "accessibility asked for again";

    // On Linux the package manager updates: both show the release history.
    views.choose("Check for Updates…");
    views.choose("Changelog");
    scheduler.runPending();
    EXPECT_EQ(views.tabsOpened, (Titles {"about", "about"}));

    desktop.addApplication({.processIdentifier = 2, .localizedName = "xterm"});
    desktop.setFrontmost(2);
    EXPECT_EQ(views.titles().size(), entries - 1) << "no path, no entry";
}

TEST_F(AppDelegateTest, TheStatusItemFollowsShowMenubarIcon)
{
    delegate.applicationDidFinishLaunching(true);
    EXPECT_TRUE(views.visible);
    store.setBool(Preferences::Keys::showMenubarIcon, false);
    delegate.preferencesChanged();
    EXPECT_FALSE(views.visible);
    EXPECT_EQ(views.reloads, 1) << "the open settings show the file's values";
}

struct RecordingSink : AnalyticsSink
{
    void identify(const std::string &id, const Properties &properties) override
    {
        calls.push_back("identify " + id);
        last = properties;
    }
    void reset() override { calls.push_back("reset"); }
    std::vector<std::string> calls;
    Properties last;
};

TEST(Analytics, IdentifiesWithThePreferencesOfTheMomentAndForgetsOnlyAKnownUser)
{
    fake::FakePreferenceStore store;
    Preferences preferences {store};
    RecordingSink sink;
    Analytics analytics(preferences, &sink);
    analytics.applyIdentity(std::nullopt);
    EXPECT_TRUE(sink.calls.empty());

    store.setBool(Preferences::Keys::launchAtLogin, true);
    analytics.applyIdentity("u1");
    EXPECT_EQ(sink.calls, std::vector<std::string> {"identify u1"});
    EXPECT_EQ(sink.last,
              (AnalyticsSink::Properties {{"launch-at-login", true},
                                          {"is-experimental-support-enabled", false}}));
    analytics.applyIdentity(std::nullopt);
    analytics.applyIdentity(std::nullopt);
    EXPECT_EQ(sink.calls, (std::vector<std::string> {"identify u1", "reset"}));
    EXPECT_FALSE(analytics.userId());

    Analytics silent(preferences, nullptr);
    silent.applyIdentity("u2");
    EXPECT_EQ(silent.userId(), "u2") << "remembered, told to no one";
}

} // namespace
} // namespace tarnvik
