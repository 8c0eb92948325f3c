// Qt draws the icons through its SVG icon engine, a plug-in that no library links: without the
// package that ships it the tray shows nothing and the windows no picture.
#include <QIcon>

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

TEST(Icons, AreDrawnFromTheirSvg)
{
    for (const char *name : {":/icons/tarnvik.svg", ":/icons/tarnvik-symbolic.svg"})
        EXPECT_FALSE(QIcon(name).pixmap(32, 32).isNull()) << name;
}

} // namespace
} // namespace tarnvik
