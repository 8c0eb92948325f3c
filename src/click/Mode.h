#pragma once

#include "accessibility/BuildUITree.h"
#include "accessibility/UITrees.h"
#include "keyboard/InputSources.h"
#include "platform/KeyEvents.h"
#include "platform/Overview.h"
#include "platform/Scheduler.h"
#include "platform/Screens.h"
#include "tutorial/TutorMode.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace tarnvik {

class ClickUtils;
class CursorManager;
class DoubleClickManager;
class EventPosting;
class MissionControlObserver;
class ModeViews;
class PointerMotion;
class Preferences;
class SearchBarWindowController;
class SoundEffectManager;
class TargetsView;
class TargetsWindowController;
class TreeMirror;
class WorkQueue;

// Runs a click session from the shortcut to the click: reads the trees, shows the labels,
// takes the keys and clicks. In label mode the frontmost application keeps the keyboard focus
// and keys are taken before it sees them; in search mode a search bar takes the typed text.
// Everything here runs on the main thread; tree building and search run on their queues.
class Mode
{
public:
    struct Services
    {
        AccessibilityPlatform platform;
        Screens &screens;
        const Preferences &preferences;
        Scheduler &scheduler;
        KeyboardCapture &keyboard;
        KeyboardLayout &keyboardLayout;
        PointerMotion &pointerMotion;
        CursorManager &cursor;
        EventPosting &events;
        SoundEffectManager &sounds;
        ModeViews &views;
        DoubleClickManager &doubleClick;
        WorkQueue &treeQueue;
        WorkQueue &searchQueue;
        InputSources &inputSources;
        TutorMode &tutorMode;
        // The desktop's window overview, and the keys typed while it is open.
        Overview &overview;
        KeyboardCapture &overviewKeyboard;
        // The desktop asks for less motion.
        std::function<bool()> reduceMotion;
        // The trees of the window in front as last read, which a session shows at once while
        // its own read runs; none reads after the key only.
        TreeMirror *mirror = nullptr;
    };

    explicit Mode(Services services);
    ~Mode();

    void activate(bool isSearchDisabled);
    void deactivate(bool closeWindow);
    bool active() const { return _active; }
    bool isSearchDisabled() const { return _isSearchDisabled; }
    // The session labels the overview's windows.
    bool isMissionControlMode() const { return _isMissionControlMode; }
    // The observer that starts sessions over the overview, told when one ends; set once.
    void setMissionControlObserver(MissionControlObserver *observer) { _observer = observer; }

    void runSearch();
    void resetLabelQuery();
    const std::string &labelQuery() const { return _labelQuery; }

    // Actions reached from keys.
    void focusNext();
    void focusPrevious();
    void clickFocused(std::uint16_t keyCode);
    void commandClickFocused();
    void rightClickFocused();
    void rotateClusters();
    // The overview changes workspace: its previews slide, so the labels go until they stand.
    void hideLabelsForSpaceChange();
    void appendLabelCharacter(const std::string &character, std::uint16_t keyCode,
                              std::uint64_t modifiers);

    // The two ways keys reach a session: in label mode before the frontmost application, in
    // search mode before the search field. Each decides one event.
    KeyDisposition tapCallback(const KeyEvent &event);
    KeyDisposition localMonitor(const KeyEvent &event);

    // What the session shows, for its views and tests.
    const std::optional<UITrees> &uiTrees() const { return _uiTrees; }
    // The element the labels focus, if any.
    UIElementPtr focusedElement();
    std::optional<Screen> screen() const { return _screen; }
    TargetsView *targetsView() const;
    SearchBarWindowController *searchBar() const { return _searchBar.get(); }

private:
    struct Session;

