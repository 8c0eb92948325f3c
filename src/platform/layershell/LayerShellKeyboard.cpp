#include "platform/layershell/LayerShellKeyboard.h"

#include "platform/Diagnostics.h"
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

// The compositor gave the surface the keyboard: from now on keys reach this program alone. The
// tests wait for this before they type.
bool LayerShellKeyboard::Surface::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        trace("keyboard held");
    return QWidget::event(event);
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
    _surface.hide();
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

LabelsFirstKeyboard::LabelsFirstKeyboard(KeyboardCapture &keyboard)
    : _keyboard(keyboard)
{
    _latest.setSingleShot(true);
    _latest.setInterval(250);
    QObject::connect(&_latest, &QTimer::timeout, [this] { take(); });
}

bool LabelsFirstKeyboard::start(Handler handler)
{
    if (_held)
        return _keyboard.start(std::move(handler));
    _waiting = std::move(handler);
    _latest.start();
    return true;
}

void LabelsFirstKeyboard::stop()
{
    _latest.stop();
    _waiting = nullptr;
    _held = false;
    _keyboard.stop();
}

void LabelsFirstKeyboard::labelsShown()
{
    // Told from inside the labels' paint: the surface is shown after it.
    QTimer::singleShot(0, &_latest, [this] { take(); });
}

void LabelsFirstKeyboard::take()
{
    _latest.stop();
    if (_waiting)
        _held = _keyboard.start(std::exchange(_waiting, nullptr));
}

} // namespace tarnvik::layershell
