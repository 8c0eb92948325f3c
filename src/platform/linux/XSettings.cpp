#include "platform/linux/XSettings.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace tarnvik::linux {

namespace {

enum Type : std::uint8_t { integer = 0, string = 1, color = 2 };

// Reads the property front to back in its own byte order; every read is checked.
class Reader
{
public:
    Reader(const std::vector<std::uint8_t> &data, bool bigEndian)
        : _data(data)
        , _bigEndian(bigEndian)
    { }

    std::optional<std::uint32_t> card(int bytes)
    {
        if (!has(static_cast<std::size_t>(bytes)))
            return std::nullopt;
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) {
            const std::uint32_t byte = _data[_at + static_cast<std::size_t>(i)];
            value |= byte << (8 * (_bigEndian ? bytes - 1 - i : i));
        }
        _at += static_cast<std::size_t>(bytes);
        return value;
    }

    // `length` bytes and the padding to four after them.
    std::optional<std::string> text(std::size_t length)
    {
        const std::size_t padded = (length + 3) & ~std::size_t {3};
        if (!has(padded))
            return std::nullopt;
        std::string value(_data.begin() + static_cast<std::ptrdiff_t>(_at),
                          _data.begin() + static_cast<std::ptrdiff_t>(_at + length));
        _at += padded;
        return value;
    }

    bool skip(std::size_t bytes)
    {
        if (!has(bytes))
            return false;
        _at += bytes;
        return true;
    }

private:
    bool has(std::size_t bytes) const { return _data.size() - _at >= bytes; }

    const std::vector<std::uint8_t> &_data;
    const bool _bigEndian;
    std::size_t _at = 0;
};

} // namespace

XSettings parseXSettings(const std::vector<std::uint8_t> &property)
{
    XSettings settings;
    if (property.size() < 12)
        return settings;
    Reader r(property, property[0] == 1);
    r.skip(4);
    const auto serial = r.card(4);
    const auto count = r.card(4);
    if (!serial || !count)
        return settings;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const auto type = r.card(1);
        const auto nameLength = r.skip(1) ? r.card(2) : std::nullopt;
        const auto name = nameLength ? r.text(*nameLength) : std::nullopt;
        if (!type || !name || !r.skip(4))
            return settings;
        if (*type == integer) {
            const auto value = r.card(4);
            if (!value)
                return settings;
            settings[*name] = static_cast<std::int32_t>(*value);
        } else if (*type == string) {
            const auto length = r.card(4);
            const auto value = length ? r.text(*length) : std::nullopt;
            if (!value)
                return settings;
            settings[*name] = *value;
        } else if (*type != color || !r.skip(8)) {
            return settings;
        }
    }
    return settings;
}

DesktopAppearance appearanceOf(const XSettings &settings)
{
    DesktopAppearance appearance;
    if (auto theme = settings.find("Net/ThemeName"); theme != settings.end())
        if (const auto *name = std::get_if<std::string>(&theme->second)) {
            std::string lower = *name;
            std::transform(lower.begin(), lower.end(), lower.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            appearance.highContrast = lower.find("highcontrast") != std::string::npos;
        }
    if (auto animations = settings.find("Gtk/EnableAnimations"); animations != settings.end())
        if (const auto *on = std::get_if<std::int32_t>(&animations->second))
            appearance.reduceMotion = *on == 0;
    return appearance;
}

} // namespace tarnvik::linux
