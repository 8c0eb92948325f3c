#pragma once

#include <QColor>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

// A named set of label colours the user picks in the settings; only its id is ever stored.
struct LabelTheme
{
    std::string id;
    std::string name;
    QColor textColor;
    QColor bgColor1;
    QColor bgColor2;
    QColor bgColor3;

    // The built-in themes in the order the settings list them; the first is the default.
    static const std::vector<LabelTheme> &themes();
    static const LabelTheme &defaultTheme();
    // Nothing for an id that names no theme: each caller has its own fallback.
    static std::optional<LabelTheme> withId(const std::string &id);
};

// Everything a label is painted with.
struct LabelColors
{
    QColor text;
    QColor background1;
    QColor background2;
    QColor background3;
    QColor border;

    friend bool operator==(const LabelColors &, const LabelColors &) = default;
};

// The colours of a label for the stored `theme-id`: the theme's own, the stock ones when the id
// names no theme, or the high-contrast set whatever the theme.
LabelColors labelColors(const std::string &themeId, bool highContrast);

// The platform's named colours that the views use beside the themes.
QColor systemBlue();
QColor systemDarkGrey();

// Colour text as typed into a field: "#rgb", "rgba", "rrggbb" or "rrggbbaa", one optional "#",
// blanks around it ignored. Gives 0xRRGGBBAA.
std::optional<std::uint32_t> parseColorText(const std::string &text);
QColor colorFromRGBA(std::uint32_t rgba);
// "#RRGGBB", alpha left out; "#FFFFFF" for a colour with no RGB form.
std::string colorText(const QColor &color);

} // namespace tarnvik
