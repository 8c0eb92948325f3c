#include "click/Mode.h"

#include "accessibility/AXEnablerService.h"
#include "accessibility/BuildUITrees.h"
#include "accessibility/TreeMirror.h"
#include "click/ClickUtils.h"
#include "click/CursorManager.h"
#include "click/DoubleClickManager.h"
#include "click/ModeViews.h"
#include "click/SearchBarWindowController.h"
#include "click/SessionGeometry.h"
#include "click/TargetsWindowController.h"
#include "platform/Diagnostics.h"
#include "platform/Pointer.h"
#include "platform/WorkQueue.h"
#include "preferences/Preferences.h"
#include "sounds/SoundEffectManager.h"

#include <cstdio>
#include <stop_token>
#include <unordered_map>

namespace tarnvik {

namespace {

// Two frames. Over Firefox's 616 labels the 95th percentile of 20 sessions was 25 ms with the
// read waiting this long, 33 ms with it beside the first frame.
constexpr Seconds readBehindDelay {0.03};

bool isTextRole(const std::string &role)
{
    return role == "AXTextField" || role == "AXTextArea" || role == "AXComboBox";
}

} // namespace

Mode::Mode(Services services)
    : _services(services)
{ }

Mode::~Mode()
{
    *_alive = false;
    deactivate(true);
    cancelTimer(_resetLabelQueryTimer);
    cancelTimer(_hideCursorTimer);
}

TargetsView *Mode::targetsView() const
{
    return _targetsWindowController ? _targetsWindowController->targetsView() : nullptr;
}

bool Mode::isTargetSelf() const
{
    return _frontmostPid == _services.platform.workspace.currentProcessIdentifier();
}

void Mode::cancelTimer(std::optional<Scheduler::TimerId> &timer)
{
    if (timer)
        _services.scheduler.cancel(*timer);
    timer.reset();
}

void Mode::post(std::function<void()> action)
{
    _services.scheduler.postToMain([alive = _alive, action = std::move(action)] {
        if (*alive)
            action();
    });
}

void Mode::activate(bool isSearchDisabled)
{
    if (_active)
        return;
    _isSearchDisabled = isSearchDisabled;
    _services.doubleClick.reset(true);
    // The overview is no application's window: whichever is in front, the session labels it.
    if (_services.overview.isOpen())
        return activateOverOverview();

    auto &workspace = _services.platform.workspace;
    const auto app = workspace.frontmostApplication();
    if (!app) {
        _services.events.beep();
        return;
    }
    const auto menubarApp = workspace.menuBarOwningApplication();
    if (!menubarApp) {
        _services.events.beep();
        return;
    }
    if (AXEnablerService::isIgnored(*app, _services.preferences))
        return;
    // Switched before anything can fail: a session that fails to start leaves it switched, and
    // the next session that ends gives the one before back.
    _services.inputSources.switchOnActivation(_services.preferences, _priorTisInputSource);

    // Each session reads the desktop afresh; where the mirror has the window in front, its
    // labels show while that read runs.
    _services.platform.ax.invalidateCache();
    _frontmostPid = app->processIdentifier;
    auto mirrored = _services.mirror ? _services.mirror->current(_frontmostPid) : std::nullopt;
    // Asked before the keyboard is taken: the application answers once it has dealt with
    // losing it, tens of milliseconds later.
    if (mirrored && !TreeMirror::standStill(_services.platform.ax, mirrored->probes)) {
        _services.mirror->movedUnreported();
        mirrored.reset();
    }
    const auto window = mirrored
        ? mirrored->window
        : UIElement::focusedWindow(_services.platform.ax, app->processIdentifier);
    if (!window)
        return fail();
    const auto screens = _services.screens.screens();
    const auto screen = chooseScreen(window->frame(), screens);
    if (!screen)
        return fail();

    _active = true;
    ++_session;
    _activatedAt = _services.scheduler.now();
    _mirrorChanges = _services.mirror ? _services.mirror->changes() : 0;
    _readsForMirror = !_isSearchDisabled || mirrored;
    _services.sounds.playActivation();
    _screen = screen;

    if (!_isSearchDisabled) {
        _searchBar = std::make_unique<SearchBarWindowController>(_services.views.createSearchBar(),
                                                                 [this] { runSearch(); });
    }
    const bool autoClick = _services.preferences.boolForKey(Preferences::Keys::isAutoClickEnabled);
    _targetsWindowController = std::make_shared<TargetsWindowController>(
        _services.views.createTargetsWindow(*_screen, false), _services.preferences,
        _isSearchDisabled && autoClick);

    const double firstScreenHeight = screens.front().frame.size.height;
    std::optional<CGRect> dockRect;
    UITreePtr dock = BuildUITree(_services.platform, !_isSearchDisabled, false).buildDock();
    if (dock) {
        dockRect = dockFrameOnScreen(*dock, *_screen, firstScreenHeight);
        if (!dockRect)
            dock = nullptr;
    }
    if (_searchBar)
        _searchBar->place(flippedRect(window->frame(), firstScreenHeight), dockRect, *_screen);

    if (mirrored) {
        // The session's own read waits behind the mirror's labels: on two cores it, and the
        // application answering it, took the first frame's time.
        _readBehindTimer = _services.scheduler.scheduleOnMain(
            readBehindDelay, [this, app = *app, window, menubarApp, dock] {
                _readBehindTimer.reset();
                startTreeBuilding(app, window, true, menubarApp, dock);
            });
        mirrored->trees.dockUiTree = dock;
        showMirrored(std::move(mirrored->trees));
    } else {
        startTreeBuilding(*app, window, false, menubarApp, dock);
    }
    if (!mirrored && _services.mirror && _services.mirror->pid() == _frontmostPid
        && _services.mirror->state() == TreeMirror::State::reading) {
        // The mirror's read began before the key, and the session's waits behind it on the
        // queue: its result is the sooner one.
        _services.mirror->onceCurrent([this, alive = _alive, session = _session, dock] {
            if (!*alive || !_active || session != _session || _uiTrees)
                return;
            if (auto late = _services.mirror->current(_frontmostPid)) {
                late->trees.dockUiTree = dock;
                showMirrored(std::move(late->trees));
            }
        });
    }

    const bool captured = _services.keyboard.start([this](const KeyEvent &event) {
        if (_isSearchDisabled)
            return tapCallback(event);
        // The search field sees what the session leaves; the application in front sees nothing.
        if (localMonitor(event) == KeyDisposition::pass && _searchBar)
            _searchBar->window().typeKey(event);
        return KeyDisposition::swallow;
    });
    if (!captured)
        printLine("Failed to create event tap");
    // Labels on the screen say that the keys typed are the session's: they wait for the
    // keyboard where the desktop gives it later.
    _services.keyboard.whenHeld([this, alive = _alive, session = _session](bool held) {
        if (!*alive || !_active || session != _session)
            return;
        if (held) {
            if (_searchBar)
                _searchBar->window().orderFront();
            return _targetsWindowController->window().orderFront();
        }
        printLine("Mode: the desktop did not give Tarnvik the keyboard. deactivating.");
        _services.events.beep();
        deactivate(true);
    });
    _services.pointerMotion.observe([this] { mouseMoved(); });
    // The search bar takes the keyboard from the application in front; a click anywhere gives
    // it back, as the bar stops being the key window.
    if (!_isSearchDisabled)
        _services.pointerMotion.observePresses([this, session = _session] {
            post([this, session] {
                if (session == _session)
                    deactivate(true);
            });
        });

    if (!_cursorHidden) {
        _services.cursor.hide();
        _cursorHidden = true;
    }
}

void Mode::fail()
{
    printLine("Mode: unable to find a frontmost window or active menu bar. deactivating.");
    _services.events.beep();
    deactivate(true);
}

void Mode::startTreeBuilding(const RunningApplication &app, const UIElementPtr &window,
                             bool checksMirror, const std::optional<RunningApplication> &menubarApp,
                             UITreePtr dock)
{
    auto source = std::make_shared<std::stop_source>();
    _cancelQuery = [source] {
        source->request_stop();
    };
    const auto session = _session;
    // The services are the process's, and outlive this Mode; `this` is used on the main
    // thread only, behind `alive`.
    auto build = [this, services = _services, source, session, alive = _alive, app, window,
                  checksMirror, menubarApp, dock,
                  fetchSearchAttributes = !_isSearchDisabled || checksMirror] {
        const auto token = source->get_token();
        if (token.stop_requested() || !*alive)
            return;
        auto frontWindow = checksMirror
            ? UIElement::focusedWindow(services.platform.ax, app.processIdentifier)
            : window;
        if (!frontWindow)
            return;
        BuildUITrees builder({services.platform, services.preferences, services.scheduler}, app,
                             frontWindow, menubarApp, dock, fetchSearchAttributes);
        auto trees = builder.build(token);
        if (!trees || token.stop_requested())
            return;
        services.scheduler.postToMain(
            [this, alive, trees = std::move(*trees), frontWindow, session]() mutable {
                if (*alive)
                    treesBuilt(std::move(trees), frontWindow, session);
            });
    };
    _services.treeQueue.async(std::move(build));
}

void Mode::treesBuilt(UITrees trees, UIElementPtr window, std::uint64_t session)
{
    if (!_active || session != _session)
        return;
    if (_services.mirror) {
        _services.mirror->sessionRead(_frontmostPid);
        // A read with the search attributes serves the next session of either kind.
        if (_readsForMirror)
            _services.mirror->adopt(_frontmostPid, _mirrorChanges, {window, trees});
    }
    if (_fromMirror)
        return checkMirrored(std::move(trees));
    showTrees(std::move(trees));
}

void Mode::showTrees(UITrees trees)
{
    _uiTrees = std::move(trees);
    runSearch();
    _services.tutorMode.setUiTrees(*_uiTrees);
    if (_searchBar)
        _searchBar->window().stopProgress();
}

void Mode::showMirrored(UITrees trees)
{
    trace("labels from the mirror");
    _fromMirror = true;
    showTrees(std::move(trees));
}

void Mode::checkMirrored(UITrees fresh)
{
    _freshTrees = fresh;
    search(fresh, [this, fresh](std::vector<UIElementPtr> elements) {
        _fromMirror = false;
        _freshTrees.reset();
        // The same elements where they were count as the same; the order decides the labels.
        std::unordered_map<AXUIElement, CGRect> shown(_shown.begin(), _shown.end());
        std::size_t same = 0;
        bool sameOrder = elements.size() == _shown.size();
        bool samePlaces = sameOrder;
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const auto &element = elements[i];
            const auto it = element->ref ? shown.find(*element->ref) : shown.end();
            if (it != shown.end() && CGRectEqualToRect(it->second, element->frame()))
                ++same;
            if (sameOrder && (!element->ref || !(*element->ref == _shown[i].first)))
                sameOrder = samePlaces = false;
            if (samePlaces && !CGRectEqualToRect(_shown[i].second, element->frame()))
                samePlaces = false;
        }
        if (tracing()) {
            char line[160];
            const std::chrono::duration<double, std::milli> after =
                _services.scheduler.now() - _activatedAt;
            std::snprintf(line, sizeof line,
                          "mirror: %zu of %zu labels differed from the read after the key "
                          "(%.1f ms after it)",
                          _shown.size() + elements.size() - 2 * same,
                          std::max(_shown.size(), elements.size()), after.count());
            trace(line);
        }
        if (samePlaces)
            return;
        _uiTrees = fresh;
        _services.tutorMode.setUiTrees(*_uiTrees);
        if (!sameOrder) {
            resetLabelQuery();
            return showTargets(std::move(elements), fresh);
        }
        // The same elements in the same order keep their labels, only moved: what the user
        // began to type, and the focus, stay.
        const auto *before = targetsView();
        const auto focused = before ? before->focusedIndex() : std::nullopt;
        showTargets(std::move(elements), fresh);
        if (auto *view = targetsView(); view && focused)
            view->focus(*focused);
        highlightLabelQuery();
        retargetTutor();
    });
}

