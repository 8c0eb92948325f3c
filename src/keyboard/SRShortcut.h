#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarnvik {

// One key combination. Modifier-only shortcuts have the key code 65535 and no characters.
class SRShortcut
{
public:
    static constexpr std::uint64_t modifierMask = 0x1E0000;

    // Characters left out are worked out from the key on the ASCII-capable layout.
    static SRShortcut
    shortcutWithCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                     std::optional<std::string> characters = std::nullopt,
                     std::optional<std::string> charactersIgnoringModifiers = std::nullopt);
    // The stored text form, such as "⇧⌘Space"; nothing when it doesn't parse.
    static std::optional<SRShortcut> shortcutWithKeyEquivalent(const std::string &text);

    std::uint16_t keyCode() const { return _keyCode; }
    std::uint64_t modifierFlags() const { return _modifierFlags; }
    const std::optional<std::string> &characters() const { return _characters; }
    const std::optional<std::string> &charactersIgnoringModifiers() const
    {
        return _charactersIgnoringModifiers;
    }
    bool isModifierOnly() const { return !_charactersIgnoringModifiers && _modifierFlags != 0; }

    // The stored text form: modifier symbols in the order ⌃⌥⇧⌘, then the key.
    std::string description() const;
    // "Command-Shift-Space", for messages.
    std::string readableStringRepresentation() const;

    // The characters take no part.
    friend bool operator==(const SRShortcut &a, const SRShortcut &b)
    {
        return a._keyCode == b._keyCode && a._modifierFlags == b._modifierFlags;
    }

private:
    SRShortcut() = default;

    std::uint16_t _keyCode = 65535;
    std::uint64_t _modifierFlags = 0;
    std::optional<std::string> _characters;
    std::optional<std::string> _charactersIgnoringModifiers;
};

} // namespace tarnvik
