#pragma once

#include "click/ModeViews.h"
#include "platform/Overview.h"

#include <QPointer>
#include <QWidget>

#include <functional>

class QLineEdit;
class QVariantAnimation;

namespace tarnvik {

// The search bar's panel: a field for the search text and a thin bar that sweeps while the
// trees are read. It never takes the keyboard focus from the application in front; the session
// hands it the keys it doesn't use.
class SearchBarWidget final : public QWidget
{
public:
    // `zoom`: screen pixels per point, the desktop's scale.
    explicit SearchBarWidget(double zoom);
    QLineEdit *field() const { return _field; }
    void stopProgress();
    // Told when the sweeping bar moved: the shell, which draws the panel on Wayland, is not
    // told by the widget's own repaints.
    void onSwept(std::function<void()> handler) { _swept = std::move(handler); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QLineEdit *_field;
    const double _zoom;
    double _progress = 0;
    bool _stopped = false;
    QPointer<QVariantAnimation> _sweep;
    std::function<void()> _swept;
    void animateTo(double fraction, int milliseconds, std::function<void()> then);
};

class QtSearchBar final : public SearchBarWindow
{
public:
    struct Environment
    {
        // Converts the screen space to Qt's, whose y runs down.
        std::function<double()> firstScreenHeight;
        // Screen pixels per point, the desktop's scale.
        double zoom = 1;
        // Draws the panel where no window of this program may stand over the others (GNOME on
        // Wayland): the panel is never shown as a window, and is handed over as an image on
        // each change.
        Overview *shell = nullptr;
    };

    explicit QtSearchBar(Environment environment);
    ~QtSearchBar() override;

    void orderFront() override;
    void close() override;
    std::string text() const override;
    void setText(const std::string &text) override;
    void onTextChanged(std::function<void()> handler) override;
    void typeKey(const KeyEvent &event) override;
    CGSize size() const override;
    void moveTo(CGPoint origin) override;
    void stopProgress() override;

private:
    void sendToShell();
    void changed();

    QPointer<SearchBarWidget> _widget;
    Environment _environment;
    std::function<void()> _textChanged;
    // Where the shell draws the panel: its top left in Qt's space.
    QPoint _origin;
    bool _shown = false;
    bool _sendQueued = false;
};

} // namespace tarnvik
