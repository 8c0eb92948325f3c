#include "preferences/Preferences.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace tarnvik {

const std::map<std::string, Preferences::DefaultValue> &Preferences::registeredDefaults()
{
    using K = Keys;
    static const std::map<std::string, DefaultValue> table = {
        {K::nonSearchShortcut, std::string("⇧⌘Space")},
        {K::scrollShortcut, std::string("⇧⌘J")},
        {K::chainClicks, false},
        {K::launchAtLogin, false},
        {K::showMenubarIcon, true},
        {K::checkForUpdatesAutomatically, true},
        {K::isAutoClickEnabled, true},
        {K::isScrollShortcutsEnabled, true},
        {K::hideLabelsWhenNothingIsSearched, false},
        {K::useSearchPredicate, true},
        {K::labelFontSize, 10.0},
        {K::scrollPxPerMs, 1.0},
        {K::dashSpeedMultiplier, 1.5},
        {K::autoDeactivateScrolling, false},
        {K::autoDeactivateScrollingDelayS, 1.0},
        {K::scrollShowNumbers, true},
        {K::mapArrowKeysToScroll, false},
        {K::autoActivateMissionControl, true},
        {K::enableSoundEffects, true},
        {K::soundEffectVolume, 0.6},
        {K::includeBetaUpdates, false},
    };
    return table;
}

std::optional<Preferences::Range> Preferences::allowedRange(const std::string &key)
{
    using K = Keys;
    // Wider than the settings window's sliders where a hand-set value still means something
    // (a rate of 0 scrolls nothing, a volume of 0 is silence); narrow where it can't (no font
    // size below 4 points is readable).
    static const std::map<std::string, Range> table = {
        {K::labelFontSize, {4, 72}},        {K::scrollPxPerMs, {0, 100}},
        {K::dashSpeedMultiplier, {0, 100}}, {K::autoDeactivateScrollingDelayS, {0, 3600}},
        {K::soundEffectVolume, {0, 1}},
    };
    auto it = table.find(key);
    if (it == table.end())
        return std::nullopt;
    return it->second;
}

namespace {

// How an unusable number is described to the user who wrote it.
std::string wantedNumber(const std::optional<Preferences::Range> &range)
{
    if (!range)
        return "a finite number";
    std::ostringstream text;
    text << "a number from " << range->minimum << " to " << range->maximum;
    return text.str();
}

template<class T>
std::optional<T> registered(const std::string &key)
{
    const auto &table = Preferences::registeredDefaults();
    auto it = table.find(key);
    if (it == table.end())
        return std::nullopt;
    if (const T *v = std::get_if<T>(&it->second))
        return *v;
    return std::nullopt;
}

} // namespace

bool Preferences::boolForKey(const std::string &key) const
{
    if (auto stored = _store.boolValue(key))
        return *stored;
    return registered<bool>(key).value_or(false);
}

double Preferences::doubleForKey(const std::string &key) const
{
    const double fallback = registered<double>(key).value_or(0.0);
    const auto stored = _store.doubleValue(key);
    if (!stored)
        return fallback;
    const auto range = allowedRange(key);
    if (!std::isfinite(*stored)
        || (range && (*stored < range->minimum || *stored > range->maximum))) {
        _store.reportUnusable(key, wantedNumber(range));
        return fallback;
    }
    return *stored;
}

float Preferences::floatForKey(const std::string &key) const
{
    return static_cast<float>(doubleForKey(key));
}

std::optional<std::string> Preferences::stringForKey(const std::string &key) const
{
    if (auto stored = _store.stringValue(key))
        return stored;
    return registered<std::string>(key);
}

std::string Preferences::themeId() const
{
    return stringForKey(Keys::themeId).value_or(defaultThemeId);
}

bool Preferences::isExperimentalSupportEnabled() const
{
    return _store.boolValue(Keys::isExperimentalSupportEnabled).value_or(false);
}

std::vector<std::string> Preferences::disabledBundlePaths() const
{
    return _store.stringListValue(Keys::disabledBundlePaths).value_or(std::vector<std::string> {});
}

void Preferences::setDisabledBundlePaths(const std::vector<std::string> &paths)
{
    std::vector<std::string> unique = paths;
    std::sort(unique.begin(), unique.end());
    unique.erase(std::unique(unique.begin(), unique.end()), unique.end());
    _store.setStringList(Keys::disabledBundlePaths, unique);
}

std::optional<std::string> Preferences::scrollKeys() const
{
    auto keys = _store.stringValue(Keys::scrollKeys);
    // Characters, not bytes: a key may be any letter of the user's layout.
    const auto characters = keys
        ? std::count_if(keys->begin(), keys->end(), [](char c) { return (c & 0xC0) != 0x80; })
        : 0;
    if (characters != 4)
        return std::nullopt;
    return keys;
}

} // namespace tarnvik
