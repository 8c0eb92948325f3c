#include "labels/LabelTheme.h"

#include <gtest/gtest.h>

namespace tarnvik {
namespace {

TEST(ColorText, ShortFormsExpandAndCarryTheirOwnAlpha)
{
    EXPECT_EQ(parseColorText("#abc"), 0xAABBCCFFu);
    EXPECT_EQ(parseColorText("abcd"), 0xAABBCCDDu);
    EXPECT_EQ(parseColorText("F9E68C"), 0xF9E68CFFu);
    EXPECT_EQ(parseColorText("8d761f"), 0x8D761FFFu);
    EXPECT_EQ(parseColorText("#F9E68C80"), 0xF9E68C80u);
    EXPECT_EQ(parseColorText("00000000"), 0x00000000u);
}

TEST(ColorText, BlanksAroundAndOneHashAreIgnored)
{
    EXPECT_EQ(parseColorText(" \t#F9E68C\n"), parseColorText("F9E68C"));
    EXPECT_EQ(parseColorText("\r\nabc  "), 0xAABBCCFFu);
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
    EXPECT_EQ(colorText(QColor::fromHsv(120, 255, 255)), "#00FF00");
    EXPECT_EQ(colorText(QColor::fromCmykF(0.0f, 0.0f, 0.0f, 1.0f)), "#000000");
    EXPECT_EQ(colorText(QColor::fromRgbF(0.5f, 0.25f, 0.998f)), "#8040FE");
}

TEST(LabelTheme, ListsTheBuiltInThemesDefaultFirstAndFindsThemById)
{
    const auto &themes = LabelTheme::themes();
    ASSERT_EQ(themes.size(), 3u);
    EXPECT_EQ(&themes.front(), &LabelTheme::defaultTheme());
    EXPECT_EQ(LabelTheme::defaultTheme().id, "original");
    EXPECT_EQ(LabelTheme::withId("dark")->name, "Dark");
    EXPECT_EQ(LabelTheme::withId("light")->bgColor3, themes[2].bgColor3);
    EXPECT_EQ(LabelTheme::withId("Dark"), std::nullopt) << "ids are case-sensitive";
    EXPECT_EQ(LabelTheme::withId(""), std::nullopt);
}

void expectSameColors(const LabelColors &a, const LabelColors &b)
{
    EXPECT_EQ(a.text, b.text);
    EXPECT_EQ(a.background1, b.background1);
    EXPECT_EQ(a.background2, b.background2);
    EXPECT_EQ(a.background3, b.background3);
    EXPECT_EQ(a.border, b.border);
}

TEST(LabelColors, UnknownThemeGetsTheStockColours)
{
    const auto stock = labelColors("no-such-theme", false);
    EXPECT_EQ(stock.text, QColor(Qt::black));
    const auto &original = LabelTheme::defaultTheme();
    EXPECT_EQ(stock.background1, original.bgColor1);
    EXPECT_EQ(stock.background2, original.bgColor2);
    EXPECT_EQ(stock.background3, original.bgColor3);
    expectSameColors(stock, labelColors("original", false));
    EXPECT_EQ(stock.border, labelColors("dark", false).border) << "one border for every theme";
    EXPECT_EQ(stock.border.red(), stock.border.blue()) << "a grey";
    EXPECT_GT(stock.border.red(), 0);
    EXPECT_LT(stock.border.red(), 128);
}

TEST(LabelColors, HighContrastOverridesEveryTheme)
{
    const auto contrast = labelColors("dark", true);
    expectSameColors(contrast, labelColors("light", true));
    expectSameColors(contrast, labelColors("nothing", true));
    EXPECT_EQ(contrast.text, QColor(Qt::black));
    EXPECT_EQ(contrast.border, QColor(Qt::black));
    EXPECT_EQ(contrast.background1, contrast.background2);
    EXPECT_EQ(contrast.background2, contrast.background3);
    EXPECT_EQ(colorText(contrast.background1), "#FFF8BB");

    const auto dark = labelColors("dark", false);
    EXPECT_EQ(dark.text, QColor(Qt::white));
    EXPECT_EQ(dark.background3, QColor(Qt::black));
}

} // namespace
} // namespace tarnvik
