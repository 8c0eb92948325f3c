#pragma once

#include "platform/KeyEvents.h"
#include "platform/linux/KeyboardGrant.h"

#include <QWidget>

namespace tarnvik::layershell {

// Holds the keyboard while a session runs, as a layer-shell surface of its own that asks for
// every key (a transparent pixel that takes no pointer input). Hidden, the surface goes and the
// compositor gives the keyboard back; so it does when this program ends or is killed. The keys
// typed meanwhile reach only this program, whatever the handler answers.
class LayerShellKeyboard final : public KeyboardCapture
{
public:
    explicit LayerShellKeyboard(KeyboardLayout &layout);

    bool start(Handler handler) override;
    void stop() override;
    void whenHeld(std::function<void(bool held)> then) override;
    bool heldElsewhere() override { return false; }

private:
    class Surface final : public QWidget
    {
    public:
        explicit Surface(LayerShellKeyboard &owner);

    protected:
        // The compositor's keyboard focus, which it gives once it has mapped the surface.
        void changeEvent(QEvent *event) override;
        void keyPressEvent(QKeyEvent *event) override { _owner.typed(*event, true); }
        void keyReleaseEvent(QKeyEvent *event) override { _owner.typed(*event, false); }

    private:
        LayerShellKeyboard &_owner;
    };

    void typed(const QKeyEvent &event, bool pressed);

    KeyboardLayout &_layout;
    Handler _handler;
    linux::KeyboardGrant _grant;
    Surface _surface;
};

} // namespace tarnvik::layershell
