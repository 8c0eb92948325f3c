#pragma once

// The attribute and action names of the accessibility vocabulary, under the platform's own
// constant names. Every backend answers to these names.
namespace tarnvik {

inline constexpr const char *NSAccessibilityRoleAttribute = "AXRole";
inline constexpr const char *NSAccessibilitySubroleAttribute = "AXSubrole";
inline constexpr const char *NSAccessibilityPositionAttribute = "AXPosition";
inline constexpr const char *NSAccessibilitySizeAttribute = "AXSize";
inline constexpr const char *NSAccessibilityTitleAttribute = "AXTitle";
inline constexpr const char *NSAccessibilityValueAttribute = "AXValue";
inline constexpr const char *NSAccessibilityDescriptionAttribute = "AXDescription";
inline constexpr const char *NSAccessibilityHelpAttribute = "AXHelp";
inline constexpr const char *NSAccessibilityPlaceholderValueAttribute = "AXPlaceholderValue";
inline constexpr const char *NSAccessibilityEnabledAttribute = "AXEnabled";
inline constexpr const char *NSAccessibilityActivationPointAttribute = "AXActivationPoint";
inline constexpr const char *NSAccessibilityIdentifierAttribute = "AXIdentifier";
inline constexpr const char *NSAccessibilityChildrenAttribute = "AXChildren";
// The element whose text names this one.
inline constexpr const char *NSAccessibilityTitleUIElementAttribute = "AXTitleUIElement";
inline constexpr const char *NSAccessibilityVisibleChildrenAttribute = "AXVisibleChildren";
inline constexpr const char *NSAccessibilityVisibleRowsAttribute = "AXVisibleRows";
inline constexpr const char *NSAccessibilityParentAttribute = "AXParent";
inline constexpr const char *NSAccessibilityMenuBarAttribute = "AXMenuBar";
inline constexpr const char *NSAccessibilityExtrasMenuBarAttribute = "AXExtrasMenuBar";
inline constexpr const char *NSAccessibilityWindowsAttribute = "AXWindows";
inline constexpr const char *NSAccessibilityFocusedWindowAttribute = "AXFocusedWindow";
inline constexpr const char *NSAccessibilityCloseButtonAttribute = "AXCloseButton";
inline constexpr const char *NSAccessibilityMinimizeButtonAttribute = "AXMinimizeButton";
inline constexpr const char *NSAccessibilityFullScreenButtonAttribute = "AXFullScreenButton";
inline constexpr const char *AXChildrenInNavigationOrderAttribute = "AXChildrenInNavigationOrder";
inline constexpr const char *AXUIElementsForSearchPredicateAttribute =
    "AXUIElementsForSearchPredicate";
inline constexpr const char *AXManualAccessibilityAttribute = "AXManualAccessibility";
inline constexpr const char *AXEnhancedUserInterfaceAttribute = "AXEnhancedUserInterface";

inline constexpr const char *AXPressAction = "AXPress";
inline constexpr const char *AXShowMenuAction = "AXShowMenu";

} // namespace tarnvik
