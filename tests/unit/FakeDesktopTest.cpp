#include "platform/fake/FakeDesktop.h"

#include "platform/AXNames.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

// The fake is the ground the core's tests stand on: these pin the behaviours they rely on.
TEST(FakeDesktop, AnswersLikeAPlatformWithTimeOutsAndDeaths)
{
    fake::FakeDesktop desktop;
    auto &app = desktop.addApplication({.processIdentifier = 3});
    auto window = app.addWindow(makeRect(0, 0, 100, 100));
    auto back = window.add("AXButton", makeRect(0, 0, 50, 50));
    auto front = window.add("AXButton", makeRect(25, 25, 50, 50));

    auto hit = desktop.copyElementAtPosition(app.element().ref(), 30, 30);
    ASSERT_TRUE(hit.ok());
    EXPECT_EQ(hit.value(), front.ref()) << "the later sibling lies on top";
    EXPECT_EQ(desktop.copyElementAtPosition(app.element().ref(), 10, 10).value(), back.ref());
    EXPECT_EQ(desktop.copyAttributeValue(back.ref(), "AXNothing").error(), AXError::NoValue);
    EXPECT_EQ(desktop.copyAttributeValue(back.ref(), AXChildrenInNavigationOrderAttribute).error(),
              AXError::AttributeUnsupported);

    app.setLatency(Seconds(0.2));
    desktop.setMessagingTimeout(back.ref(), 0.05f);
    const auto start = desktop.clock().now();
    EXPECT_EQ(desktop.copyActionNames(back.ref()).error(), AXError::CannotComplete);
    EXPECT_TRUE(desktop.copyActionNames(front.ref()).ok()) << "the default time-out is longer";
    EXPECT_NEAR((desktop.clock().now() - start).count(), 0.25, 1e-6);

    app.dieAfterCalls(1);
    EXPECT_TRUE(desktop.copyActionNames(front.ref()).ok());
    EXPECT_EQ(desktop.copyActionNames(front.ref()).error(), AXError::InvalidUIElement);
}

} // namespace
} // namespace tarnvik
