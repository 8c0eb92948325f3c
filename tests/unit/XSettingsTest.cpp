#include "platform/linux/XSettings.h"

#include <gtest/gtest.h>

namespace tarnvik::linux {
namespace {

// Writes a settings property as a settings manager does, in either byte order.
class Property
{
public:
    explicit Property(bool bigEndian, std::uint32_t count)
        : _big(bigEndian)
    {
        bytes = {static_cast<std::uint8_t>(bigEndian ? 1 : 0), 0, 0, 0};
        card(7, 4);
        card(count, 4);
    }
    Property &integer(const std::string &name, std::int32_t value)
    {
        header(0, name);
        card(static_cast<std::uint32_t>(value), 4);
        return *this;
    }
    Property &string(const std::string &name, const std::string &value)
    {
        header(1, name);
        card(static_cast<std::uint32_t>(value.size()), 4);
        padded(value);
        return *this;
    }
    Property &color(const std::string &name)
    {
        header(2, name);
        bytes.insert(bytes.end(), 8, 0xff);
        return *this;
    }
    std::vector<std::uint8_t> bytes;

private:
    void header(std::uint8_t type, const std::string &name)
    {
        bytes.push_back(type);
        bytes.push_back(0);
        card(static_cast<std::uint32_t>(name.size()), 2);
        padded(name);
        card(3, 4);
    }
    void padded(const std::string &text)
    {
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.insert(bytes.end(), (4 - text.size() % 4) % 4, 0);
    }
    void card(std::uint32_t value, int size)
    {
        for (int i = 0; i < size; ++i)
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * (_big ? size - 1 - i : i))));
    }
    bool _big;
};

TEST(XSettingsTest, ReadsIntegersAndStringsInEitherByteOrderAndSkipsColours)
{
    for (bool big : {false, true}) {
        const auto property = Property(big, 4)
                                  .string("Net/ThemeName", "HighContrastInverse")
                                  .color("Gtk/Color")
                                  .integer("Gtk/EnableAnimations", 0)
                                  .integer("Net/DoubleClickTime", -400)
                                  .bytes;
        const auto settings = parseXSettings(property);
        ASSERT_EQ(settings.size(), 3u) << big;
        EXPECT_EQ(std::get<std::string>(settings.at("Net/ThemeName")), "HighContrastInverse");
        EXPECT_EQ(std::get<std::int32_t>(settings.at("Net/DoubleClickTime")), -400);
        const auto appearance = appearanceOf(settings);
        EXPECT_TRUE(appearance.highContrast);
        EXPECT_TRUE(appearance.reduceMotion);
    }
}

TEST(XSettingsTest, AMalformedPropertyGivesWhatCameBeforeTheFault)
{
    auto property = Property(false, 3)
                        .string("Net/ThemeName", "Adwaita")
                        .integer("Gtk/EnableAnimations", 1)
                        .bytes;
    property.resize(property.size() - 2);
    const auto settings = parseXSettings(property);
    ASSERT_EQ(settings.size(), 1u) << "a setting cut short is left out, and nothing past it";
    EXPECT_FALSE(appearanceOf(settings).highContrast);
    EXPECT_FALSE(appearanceOf(settings).reduceMotion) << "no setting means animations on";
    EXPECT_TRUE(parseXSettings({1, 0, 0}).empty());
}

} // namespace
} // namespace tarnvik::linux
