#include "platform/KeyCodes.h"
#include "platform/kwin/KGlobalAccelHotKeys.h"
#include "platform/kwin/KWinScript.h"

#include <QKeySequence>

#include <gtest/gtest.h>

namespace tarnvik::kwin {
namespace {

// A German layout: the key in the US Y's place types z.
class GermanLayout final : public KeyboardLayout
{
public:
    std::string translate(std::uint16_t keyCode) override
    {
        if (keyCode == *keyCodeForAsciiCharacter('y'))
            return "z";
        if (keyCode == *keyCodeForAsciiCharacter('z'))
            return "y";
        const auto c = asciiCharacter(keyCode);
        return c ? std::string(1, *c) : std::string();
    }
};

std::string named(std::uint16_t keyCode, std::uint64_t flags)
{
    GermanLayout layout;
    const auto key = qtKeyOf(keyCode, flags, layout);
    return key ? QKeySequence(*key).toString(QKeySequence::PortableText).toStdString() : "none";
}

// KDE's shortcuts name keys by what they type in the user's layout; keys that type nothing by
// their own names.
TEST(KGlobalAccelKeys, KeysAreNamedAsTheLayoutTypesThem)
{
    using namespace ModifierFlag;
    EXPECT_EQ(named(KeyCode::space, shift | command), "Meta+Shift+Space");
    EXPECT_EQ(named(*keyCodeForAsciiCharacter('y'), control | option), "Ctrl+Alt+Z");
    EXPECT_EQ(named(*functionKeyCode(5), 0), "F5");
    EXPECT_EQ(named(KeyCode::deleteKey, 0), "Backspace");
    EXPECT_EQ(named(KeyCode::forwardDelete, 0), "Del");
    EXPECT_EQ(named(*keyCodeForAsciiCharacter(';'), command), "Meta+;");
}

// The script's report: the focused window first, whatever KWin's stacking; the active screen
// first.
TEST(KWinReport, TheFocusedWindowAndTheActiveScreenComeFirst)
{
    const auto [windows, screens] = kwinReport(R"({
        "windows": [
            {"id": "{a}", "pid": 10, "title": "Editor", "focused": false,
             "resourceClass": "org.example.Editor", "resourceName": "editor",
             "desktopFile": "org.example.Editor",
             "frame": {"x": 10, "y": 20, "width": 300, "height": 200},
             "buffer": {"x": 0, "y": 8, "width": 320, "height": 224}},
            {"id": "{b}", "pid": 11, "title": "Files", "focused": true,
             "frame": {"x": 700, "y": 150, "width": 400, "height": 300},
             "buffer": {"x": 700, "y": 150, "width": 400, "height": 300}}],
        "screens": [
            {"frame": {"x": 0, "y": 0, "width": 1280, "height": 800}, "scale": 1, "active": false},
            {"frame": {"x": 1280, "y": 0, "width": 1280, "height": 800}, "scale": 2,
             "active": true}]})");
    ASSERT_EQ(windows.size(), 2u);
    EXPECT_EQ(windows[0].pid, 11);
    EXPECT_TRUE(windows[0].focused);
    EXPECT_EQ(windows[1].gtkApplicationId, "org.example.Editor");
    EXPECT_EQ(windows[1].buffer.origin.y, 8);
    EXPECT_NE(windows[0].id, windows[1].id);
    ASSERT_EQ(screens.size(), 2u);
    EXPECT_EQ(screens[0].frame.origin.x, 1280);
    EXPECT_EQ(screens[0].scale, 2);
}

} // namespace
} // namespace tarnvik::kwin
