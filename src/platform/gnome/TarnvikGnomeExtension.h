#pragma once

#include "platform/Geometry.h"
#include "platform/Overview.h"
#include "platform/linux/CompositorWindows.h"
#include "platform/linux/X11Keys.h"

#include <QDBusMessage>
#include <QObject>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarnvik::gnome {

// The GNOME Shell extension tarnvik-gnome, which draws this program's labels above the
// Activities overview and hands it the keys typed there, and the shell's own OverviewActive.
// The extension answers only the process that registered with it: this one registers when it
// is first needed, and again after the shell restarts.
// An entry of the status item's menu in the top bar: chosen, it is reported by `id`. An empty
// title is a separator; the entries of a submenu have none of their own.
struct ShellMenuEntry
{
    int id = -1;
    std::string title;
    std::vector<std::pair<int, std::string>> submenu;
};

class TarnvikGnomeExtension final : public QObject, public linux::CompositorWindowSource
{
    Q_OBJECT

public:
    static constexpr const char *uuid = "tarnvik-gnome@ostrelline.com";

    TarnvikGnomeExtension();
    ~TarnvikGnomeExtension() override;

    // Registers unless registered; the error of the last try when that fails.
    std::optional<std::string> ensureRegistered();
    // Registers now, and again each time the shell starts anew: where every session goes
    // through the shell.
    void keepRegistered();

    // The shell's OverviewActive, as last reported.
    bool overviewActive() const { return _overviewActive; }
    // Each time the overview starts to open, and when it has finished opening.
    void onOverviewReport(std::function<void()> report) { _report = std::move(report); }
    // A shortcut given to `watchShortcuts`, by its index, pressed while the overview shows.
    void onShortcut(std::function<void(std::uint32_t index)> handler)
    {
        _shortcut = std::move(handler);
    }
    // Each time another window gets the focus, once registered.
    void onFocusChanged(std::function<void()> handler) override
    {
        _focusChanged = std::move(handler);
    }
    // The user's pointer moving, and pressing a button, while the keys are held outside the
    // overview.
    void onPointerMoved(std::function<void()> handler) { _pointerMoved = std::move(handler); }
    void onPointerPressed(std::function<void()> handler) { _pointerPressed = std::move(handler); }
    // Each time the shell has drawn labels it was sent: how many, how long after the shortcut's
    // key press (negative when no shortcut came before) and after they were asked for, and how
    // long the shell took to make them, in milliseconds.
    using LabelsDrawn = std::function<void(std::uint32_t count, double sinceShortcut,
                                           double sinceAsked, double building)>;
    void onLabelsDrawn(LabelsDrawn handler) { _labelsDrawn = std::move(handler); }
    // X key codes and X modifier masks of the program's shortcuts, which the shell keeps from
    // it while the overview shows; given again at each registration.
    void watchShortcuts(std::vector<std::pair<std::uint32_t, std::uint32_t>> shortcuts);
    void onKey(std::function<void(const linux::TypedKey &)> handler) { _key = std::move(handler); }
    // While watched, each change of the modifiers the seat's keyboards hold, Caps Lock's lock
    // among them, as an X modifier mask; watched again at each registration.
    void watchModifiers(bool watch);
    void onModifiers(std::function<void(std::uint32_t mask)> handler)
    {
        _modifiers = std::move(handler);
    }

    void showLabels(const std::vector<OverviewLabel> &labels);
    void showImages(const std::vector<OverviewImage> &images);
    // Whether the shell keeps the pixels of the key, sent since it last started.
    bool hasImage(const std::string &key) const { return _imagesSent.contains(key); }
    void setLabelsVisible(bool visible);
    void clearLabels();
    void showPanel(const OverviewImage &panel);
    void hidePanel(const std::string &key);
    // The status item in the top bar, with `menu`, kept through the shell's restarts; false
    // where the shell has no extension that shows it.
    bool showStatusItem(bool visible);
    void setStatusMenu(std::vector<ShellMenuEntry> menu);
    // `opened` when the menu opens, `activated` with the id of the entry chosen.
    void onStatusMenu(std::function<void()> opened, std::function<void(int id)> activated)
    {
        _statusMenuOpened = std::move(opened);
        _statusMenuActivated = std::move(activated);
    }
    std::map<std::string, CGRect> previews();
    std::vector<OverviewWindow> windows();
    // Input through the shell's virtual devices, never waiting: from any thread. `button` as
    // Clutter numbers them (1 primary, 2 middle, 3 secondary), `modifiers` an X modifier mask.
    void movePointer(CGPoint point);
    void pressButton(std::uint32_t button, bool pressed, CGPoint point, std::uint32_t modifiers);
    void scroll(double dx, double dy);
    void setCursorVisible(bool visible);
    void beep();
    bool pickAt(CGPoint point);
    // The modifiers the seat's keyboards hold now, as an X modifier mask; none when the shell
    // does not answer.
    std::uint32_t heldModifiers();
    // Whether the keys are held now; letting go never waits.
    bool holdKeys(bool hold);
    // Keeps a hold from running out, without waiting.
    void renewKeys();
    // The windows a person sees, the front one first; nothing when the extension doesn't
    // answer. Answered to any Tarnvik process, registered or not.
    std::vector<linux::CompositorWindow> frames() const override;
    // The primary monitor first.
    std::vector<linux::CompositorMonitor> monitors() const override;
    // The shell's process, for its accessibility tree.
    std::optional<std::uint32_t> shellProcess() const;

private Q_SLOTS:
    void propertiesChanged(const QDBusMessage &message);
    void shown();
    void focusChanged();
    void pointerMoved();
    void pointerPressed();
    void labelsDrawn(uint count, double sinceShortcut, double sinceAsked, double building);
    void shortcutPressed(uint index);
    void modifiersChanged(uint mask);
    void key(uint keycode, uint state, bool pressed, bool repeat, const QString &text);
    void statusMenuOpened();
    void statusMenuActivated(int id);
    void shellOwnerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);

private:
    QDBusMessage call(const char *method, const QList<QVariant> &arguments = {},
                      bool wait = true) const;
    void readOverviewActive();

    bool _registered = false;
    std::set<std::string> _imagesSent;
    bool _keepRegistered = false;
    bool _overviewActive = false;
    std::function<void()> _report;
    std::function<void()> _focusChanged;
    std::function<void()> _pointerMoved;
    std::function<void()> _pointerPressed;
    LabelsDrawn _labelsDrawn;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> _shortcuts;
    std::function<void(std::uint32_t)> _shortcut;
    bool _watchingModifiers = false;
    std::function<void(std::uint32_t)> _modifiers;
    std::function<void(const linux::TypedKey &)> _key;
    std::function<void()> _statusMenuOpened;
    std::function<void(int)> _statusMenuActivated;
    bool _statusItemShown = false;
    std::vector<ShellMenuEntry> _statusMenu;
};

} // namespace tarnvik::gnome
