#include "scroll/ScrollDirection.h"

#include "platform/KeyCodes.h"
#include "preferences/Preferences.h"

#include <QList>
#include <QString>

#include <map>

namespace tarnvik {

namespace {

// The four keys of a custom table by the character typed, so that it follows the layout.
std::optional<ScrollDirection> customDirection(const std::string &keys, const KeyEvent &event)
{
    const auto typed = QString::fromStdString(event.characters).toLower().toUcs4();
    if (typed.size() != 1)
        return std::nullopt;
    constexpr ScrollDirection order[] = {ScrollDirection::left, ScrollDirection::down,
                                         ScrollDirection::up, ScrollDirection::right};
    const auto characters = QString::fromStdString(keys).toLower().toUcs4();
    for (qsizetype i = 0; i < characters.size() && i < 4; ++i)
        if (typed[0] == characters[i])
            return order[i];
    return std::nullopt;
}

} // namespace

std::optional<ScrollDirection> scrollDirection(const KeyEvent &event,
                                               const Preferences &preferences)
{
    if (event.type != EventType::keyDown && event.type != EventType::keyUp)
        return std::nullopt;
    if (event.isARepeat)
        return std::nullopt;
    std::map<std::uint16_t, ScrollDirection> table;
    if (const auto keys = preferences.scrollKeys()) {
        if (auto direction = customDirection(*keys, event))
            return direction;
    } else {
        // H, J, K, L by position: the same keys on every layout.
        table = {{4, ScrollDirection::left},
                 {38, ScrollDirection::down},
                 {40, ScrollDirection::up},
                 {37, ScrollDirection::right}};
    }
    if (preferences.boolForKey(Preferences::Keys::isScrollShortcutsEnabled)) {
        table[32] = ScrollDirection::up;
        table[2] = ScrollDirection::down;
    }
    if (preferences.boolForKey(Preferences::Keys::mapArrowKeysToScroll)) {
        table[KeyCode::down] = ScrollDirection::down;
        table[KeyCode::up] = ScrollDirection::up;
        table[KeyCode::left] = ScrollDirection::left;
        table[KeyCode::right] = ScrollDirection::right;
    }
    const auto found = table.find(event.keyCode);
    return found == table.end() ? std::nullopt : std::optional(found->second);
}

double scrollRate(const KeyEvent &event, const Preferences &preferences)
{
    const double dash = (event.flags & ModifierFlag::shift)
        ? preferences.doubleForKey(Preferences::Keys::dashSpeedMultiplier)
        : 1.0;
    return preferences.doubleForKey(Preferences::Keys::scrollPxPerMs) * dash;
}

} // namespace tarnvik
