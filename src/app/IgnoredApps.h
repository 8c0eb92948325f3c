#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarnvik {

// An application the Ignored Apps page can list.
struct ListedApplication
{
    std::string name;
    // Its desktop entry, the path the rest of the program knows it by (its bundle path).
    std::string path;
    // A name in the icon theme, or a file.
    std::optional<std::string> icon;
};

// What the Ignored Apps page lists and stores: the installed applications, with the desktop's
// own core ones (terminal, text editor, calculator, file manager) after the others, and the
// selection as the paths of `disabled-bundle-paths`.
namespace IgnoredApps {

// The desktop entry IDs of the core applications, in the order they are listed.
const std::vector<std::string> &builtinApps();

// `installed` with its core applications moved behind the rest, in builtinApps' order, and
// names that two of them share followed by their file's name; `ids` holds the desktop file ID
// of each installed application.
std::vector<ListedApplication> listing(std::vector<ListedApplication> installed,
                                       const std::vector<std::string> &ids);

// The path as the page stores it: percent-encoded, without a trailing "/".
std::string storedPath(const std::string &path);

// The listed applications whose stored path is among `stored`.
std::set<std::size_t> selection(const std::vector<ListedApplication> &listed,
                                const std::vector<std::string> &stored);

// What the page writes for a selection: the stored paths of the chosen applications, and
// nothing else, paths of applications it doesn't list included.
std::vector<std::string> paths(const std::vector<ListedApplication> &listed,
                               const std::set<std::size_t> &selected);

} // namespace IgnoredApps

} // namespace tarnvik
