#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tarnvik {

struct ChangelogSection
{
    std::optional<std::string> title;
    std::vector<std::string> items;

    friend bool operator==(const ChangelogSection &, const ChangelogSection &) = default;
};

struct ChangelogEntry
{
    std::string version;
    // As the user's locale writes a date, or as the feed wrote it when it isn't a date.
    std::string date;
    std::vector<ChangelogSection> sections;
};

// The release history, from the update feed installed with the program ("appcast.xml", RSS
// with the update framework's version element); nothing is fetched from a network.
namespace Changelog {

// The feed's items in file order; an item without a version gives none. A broken feed gives
// what was read before the break.
std::vector<ChangelogEntry> parse(const std::string &appcast);
// The feed at `path`; nothing when it can't be read.
std::vector<ChangelogEntry> load(const std::string &path);
// An item's description: its <h4> headings each open a section of the <li> items after them;
// with no heading, the items form one untitled section.
std::vector<ChangelogSection> sections(const std::string &description);

} // namespace Changelog

} // namespace tarnvik