void Mode::deactivate(bool closeWindow)
{
    // A chain's next session is due while none runs: the toggles and the switch to another
    // application end it here, or it would start beside the mode they start.
    cancelTimer(_chainClickTimer);
    if (!_active)
        return;
    _active = false;
    _screen.reset();
    resetLabelQuery();

    if (_searchBar) {
        _searchBar->close();
        _searchBar.reset();
    }
    if (_targetsWindowController) {
        if (closeWindow)
            _targetsWindowController->close();
        // Without closing, the window stays on screen for whoever took it over.
        _targetsWindowController.reset();
    }
    _services.inputSources.restoreOnStop(_priorTisInputSource);
    if (_cancelQuery)
        _cancelQuery();
    cancelTimer(_readBehindTimer);
    _uiTrees.reset();
    _fromMirror = false;
    _freshTrees.reset();
    _shown.clear();

    sessionKeyboard().stop();
    endMissionControl();
    _services.pointerMotion.observe({});
    _services.pointerMotion.observePresses({});

    if (_cursorHidden) {
        _services.cursor.restore();
        _cursorHidden = false;
    }
    cancelTimer(_hideCursorTimer);
    if (_cancelSearch) {
        _cancelSearch();
        _cancelSearch = nullptr;
    }
    _services.tutorMode.deactivate();
}

