#pragma once

#include "platform/InputSources.h"

#include <map>
#include <memory>
#include <string>

namespace tarnvik::linux {

// The keyboard layouts of X's keymap, its XKB groups, as the input sources: each named as the
// XKB rules' registry (evdev.xml) names its layout and variant, selected by locking its group.
class XkbLayouts final : public KeyboardInputSources
{
public:
    // Nothing when the display or its XKB extension is missing.
    static std::unique_ptr<XkbLayouts> connect();
    ~XkbLayouts() override;

    std::vector<InputSource> inputSources() override;
    std::optional<InputSource> currentInputSource() override;
    void selectInputSource(const InputSource &source) override;

private:
    struct Connection;
    explicit XkbLayouts(std::unique_ptr<Connection> connection);
    // The groups; with their readable names only when `named`.
    std::vector<InputSource> layouts(bool named);

    std::unique_ptr<Connection> _x;
};

// The readable names of layouts and variants in an XKB rules registry ("us" → "English (US)",
// "de(nodeadkeys)" → "German (no dead keys)"); an id it doesn't name keeps the id.
class XkbRegistry
{
public:
    explicit XkbRegistry(const std::string &xml);
    std::string nameOf(const std::string &layout, const std::string &variant) const;

private:
    std::map<std::string, std::string> _names;
};

} // namespace tarnvik::linux
