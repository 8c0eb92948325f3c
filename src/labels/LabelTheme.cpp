#include "labels/LabelTheme.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>

namespace tarnvik {

namespace {

QColor grey(double value)
{
    return QColor::fromRgbF(static_cast<float>(value), static_cast<float>(value),
                            static_cast<float>(value));
}

QColor bytes(int red, int green, int blue)
{
    return QColor::fromRgbF(static_cast<float>(red / 255.0), static_cast<float>(green / 255.0),
                            static_cast<float>(blue / 255.0));
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

} // namespace

const std::vector<LabelTheme> &LabelTheme::themes()
{
    static const std::vector<LabelTheme> list = {
        {"original", "Original", grey(0.0), bytes(254, 249, 195), bytes(254, 240, 138),
         bytes(253, 224, 71)},
        {"dark", "Dark", grey(1.0), grey(0.3), grey(0.15), grey(0.0)},
        {"light", "Light", grey(0.0), grey(1.0), grey(0.95), grey(0.85)},
    };
    return list;
}

const LabelTheme &LabelTheme::defaultTheme()
{
    return themes().front();
}

std::optional<LabelTheme> LabelTheme::withId(const std::string &id)
{
    const auto &list = themes();
    auto it = std::find_if(list.begin(), list.end(), [&](auto &theme) { return theme.id == id; });
    if (it == list.end())
        return std::nullopt;
    return *it;
}

LabelColors labelColors(const std::string &themeId, bool highContrast)
{
    if (highContrast) {
        const QColor paper = QColor::fromRgbF(1.0f, 0.973f, 0.733f);
        return {grey(0.0), paper, paper, paper, grey(0.0)};
    }
    if (auto theme = LabelTheme::withId(themeId))
        return {theme->textColor, theme->bgColor1, theme->bgColor2, theme->bgColor3,
                systemDarkGrey()};
    const LabelTheme stock = LabelTheme::withId("original").value();
    return {grey(0.0), stock.bgColor1, stock.bgColor2, stock.bgColor3, systemDarkGrey()};
}

// The accent blue of the focus highlight, the search bar's progress and the scroll border.
QColor systemBlue()
{
    return bytes(10, 132, 255);
}

// A third of white, the system palette's named dark grey: dark enough to edge the light
// themes, light enough to stay visible around the dark one.
QColor systemDarkGrey()
{
    return grey(1.0 / 3.0);
}

std::optional<std::uint32_t> parseColorText(const std::string &text)
{
    auto first = std::find_if_not(text.begin(), text.end(), isBlank);
    auto last = std::find_if_not(text.rbegin(), text.rend(), isBlank).base();
    if (first >= last)
        return std::nullopt;
    std::string digits(first, last);
    if (digits.front() == '#')
        digits.erase(0, 1);
    if (!std::all_of(digits.begin(), digits.end(),
                     [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }))
        return std::nullopt;
    if (digits.size() == 3)
        digits += 'f';
    if (digits.size() == 4) {
        std::string doubled;
        for (char c : digits)
            doubled.append(2, c);
        digits = doubled;
    }
    if (digits.size() == 6)
        digits += "ff";
    if (digits.size() != 8)
        return std::nullopt;
    return static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
}

QColor colorFromRGBA(std::uint32_t rgba)
{
    auto channel = [rgba](int shift) {
        return static_cast<float>(((rgba >> shift) & 0xFFu) / 255.0);
    };
    return QColor::fromRgbF(channel(24), channel(16), channel(8), channel(0));
}

std::string colorText(const QColor &color)
{
    if (!color.isValid())
        return "#FFFFFF";
    const QColor rgb = color.toRgb();
    auto byte = [](float value) {
        return static_cast<int>(
            std::clamp(std::lround(static_cast<double>(value) * 255.0), 0L, 255L));
    };
    std::array<char, 8> text {};
    std::snprintf(text.data(), text.size(), "#%02X%02X%02X", byte(rgb.redF()), byte(rgb.greenF()),
                  byte(rgb.blueF()));
    return text.data();
}

} // namespace tarnvik