void Mode::runSearch()
{
    if (!_uiTrees || !_screen)
        return;
    resetLabelQuery();
    // Typed text ends the check of the mirror's labels: the new result comes from the read.
    if (_freshTrees) {
        _uiTrees = std::move(*_freshTrees);
        _freshTrees.reset();
        _fromMirror = false;
        _services.tutorMode.setUiTrees(*_uiTrees);
    }
    search(*_uiTrees, [this, trees = *_uiTrees](std::vector<UIElementPtr> elements) {
        showTargets(std::move(elements), trees);
    });
}

void Mode::search(const UITrees &trees, std::function<void(std::vector<UIElementPtr>)> done)
{
    if (_cancelSearch)
        _cancelSearch();
    const std::string query = _searchBar ? _searchBar->window().text() : "*";
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    const double firstScreenHeight = _services.screens.screens().front().frame.size.height;
    _services.searchQueue.async([services = _services, cancelled, alive = _alive, trees, query,
                                 screen = *_screen, firstScreenHeight, done = std::move(done)] {
        if (*cancelled)
            return;
        auto elements = elementsOnScreen(trees.matchingElements(query, false, services.preferences),
                                         screen, firstScreenHeight);
        if (*cancelled)
            return;
        services.scheduler.postToMain([cancelled, alive, size = query.size(),
                                       elements = std::move(elements), done]() mutable {
            if (*cancelled || !*alive)
                return;
            // The typed text's length only: what the user typed stays theirs.
            if (tracing())
                trace("search matched: " + std::to_string(elements.size()) + " for "
                      + std::to_string(size) + " characters");
            done(std::move(elements));
        });
    });
    _cancelSearch = [cancelled] {
        *cancelled = true;
    };
}

