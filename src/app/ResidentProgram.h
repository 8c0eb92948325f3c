#pragma once

#include "accessibility/TreeMirror.h"
#include "app/AppDelegate.h"
#include "app/DesktopInputs.h"
#include "app/ShortcutWiring.h"
#include "app/views/QtShellViews.h"
#include "click/CursorManager.h"
#include "click/DoubleClickManager.h"
#include "click/Mode.h"
#include "click/views/QtModeViews.h"
#include "keyboard/InputSources.h"
#include "keyboard/RecordingSlot.h"
#include "overview/MissionControlObserver.h"
#include "platform/WorkQueue.h"
#include "platform/gnome/GnomeOverview.h"
#include "platform/linux/AtspiSwitch.h"
#include "platform/linux/LinuxDesktop.h"
#include "platform/linux/TimerFrameClock.h"
#include "platform/qt/PreferenceFileWatcher.h"
#include "platform/qt/QSettingsPreferenceStore.h"
#include "platform/qt/QtAccessibility.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/QtSoundPlayer.h"
#include "platform/qt/SplitAccessibility.h"
#include "platform/qt/XdgAutostart.h"
#include "preferences/Preferences.h"
#include "scroll/BufferAndRateScroller.h"
#include "scroll/ScrollMode.h"
#include "scroll/views/QtScrollViews.h"
#include "sounds/SoundEffectManager.h"
#include "tutorial/TutorMode.h"
#include "tutorial/views/QtTutorViews.h"

#include <chrono>
#include <memory>
#include <string>

namespace tarnvik {

// The desktop's hot keys, with the time of the last press noted.
class TimedHotKeys final : public HotKeys
{
public:
    explicit TimedHotKeys(HotKeys &keys)
        : _keys(keys)
    { }
    void setHandler(Handler handler) override;
    bool registerHotKey(HotKeyId id, std::uint16_t keyCode, std::uint64_t modifiers) override
    {
        return _keys.registerHotKey(id, keyCode, modifiers);
    }
    bool unregisterHotKey(HotKeyId id) override { return _keys.unregisterHotKey(id); }

    std::chrono::steady_clock::time_point pressed;

private:
    HotKeys &_keys;
};

// The resident program on the Linux desktop: every part that lives as long as it does, made in
// the order in which each needs the ones before, and gone in the reverse order.
class ResidentProgram
{
public:
    // What the program reaches outside itself, connected before anything is made.
    struct Connections
    {
        // The main queue and its timers, which clicks posted to the desktop wait on too.
        std::unique_ptr<QtScheduler> scheduler;
        // GNOME Shell's extension, where it runs: the overview, and on Wayland every session.
        std::unique_ptr<gnome::TarnvikGnomeExtension> shell;
        std::unique_ptr<linux::LinuxDesktop> desktop;
        std::unique_ptr<DesktopInput> input;
        // GNOME Shell draws every session's windows: on its Wayland session no window of this
        // program may stand over the others.
        bool shellDraws = false;
    };
    // Nothing, with the reason on standard error, when the display or the accessibility bus
    // lacks what the program needs.
    static std::optional<Connections> connect();

    // `qtScaleFactor` is the factor QT_SCALE_FACTOR asked for, which the labels follow.
    ResidentProgram(Connections connections, double qtScaleFactor);
    ~ResidentProgram();

    void launch(bool startedAtLogin) { _delegate.applicationDidFinishLaunching(startedAtLogin); }
    void reopen() { _delegate.applicationShouldHandleReopen(); }
    // Starts a mode's toggle by its name (click, search, scroll), as its shortcut does, once
    // the caller has had its answer; false for another name.
    bool activateAction(const std::string &name);

private:
    void deactivateModes();
    double firstScreenHeight();
    // With TARNVIK_TRACE set, how long each shortcut took to show its labels, on standard error.
    std::function<void(std::size_t)> labelsPaintedTrace();
    void printRunning();

    Connections _c;
    linux::WindowSystem &_windows;
    // Its own windows are read in the process, every other application's over the bus.
    QtAccessibility _ownAccessibility;
    SplitAccessibility _accessibility;
    QSettingsPreferenceStore _store;
    Preferences _preferences;
    QtScheduler &_scheduler;
    QtSoundPlayer _player;
    SoundEffectManager _sounds;
    TimedHotKeys _hotKeys;
    SRGlobalShortcutMonitor _shortcuts;
    RecordingSlot _recordingSlot;
    InputSources _inputSources;
    CursorManager _cursor;
    DoubleClickManager _doubleClick;
    // Declared before the modes, so that work in flight ends before what it uses goes away.
    SerialWorkQueue _treeQueue;
    SerialWorkQueue _searchQueue;
    SerialWorkQueue _scrollTreeQueue;
    gnome::GnomeOverview _overview;
    gnome::GnomeOverviewKeys _overviewKeys;
    QtModeViews _views;
    QtTutorViews _tutorViews;
    TutorMode _tutorMode;
    TreeMirror _mirror;
    Mode _mode;
    linux::TimerFrameClock _frameClock;
    BufferAndRateScroller _scroller;
    QtScrollViews _scrollViews;
    ScrollMode _scrollMode;
    MissionControlObserver _missionControlObserver;
    ShortcutWiring _wiring;
    linux::AtspiSwitch _accessibilitySwitch;
    XdgAutostart _loginItem;
    QtShellViews _shellViews;
    AppDelegate _delegate;
    PreferenceFileWatcher _preferenceFile;
};

} // namespace tarnvik
