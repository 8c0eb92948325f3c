#include "platform/KeyCodes.h"

#include "platform/KeyEvents.h"

#include <array>
#include <utility>

namespace tarnvik {

namespace {

constexpr std::array<std::pair<std::uint16_t, char>, 47> asciiKeys {{
    {0, 'a'},   {1, 's'},  {2, 'd'},  {3, 'f'},  {4, 'h'},  {5, 'g'},   {6, 'z'},  {7, 'x'},
    {8, 'c'},   {9, 'v'},  {11, 'b'}, {12, 'q'}, {13, 'w'}, {14, 'e'},  {15, 'r'}, {16, 'y'},
    {17, 't'},  {18, '1'}, {19, '2'}, {20, '3'}, {21, '4'}, {22, '6'},  {23, '5'}, {24, '='},
    {25, '9'},  {26, '7'}, {27, '-'}, {28, '8'}, {29, '0'}, {30, ']'},  {31, 'o'}, {32, 'u'},
    {33, '['},  {34, 'i'}, {35, 'p'}, {37, 'l'}, {38, 'j'}, {39, '\''}, {40, 'k'}, {41, ';'},
    {42, '\\'}, {43, ','}, {44, '/'}, {45, 'n'}, {46, 'm'}, {47, '.'},  {50, '`'},
}};

constexpr std::array<std::uint16_t, 20> functionKeys {
    122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111, 105, 107, 113, 106, 64, 79, 80, 90};

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::optional<char> asciiCharacter(std::uint16_t keyCode)
{
    for (const auto &[code, c] : asciiKeys)
        if (code == keyCode)
            return c;
    return std::nullopt;
}

std::optional<std::uint16_t> keyCodeForAsciiCharacter(char c)
{
    for (const auto &[code, key] : asciiKeys)
        if (key == lower(c))
            return code;
    return std::nullopt;
}

std::uint64_t keyPositionFlags(std::uint16_t keyCode)
{
    using namespace KeyCode;
    if (keyCode == left || keyCode == right || keyCode == down || keyCode == up)
        return ModifierFlag::numericPad | ModifierFlag::function;
    if (keyCode == help || keyCode == home || keyCode == pageUp || keyCode == forwardDelete
        || keyCode == end || keyCode == pageDown || functionKeyNumber(keyCode))
        return ModifierFlag::function;
    constexpr std::uint16_t keypad[] = {65, 67, 69, 71, 75, 76, 78, 81, 82,
                                        83, 84, 85, 86, 87, 88, 89, 91, 92};
    for (auto key : keypad)
        if (key == keyCode)
            return ModifierFlag::numericPad;
    return 0;
}

std::optional<std::uint16_t> functionKeyCode(int number)
{
    if (number < 1 || number > 20)
        return std::nullopt;
    return functionKeys[static_cast<std::size_t>(number - 1)];
}

std::uint64_t modifierFlagOfKey(std::uint16_t keyCode)
{
    switch (keyCode) {
    case 54:
    case 55:
        return ModifierFlag::command;
    case 56:
    case 60:
        return ModifierFlag::shift;
    case 58:
    case 61:
        return ModifierFlag::option;
    case 59:
    case 62:
        return ModifierFlag::control;
    default:
        return 0;
    }
}

std::optional<int> functionKeyNumber(std::uint16_t keyCode)
{
    for (std::size_t i = 0; i < functionKeys.size(); ++i)
        if (functionKeys[i] == keyCode)
            return static_cast<int>(i) + 1;
    return std::nullopt;
}

} // namespace tarnvik
