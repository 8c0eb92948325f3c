#include "app/settings/ShortcutRecorderView.h"

#include "keyboard/CapsLockController.h"
#include "keyboard/SRGlobalShortcutMonitor.h"
#include "keyboard/ShortcutRecording.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "preferences/Preferences.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTimer>

namespace tarnvik {

namespace {

// Super is Command, Alt is Option.
std::uint64_t flagsOf(Qt::KeyboardModifiers modifiers)
{
    std::uint64_t flags = 0;
    if (modifiers & Qt::ShiftModifier)
        flags |= ModifierFlag::shift;
    if (modifiers & Qt::ControlModifier)
        flags |= ModifierFlag::control;
    if (modifiers & Qt::AltModifier)
        flags |= ModifierFlag::option;
    if (modifiers & Qt::MetaModifier)
        flags |= ModifierFlag::command;
    return flags;
}

} // namespace

ShortcutRecorderView::ShortcutRecorderView(const char *userDefaultsKey, Services services,
                                           QWidget *parent)
    : QPushButton(parent)
    , _userDefaultsKey(userDefaultsKey)
    , _services(std::move(services))
{
    setMinimumWidth(120);
    setFocusPolicy(Qt::StrongFocus);
    reload();
    connect(this, &QPushButton::clicked, this, [this] {
        if (!_recording)
            beginRecording();
    });
}

ShortcutRecorderView::~ShortcutRecorderView()
{
    _services.recordingSlot.end(this);
    if (_recording)
        _services.shortcuts.resume();
}

std::optional<SRShortcut> ShortcutRecorderView::stored() const
{
    const auto text = _services.preferences.stringForKey(_userDefaultsKey);
    return text ? SRShortcut::shortcutWithKeyEquivalent(*text) : std::nullopt;
}

void ShortcutRecorderView::reload()
{
    if (_recording)
        return;
    _value = stored();
    showValue();
}

void ShortcutRecorderView::showValue()
{
    if (_recording) {
        setText(_heldModifiers ? QString::fromStdString(
                    SRShortcut::shortcutWithCode(KeyCode::none, _heldModifiers).description())
                               : QStringLiteral("Type shortcut"));
        return;
    }
    setText(_value ? QString::fromStdString(_value->description()) : QStringLiteral("Record"));
}

void ShortcutRecorderView::beginRecording()
{
    _recording = true;
    _heldModifiers = 0;
    _services.recordingSlot.begin(this);
    _services.shortcuts.pause();
    setFocus(Qt::OtherFocusReason);
    showValue();
}

void ShortcutRecorderView::endRecording()
{
    if (!_recording)
        return;
    _recording = false;
    _heldModifiers = 0;
    _services.recordingSlot.end(this);
    _services.shortcuts.resume();
    const std::string text = _value ? _value->description() : std::string();
    _services.preferences.setString(_userDefaultsKey,
                                    SRShortcut::shortcutWithKeyEquivalent(text) ? text : "");
    showValue();
    // The wiring runs after this event, as on every other recording path.
    QTimer::singleShot(0, this, [rewire = _services.rewireShortcuts] { rewire(); });
}

void ShortcutRecorderView::takeShortcut(const SRShortcut &shortcut)
{
    if (!_recording)
        return;
    _value = shortcut;
    endRecording();
}

void ShortcutRecorderView::offer(const SRShortcut &candidate)
{
    if (!ShortcutRecording::canRecordShortcut(candidate, stored(), _services.shortcuts.actions())) {
        QApplication::beep();
        return;
    }
    _value = candidate;
    endRecording();
}

bool ShortcutRecorderView::event(QEvent *event)
{
    // Tab and Shift+Tab would move the focus away: while recording they are keys like others.
    if (_recording && event->type() == QEvent::KeyPress) {
        keyPressEvent(static_cast<QKeyEvent *>(event));
        return true;
    }
    return QPushButton::event(event);
}

void ShortcutRecorderView::keyPressEvent(QKeyEvent *event)
{
    if (!_recording) {
        QPushButton::keyPressEvent(event);
        return;
    }
    event->accept();
    if (event->isAutoRepeat())
        return;
    const auto keyCode = _services.keyCodeOfScanCode(event->nativeScanCode());
    // The Caps Lock key speaks through the Hyperkey, when it is one.
    if (keyCode == KeyCode::capsLock)
        return;
    // A modifier's own press carries the modifiers from before it.
    if (keyCode && isModifierKey(*keyCode)) {
        _heldModifiers |= flagsOf(event->modifiers()) | modifierFlagOfKey(*keyCode);
        showValue();
        return;
    }
    _heldModifiers = 0;
    if (!keyCode) {
        QApplication::beep();
        return;
    }
    auto flags = flagsOf(event->modifiers());
    if (_services.hyperKeyDown && _services.hyperKeyDown())
        flags |= CapsLockController::hyperFlags;
    offer(SRShortcut::shortcutWithCode(*keyCode, flags));
}

void ShortcutRecorderView::keyReleaseEvent(QKeyEvent *event)
{
    if (!_recording) {
        QPushButton::keyReleaseEvent(event);
        return;
    }
    event->accept();
    const auto keyCode = _services.keyCodeOfScanCode(event->nativeScanCode());
    if (event->isAutoRepeat() || !keyCode || !isModifierKey(*keyCode))
        return;
    // The last modifier let go, with no key between: the modifiers held together are the
    // shortcut.
    const auto stillHeld = flagsOf(event->modifiers()) & ~modifierFlagOfKey(*keyCode);
    if (stillHeld == 0 && _heldModifiers) {
        const auto modifiers = _heldModifiers;
        _heldModifiers = 0;
        offer(SRShortcut::shortcutWithCode(KeyCode::none, modifiers));
    }
}

void ShortcutRecorderView::focusOutEvent(QFocusEvent *event)
{
    endRecording();
    QPushButton::focusOutEvent(event);
}

} // namespace tarnvik
