#pragma once

#include "accessibility/UITree.h"
#include "platform/Overview.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace tarnvik {

// The overview's window previews as a tree, each tied to the icon of the application that owns
// its window. Made anew for each session, so that the icons are those of the windows now.
class MissionControlUITree
{
public:
    struct Services
    {
        Accessibility &ax;
        Overview &overview;
    };

    // Fills the icon caches from the windows the overview shows.
    explicit MissionControlUITree(Services services);

    // The overview's element; nothing when it is not open.
    std::optional<AXUIElement> findRootElement() const;
    // Adds the window previews found below `parentRef` to the tree, under `parent`.
    void populate(UITree &uiTree, const UIElement &parent, const AXUIElement &parentRef);

    // The icon of the window an identifier names, by its number.
    std::optional<std::string> iconForIdentifier(const std::string &identifier) const;
    // The icon of the application with a window of that title, or whose name the title holds.
    std::optional<std::string> iconForTitle(const std::string &title) const;

private:
    void fillCaches();
    // A preview is a button named by another element, as the overview names each window's
    // preview by its caption; its title is that element's text.
    UIElementPtr preview(const AXUIElement &ref);
    void addIcon(UIElement &element) const;

    Services _services;
    std::map<std::uint64_t, std::string> _windowIconCache;
    std::map<pid_t, std::string> _pidIconCache;
    // The name of each application of `_pidIconCache`, where known.
    std::map<pid_t, std::string> _pidNames;
    std::map<std::string, std::string> _titleToIconCache;
};

} // namespace tarnvik
