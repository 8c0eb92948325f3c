#pragma once

#include "platform/Accessibility.h"
#include "platform/HotKeys.h"
#include "platform/KeyEvents.h"
#include "platform/Overview.h"
#include "platform/gnome/TarnvikGnomeExtension.h"

#include <QTimer>

namespace tarnvik::gnome {

// GNOME Shell's Activities overview: its state from the shell, its previews from the shell's
// accessibility tree, its labels and picks through the extension. Without GNOME Shell it is
// never open, and nothing changes.
class GnomeOverview final : public Overview
{
public:
    GnomeOverview(TarnvikGnomeExtension &extension, Accessibility &ax)
        : _extension(extension)
        , _ax(ax)
    { }

    void observe(std::function<void()> report) override
    {
        _extension.onOverviewReport(std::move(report));
    }
    bool isOpen() override { return _extension.overviewActive(); }
    std::optional<AXUIElement> rootElement() override;
    std::map<std::string, CGRect> previewFrames() override { return _extension.previews(); }
    std::vector<OverviewWindow> windows() override { return _extension.windows(); }
    std::optional<std::string> unavailable() override;
    void showLabels(const std::vector<OverviewLabel> &labels) override
    {
        _extension.showLabels(labels);
    }
    void showImages(const std::vector<OverviewImage> &images) override
    {
        _extension.showImages(images);
    }
    bool hasImage(const std::string &key) override { return _extension.hasImage(key); }
    void setLabelsVisible(bool visible) override { _extension.setLabelsVisible(visible); }
    void clearLabels() override { _extension.clearLabels(); }
    void showPanel(const OverviewImage &panel) override { _extension.showPanel(panel); }
    void hidePanel(const std::string &key) override { _extension.hidePanel(key); }
    bool pick(CGPoint point) override { return _extension.pickAt(point); }

private:
    TarnvikGnomeExtension &_extension;
    Accessibility &_ax;
};

// The keys typed in a session that the shell holds the keyboard for (the overview's, and on
// Wayland every one): the extension hands them over. Over the overview Escape and keys with
// Control, Alt or Super reach the shell as well, the rest only this program, whatever the
// handler answers. The hold lasts only while it is renewed from the main thread: a hung
// program loses it within seconds, and the user keeps the keyboard.
class GnomeOverviewKeys final : public KeyboardCapture
{
public:
    GnomeOverviewKeys(TarnvikGnomeExtension &extension, KeyboardLayout &layout);

    bool start(Handler handler) override;
    void stop() override;
    bool heldElsewhere() override { return false; }

private:
    void key(const linux::TypedKey &typed);

    TarnvikGnomeExtension &_extension;
    KeyboardLayout &_layout;
    Handler _handler;
    QTimer _renewal;
};

// The program's hot keys, which the shell keeps from it while the overview shows, and on
// Wayland always: there the extension watches for them and says which was pressed. `desktop`
// is the desktop's own hot keys, where it has them (X11).
class GnomeOverviewHotKeys final : public HotKeys
{
public:
    GnomeOverviewHotKeys(HotKeys *desktop, TarnvikGnomeExtension &extension)
        : _desktop(desktop)
        , _extension(extension)
    { }

    void setHandler(Handler handler) override;
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifierFlags) override;
    bool unregisterHotKey(HotKeyId id) override;

private:
    void tellExtension();

    HotKeys *_desktop;
    TarnvikGnomeExtension &_extension;
    // Each hot key's X key code and modifier mask, in the order the extension is told them.
    std::vector<std::pair<HotKeyId, std::pair<std::uint32_t, std::uint32_t>>> _keys;
};

} // namespace tarnvik::gnome
