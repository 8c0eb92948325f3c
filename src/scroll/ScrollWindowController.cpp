#include "scroll/ScrollWindowController.h"

#include "click/CursorManager.h"
#include "platform/Diagnostics.h"
#include "platform/KeyCodes.h"
#include "platform/Pointer.h"
#include "preferences/Preferences.h"
#include "scroll/BufferAndRateScroller.h"

#include <charconv>

namespace tarnvik {

namespace {

constexpr std::uint16_t keyD = 2, keyG = 5, keyU = 32;
// What an arrow key carries on its own.
constexpr std::uint64_t arrowFlags = ModifierFlag::numericPad | ModifierFlag::function;
// A jump far enough to reach either end of anything.
constexpr double jumpPx = 99999.0;

enum class Command { none, leave, next, previous, halfPage, end, top };

std::uint64_t commandFlags(const KeyEvent &event)
{
    return event.flags & 0xFFFF0000;
}

bool isPlainG(const std::optional<KeyEvent> &event)
{
    return event && event->keyCode == keyG && commandFlags(*event) == 0;
}

Command classify(const KeyEvent &event, const std::optional<KeyEvent> &lastEvent,
                 const Preferences &preferences)
{
    if (event.type != EventType::keyDown)
        return Command::none;
    const auto flags = commandFlags(event);
    const auto key = event.keyCode;
    if (key == KeyCode::escape && flags == 0)
        return Command::leave;
    if (key == KeyCode::tab && (flags == 0 || flags == ModifierFlag::shift))
        return flags == 0 ? Command::next : Command::previous;
    if ((key == KeyCode::n || key == KeyCode::p) && flags == ModifierFlag::control)
        return key == KeyCode::n ? Command::next : Command::previous;
    // Arrows mapped to scrolling are directions instead.
    if ((key == KeyCode::down || key == KeyCode::up) && flags == arrowFlags
        && !preferences.boolForKey(Preferences::Keys::mapArrowKeysToScroll))
        return key == KeyCode::down ? Command::next : Command::previous;
    if (!preferences.boolForKey(Preferences::Keys::isScrollShortcutsEnabled))
        return Command::none;
    if ((key == keyD || key == keyU) && flags == 0)
        return Command::halfPage;
    if (key == keyG && flags == ModifierFlag::shift)
        return Command::end;
    if (key == keyG && flags == 0 && isPlainG(lastEvent))
        return Command::top;
    return Command::none;
}

std::optional<long> decimal(const std::string &text)
{
    long value = 0;
    const auto *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

} // namespace

ScrollWindowController::ScrollWindowController(Services services,
                                               std::unique_ptr<ScrollWindow> window)
    : _services(std::move(services))
    , _window(std::move(window))
{ }

ScrollWindowController::~ScrollWindowController()
{
    close();
}

void ScrollWindowController::setScrollableElements(std::vector<UIElementPtr> elements,
                                                   UITreePtr tree)
{
    const bool any = !elements.empty();
    _state.scrollableElements = std::move(elements);
    _state.uiTree = std::move(tree);
    if (any) {
        _state.index = 0;
        aim();
    }
    restartDeactivationTimer();
    _window->show(_state);
}

void ScrollWindowController::showWindow()
{
    _window->show(_state);
    _window->orderFront();
    if (_shown)
        return;
    _shown = true;
    _services.cursor.hide();
    restartDeactivationTimer();
}

void ScrollWindowController::close()
{
    if (!_shown)
        return;
    _shown = false;
    _services.scroller.willStopWhenBufferIsEmpty = true;
    _services.cursor.restore();
    invalidateDeactivationTimer();
    _window->close();
}

void ScrollWindowController::selectNext()
{
    if (!_state.index || !_state.scrollableElements || _state.scrollableElements->empty())
        return;
    select(static_cast<long>((*_state.index + 1) % _state.scrollableElements->size()));
}

void ScrollWindowController::selectPrevious()
{
    if (!_state.index || !_state.scrollableElements || _state.scrollableElements->empty())
        return;
    const auto count = _state.scrollableElements->size();
    select(static_cast<long>((*_state.index + count - 1) % count));
}

void ScrollWindowController::select(long index)
{
    if (!_state.scrollableElements || index < 0
        || static_cast<std::size_t>(index) >= _state.scrollableElements->size())
        return;
    _state.index = static_cast<std::size_t>(index);
    aim();
    _window->show(_state);
}

void ScrollWindowController::aim()
{
    // The pointer is hidden meanwhile; it only says where the wheel events go.
    const auto &element = (*_state.scrollableElements)[*_state.index];
    if (!_state.uiTree)
        return;
    if (const auto frame = _state.uiTree->visibleFrame(element->id)) {
        _services.events.postMouseMoved(centreOf(*frame));
        _services.scroller.aimAt(*frame);
        // Where no client sees the pointer (Wayland), the tests' sign that it was moved.
        trace("scroll area aimed at: " + std::to_string(*_state.index + 1));
    }
}

void ScrollWindowController::restartDeactivationTimer()
{
    const auto &preferences = _services.preferences;
    if (!preferences.boolForKey(Preferences::Keys::autoDeactivateScrolling))
        return;
    invalidateDeactivationTimer();
    const double delay = preferences.doubleForKey(Preferences::Keys::autoDeactivateScrollingDelayS);
    _deactivationTimer = _services.scheduler.scheduleOnMain(Seconds(delay), [this] {
        _deactivationTimer.reset();
        _services.deactivate();
    });
}

void ScrollWindowController::invalidateDeactivationTimer()
{
    if (_deactivationTimer)
        _services.scheduler.cancel(*_deactivationTimer);
    _deactivationTimer.reset();
}

void ScrollWindowController::scrollHalfPage(ScrollDirection direction)
{
    if (!_state.scrollableElements || _state.scrollableElements->empty())
        return;
    const auto &element = (*_state.scrollableElements)[_state.index.value_or(0)];
    _services.scroller.scrollOnce(direction, element->size.height / 2);
}

void ScrollWindowController::handle(const KeyEvent &event)
{
    const auto &preferences = _services.preferences;
    const auto command = classify(event, _lastEvent, preferences);
    _lastEvent = event;

    switch (command) {
    case Command::leave:
        return _services.deactivate();
    case Command::next:
        selectNext();
        return restartDeactivationTimer();
    case Command::previous:
        selectPrevious();
        return restartDeactivationTimer();
    case Command::top:
        _services.scroller.scrollOnce(ScrollDirection::up, jumpPx);
        _lastEvent.reset();
        return;
    case Command::end:
        return _services.scroller.scrollOnce(ScrollDirection::down, jumpPx);
    case Command::halfPage:
    case Command::none:
        break;
    }

    const auto direction = scrollDirection(event, preferences);
    const bool down = event.type == EventType::keyDown;
    if (!direction) {
        if (!down || event.characters.empty())
            return;
        if (const auto number = decimal(event.characters)) {
            select(*number - 1);
            restartDeactivationTimer();
        }
        return;
    }
    const double rate = scrollRate(event, preferences);
    if (rate == 0)
        return;
    if (command == Command::halfPage)
        return scrollHalfPage(*direction);
    if (down) {
        _services.scroller.start(*direction, 0.0, rate);
        return invalidateDeactivationTimer();
    }
    const auto running = _services.scroller.direction();
    if (!running || running == direction) {
        _services.scroller.willStopWhenBufferIsEmpty = true;
        restartDeactivationTimer();
    }
}

} // namespace tarnvik
