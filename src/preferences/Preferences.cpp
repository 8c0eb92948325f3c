#include "preferences/Preferences.h"

#include <algorithm>

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

namespace {

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
    if (auto stored = _store.doubleValue(key))
        return *stored;
    return registered<double>(key).value_or(0.0);
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
