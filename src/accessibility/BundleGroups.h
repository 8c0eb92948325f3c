#pragma once

#include "platform/Workspace.h"

#include <array>
#include <string_view>

using namespace std::string_view_literals;

namespace tarnvik {

// Applications that the tree building treats differently, by exact bundle identifier.
namespace bundles {

inline constexpr std::array safari = {"com.apple.Safari"sv, "com.apple.SafariTechnologyPreview"sv};
inline constexpr std::array intelliJ = {"com.jetbrains.intellij"sv, "com.jetbrains.intellij.ce"sv};
// Electron applications whose windows are one web page: read through the page at their centre.
inline constexpr std::array windowCentreApps = {"notion.id"sv, "com.superhuman.electron"sv,
                                                "com.microsoft.teams"sv, "com.microsoft.teams2"sv};
inline constexpr std::array chromiumBrowsers = {
    "com.google.Chrome"sv,         "com.google.Chrome.canary"sv,
    "com.google.Chrome.beta"sv,    "com.google.Chrome.dev"sv,
    "com.brave.Browser"sv,         "com.brave.Browser.beta"sv,
    "com.brave.Browser.nightly"sv, "company.thebrowser.Browser"sv,
    "com.microsoft.edgemac"sv,     "com.microsoft.edgemac.Beta"sv,
    "com.microsoft.edgemac.Dev"sv, "com.microsoft.edgemac.Canary"sv};
inline constexpr std::array firefoxBrowsers = {"org.mozilla.firefox"sv, "org.mozilla.nightly"sv,
                                               "org.mozilla.firefoxdeveloperedition"sv};

inline constexpr std::string_view dock = "com.apple.dock";
inline constexpr std::string_view controlCentre = "com.apple.controlcenter";
inline constexpr std::string_view systemUIServer = "com.apple.systemuiserver";

// The page of a code editor that runs in the browser: its own widgets are walked, since the
// fast query skips most of them.
inline constexpr std::string_view searchPredicateExceptedHost = "vscode.dev";

// An application without a bundle identifier is in no group.
template<std::size_t N>
inline bool isIn(const RunningApplication &app, const std::array<std::string_view, N> &group)
{
    if (!app.bundleIdentifier)
        return false;
    for (auto id : group) {
        if (id == *app.bundleIdentifier)
            return true;
    }
    return false;
}

} // namespace bundles
} // namespace tarnvik