void Mode::showTargets(std::vector<UIElementPtr> elements, UITrees trees)
{
    if (!_targetsWindowController)
        return;
    _shown.clear();
    for (const auto &element : elements) {
        if (element->ref)
            _shown.emplace_back(*element->ref, element->frame());
    }
    _targetsWindowController->setTargets(std::move(elements), std::move(trees));
}

void Mode::focusNext()
{
    if (auto *view = targetsView()) {
        view->focusNext();
        _targetsWindowController->window().update();
        retargetTutor();
    }
}

void Mode::focusPrevious()
{
    if (auto *view = targetsView()) {
        view->focusPrevious();
        _targetsWindowController->window().update();
        retargetTutor();
    }
}

void Mode::retargetTutor()
{
    auto *view = targetsView();
    if (_services.tutorMode.active() && view && view->focusedElement())
        _services.tutorMode.setTarget(view->focusedElement());
}

UIElementPtr Mode::focusedElement()
{
    auto *view = targetsView();
    return view ? view->focusedElement() : nullptr;
}

void Mode::rotateClusters()
{
    if (auto *view = targetsView()) {
        view->rotateClusters();
        _targetsWindowController->window().update();
    }
}

void Mode::clickFocused(std::uint16_t keyCode)
{
    if (_isMissionControlMode)
        return pickFocusedPreview();
    auto *view = targetsView();
    if (!view || !view->focusedElement() || !_uiTrees)
        return;
    const auto element = view->focusedElement();
    const auto trees = *_uiTrees;
    const bool targetSelf = isTargetSelf();
    const bool searchDisabled = _isSearchDisabled;
    _services.sounds.playClick();

    auto window = _targetsWindowController;
    deactivate(false);
    auto clicker = makeClicker(element, trees);
    _services.doubleClick.start(clicker, window, _services.events.doubleClickInterval(),
                                targetSelf ? std::nullopt : std::optional(keyCode));
    clicker->click(1);
    if (window->targetsView())
        window->playClickAnimation({});
    if (_services.preferences.boolForKey(Preferences::Keys::chainClicks)
        && !isTextRole(element->role)) {
        cancelTimer(_chainClickTimer);
        _chainClickTimer = _services.scheduler.scheduleOnMain(Seconds(0.3), [this, searchDisabled] {
            _chainClickTimer.reset();
            activate(searchDisabled);
        });
    }
}

void Mode::commandClickFocused()
{
    clickFocusedWith(0, ModifierFlag::command);
}

void Mode::rightClickFocused()
{
    clickFocusedWith(1, 0);
}

void Mode::clickFocusedWith(int button, std::uint64_t flags)
{
    if (_isMissionControlMode)
        return pickFocusedPreview();
    auto *view = targetsView();
    if (!view || !view->focusedElement() || !_uiTrees)
        return;
    const auto element = view->focusedElement();
    const auto trees = *_uiTrees;
    _services.sounds.playClick();
    auto window = _targetsWindowController;
    // The window closes itself when its flash ends; until then it has no other owner.
    window->playClickAnimation([window]() mutable { window->close(); });
    deactivate(false);
    makeClicker(element, trees)->sendClick(button, flags, 1);
}

std::shared_ptr<ClickUtils> Mode::makeClicker(const UIElementPtr &element, const UITrees &trees)
{
    return std::make_shared<ClickUtils>(
        ClickUtils::Services {_services.platform.ax, _services.events, _services.scheduler},
        element, trees);
}

void Mode::mouseMoved()
{
    if (_cursorHidden) {
        _services.cursor.restore();
        _cursorHidden = false;
    }
    cancelTimer(_hideCursorTimer);
    _hideCursorTimer = _services.scheduler.scheduleOnMain(Seconds(1.0), [this] {
        _hideCursorTimer.reset();
        if (_active && !_cursorHidden) {
            _services.cursor.hide();
            _cursorHidden = true;
        }
    });
}

} // namespace tarnvik
