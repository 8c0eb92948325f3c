#include "platform/linux/KeyboardGrant.h"

#include <utility>

namespace tarnvik::linux {

KeyboardGrant::KeyboardGrant()
{
    _timeout.setSingleShot(true);
    _timeout.setInterval(1000);
    QObject::connect(&_timeout, &QTimer::timeout, [this] { answer(false); });
}

void KeyboardGrant::wait(std::function<void(bool held)> then)
{
    _then = std::move(then);
    _timeout.start();
}

void KeyboardGrant::answer(bool held)
{
    _timeout.stop();
    if (auto then = std::exchange(_then, nullptr))
        then(held);
}

void KeyboardGrant::cancel()
{
    _timeout.stop();
    _then = nullptr;
}

} // namespace tarnvik::linux
