#pragma once

#include "platform/PreferenceStore.h"

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarnvik {

// The table of the user's settings: the keys, their registered defaults, and typed reads that
// fall back as each key documents. Values are read at the point of use; nothing is cached here.
class Preferences
{
public:
    struct Keys
    {
        static constexpr const char *nonSearchShortcut = "non-search-shortcut";
        static constexpr const char *searchShortcut = "search-shortcut";
        static constexpr const char *scrollShortcut = "scroll-shortcut";
        static constexpr const char *chainClicks = "chain-clicks";
        static constexpr const char *launchAtLogin = "launch-at-login";
        static constexpr const char *showMenubarIcon = "show-menubar-icon";
        static constexpr const char *checkForUpdatesAutomatically =
            "check-for-updates-automatically";
        static constexpr const char *isAutoClickEnabled = "is-auto-click-enabled";
        static constexpr const char *isScrollShortcutsEnabled = "is-scroll-shortcuts-enabled";
        static constexpr const char *hideLabelsWhenNothingIsSearched =
            "hide-labels-when-nothing-is-searched";
        static constexpr const char *useSearchPredicate = "use-search-predicate";
        static constexpr const char *labelFontSize = "label-font-size";
        static constexpr const char *scrollPxPerMs = "scroll-px-per-ms";
        static constexpr const char *dashSpeedMultiplier = "dash-speed-multiplier";
        static constexpr const char *autoDeactivateScrolling = "auto-deactivate-scrolling";
        static constexpr const char *autoDeactivateScrollingDelayS =
            "auto-deactivate-scrolling-delay-s";
        static constexpr const char *scrollShowNumbers = "scroll-show-numbers";
        static constexpr const char *mapArrowKeysToScroll = "map-arrow-keys-to-scroll";
        static constexpr const char *autoActivateMissionControl = "auto-activate-mission-control";
        static constexpr const char *enableSoundEffects = "enableSoundEffects";
        static constexpr const char *soundEffectVolume = "soundEffectVolume";
        static constexpr const char *includeBetaUpdates = "include-beta-updates";
        static constexpr const char *labelCharacters = "label-characters";
        static constexpr const char *scrollKeys = "scroll-keys";
        static constexpr const char *themeId = "theme-id";
        static constexpr const char *enableHyperKey = "enable-hyper-key";
        static constexpr const char *autoSwitchInputSourceId = "auto-switch-input-source-id";
        static constexpr const char *isExperimentalSupportEnabled =
            "is-experimental-support-enabled";
        static constexpr const char *disabledBundlePaths = "disabled-bundle-paths";
    };

    static constexpr const char *defaultLabelCharacters = "SADFJKLEWCMPGH";
    static constexpr const char *defaultThemeId = "original";

    using DefaultValue = std::variant<bool, double, std::string>;
    // The registered defaults: they apply whenever the user has stored no value of the key's
    // type, and are never written to the store.
    static const std::map<std::string, DefaultValue> &registeredDefaults();

    // The numbers a number key can take. A stored value outside them, or not finite, was never
    // written by the settings window: it came from a hand edit gone wrong, and the registered
    // default stands in for it.
    struct Range
    {
        double minimum;
        double maximum;
    };
    static std::optional<Range> allowedRange(const std::string &key);

    explicit Preferences(PreferenceStore &store)
        : _store(store)
    { }

    // Reads in the manner of the platform's defaults: the stored value, else the registered
    // default, else false, 0 or nothing. A number outside its allowed range counts as absent,
    // and the store says so.
    bool boolForKey(const std::string &key) const;
    double doubleForKey(const std::string &key) const;
    float floatForKey(const std::string &key) const;
    std::optional<std::string> stringForKey(const std::string &key) const;

    void setBool(const std::string &key, bool value) { _store.setBool(key, value); }
    void setDouble(const std::string &key, double value) { _store.setDouble(key, value); }
    void setString(const std::string &key, const std::string &value)
    {
        _store.setString(key, value);
    }
    void removeObjectForKey(const std::string &key) { _store.remove(key); }

    // Keys that are not registered, each with its own fallback.
    std::string themeId() const;
    bool isExperimentalSupportEnabled() const;
    std::vector<std::string> disabledBundlePaths() const;
    void setDisabledBundlePaths(const std::vector<std::string> &paths);
    // Exactly four characters, or nothing; the layout is left, down, up, right.
    std::optional<std::string> scrollKeys() const;

private:
    PreferenceStore &_store;
};

} // namespace tarnvik
