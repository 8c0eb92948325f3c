#include "accessibility/AXEnablerService.h"

#include "platform/AXNames.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakePreferenceStore.h"
#include "preferences/Preferences.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace tarnvik {
namespace {

using Flags = std::vector<std::string>;

class AXEnablerServiceTest : public ::testing::Test
{
protected:
    fake::FakeApplication &app(pid_t pid, const char *bundle, const char *path = nullptr)
    {
        auto text = [](const char *s) {
            return s ? std::optional<std::string>(s) : std::nullopt;
        };
        return desktop.addApplication({.processIdentifier = pid,
                                       .bundleIdentifier = text(bundle),
                                       .bundlePath = text(path),
                                       .localizedName = text(bundle)});
    }
    long count(const std::string &flag) const
    {
        const auto performed = desktop.performed();
        return std::count(performed.begin(), performed.end(), flag);
    }

    fake::FakeDesktop desktop;
    fake::FakePreferenceStore store;
    Preferences preferences {store};
    int modesEnded = 0;
    // How many flags were set when the modes were ended.
    std::size_t flagsAtModesEnd = 0;
    AXEnablerService service {{desktop, desktop, desktop.scheduler(), preferences, [this] {
                                   ++modesEnded;
                                   flagsAtModesEnd = desktop.performed().size();
                               }}};
};

TEST_F(AXEnablerServiceTest, EachKindOfApplicationGetsItsOwnSwitchAndIgnoredOnesNone)
{
    auto &firefox = app(2, "org.mozilla.firefox");
    auto &chrome = app(3, "com.google.Chrome");
    auto &unnamed = app(4, nullptr);
    auto &ignored = app(5, "org.example.Ignored", "/usr/share/applications/ignored.desktop");
    preferences.setDisabledBundlePaths({"/usr/share/applications/ignored.desktop"});

    EXPECT_TRUE(service.tryEnable(firefox.info()));
    EXPECT_EQ(desktop.performed(), Flags {"AXEnhancedUserInterface=true"});
    EXPECT_TRUE(service.tryEnable(chrome.info()));
    EXPECT_TRUE(service.tryEnable(unnamed.info())) << "no bundle: not ignored";
    EXPECT_EQ(count("AXManualAccessibility=true"), 2);

    EXPECT_TRUE(service.tryEnable(ignored.info()));
    service.enable(ignored.info());
    desktop.scheduler().advance(Seconds(10));
    EXPECT_EQ(desktop.performed().size(), 3u) << "an ignored application is left alone";

    auto &itself = app(99, "tarnvik");
    desktop.setCurrentProcess(99);
    service.enable(itself.info());
    desktop.scheduler().advance(Seconds(10));
    EXPECT_EQ(desktop.performed().size(), 3u) << "this program's own windows are never read";
}

TEST_F(AXEnablerServiceTest, RetriesHalfASecondApartUntilTheApplicationAnswers)
{
    auto &slow = app(2, "org.example.Slow");
    slow.element().fail(NSAccessibilityRoleAttribute, AXError::CannotComplete, 2);
    service.enable(slow.info());
    desktop.scheduler().advance(Seconds(0.49));
    EXPECT_EQ(count("AXManualAccessibility=true"), 1);
    desktop.scheduler().advance(Seconds(0.51));
    EXPECT_EQ(count("AXManualAccessibility=true"), 3) << "answered at the third try";
    desktop.scheduler().advance(Seconds(10));
    EXPECT_EQ(count("AXManualAccessibility=true"), 3);
}

TEST_F(AXEnablerServiceTest, AnApplicationThatNeverAnswersIsAskedTenTimesAndAgainEvery25Seconds)
{
    auto &dead = app(2, "org.example.Dead");
    dead.element().fail(NSAccessibilityRoleAttribute, AXError::CannotComplete);
    desktop.setFrontmost(2);
    service.start();
    desktop.scheduler().advance(Seconds(4.5));
    EXPECT_EQ(count("AXManualAccessibility=true"), 10);
    desktop.scheduler().advance(Seconds(20));
    EXPECT_EQ(count("AXManualAccessibility=true"), 10);
    desktop.scheduler().advance(Seconds(0.5 + 4.5)); // the 25-second tick and its retries
    EXPECT_EQ(count("AXManualAccessibility=true"), 20);
}

TEST_F(AXEnablerServiceTest, AnotherApplicationInFrontEndsTheModesAndIsEnabled)
{
    app(2, "org.example.First");
    app(3, "org.mozilla.firefox");
    desktop.setFrontmost(2);
    service.start();
    EXPECT_EQ(modesEnded, 0);
    ASSERT_EQ(desktop.performed().size(), 1u) << "the first application's flag, at start";
    desktop.activate(3);
    EXPECT_EQ(modesEnded, 1);
    EXPECT_EQ(flagsAtModesEnd, 1u) << "the modes end before the flag is set";
    EXPECT_EQ(desktop.performed().back(), "AXEnhancedUserInterface=true");
}

} // namespace
} // namespace tarnvik
