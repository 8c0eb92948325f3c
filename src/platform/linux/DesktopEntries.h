#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarnvik::linux {

// One desktop entry file (the freedesktop Desktop Entry format), as far as the program needs it.
struct DesktopEntry
{
    std::string path;
    // The desktop file ID: its path below an "applications" folder, "/" written "-".
    std::string id;
    std::string type;
    std::optional<std::string> name;
    std::optional<std::string> icon;
    // Deleted (Hidden) or kept out of menus (NoDisplay).
    bool hidden = false;
};

// The unlocalised keys of the file's "Desktop Entry" group, escapes undone; nothing for a
// file that can't be read or has no such group.
std::optional<DesktopEntry> readDesktopEntry(const std::string &path, const std::string &id = {});

// The "applications" folders to look in, by precedence: XDG_DATA_HOME's, then XDG_DATA_DIRS's
// (each with the freedesktop base directory default when unset).
std::vector<std::string> applicationFolders();

// The applications a menu lists: of each ID the entry in the first folder that has it, kept
// when it is an Application that isn't hidden. In the order found.
std::vector<DesktopEntry> installedApplications(const std::vector<std::string> &folders);

} // namespace tarnvik::linux
