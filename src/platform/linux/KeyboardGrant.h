#pragma once

#include <QTimer>

#include <functional>

namespace tarnvik::linux {

// A keyboard capture's answer to `KeyboardCapture::whenHeld` where the keyboard comes after
// the capture starts: the waiting call runs once with what the desktop gave, or with false
// when a second passed without an answer.
class KeyboardGrant
{
public:
    KeyboardGrant();

    // Replaces any call still waiting.
    void wait(std::function<void(bool held)> then);
    // Runs the waiting call, if any.
    void answer(bool held);
    // Drops the waiting call unrun.
    void cancel();

private:
    std::function<void(bool)> _then;
    // How long the desktop may take: a frame or two where it is well, the rest for a loaded
    // machine or a key a person still holds.
    QTimer _timeout;
};

} // namespace tarnvik::linux
