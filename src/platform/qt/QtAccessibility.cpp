#include "platform/qt/QtAccessibility.h"

#include "platform/AXNames.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleInterface>
#include <QApplication>
#include <QCoreApplication>
#include <QThread>
#include <QWidget>

#include <algorithm>
#include <optional>
#include <unistd.h>

namespace tarnvik {

namespace {

class QtElement final : public PlatformElement
{
public:
    explicit QtElement(QAccessible::Id accessibleId)
        : id(accessibleId)
    { }
    bool equals(const PlatformElement &other) const override
    {
        const auto *o = dynamic_cast<const QtElement *>(&other);
        return o && o->id == id;
    }
    std::size_t hash() const override { return std::hash<QAccessible::Id> {}(id) ^ 0x51; }

    const QAccessible::Id id;
};

AXUIElement handleOf(QAccessibleInterface *iface)
{
    return AXUIElement(std::make_shared<QtElement>(QAccessible::uniqueId(iface)));
}

QAccessibleInterface *interfaceOf(const AXUIElement &element)
{
    const auto *e = dynamic_cast<const QtElement *>(&element.platform());
    if (!e)
        return nullptr;
    auto *iface = QAccessible::accessibleInterface(e->id);
    return iface && iface->isValid() ? iface : nullptr;
}

// Qt's accessibility belongs to the main thread; a call from elsewhere waits for it there.
template<class F>
auto onMainThread(F work) -> decltype(work())
{
    auto *app = QCoreApplication::instance();
    if (!app || QThread::currentThread() == app->thread())
        return work();
    std::optional<decltype(work())> result;
    QMetaObject::invokeMethod(
        app, [&] { result.emplace(work()); }, Qt::BlockingQueuedConnection);
    return std::move(*result);
}

// The element's interface given to `use` on the main thread; an element gone is invalid.
template<class R, class F>
R withInterface(const AXUIElement &element, F use)
{
    return onMainThread([&]() -> R {
        auto *iface = interfaceOf(element);
        if (!iface)
            return AXError::InvalidUIElement;
        return use(iface);
    });
}

struct AxRoleOf
{
    const char *role;
    const char *subrole = nullptr;
};

// The roles of Qt's widgets in the accessibility vocabulary, as the bus's table names the
// roles Qt sends it.
AxRoleOf roleOf(QAccessibleInterface *iface)
{
    const auto state = iface->state();
    switch (iface->role()) {
    case QAccessible::Application:
        return {"AXApplication"};
    case QAccessible::Window:
    case QAccessible::Dialog:
    case QAccessible::AlertMessage:
        return {"AXWindow"};
    case QAccessible::MenuBar:
        return {"AXMenuBar"};
    case QAccessible::PopupMenu:
        return {"AXMenu"};
    case QAccessible::MenuItem: {
        auto *parent = iface->parent();
        return {parent && parent->role() == QAccessible::MenuBar ? "AXMenuBarItem" : "AXMenuItem"};
    }
    case QAccessible::Button:
        return {state.checkable ? "AXCheckBox" : "AXButton"};
    case QAccessible::ButtonMenu:
    case QAccessible::ButtonDropDown:
        return {"AXMenuButton"};
    case QAccessible::CheckBox:
        return {"AXCheckBox"};
    case QAccessible::RadioButton:
        return {"AXRadioButton"};
    case QAccessible::ComboBox:
        return {state.editable ? "AXComboBox" : "AXPopUpButton"};
    case QAccessible::Slider:
    case QAccessible::Dial:
        return {"AXSlider"};
    case QAccessible::SpinBox:
        return {"AXTextField"};
    case QAccessible::EditableText:
        return {state.multiLine ? "AXTextArea" : "AXTextField"};
    case QAccessible::StaticText:
    case QAccessible::Paragraph:
        return {"AXStaticText"};
    case QAccessible::List:
        return {"AXList"};
    case QAccessible::ListItem:
    case QAccessible::TreeItem:
    case QAccessible::Row:
        return {"AXRow"};
    case QAccessible::Tree:
        return {"AXOutline"};
    case QAccessible::Table:
        return {"AXTable"};
    case QAccessible::Cell:
        return {"AXCell"};
    case QAccessible::PageTab:
        return {"AXRadioButton", "AXTabButton"};
    case QAccessible::PageTabList:
        return {"AXTabGroup"};
    case QAccessible::ScrollBar:
        return {"AXScrollBar"};
    case QAccessible::Separator:
    case QAccessible::Splitter:
        return {"AXSplitter"};
    case QAccessible::ToolBar:
        return {"AXToolbar"};
    case QAccessible::Graphic:
        return {"AXImage"};
    case QAccessible::Link:
        return {"AXLink"};
    case QAccessible::Heading:
        return {"AXHeading"};
    case QAccessible::ProgressBar:
        return {"AXProgressIndicator"};
    case QAccessible::Client:
    case QAccessible::Pane:
    case QAccessible::Grouping:
    case QAccessible::Section:
    case QAccessible::Form:
    case QAccessible::PropertyPage:
    case QAccessible::LayeredPane:
    case QAccessible::Canvas:
    case QAccessible::Border:
        return {"AXGroup"};
    default:
        return {"AXUnknown"};
    }
}

bool shows(QAccessibleInterface *iface)
{
    const auto state = iface->state();
    return !state.invisible && !state.offscreen;
}

std::vector<QAccessibleInterface *> childrenOf(QAccessibleInterface *iface, bool showingOnly)
{
    std::vector<QAccessibleInterface *> children;
    for (int i = 0; i < iface->childCount(); ++i) {
        auto *child = iface->child(i);
        if (child && child->isValid() && (!showingOnly || shows(child)))
            children.push_back(child);
    }
    return children;
}

Value handles(const std::vector<QAccessibleInterface *> &interfaces)
{
    ValueArray array;
    for (auto *iface : interfaces)
        array.push_back(handleOf(iface));
    return array;
}

// The shown windows of the program, the one with the focus first.
std::vector<QAccessibleInterface *> windowsOf(QAccessibleInterface *app)
{
    auto windows = childrenOf(app, true);
    std::stable_partition(windows.begin(), windows.end(),
                          [](QAccessibleInterface *w) { return w->state().active; });
    return windows;
}

// An empty text is no value.
Value text(QAccessibleInterface *iface, QAccessible::Text which)
{
    const QString s = iface->text(which);
    if (s.isEmpty())
        return AXError::NoValue;
    return s.toStdString();
}

// The names the toolkit gives its actions, and the vocabulary's.
std::string axActionName(const QString &qtName)
{
    if (qtName == QAccessibleActionInterface::pressAction()
        || qtName == QAccessibleActionInterface::toggleAction())
        return AXPressAction;
    if (qtName == QAccessibleActionInterface::showMenuAction())
        return AXShowMenuAction;
    return qtName.toStdString();
}

AXResult<Value> attribute(QAccessibleInterface *iface, const std::string &name)
{
    const bool isApplication = iface->role() == QAccessible::Application;
    if (name == NSAccessibilityRoleAttribute)
        return Value(roleOf(iface).role);
    if (name == NSAccessibilitySubroleAttribute) {
        const auto subrole = roleOf(iface).subrole;
        return subrole ? Value(subrole) : Value(AXError::NoValue);
    }
    if (isApplication) {
        const auto windows = windowsOf(iface);
        if (name == NSAccessibilityWindowsAttribute)
            return handles(windows);
        if (name == NSAccessibilityFocusedWindowAttribute) {
            // An open pop-up (a combo box's list, a menu) holds the keyboard and the pointer
            // while the window under it stays the active one: what can be pressed now is in
            // the pop-up alone. Qt lists no pop-up among the application's windows.
            if (auto *popup = QApplication::activePopupWidget())
                if (auto *shown = QAccessible::queryAccessibleInterface(popup))
                    return Value(handleOf(shown));
            return windows.empty() ? Value(AXError::NoValue) : Value(handleOf(windows.front()));
        }
        if (name == NSAccessibilityChildrenAttribute)
            return handles(windows);
        if (name == NSAccessibilityTitleAttribute)
            return Value(QCoreApplication::applicationName().toStdString());
        return AXError::NoValue;
    }
    if (name == NSAccessibilityPositionAttribute || name == NSAccessibilitySizeAttribute) {
        const QRect r = iface->rect();
        if (!r.isValid())
            return AXError::AttributeUnsupported;
        if (name == NSAccessibilitySizeAttribute)
            return Value(CGSize {static_cast<double>(r.width()), static_cast<double>(r.height())});
        return Value(CGPoint {static_cast<double>(r.x()), static_cast<double>(r.y())});
    }
    if (name == NSAccessibilityTitleAttribute)
        return text(iface, QAccessible::Name);
    if (name == NSAccessibilityDescriptionAttribute)
        return text(iface, QAccessible::Description);
    if (name == NSAccessibilityHelpAttribute)
        return text(iface, QAccessible::Help);
    if (name == NSAccessibilityValueAttribute)
        return text(iface, QAccessible::Value);
    if (name == NSAccessibilityEnabledAttribute)
        return Value(!iface->state().disabled);
    if (name == NSAccessibilityParentAttribute) {
        auto *parent = iface->parent();
        return parent ? Value(handleOf(parent)) : Value(AXError::NoValue);
    }
    if (name == NSAccessibilityChildrenAttribute)
        return handles(childrenOf(iface, false));
    if (name == NSAccessibilityVisibleChildrenAttribute
        || name == NSAccessibilityVisibleRowsAttribute)
        return handles(childrenOf(iface, true));
    if (name == AXChildrenInNavigationOrderAttribute)
        return AXError::AttributeUnsupported;
    return AXError::NoValue;
}

} // namespace

QtAccessibility::QtAccessibility() = default;

bool QtAccessibility::owns(const AXUIElement &element)
{
    return dynamic_cast<const QtElement *>(&element.platform()) != nullptr;
}

AXUIElement QtAccessibility::createApplication(pid_t)
{
    return onMainThread([] {
        return handleOf(QAccessible::queryAccessibleInterface(QCoreApplication::instance()));
    });
}

AXResult<Value> QtAccessibility::copyAttributeValue(const AXUIElement &element,
                                                    const std::string &name)
{
    return withInterface<AXResult<Value>>(
        element, [&](QAccessibleInterface *iface) { return attribute(iface, name); });
}

AXResult<ValueArray>
QtAccessibility::copyMultipleAttributeValues(const AXUIElement &element,
                                             const std::vector<std::string> &names)
{
    return withInterface<AXResult<ValueArray>>(element, [&](QAccessibleInterface *iface) {
        ValueArray slots;
        for (const auto &name : names) {
            auto v = attribute(iface, name);
            slots.push_back(v.ok() ? std::move(v).value() : Value(v.error()));
        }
        return slots;
    });
}

AXResult<ValueArray> QtAccessibility::copyActionNames(const AXUIElement &element)
{
    return withInterface<AXResult<ValueArray>>(element, [&](QAccessibleInterface *iface) {
        ValueArray names;
        if (auto *actions = iface->actionInterface()) {
            for (const auto &qtName : actions->actionNames())
                names.push_back(axActionName(qtName));
        }
        return names;
    });
}

AXResult<Value> QtAccessibility::copyParameterizedAttributeValue(const AXUIElement &,
                                                                 const std::string &, const Value &)
{
    return AXError::ParameterizedAttributeUnsupported;
}

AXResult<AXUIElement> QtAccessibility::copyElementAtPosition(const AXUIElement &application,
                                                             float x, float y)
{
    return withInterface<AXResult<AXUIElement>>(
        application, [&](QAccessibleInterface *app) -> AXResult<AXUIElement> {
            const QPoint point(static_cast<int>(x), static_cast<int>(y));
            for (auto *window : windowsOf(app)) {
                if (!window->rect().contains(point))
                    continue;
                auto *current = window;
                while (auto *hit = current->childAt(point.x(), point.y()))
                    current = hit;
                return handleOf(current);
            }
            return AXError::NoValue;
        });
}

AXError QtAccessibility::setAttributeValue(const AXUIElement &, const std::string &, const Value &)
{
    return AXError::AttributeUnsupported;
}

AXError QtAccessibility::performAction(const AXUIElement &element, const std::string &action)
{
    return withInterface<AXError>(element, [&](QAccessibleInterface *iface) {
        auto *actions = iface->actionInterface();
        if (!actions)
            return AXError::ActionUnsupported;
        for (const auto &qtName : actions->actionNames()) {
            if (axActionName(qtName) == action) {
                actions->doAction(qtName);
                return AXError::Success;
            }
        }
        return AXError::ActionUnsupported;
    });
}

AXResult<pid_t> QtAccessibility::getPid(const AXUIElement &element)
{
    if (!owns(element))
        return AXError::InvalidUIElement;
    return getpid();
}

} // namespace tarnvik
