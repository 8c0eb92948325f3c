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

bool isModifierKey(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt
        || key == Qt::Key_Meta || key == Qt::Key_Super_L || key == Qt::Key_Super_R
        || key == Qt::Key_AltGr || key == Qt::Key_Hyper_L || key == Qt::Key_Hyper_R;
}

// A modifier's own press carries the state from before it, its release the state with it.
std::uint64_t withKey(std::uint64_t flags, int key, bool pressed)
{
    std::uint64_t bit = 0;
    if (key == Qt::Key_Shift)
        bit = ModifierFlag::shift;
    else if (key == Qt::Key_Control)
        bit = ModifierFlag::control;
    else if (key == Qt::Key_Alt)
        bit = ModifierFlag::option;
    else if (key == Qt::Key_Meta || key == Qt::Key_Super_L || key == Qt::Key_Super_R)
        bit = ModifierFlag::command;
    return pressed ? flags | bit : flags & ~bit;
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
    if (isModifierKey(event->key())) {
        _heldModifiers |= withKey(flagsOf(event->modifiers()), event->key(), true);
        showValue();
        return;
    }
    const auto keyCode = _services.keyCodeOfScanCode(event->nativeScanCode());
    // The Caps Lock key speaks through the Hyperkey, when it is one.
    if (keyCode == KeyCode::capsLock)
        return;
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
    if (event->isAutoRepeat() || !isModifierKey(event->key()))
        return;
    // The last modifier let go, with no key between: the modifiers held together are the
    // shortcut.
    if (withKey(flagsOf(event->modifiers()), event->key(), false) == 0 && _heldModifiers) {
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
