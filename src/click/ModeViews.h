#pragma once

#include "click/TargetsView.h"
#include "platform/KeyEvents.h"
#include "platform/Screens.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarnvik {

// The overlay of one session: a click-through window over the session's screen that never
// takes the keyboard, drawing the current TargetsView.
class TargetsWindow
{
public:
    virtual ~TargetsWindow() = default;

    virtual void orderFront() = 0;
    virtual void close() = 0;
    // Draws `view` from now on, in place of the last one; lays its labels out first. The view
    // outlives its display: the next show or close comes before it is destroyed.
    virtual void show(TargetsView &view) = 0;
    // The shown view changed: focus, typed prefixes, rotation.
    virtual void update() = 0;
    // Hides or shows every label at once, keeping them as they are.
    virtual void setLabelsVisible(bool visible) = 0;
    // The flash of a click on the focused element; `completion` runs when it ends, and only
    // when something was focused.
    virtual void playClickAnimation(std::function<void()> completion) = 0;
};

// The search field of search mode, in a panel of its own.
class SearchBarWindow
{
public:
    virtual ~SearchBarWindow() = default;

    virtual void orderFront() = 0;
    virtual void close() = 0;
    virtual std::string text() const = 0;
    virtual void setText(const std::string &text) = 0;
    // Called after each edit of the text by a key.
    virtual void onTextChanged(std::function<void()> handler) = 0;
    // A key that the session didn't use, as the field would take it from the keyboard.
    virtual void typeKey(const KeyEvent &event) = 0;
    // The panel's size in points, for placing it.
    virtual CGSize size() const = 0;
    // `origin` in the screen space (bottom-left origin), as placed by the session.
    virtual void moveTo(CGPoint origin) = 0;
    virtual void stopProgress() = 0;
};

// Makes the windows of a session.
class ModeViews
{
public:
    virtual ~ModeViews() = default;
    // Over the desktop's window overview with `overOverview`.
    virtual std::unique_ptr<TargetsWindow> createTargetsWindow(const Screen &screen,
                                                               bool overOverview) = 0;
    virtual std::unique_ptr<SearchBarWindow> createSearchBar() = 0;
};

} // namespace tarnvik