    void fail();
    // Over the overview: its previews, labelled in the desktop's shell. ModeOverview.cpp.
    void activateOverOverview();
    void activateMissionControl(UITreePtr uiTree);
    void scheduleMissionControlTick(Seconds period, void (Mode::*tick)());
    void dismissalCheck();
    void stabilisingTick();
    void fullyOpen();
    void setLabelsVisible(bool visible);
    void endMissionControl();
    // Picks the focused preview's window, ending the session.
    void pickFocusedPreview();
    KeyboardCapture &sessionKeyboard();
    bool reducesMotion() const;
    // The tutor, when it shows, follows the focus.
    void retargetTutor();
    // With `checksMirror`, the read checks labels drawn from the mirror: it asks for the
    // focused window itself rather than trusting `window`, which came from the mirror, and
    // reads the search attributes, so that the mirror can keep what it read.
    void startTreeBuilding(const RunningApplication &app, const UIElementPtr &window,
                           bool checksMirror, const std::optional<RunningApplication> &menubarApp,
                           UITreePtr dock);
    void treesBuilt(UITrees trees, UIElementPtr window, std::uint64_t session);
    void showTrees(UITrees trees);
    void showMirrored(UITrees trees);
    // The session's read, over labels drawn from the mirror: they stay where it found the same,
    // and are replaced where not.
    void checkMirrored(UITrees fresh);
    // Searches `trees` for the search field's text (everything in label mode) on the search
    // queue, cancelling the search before; `done` gets what is on the session's screen.
    void search(const UITrees &trees, std::function<void(std::vector<UIElementPtr>)> done);
    void showTargets(std::vector<UIElementPtr> elements, UITrees trees);
    void clickFocusedWith(int button, std::uint64_t flags);
    std::shared_ptr<ClickUtils> makeClicker(const UIElementPtr &element, const UITrees &trees);
    // None clicks, Shift right-clicks, Command Command-clicks; false for other modifiers.
    bool clickByModifiers(std::uint64_t modifiers, std::uint16_t keyCode);
    void mouseMoved();
    void highlightLabelQuery();
    bool isTargetSelf() const;
    KeyDisposition clickKey(const KeyEvent &event);
    KeyDisposition letterKey(const KeyEvent &event);
    void post(std::function<void()> action);
    void cancelTimer(std::optional<Scheduler::TimerId> &timer);

    Services _services;
    bool _active = false;
    bool _isSearchDisabled = true;
    std::optional<InputSource> _priorTisInputSource;
    std::optional<Screen> _screen;
    // Of the application the session started over: clicking this program itself is special.
    pid_t _frontmostPid = 0;
    std::unique_ptr<SearchBarWindowController> _searchBar;
    std::shared_ptr<TargetsWindowController> _targetsWindowController;
    std::function<void()> _cancelQuery;
    std::optional<UITrees> _uiTrees;
    // The labels show what the mirror held, and the session's read has not checked them yet;
    // the mirror's count of changes when the session began, and when.
    bool _fromMirror = false;
    std::uint64_t _mirrorChanges = 0;
    // The session's read has the search attributes, as the mirror keeps them.
    bool _readsForMirror = false;
    std::optional<Scheduler::TimerId> _readBehindTimer;
    std::optional<UITrees> _freshTrees;
    TimePoint _activatedAt {};
    // What the labels stand for, in their order: each element and where it stood.
    std::vector<std::pair<AXUIElement, CGRect>> _shown;
    bool _cursorHidden = false;
    std::optional<Scheduler::TimerId> _hideCursorTimer;
    std::string _labelQuery;
    std::optional<Scheduler::TimerId> _resetLabelQueryTimer;
    std::function<void()> _cancelSearch;
    std::optional<Scheduler::TimerId> _chainClickTimer;
    MissionControlObserver *_observer = nullptr;
    bool _isMissionControlMode = false;
    std::optional<Scheduler::TimerId> _missionControlCheckTimer;
    // Labels hidden because the previews move, the previews' frames at the last tick, and the
    // ticks since they last moved.
    bool _mcLabelsHidden = false;
    std::map<std::string, CGRect> _mcLastPositions;
    int _mcStableFrameCount = 0;
    // Each activation's number: a result of an earlier one is dropped.
    std::uint64_t _session = 0;
    // Answers late work that outlives the Mode (a tree build in flight at destruction).
    std::shared_ptr<std::atomic<bool>> _alive = std::make_shared<std::atomic<bool>>(true);
};

} // namespace tarnvik
