#include "overview/MissionControlUITree.h"

#include "accessibility/AttributeReaders.h"
#include "platform/AXNames.h"

#include <QString>

#include <algorithm>
#include <charconv>

namespace tarnvik {

namespace {

std::optional<std::uint64_t> windowNumber(std::string_view text)
{
    std::uint64_t number = 0;
    const auto *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

template<class T>
std::optional<T> readValue(const AttributeRead<T> &read)
{
    return read.ok() ? read.value() : std::nullopt;
}

// Absent for an empty string too: a title that says nothing is no title.
std::optional<std::string> text(Accessibility &ax, const AXUIElement &ref, const char *attribute)
{
    auto value = readValue(stringAttribute(ax, attribute, ref));
    return value && !value->empty() ? value : std::nullopt;
}

// What shows of the element's children; all of them where the platform can't tell.
std::vector<AXUIElement> shownChildren(Accessibility &ax, const AXUIElement &ref)
{
    auto children = elementsAttribute(ax, NSAccessibilityVisibleChildrenAttribute, ref);
    if (!children.ok())
        children = elementsAttribute(ax, NSAccessibilityChildrenAttribute, ref);
    return readValue(children).value_or(std::vector<AXUIElement> {});
}

} // namespace

MissionControlUITree::MissionControlUITree(Services services)
    : _services(services)
{
    fillCaches();
}

void MissionControlUITree::fillCaches()
{
    const auto windows = _services.overview.windows();
    for (const auto &window : windows) {
        if (!window.icon)
            continue;
        _windowIconCache.emplace(window.number, *window.icon);
        if (_pidIconCache.emplace(window.pid, *window.icon).second && window.applicationName)
            _pidNames.emplace(window.pid, *window.applicationName);
    }
    // The titles the overview captions its previews with, where the accessibility tree of
    // each application would give its own idea of them (GTK 3 names its window nothing).
    for (const auto &window : windows)
        if (const auto icon = _pidIconCache.find(window.pid);
            icon != _pidIconCache.end() && !window.title.empty())
            _titleToIconCache[window.title] = icon->second;
}

std::optional<AXUIElement> MissionControlUITree::findRootElement() const
{
    return _services.overview.rootElement();
}

void MissionControlUITree::populate(UITree &uiTree, const UIElement &parent,
                                    const AXUIElement &parentRef)
{
    for (const auto &child : shownChildren(_services.ax, parentRef)) {
        if (auto element = preview(child)) {
            element->customAttributes.emplace_back("MissionControl", "true");
            addIcon(*element);
            uiTree.add(element, parent.id);
        } else {
            populate(uiTree, parent, child);
        }
    }
}

UIElementPtr MissionControlUITree::preview(const AXUIElement &ref)
{
    auto &ax = _services.ax;
    if (text(ax, ref, NSAccessibilityRoleAttribute) != "AXButton"
        || text(ax, ref, NSAccessibilityTitleAttribute))
        return nullptr;
    const auto caption =
        readValue(elementAttribute(ax, NSAccessibilityTitleUIElementAttribute, ref));
    if (!caption)
        return nullptr;
    auto element = UIElement::lightElement(ax, ref);
    if (!element)
        return nullptr;
    element->title = text(ax, *caption, NSAccessibilityTitleAttribute);
    if (!element->title)
        element->title = text(ax, *caption, NSAccessibilityValueAttribute);
    return element;
}

void MissionControlUITree::addIcon(UIElement &element) const
{
    if (element.identifier
        && (element.identifier->find("window") != std::string::npos
            || element.identifier->find("preview") != std::string::npos))
        element.appIcon = iconForIdentifier(*element.identifier);
    if (!element.appIcon && element.role == "AXButton" && element.size.width > 100.0
        && element.size.height > 60.0 && element.title && !element.title->empty())
        element.appIcon = iconForTitle(*element.title);
}

std::optional<std::string>
MissionControlUITree::iconForIdentifier(const std::string &identifier) const
{
    const auto lookUp = [this](std::optional<std::uint64_t> number) -> std::optional<std::string> {
        if (!number)
            return std::nullopt;
        const auto found = _windowIconCache.find(*number);
        return found == _windowIconCache.end() ? std::nullopt : std::optional(found->second);
    };
    std::vector<std::string_view> parts;
    std::string_view rest = identifier;
    while (!rest.empty()) {
        const auto dot = rest.find('.');
        if (dot != 0)
            parts.push_back(rest.substr(0, dot));
        rest = dot == std::string_view::npos ? std::string_view() : rest.substr(dot + 1);
    }
    for (auto part = parts.rbegin(); part != parts.rend(); ++part)
        if (auto icon = lookUp(windowNumber(*part)))
            return icon;
    std::string digits;
    std::copy_if(identifier.begin(), identifier.end(), std::back_inserter(digits),
                 [](char c) { return c >= '0' && c <= '9'; });
    return lookUp(windowNumber(digits));
}

std::optional<std::string> MissionControlUITree::iconForTitle(const std::string &title) const
{
    if (const auto exact = _titleToIconCache.find(title); exact != _titleToIconCache.end())
        return exact->second;
    for (const auto &[key, icon] : _titleToIconCache)
        if (title.find(key) != std::string::npos || key.find(title) != std::string::npos)
            return icon;
    const QString lowerTitle = QString::fromStdString(title).toLower();
    for (const auto &[pid, icon] : _pidIconCache) {
        const auto name = _pidNames.find(pid);
        if (name != _pidNames.end()
            && lowerTitle.contains(QString::fromStdString(name->second).toLower()))
            return icon;
    }
    return std::nullopt;
}

} // namespace tarnvik
