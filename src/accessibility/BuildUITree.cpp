#include "accessibility/BuildUITree.h"

#include "accessibility/AttributeReaders.h"
#include "accessibility/BundleGroups.h"
#include "accessibility/CGWindow.h"
#include "platform/AXNames.h"
#include "platform/Diagnostics.h"

#include <QUrl>

#include <algorithm>

namespace tarnvik {

namespace {

constexpr long maxChildren = 1000;
// Deeper than any real hierarchy.
constexpr int maxAncestors = 1000;
constexpr float extrasMessagingTimeout = 0.05f;
constexpr const char *addressFieldIdentifier = "WEB_BROWSER_ADDRESS_AND_SEARCH_FIELD";

std::optional<BuildUITree::Url> parseUrl(const std::string &text)
{
    const QUrl url(QString::fromStdString(text), QUrl::StrictMode);
    if (!url.isValid() || text.empty())
        return std::nullopt;
    BuildUITree::Url parsed {text, std::nullopt};
    if (!url.host().isEmpty())
        parsed.host = url.host().toStdString();
    return parsed;
}

Value searchPredicateParameter()
{
    ValueDictionary parameter;
    parameter.insert("AXDirection", "AXDirectionNext");
    parameter.insert("AXImmediateDescendantsOnly", false);
    parameter.insert("AXResultsLimit", -1);
    parameter.insert("AXVisibleOnly", true);
    parameter.insert("AXSearchKey",
                     ValueArray {"AXButtonSearchKey", "AXCheckBoxSearchKey", "AXControlSearchKey",
                                 "AXGraphicSearchKey", "AXLinkSearchKey", "AXRadioGroupSearchKey",
                                 "AXTextFieldSearchKey", "AXKeyboardFocusableSearchKey"});
    return parameter;
}

bool fallsThrough(AXError error)
{
    return error == AXError::NotImplemented || error == AXError::AttributeUnsupported
        || error == AXError::IllegalArgument;
}

} // namespace

BuildUITree::BuildUITree(AccessibilityPlatform platform, bool withSearchAttributes,
                         bool withSearchPredicate)
    : fetchSearchAttributes(withSearchAttributes)
    , useSearchPredicate(withSearchPredicate)
    , _platform(platform)
{ }

UIElementPtr BuildUITree::makeElement(const AXUIElement &ref) const
{
    return fetchSearchAttributes ? UIElement::fullElement(_platform.ax, ref)
                                 : UIElement::lightElement(_platform.ax, ref);
}

void BuildUITree::addAll(UITree &tree, const std::vector<UIElementPtr> &elements,
                         const std::string &parentId)
{
    for (const auto &e : elements)
        tree.add(e, parentId);
}

std::shared_ptr<UITree> BuildUITree::build(const UIElementPtr &root, const RunningApplication &app)
{
    if (bundles::isIn(app, bundles::windowCentreApps))
        return buildFromWindowCentre(root, app);

    auto tree = UITree::make(root);
    std::vector<std::pair<UIElementPtr, UIElementPtr>> stack;
    auto pushChildren = [&](const UIElementPtr &parent) {
        auto children = fetchChildren(*parent, app);
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            stack.emplace_back(std::move(*it), parent);
    };
    pushChildren(root);
    while (!stack.empty()) {
        auto [element, parent] = std::move(stack.back());
        stack.pop_back();
        if (!tree->add(element, parent->id))
            continue;
        // What is scrolled out, clipped away or of zero size costs one element, no subtree.
        if (!tree->isVisible(element->id))
            continue;
        if (fetchSearchAttributes)
            UIElement::loadSearchAttributes(_platform.ax, *element);
        noteAddressField(*element, app);
        if (element->role == "AXImage")
            continue;
        if (shouldReadByPredicate(*element, app)) {
            addAll(*tree, searchPredicateElements(*element), element->id);
            continue;
        }
        pushChildren(element);
    }
    return tree;
}

void BuildUITree::noteAddressField(UIElement &element, const RunningApplication &app)
{
    if (!bundles::isIn(app, bundles::safari) || element.role != "AXTextField"
        || element.identifier != addressFieldIdentifier)
        return;
    if (!element.value) {
        auto read = stringAttribute(_platform.ax, NSAccessibilityValueAttribute, *element.ref);
        if (!read.ok() || !read.value())
            return;
        element.value = *read.value();
    }
    if (auto url = parseUrl(*element.value))
        _url = std::move(url);
}

bool BuildUITree::shouldReadByPredicate(const UIElement &element,
                                        const RunningApplication &app) const
{
    if (!useSearchPredicate || element.role != "AXWebArea")
        return false;
    if (bundles::isIn(app, bundles::safari) && _url && _url->host) {
        std::string_view host = *_url->host;
        if (host.starts_with("www."))
            host.remove_prefix(4);
        if (host == bundles::searchPredicateExceptedHost)
            return false;
    }
    return true;
}

std::vector<UIElementPtr> BuildUITree::fetchChildren(const UIElement &element,
                                                     const RunningApplication &app)
{
    std::vector<std::string> names;
    const bool intelliJ = bundles::isIn(app, bundles::intelliJ);
    if (element.role == "AXTable" || element.role == "AXOutline")
        names.emplace_back(intelliJ ? NSAccessibilityChildrenAttribute
                                    : NSAccessibilityVisibleRowsAttribute);
    if (element.role == "AXTabGroup" && intelliJ)
        names.emplace_back(NSAccessibilityVisibleChildrenAttribute);
    names.emplace_back(AXChildrenInNavigationOrderAttribute);
    names.emplace_back(NSAccessibilityChildrenAttribute);

    for (const auto &name : names) {
        auto values = limitedAttribute(_platform.ax, name, *element.ref, maxChildren);
        if (!values.ok()) {
            if (fallsThrough(values.error()))
                continue;
            return {}; // a dead element or a hung application ends the descent here
        }
        auto refs = elementsOf(values.value());
        if (!refs)
            return {};
        // The children are made light, and those that prove visible get their texts next.
        UIElement::prefetch(_platform.ax, *refs, fetchSearchAttributes, true);
        std::vector<UIElementPtr> children;
        children.reserve(refs->size());
        for (const auto &ref : *refs) {
            if (auto child = UIElement::lightElement(_platform.ax, ref))
                children.push_back(std::move(child));
        }
        return children;
    }
    return {};
}

std::shared_ptr<UITree> BuildUITree::buildMenubar(const AXUIElement &app)
{
    auto menubarRef = elementAttribute(_platform.ax, NSAccessibilityMenuBarAttribute, app);
    if (!menubarRef.ok() || !menubarRef.value())
        return nullptr;
    auto root = makeElement(*menubarRef.value());
    if (!root)
        return nullptr;
    return flatTree(root, NSAccessibilityVisibleChildrenAttribute);
}

std::shared_ptr<UITree> BuildUITree::flatTree(const UIElementPtr &root,
                                              const char *childrenAttribute)
{
    auto items = elementsAttribute(_platform.ax, childrenAttribute, *root->ref);
    if (!items.ok() || !items.value())
        return nullptr;
    UIElement::prefetch(_platform.ax, *items.value(), fetchSearchAttributes, false);
    auto tree = UITree::make(root);
    for (const auto &ref : *items.value()) {
        if (auto item = makeElement(ref))
            tree->add(item, root->id);
    }
    return tree;
}

std::shared_ptr<UITree> BuildUITree::buildDock()
{
    auto docks =
        _platform.workspace.runningApplicationsWithBundleIdentifier(std::string(bundles::dock));
    if (docks.empty())
        return nullptr;
    const AXUIElement app = _platform.ax.createApplication(docks.front().processIdentifier);
    auto children = elementsAttribute(_platform.ax, NSAccessibilityChildrenAttribute, app);
    if (!children.ok() || !children.value())
        return nullptr;
    UIElementPtr list;
    for (const auto &ref : *children.value()) {
        auto child = makeElement(ref);
        if (child && child->role == "AXList") {
            list = std::move(child);
            break;
        }
    }
    if (!list)
        return nullptr;
    return flatTree(list, NSAccessibilityChildrenAttribute);
}

std::vector<std::shared_ptr<UITree>>
BuildUITree::buildMenubarExtras(const std::vector<CGRect> &strips)
{
    for (const auto &strip : strips)
        printLine("menubar frame: " + describe(strip));
    auto stripAt = [&](const CGPoint &p) -> const CGRect * {
        auto it = std::find_if(strips.begin(), strips.end(),
                               [&](const CGRect &s) { return CGRectContainsPoint(s, p); });
        return it == strips.end() ? nullptr : &*it;
    };

    std::vector<CGWindow> barWindows;
    for (auto &window : CGWindow::onScreenWindows(_platform.windowList)) {
        const bool onStrip = std::any_of(strips.begin(), strips.end(), [&](const CGRect &s) {
            return CGRectIntersectsRect(window.frame, s);
        });
        if (onStrip && !window.isMenubar() && !window.isPanel())
            barWindows.push_back(std::move(window));
    }
    std::vector<pid_t> pids;
    auto addPid = [&](pid_t pid) {
        if (std::find(pids.begin(), pids.end(), pid) == pids.end())
            pids.push_back(pid);
    };
    for (const auto &window : barWindows)
        addPid(window.pid);
    for (auto id : {bundles::controlCentre, bundles::systemUIServer}) {
        auto apps = _platform.workspace.runningApplicationsWithBundleIdentifier(std::string(id));
        if (!apps.empty())
            addPid(apps.front().processIdentifier);
    }

    std::vector<UIElementPtr> extras;
    for (pid_t pid : pids) {
        auto app = _platform.workspace.runningApplicationWithProcessIdentifier(pid);
        if (!app) {
            printLine("could not find app with pid " + std::to_string(pid));
            continue;
        }
        const std::string name = app->localizedName.value_or("<nil>");
        const AXUIElement appElement = _platform.ax.createApplication(pid);
        // One application that doesn't answer must not hold up the whole menu bar.
        _platform.ax.setMessagingTimeout(appElement, extrasMessagingTimeout);
        auto bar =
            elementAttribute(_platform.ax, NSAccessibilityExtrasMenuBarAttribute, appElement);
        if (!bar.ok() || !bar.value()) {
            printLine("failed to fetch extra menubar ref for " + name);
            continue;
        }
        auto refs = elementsAttribute(_platform.ax, NSAccessibilityChildrenAttribute, *bar.value());
        if (!refs.ok() || !refs.value()) {
            printLine("failed to fetch menubar extra refs for " + name);
            continue;
        }
        for (const auto &ref : *refs.value()) {
            auto extra = makeElement(ref);
            if (!extra) {
                printLine("failed to fetch menubar extra attributes for " + name);
                continue;
            }
            const CGPoint centre = extra->centre();
            const CGRect *strip = stripAt(centre);
            if (!strip) {
                printLine("removed out-of-bounds menubar extra: app=" + name
                          + ", frame=" + describe(extra->frame()) + ", center=" + describe(centre));
                continue;
            }
            auto hit = _platform.ax.copyElementAtPosition(appElement, static_cast<float>(centre.x),
                                                          static_cast<float>(centre.y));
            if (!hit.ok() || !(hit.value() == ref)) {
                printLine("removed menubar extra [title=" + extra->title.value_or("<nil>")
                          + ", app=" + name + ", frame=" + describe(extra->frame())
                          + "] that is not visible on-screen");
                continue;
            }
            auto window = std::find_if(barWindows.begin(), barWindows.end(), [&](const auto &w) {
                const CGPoint c = centreOf(w.frame);
                return c.x == centre.x && c.y == centre.y;
            });
            if (window != barWindows.end()) {
                extra->position = window->frame.origin;
                extra->size = window->frame.size;
            } else {
                extra->position.y = strip->origin.y;
                extra->size.height = strip->size.height;
            }
            extra->customAttributes.emplace_back("App", name);
            extras.push_back(std::move(extra));
        }
    }
    std::stable_sort(extras.begin(), extras.end(),
                     [](const auto &a, const auto &b) { return a->position.x < b->position.x; });
    std::vector<std::shared_ptr<UITree>> trees;
    trees.reserve(extras.size());
    for (auto &extra : extras)
        trees.push_back(UITree::make(std::move(extra)));
    return trees;
}

std::vector<UIElementPtr> BuildUITree::searchPredicateElements(const UIElement &webArea)
{
    auto result = _platform.ax.copyParameterizedAttributeValue(
        *webArea.ref, AXUIElementsForSearchPredicateAttribute, searchPredicateParameter());
    if (!result.ok())
        return {};
    const auto *array = result.value().get<ValueArray>();
    auto refs = array ? elementsOf(*array) : std::nullopt;
    if (!refs)
        return {};
    UIElement::prefetch(_platform.ax, *refs, fetchSearchAttributes, false);
    std::vector<UIElementPtr> elements;
    elements.reserve(refs->size());
    for (const auto &ref : *refs) {
        if (auto e = makeElement(ref))
            elements.push_back(std::move(e));
    }
    return elements;
}

std::shared_ptr<UITree> BuildUITree::buildFromWindowCentre(const UIElementPtr &root,
                                                           const RunningApplication &app)
{
    auto tree = UITree::make(root);
    if (!root->ref)
        return tree;
    auto buttons = batchAttributes(_platform.ax,
                                   {NSAccessibilityCloseButtonAttribute,
                                    NSAccessibilityMinimizeButtonAttribute,
                                    NSAccessibilityFullScreenButtonAttribute},
                                   *root->ref);
    if (buttons.ok()) {
        for (const auto &slot : buttons.value()) {
            if (const auto *ref = slot.get<AXUIElement>()) {
                if (auto button = UIElement::fullElement(_platform.ax, *ref))
                    tree->add(button, root->id);
            }
        }
    }
    const AXUIElement appElement = _platform.ax.createApplication(app.processIdentifier);
    const CGPoint centre = root->centre();
    auto hit = _platform.ax.copyElementAtPosition(appElement, static_cast<float>(centre.x),
                                                  static_cast<float>(centre.y));
    if (!hit.ok())
        return tree;
    auto webArea = UIElement::fullElement(_platform.ax, hit.value());
    if (!webArea)
        return tree;
    // An application that reports a parent cycle must not hold the climb forever.
    for (int depth = 0; webArea->role != "AXWebArea"; ++depth) {
        if (depth == maxAncestors)
            return tree;
        auto parent = elementAttribute(_platform.ax, NSAccessibilityParentAttribute, *webArea->ref);
        if (!parent.ok() || !parent.value())
            return tree;
        webArea = UIElement::lightElement(_platform.ax, *parent.value());
        if (!webArea)
            return tree;
    }
    tree->add(webArea, root->id);
    addAll(*tree, searchPredicateElements(*webArea), webArea->id);
    return tree;
}

} // namespace tarnvik
