#include "platform/KeyCodes.h"
#include "platform/kwin/KGlobalAccelHotKeys.h"

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

} // namespace
} // namespace tarnvik::kwin
