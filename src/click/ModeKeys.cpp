// How keys reach a session of Mode: the tables of label mode and of search mode, and the label
// query they feed.
#include "click/Mode.h"
#include "click/ModeViews.h"
#include "click/TargetsWindowController.h"
#include "platform/KeyCodes.h"
#include "preferences/Preferences.h"
#include "sounds/SoundEffectManager.h"

#include <QList>
#include <QString>

namespace tarnvik {

namespace {

constexpr std::uint64_t shift = ModifierFlag::shift;
constexpr std::uint64_t control = ModifierFlag::control;
constexpr std::uint64_t command = ModifierFlag::command;

std::uint64_t normalizedModifiers(std::uint64_t flags)
{
    return flags & ModifierFlag::deviceIndependent;
}

// The first character of the key's text, upper case, when it is a letter of any script.
std::optional<std::string> labelLetter(const std::string &text)
{
    const auto codePoints = QString::fromStdString(text).toUpper().toUcs4();
    if (codePoints.isEmpty() || !QChar::isLetter(codePoints.front()))
        return std::nullopt;
    const char32_t first = codePoints.front();
    return QString::fromUcs4(&first, 1).toStdString();
}

} // namespace

KeyDisposition Mode::tapCallback(const KeyEvent &event)
{
    const bool down = event.type == EventType::keyDown;
    const bool withControl = (event.flags & control) != 0;
    const bool autoClick = _services.preferences.boolForKey(Preferences::Keys::isAutoClickEnabled);
    const auto key = event.keyCode;
    if (key == KeyCode::tab) {
        if (down)
            post([this, back = (event.flags & shift) != 0] {
                back ? focusPrevious() : focusNext();
            });
        return KeyDisposition::swallow;
    }
    if (key == KeyCode::returnKey || (key == KeyCode::space && !autoClick))
        return clickKey(event);
    if (key == KeyCode::space) {
        if (down && _uiTrees)
            post([this] { rotateClusters(); });
        return KeyDisposition::swallow;
    }
    if (key == KeyCode::down && withControl) {
        if (down)
            post([this] { deactivate(true); });
        return KeyDisposition::pass;
    }
    if ((key == KeyCode::left || key == KeyCode::right) && withControl) {
        if (down)
            post([this] { hideLabelsForSpaceChange(); });
        return KeyDisposition::pass;
    }
    if (key == KeyCode::down) {
        if (down)
            post([this] { focusNext(); });
        return KeyDisposition::swallow;
    }
    if (key == KeyCode::escape) {
        if (down)
            post([this] { deactivate(true); });
        return KeyDisposition::pass;
    }
    if (key == KeyCode::up && !withControl) {
        if (down)
            post([this] { focusPrevious(); });
        return KeyDisposition::swallow;
    }
    return down ? letterKey(event) : KeyDisposition::pass;
}

KeyDisposition Mode::clickKey(const KeyEvent &event)
{
    const auto modifiers = normalizedModifiers(event.flags);
    auto *view = targetsView();
    if (!view || !view->focusedElement() || event.type != EventType::keyDown
        || (modifiers != 0 && modifiers != shift && modifiers != command))
        return KeyDisposition::pass;
    if (modifiers == command)
        post([this] { commandClickFocused(); });
    else if (modifiers == shift)
        post([this] { rightClickFocused(); });
    else
        post([this, key = event.keyCode] { clickFocused(key); });
    return KeyDisposition::swallow;
}

KeyDisposition Mode::letterKey(const KeyEvent &event)
{
    // By position on the ASCII-capable layout, whichever input source is selected.
    const auto letter = labelLetter(_services.keyboardLayout.translate(event.keyCode));
    if (!letter)
        return KeyDisposition::pass;
    const auto modifiers = normalizedModifiers(event.flags);
    const bool autoClick = _services.preferences.boolForKey(Preferences::Keys::isAutoClickEnabled);
    if (modifiers != 0 && modifiers != shift && !(modifiers == command && autoClick))
        return KeyDisposition::pass;
    post([this, character = *letter, key = event.keyCode, modifiers] {
        appendLabelCharacter(character, key, modifiers);
    });
    return KeyDisposition::swallow;
}

KeyDisposition Mode::localMonitor(const KeyEvent &event)
{
    if (_isSearchDisabled)
        return KeyDisposition::pass;
    const bool down = event.type == EventType::keyDown;
    const std::uint64_t m = event.flags & 0xFFFF0000;
    const auto key = event.keyCode;
    if (key == KeyCode::tab) {
        if (down && m == 0)
            focusNext();
        else if (down && m == shift)
            focusPrevious();
        return KeyDisposition::swallow;
    }
    if (key == KeyCode::returnKey) {
        auto *view = targetsView();
        const bool clicked = down && view && view->focusedElement() && clickByModifiers(m, key);
        _services.tutorMode.deactivate();
        return clicked ? KeyDisposition::swallow : KeyDisposition::pass;
    }
    if (key == KeyCode::down || key == KeyCode::up) {
        // The arrows carry the numeric-pad and function bits; nothing else may be held.
        if (!down || (event.flags & 0xFF5F0000) != 0)
            return KeyDisposition::pass;
        key == KeyCode::down ? focusNext() : focusPrevious();
        return KeyDisposition::swallow;
    }
    if (m == control && (key == KeyCode::n || key == KeyCode::p)) {
        if (!down)
            return KeyDisposition::pass;
        key == KeyCode::n ? focusNext() : focusPrevious();
        return KeyDisposition::swallow;
    }
    if (key == KeyCode::escape && m == 0) {
        // Also on release: a session started while Escape was held ends when it is let go.
        deactivate(true);
        return KeyDisposition::swallow;
    }
    if ((m == 0 || m == shift) && event.characters == "?") {
        if (!down)
            return KeyDisposition::pass;
        auto &tutor = _services.tutorMode;
        if (tutor.active()) {
            tutor.deactivate();
        } else if (auto focused = focusedElement(); focused && _uiTrees) {
            tutor.activate(_uiTrees);
            tutor.setTarget(focused);
        }
        return KeyDisposition::swallow;
    }
    // Shift and a letter picks a label; a plain letter is search text, and dismisses the tutor.
    const auto &text = event.charactersIgnoringModifiers;
    if ((m == 0 || m == shift) && !text.empty() && text[0] >= 'A' && text[0] <= 'Z') {
        if (!down)
            return KeyDisposition::pass;
        appendLabelCharacter(std::string(1, text[0]), key, m);
        return KeyDisposition::swallow;
    }
    _services.tutorMode.deactivate();
    return KeyDisposition::pass;
}

bool Mode::clickByModifiers(std::uint64_t modifiers, std::uint16_t keyCode)
{
    if (modifiers == command)
        commandClickFocused();
    else if (modifiers == shift)
        rightClickFocused();
    else if (modifiers == 0)
        clickFocused(keyCode);
    else
        return false;
    return true;
}

void Mode::appendLabelCharacter(const std::string &character, std::uint16_t keyCode,
                                std::uint64_t modifiers)
{
    cancelTimer(_resetLabelQueryTimer);
    _labelQuery += character;
    auto *view = targetsView();
    if (!view) {
        _services.sounds.playWarning();
        resetLabelQuery();
    } else {
        highlightLabelQuery();
        // A click ends the session and may take the labels with it: the walk stops there.
        const auto &labels = view->labels();
        bool matched = false;
        for (std::size_t i = 0; i < labels.size(); ++i) {
            if (labels[i] == _labelQuery) {
                matched = true;
                view->focus(i);
                retargetTutor();
                resetLabelQuery();
                const bool autoClick =
                    _services.preferences.boolForKey(Preferences::Keys::isAutoClickEnabled);
                if (_isSearchDisabled && autoClick)
                    clickByModifiers(modifiers, keyCode);
                break;
            }
            if (labels[i].starts_with(_labelQuery)) {
                matched = true;
                break;
            }
        }
        if (!matched) {
            _services.sounds.playWarning();
            resetLabelQuery();
        }
    }
    _resetLabelQueryTimer = _services.scheduler.scheduleOnMain(Seconds(1.0), [this] {
        _resetLabelQueryTimer.reset();
        resetLabelQuery();
    });
}

void Mode::resetLabelQuery()
{
    cancelTimer(_resetLabelQueryTimer);
    _labelQuery.clear();
    highlightLabelQuery();
}

void Mode::highlightLabelQuery()
{
    if (auto *view = targetsView()) {
        view->setLabelQuery(_labelQuery);
        _targetsWindowController->window().update();
    }
}

} // namespace tarnvik
