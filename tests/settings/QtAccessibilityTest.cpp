#include "platform/qt/QtAccessibility.h"

#include "platform/AXNames.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/qt/SplitAccessibility.h"

#include <QCheckBox>
#include <QMainWindow>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

#include <future>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tarnvik {
namespace {

// Reads and drives nothing but this process's windows, as the settings are driven by labels.
class QtAccessibilityTest : public ::testing::Test
{
protected:
    QtAccessibilityTest()
    {
        auto *content = new QWidget(&window);
        auto *column = new QVBoxLayout(content);
        check = new QCheckBox("Check Me", content);
        column->addWidget(new QPushButton("Press Me", content));
        column->addWidget(check);
        window.setCentralWidget(content);
        window.setWindowTitle("Own Window");
        window.show();
    }

    std::string string(const AXUIElement &e, const char *name)
    {
        auto v = ax.copyAttributeValue(e, name);
        return v.ok() && v.value().get<std::string>() ? *v.value().get<std::string>() : "";
    }

    // Depth first, the first element whose title is `title`.
    std::optional<AXUIElement> find(const AXUIElement &from, const std::string &title)
    {
        if (string(from, NSAccessibilityTitleAttribute) == title)
            return from;
        auto children = ax.copyAttributeValue(from, NSAccessibilityChildrenAttribute);
        if (!children.ok())
            return std::nullopt;
        for (const auto &child : *children.value().get<ValueArray>())
            if (auto found = find(*child.get<AXUIElement>(), title))
                return found;
        return std::nullopt;
    }

    QMainWindow window;
    QCheckBox *check;
    QtAccessibility ax;
};

TEST_F(QtAccessibilityTest, TheProgramsWindowsReadAsTheVocabularySaysAndTheirControlsPress)
{
    const auto app = ax.createApplication(getpid());
    EXPECT_EQ(string(app, NSAccessibilityRoleAttribute), "AXApplication");
    auto windows = ax.copyAttributeValue(app, NSAccessibilityWindowsAttribute);
    ASSERT_TRUE(windows.ok());
    ASSERT_EQ(windows.value().get<ValueArray>()->size(), 1u);
    const auto ownWindow = *windows.value().get<ValueArray>()->front().get<AXUIElement>();
    EXPECT_EQ(string(ownWindow, NSAccessibilityRoleAttribute), "AXWindow");

    // Roles and frames are what the settings' labels are placed and pressed by, on a display.
    const auto checkMe = find(ownWindow, "Check Me");
    ASSERT_TRUE(checkMe);

    auto actions = ax.copyActionNames(*checkMe);
    ASSERT_TRUE(actions.ok());
    EXPECT_NE(std::find_if(actions.value().begin(), actions.value().end(),
                           [](const Value &v) {
                               return v.get<std::string>()
                                   && *v.get<std::string>() == AXPressAction;
                           }),
              actions.value().end());
    EXPECT_EQ(ax.performAction(*checkMe, AXPressAction), AXError::Success);
    EXPECT_TRUE(check->isChecked());

    delete check;
    check = nullptr;
    EXPECT_EQ(ax.copyAttributeValue(*checkMe, NSAccessibilityRoleAttribute).error(),
              AXError::InvalidUIElement);
}

TEST_F(QtAccessibilityTest, AReadFromAnotherThreadIsAnsweredOnTheMainThread)
{
    const auto app = ax.createApplication(getpid());
    auto read =
        std::async(std::launch::async, [&] { return string(app, NSAccessibilityRoleAttribute); });
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return read.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(read.get(), "AXApplication");
}

TEST_F(QtAccessibilityTest, TheSplitSendsThisProcessToQtAndTheRestToThePlatform)
{
    fake::FakeDesktop desktop;
    desktop.addApplication({.processIdentifier = 7, .localizedName = "Other"});
    SplitAccessibility split(desktop, ax);

    const auto ownApp = split.createApplication(getpid());
    EXPECT_TRUE(QtAccessibility::owns(ownApp));
    EXPECT_EQ(split.getPid(ownApp).value(), getpid());
    const auto other = split.createApplication(7);
    EXPECT_FALSE(QtAccessibility::owns(other));
    EXPECT_EQ(split.getPid(other).value(), 7);
}

} // namespace
} // namespace tarnvik
