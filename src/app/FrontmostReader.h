#pragma once

#include "accessibility/BuildUITree.h"
#include "accessibility/UITrees.h"
#include "platform/Screens.h"

#include <string>
#include <variant>

namespace tarnvik {

class Preferences;
class Scheduler;

// The trees of the frontmost window, read outside a session exactly as a label-mode activation
// reads them (a search-mode one on request): for `tarnvik targets` and to read an application
// ahead of its first session.
class FrontmostReader
{
public:
    struct Services
    {
        AccessibilityPlatform platform;
        Screens &screens;
        const Preferences &preferences;
        Scheduler &scheduler;
    };

    struct Reading
    {
        UITrees trees;
        Screen screen;
        double firstScreenHeight = 0;
    };

    explicit FrontmostReader(Services services)
        : _services(services)
    { }

    // The reading, or the line that says why there is none.
    std::variant<Reading, std::string> read(bool searchMode) const;

private:
    Services _services;
};

} // namespace tarnvik
