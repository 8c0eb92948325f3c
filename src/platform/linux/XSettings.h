#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace tarnvik::linux {

// The desktop's settings as its settings manager publishes them to every X client
// (freedesktop's XSETTINGS: "Net/ThemeName", "Gtk/EnableAnimations"...). Colours are left out.
using XSettings = std::map<std::string, std::variant<std::int32_t, std::string>>;

// The contents of the _XSETTINGS_SETTINGS property; as much as is well formed.
XSettings parseXSettings(const std::vector<std::uint8_t> &property);

// What the labels follow: a high-contrast theme ("HighContrast", "HighContrastInverse"), and
// animations switched off.
struct DesktopAppearance
{
    bool highContrast = false;
    bool reduceMotion = false;
};
DesktopAppearance appearanceOf(const XSettings &settings);

} // namespace tarnvik::linux
