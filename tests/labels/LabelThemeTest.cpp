#include "labels/LabelTheme.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

TEST(ColorText, ShortFormsExpandWithTheirOwnAlphaAndBlanksAroundAndOneHashAreIgnored)
{
    EXPECT_EQ(parseColorText("#abc"), 0xAABBCCFFu);
    EXPECT_EQ(parseColorText("abcd"), 0xAABBCCDDu);
    EXPECT_EQ(parseColorText("8d761f"), 0x8D761FFFu);
    EXPECT_EQ(parseColorText("#F9E68C80"), 0xF9E68C80u);
    EXPECT_EQ(parseColorText(" \t#F9E68C\n"), 0xF9E68CFFu);
}

TEST(ColorText, MalformedTextFails)
{
    for (const char *text : {"", "  \n", "#", "##abc", "abcde", "ab", "abcdefa", "abcdefabc",
                             "12345g", "ab c", "0xabc", "-abc", "+abcdef"})
        EXPECT_EQ(parseColorText(text), std::nullopt) << '"' << text << '"';
}

TEST(ColorText, FormatsRGBOfAnyColourModelRoundedAndWithoutAlpha)
{
    const QColor color = colorFromRGBA(*parseColorText("F9E68C80"));
    EXPECT_EQ(color, QColor(0xF9, 0xE6, 0x8C, 0x80));
    EXPECT_EQ(colorText(color), "#F9E68C");
    EXPECT_EQ(colorText(QColor()), "#FFFFFF") << "no RGB form";
    EXPECT_EQ(colorText(QColor::fromRgbF(0.5f, 0.25f, 0.998f)), "#8040FE");
}

void expectSameColors(const LabelColors &a, const LabelColors &b)
{
    EXPECT_EQ(a.text, b.text);
    EXPECT_EQ(a.background1, b.background1);
    EXPECT_EQ(a.background2, b.background2);
    EXPECT_EQ(a.background3, b.background3);
    EXPECT_EQ(a.border, b.border);
}

TEST(LabelColors, AnUnknownThemeIsTheOriginalAndHighContrastOverridesEveryTheme)
{
    expectSameColors(labelColors("no-such-theme", false), labelColors("original", false));
    const auto contrast = labelColors("dark", true);
    expectSameColors(contrast, labelColors("light", true));
    expectSameColors(contrast, labelColors("nothing", true));
    EXPECT_EQ(contrast.background1, contrast.background3) << "no gradient";
}

} // namespace
} // namespace tarnvik
