#include "accessibility/UIElement.h"

#include "accessibility/AttributeReaders.h"
#include "platform/AXNames.h"

#include <array>
#include <charconv>
#include <cmath>
#include <random>
#include <string_view>
#include <unordered_map>

namespace tarnvik {

namespace {

const std::vector<std::string> fullAttributes = {
    NSAccessibilityRoleAttribute,
    NSAccessibilityPositionAttribute,
    NSAccessibilitySizeAttribute,
    NSAccessibilitySubroleAttribute,
    NSAccessibilityTitleAttribute,
    NSAccessibilityValueAttribute,
    NSAccessibilityDescriptionAttribute,
    NSAccessibilityHelpAttribute,
    NSAccessibilityPlaceholderValueAttribute,
    NSAccessibilityEnabledAttribute,
    NSAccessibilityActivationPointAttribute,
    NSAccessibilityIdentifierAttribute,
};

const std::vector<std::string> lightAttributes = {
    NSAccessibilityRoleAttribute,       NSAccessibilityPositionAttribute,
    NSAccessibilitySizeAttribute,       NSAccessibilitySubroleAttribute,
    NSAccessibilityEnabledAttribute,    NSAccessibilityActivationPointAttribute,
    NSAccessibilityIdentifierAttribute,
};

const std::vector<std::string> searchAttributes = {
    NSAccessibilityTitleAttribute,
    NSAccessibilityValueAttribute,
    NSAccessibilityDescriptionAttribute,
    NSAccessibilityHelpAttribute,
    NSAccessibilityPlaceholderValueAttribute,
};

template<class T>
std::optional<T> slot(const Value &v)
{
    if (const T *t = v.get<T>())
        return *t;
    return std::nullopt;
}

// Slots 0 to 2 (role, position, size) are compulsory; the caller fills the rest from the batch.
UIElementPtr fetch(Accessibility &ax, const AXUIElement &ref, const std::vector<std::string> &names,
                   ValueArray &slots)
{
    auto batch = batchAttributes(ax, names, ref);
    if (!batch.ok() || batch.value().size() != names.size())
        return nullptr;
    slots = std::move(batch).value();
    const auto *role = slots[0].get<std::string>();
    const auto *position = slots[1].get<CGPoint>();
    const auto *size = slots[2].get<CGSize>();
    if (!role || !position || !size)
        return nullptr;
    auto element = std::make_shared<UIElement>(ref, *role, *position, *size);
    if (UIElement::actionsDecideActionable(*role))
        element->actions = UIElement::readActions(ax, ref);
    element->subrole = slot<std::string>(slots[3]);
    return element;
}

void fillSearchAttributes(UIElement &e, const ValueArray &slots, std::size_t first)
{
    e.title = slot<std::string>(slots[first]);
    e.value = slot<std::string>(slots[first + 1]);
    e.description = slot<std::string>(slots[first + 2]);
    e.help = slot<std::string>(slots[first + 3]);
    e.placeholderValue = slot<std::string>(slots[first + 4]);
}

enum class RoleVerdict { NotActionable, Actionable };

const std::unordered_map<std::string_view, RoleVerdict> &actionableRoles()
{
    static const std::unordered_map<std::string_view, RoleVerdict> table = [] {
        std::unordered_map<std::string_view, RoleVerdict> t;
        for (const char *r :
             {"AXWindow",  "AXSheet",    "AXMenuBar",    "AXOutline",    "AXToolbar",
              "AXList",    "AXTabGroup", "AXSplitGroup", "AXScrollArea", "AXColumn",
              "AXUnknown", "AXSplitter", "AXScrollBar",  "AXMenu",       "AXPopover",
              "AXCell",    "AXTable",    "AXWebArea",    "AXHeading",    "AXGroup"})
            t.emplace(r, RoleVerdict::NotActionable);
        for (const char *r :
             {"AXStaticText", "AXTextField", "AXComboBox", "AXTextArea", "AXLayoutItem", "AXButton",
              "AXMenuBarItem", "AXPopUpButton", "AXRadioButton", "AXCheckBox", "AXMenuButton",
              "AXDisclosureTriangle", "AXLink", "AXMenuItem", "AXSlider", "AXRow", "AXDockItem"})
            t.emplace(r, RoleVerdict::Actionable);
        return t;
    }();
    return table;
}

bool isIncidentalAction(const std::string &action)
{
    return action == "AXShowMenu" || action == "AXScrollToVisible" || action == "AXShowDefaultUI"
        || action == "AXShowAlternateUI" || action.find("(null)") != std::string::npos;
}

std::string formatDouble(double v)
{
    if (std::isfinite(v) && v == std::trunc(v) && std::fabs(v) < 1e15) {
        std::array<char, 32> buf {};
        auto [end, ec] =
            std::to_chars(buf.data(), buf.data() + buf.size(), v, std::chars_format::fixed, 1);
        return std::string(buf.data(), end);
    }
    if (std::isnan(v))
        return "nan";
    if (std::isinf(v))
        return v > 0 ? "inf" : "-inf";
    std::array<char, 64> buf {};
    auto [end, ec] = std::to_chars(buf.data(), buf.data() + buf.size(), v);
    return std::string(buf.data(), end);
}

std::string describe(const std::optional<std::string> &s)
{
    return s ? *s : "<nil>";
}

std::string describe(const std::optional<std::vector<std::string>> &list)
{
    if (!list)
        return "<nil>";
    std::string out = "[";
    for (std::size_t i = 0; i < list->size(); ++i) {
        if (i)
            out += ", ";
        out += '"' + (*list)[i] + '"';
    }
    return out + "]";
}

} // namespace

UIElement::UIElement(std::optional<AXUIElement> handle, std::string axRole, CGPoint origin,
                     CGSize extent)
    : id(makeUuidString())
    , ref(std::move(handle))
    , role(std::move(axRole))
    , position(origin)
    , size(extent)
{ }

bool UIElement::actionsDecideActionable(const std::string &role)
{
    return role != "AXImage" && !actionableRoles().contains(role);
}

std::optional<std::vector<std::string>> UIElement::readActions(Accessibility &ax,
                                                               const AXUIElement &ref)
{
    auto names = ax.copyActionNames(ref);
    if (!names.ok())
        return std::nullopt;
    std::vector<std::string> actions;
    actions.reserve(names.value().size());
    for (const auto &name : names.value()) {
        const auto *s = name.get<std::string>();
        if (!s)
            return std::nullopt;
        actions.push_back(*s);
    }
    return actions;
}

bool UIElement::isActionable() const
{
    const auto &table = actionableRoles();
    if (auto it = table.find(role); it != table.end())
        return it->second == RoleVerdict::Actionable;
    if (role == "AXImage")
        return enabled.value_or(false);
    if (!actions)
        return false;
    for (const auto &action : *actions) {
        if (!isIncidentalAction(action))
            return true;
    }
    return false;
}

std::string UIElement::debugDescription() const
{
    return "id=" + id + ", role=" + role + ", subrole=" + describe(subrole)
        + ", frame=" + describe(frame()) + ", title=" + describe(title)
        + ", description=" + describe(description) + ", value=" + describe(value)
        + ", attributes=" + describe(attributes) + ", actions=" + describe(actions);
}

UIElementPtr UIElement::focusedWindow(Accessibility &ax, pid_t processIdentifier)
{
    const auto window = elementAttribute(ax, NSAccessibilityFocusedWindowAttribute,
                                         ax.createApplication(processIdentifier));
    return window.ok() && window.value() ? fullElement(ax, *window.value()) : nullptr;
}

UIElementPtr UIElement::fullElement(Accessibility &ax, const AXUIElement &ref)
{
    ValueArray slots;
    auto element = fetch(ax, ref, fullAttributes, slots);
    if (!element)
        return nullptr;
    fillSearchAttributes(*element, slots, 4);
    element->enabled = slot<bool>(slots[9]);
    element->activationPoint = slot<CGPoint>(slots[10]);
    element->identifier = slot<std::string>(slots[11]);
    return element;
}

UIElementPtr UIElement::lightElement(Accessibility &ax, const AXUIElement &ref)
{
    ValueArray slots;
    auto element = fetch(ax, ref, lightAttributes, slots);
    if (!element)
        return nullptr;
    element->enabled = slot<bool>(slots[4]);
    element->activationPoint = slot<CGPoint>(slots[5]);
    element->identifier = slot<std::string>(slots[6]);
    return element;
}

void UIElement::loadSearchAttributes(Accessibility &ax, UIElement &element)
{
    auto batch = batchAttributes(ax, searchAttributes, *element.ref);
    if (!batch.ok() || batch.value().size() != searchAttributes.size()) {
        for (auto *text : {&element.title, &element.value, &element.description, &element.help,
                           &element.placeholderValue})
            text->reset();
        return;
    }
    fillSearchAttributes(element, batch.value(), 0);
}

void UIElement::prefetch(Accessibility &ax, const std::vector<AXUIElement> &refs, bool full,
                         bool walkedInto)
{
    ax.prefetch(refs,
                {full ? fullAttributes : lightAttributes, actionsDecideActionable, walkedInto});
}

std::string makeUuidString()
{
    thread_local std::mt19937_64 generator {std::random_device {}()};
    std::uint64_t high = generator();
    std::uint64_t low = generator();
    high = (high & ~0xF000ull) | 0x4000ull; // version 4
    low = (low & ~(0xC000ull << 48)) | (0x8000ull << 48); // variant 1
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text(36, '-');
    std::size_t pos = 0;
    auto put = [&](std::uint64_t bits, int nibbles) {
        for (int i = nibbles - 1; i >= 0; --i) {
            if (pos == 8 || pos == 13 || pos == 18 || pos == 23)
                ++pos;
            text[pos++] = digits[(bits >> (i * 4)) & 0xF];
        }
    };
    put(high, 16);
    put(low, 16);
    return text;
}

std::string describe(const CGRect &r)
{
    return "(" + formatDouble(r.origin.x) + ", " + formatDouble(r.origin.y) + ", "
        + formatDouble(r.size.width) + ", " + formatDouble(r.size.height) + ")";
}

std::string describe(const CGPoint &p)
{
    return "(" + formatDouble(p.x) + ", " + formatDouble(p.y) + ")";
}

} // namespace tarnvik
