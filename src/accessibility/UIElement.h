#pragma once

#include "platform/Accessibility.h"
#include "platform/Geometry.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnvik {

class UITree;
class UIElement;
using UIElementPtr = std::shared_ptr<UIElement>;

// The program's own copy of one element of another application. Its identity is `id`, a fresh
// UUID, not the platform handle: reading one platform element twice gives two elements.
class UIElement
{
public:
    UIElement(std::optional<AXUIElement> handle, std::string axRole, CGPoint origin, CGSize extent);

    const std::string id;
    const std::optional<AXUIElement> ref;
    const std::string role;
    std::optional<std::string> subrole;
    CGPoint position;
    CGSize size;
    std::optional<std::string> title;
    // Only string values are kept.
    std::optional<std::string> value;
    std::optional<std::string> description;
    std::optional<std::string> help;
    std::optional<std::string> roleDescription;
    std::optional<std::string> placeholderValue;
    std::optional<bool> enabled;
    std::optional<CGPoint> activationPoint;
    std::optional<std::string> identifier;
    // Read where they decide `isActionable` (see `actionsDecideActionable`); absent elsewhere and
    // when they could not be read.
    std::optional<std::vector<std::string>> actions;
    std::optional<std::vector<std::string>> attributes;
    // Path of the icon image of an application thumbnail.
    std::optional<std::string> appIcon;
    // The tree that holds the element, set when a tree adds it.
    std::weak_ptr<const UITree> uiTree;
    // ("App", application name) on menu-bar extras, so that search finds them by application.
    std::vector<std::pair<std::string, std::string>> customAttributes;

    CGRect frame() const { return CGRect {position, size}; }
    CGPoint centre() const { return centreOf(frame()); }

    // Whether an element of this kind may carry a label at all.
    bool isActionable() const;
    // Whether `isActionable` looks at the action names of an element of this role. Most roles
    // decide by themselves, and reading names that decide nothing cost a browser page half of
    // its calls.
    static bool actionsDecideActionable(const std::string &role);
    // The element's action names as the platform gives them now; absent if one can't be read.
    static std::optional<std::vector<std::string>> readActions(Accessibility &ax,
                                                               const AXUIElement &ref);

    std::string debugDescription() const;

    // Everything search needs, in one batch read plus the action names; nothing if the role,
    // position or size can't be read.
    static UIElementPtr fullElement(Accessibility &ax, const AXUIElement &ref);
    // The focused window of the application with that process, read whole; nothing when it
    // can't be read.
    static UIElementPtr focusedWindow(Accessibility &ax, pid_t processIdentifier);
    // Only what labelling needs: the text attributes stay absent until loadSearchAttributes.
    static UIElementPtr lightElement(Accessibility &ax, const AXUIElement &ref);
    // Reads the five text attributes of an element made light; each that isn't a string, or the
    // whole lot when the read fails, becomes absent.
    static void loadSearchAttributes(Accessibility &ax, UIElement &element);

    // Tells the platform that these elements are about to be made, full or light, so that it
    // can read them together; with `walkedInto`, that their showing descendants come next.
    static void prefetch(Accessibility &ax, const std::vector<AXUIElement> &refs, bool full,
                         bool walkedInto);

    friend bool operator==(const UIElement &a, const UIElement &b) { return a.id == b.id; }
};

// Text of a fresh random version-4 UUID, upper case.
std::string makeUuidString();

// Swift-like printed forms, as the diagnostics print frames and points.
std::string describe(const CGRect &r);
std::string describe(const CGPoint &p);

} // namespace tarnvik
