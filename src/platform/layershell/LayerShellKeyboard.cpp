#include "platform/layershell/LayerShellKeyboard.h"

#include "platform/layershell/LayerShellOverlays.h"
#include "platform/linux/X11Keys.h"

#include <QKeyEvent>

#include <utility>

namespace tarnvik::layershell {

LayerShellKeyboard::Surface::Surface(LayerShellKeyboard &owner)
    : _owner(owner)
{
    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowTransparentForInput);
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowTitle("Tarnvik Keyboard");
    resize(1, 1);
    winId();
    putInOverlayLayer(*windowHandle(), "tarnvik-keyboard", true);
}

void LayerShellKeyboard::Surface::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        _owner._grant.answer(true);
    QWidget::changeEvent(event);
}

LayerShellKeyboard::LayerShellKeyboard(KeyboardLayout &layout)
    : _layout(layout)
    , _surface(*this)
{ }

bool LayerShellKeyboard::start(Handler handler)
{
    _handler = std::move(handler);
    _surface.show();
    return true;
}

void LayerShellKeyboard::stop()
{
    _handler = nullptr;
    _grant.cancel();
    _surface.hide();
}

void LayerShellKeyboard::whenHeld(std::function<void(bool held)> then)
{
    if (_surface.isActiveWindow())
        return then(true);
    _grant.wait(std::move(then));
}

void LayerShellKeyboard::typed(const QKeyEvent &event, bool pressed)
{
    if (!_handler)
        return;
    // Keys that type no character (Return, Escape, Backspace) bring a control character, where
    // the layout's own text stands.
    const QString text = event.text();
    const bool control =
        text.size() == 1 && (text.front() < QChar(0x20) || text.front() == QChar(0x7f));
    // Wayland's key codes are X's; XKB's modifier mask, in the keymaps people use, is X's too.
    const linux::TypedKey key {.keycode = event.nativeScanCode(),
                               .state = event.nativeModifiers(),
                               .pressed = pressed,
                               .repeat = event.isAutoRepeat(),
                               .text = control ? std::string() : text.toStdString()};
    if (const auto keyEvent = linux::keyEventOf(key, _layout))
        _handler(*keyEvent);
}

} // namespace tarnvik::layershell
