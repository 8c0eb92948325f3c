#pragma once

#include "platform/KeyEvents.h"

#include <QTimer>
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
    bool heldElsewhere() override { return false; }

private:
    class Surface final : public QWidget
    {
    public:
        explicit Surface(LayerShellKeyboard &owner);

    protected:
        bool event(QEvent *event) override;
        void keyPressEvent(QKeyEvent *event) override { _owner.typed(*event, true); }
        void keyReleaseEvent(QKeyEvent *event) override { _owner.typed(*event, false); }

    private:
        LayerShellKeyboard &_owner;
    };

    void typed(const QKeyEvent &event, bool pressed);

    KeyboardLayout &_layout;
    Handler _handler;
    Surface _surface;
};

// Click mode's keyboard: taken once the labels are drawn, or after a quarter of a second at the
// latest, not when the session starts. Taking it moves the keyboard's focus, and the window in
// front then redraws itself as inactive: GTK's windows are busy with that for 0.1-0.4 s, and
// would answer the reading of their tree only after. Keys typed before the labels show reach the
// window in front, as they would without this program.
class LabelsFirstKeyboard final : public KeyboardCapture
{
public:
    explicit LabelsFirstKeyboard(KeyboardCapture &keyboard);

    bool start(Handler handler) override;
    void stop() override;
    bool heldElsewhere() override { return _keyboard.heldElsewhere(); }
    // The session's labels are on screen.
    void labelsShown();

private:
    void take();

    KeyboardCapture &_keyboard;
    Handler _waiting;
    bool _held = false;
    QTimer _latest;
};

} // namespace tarnvik::layershell
