// A session of Mode over the desktop's window overview: its previews become the targets, the
// labels are drawn by the desktop's shell, and a timer watches the previews move.
#include "click/CursorManager.h"
#include "click/DoubleClickManager.h"
#include "click/Mode.h"
#include "click/ModeViews.h"
#include "click/TargetsWindowController.h"
#include "overview/MissionControlObserver.h"
#include "overview/MissionControlUITree.h"
#include "platform/Diagnostics.h"
#include "platform/Pointer.h"
#include "preferences/Preferences.h"
#include "sounds/SoundEffectManager.h"

#include <cmath>

namespace tarnvik {

namespace {

// More than this many points in x or in y between two ticks is movement.
constexpr double movement = 2.0;
// Ticks without movement before the labels are made again for where the previews stand.
constexpr int stableTicks = 5;
constexpr Seconds tick {0.03};
constexpr Seconds reducedMotionTick {0.05};
constexpr Seconds reactivationPause {0.05};

bool moved(const std::map<std::string, CGRect> &before, const std::map<std::string, CGRect> &now)
{
    for (const auto &[key, frame] : now) {
        const auto last = before.find(key);
        if (last == before.end())
            continue;
        if (std::abs(frame.origin.x - last->second.origin.x) > movement
            || std::abs(frame.origin.y - last->second.origin.y) > movement)
            return true;
    }
    return false;
}

} // namespace

bool Mode::reducesMotion() const
{
    return _services.reduceMotion && _services.reduceMotion();
}

KeyboardCapture &Mode::sessionKeyboard()
{
    return _isMissionControlMode ? _services.overviewKeyboard : _services.keyboard;
}

void Mode::activateOverOverview()
{
    // No ordinary window shows over the overview, and the shell keeps its keys.
    if (auto why = _services.overview.unavailable()) {
        tellUser(*why);
        _services.events.beep();
        return;
    }
    _services.platform.ax.invalidateCache();
    MissionControlUITree missionControl(
        {.ax = _services.platform.ax, .overview = _services.overview});
    const auto rootRef = missionControl.findRootElement();
    const auto root = rootRef ? UIElement::lightElement(_services.platform.ax, *rootRef) : nullptr;
    if (!root)
        return fail();
    auto tree = UITree::make(root);
    missionControl.populate(*tree, *root, *rootRef);
    activateMissionControl(std::move(tree));
}

void Mode::activateMissionControl(UITreePtr uiTree)
{
    const auto screens = _services.screens.screens();
    if (screens.empty()) {
        _services.events.beep();
        return;
    }
    _active = true;
    _isMissionControlMode = true;
    ++_session;
    _services.sounds.playActivation();
    _screen = screens.front();
    _isSearchDisabled = true;

    _targetsWindowController = std::make_shared<TargetsWindowController>(
        _services.views.createTargetsWindow(*_screen, true), _services.preferences,
        _services.preferences.boolForKey(Preferences::Keys::isAutoClickEnabled));
    _targetsWindowController->window().orderFront();
    // The desktop's dock is a part of its overview: the overview's tree is the only one.
    _uiTrees = UITrees {.missionControlUiTree = std::move(uiTree)};
    runSearch();
    if (!_services.overviewKeyboard.start(
            [this](const KeyEvent &event) { return tapCallback(event); }))
        printLine("Failed to create event tap");
    _services.pointerMotion.observe([this] { mouseMoved(); });

    if (reducesMotion()) {
        setLabelsVisible(true);
        scheduleMissionControlTick(reducedMotionTick, &Mode::dismissalCheck);
    } else {
        _mcLastPositions.clear();
        _mcStableFrameCount = 0;
        _mcLabelsHidden = false;
        if (_observer)
            _observer->setOnFullyOpen([this] { fullyOpen(); });
        scheduleMissionControlTick(tick, &Mode::stabilisingTick);
    }
    if (!_cursorHidden) {
        _services.cursor.hide();
        _cursorHidden = true;
    }
}

void Mode::scheduleMissionControlTick(Seconds period, void (Mode::*tick)())
{
    _missionControlCheckTimer =
        _services.scheduler.scheduleOnMain(period, [this, period, tick, alive = _alive] {
            if (!*alive || !_isMissionControlMode)
                return;
            _missionControlCheckTimer.reset();
            // Scheduled first: the tick may end the session, which cancels it.
            scheduleMissionControlTick(period, tick);
            (this->*tick)();
        });
}

void Mode::dismissalCheck()
{
    if (_services.overview.isOpen())
        return;
    printLine("Mode: Mission Control dismissed, deactivating");
    deactivate(true);
}

void Mode::stabilisingTick()
{
    if (!_services.overview.isOpen()) {
        printLine("Mode: Mission Control dismissed, deactivating");
        deactivate(true);
        return;
    }
    auto positions = _services.overview.previewFrames();
    if (positions.empty())
        return;
    if (!_mcLastPositions.empty() && moved(_mcLastPositions, positions)) {
        _mcStableFrameCount = 0;
        if (!_mcLabelsHidden) {
            _mcLabelsHidden = true;
            setLabelsVisible(false);
        }
    } else if (_mcLabelsHidden && ++_mcStableFrameCount >= stableTicks) {
        deactivate(true);
        _services.scheduler.scheduleOnMain(reactivationPause, [this, alive = _alive] {
            if (*alive && _services.overview.isOpen())
                activate(true);
        });
        return;
    }
    _mcLastPositions = std::move(positions);
}

void Mode::fullyOpen()
{
    if (!_isMissionControlMode)
        return;
    printLine("Mode: Mission Control fully open callback, showing labels");
    _mcLabelsHidden = false;
    _mcStableFrameCount = 0;
    setLabelsVisible(true);
}

void Mode::hideLabelsForSpaceChange()
{
    // With reduced motion nothing watches the previews, so nothing would bring labels back: they
    // stay where they are.
    if (!_isMissionControlMode || reducesMotion())
        return;
    _mcLabelsHidden = true;
    _mcStableFrameCount = 0;
    _mcLastPositions.clear();
    setLabelsVisible(false);
}

void Mode::setLabelsVisible(bool visible)
{
    if (_targetsWindowController)
        _targetsWindowController->window().setLabelsVisible(visible);
}

void Mode::endMissionControl()
{
    cancelTimer(_missionControlCheckTimer);
    if (!_isMissionControlMode)
        return;
    _isMissionControlMode = false;
    if (_observer)
        _observer->resetSession();
    _mcLabelsHidden = false;
    _mcLastPositions.clear();
    _mcStableFrameCount = 0;
}

void Mode::pickFocusedPreview()
{
    const auto element = focusedElement();
    if (!element)
        return;
    _services.sounds.playClick();
    deactivate(true);
    // The shell picks it: on Wayland no pointer event of this program reaches the shell.
    if (!_services.overview.pick(element->centre()))
        _services.events.beep();
}

} // namespace tarnvik
