#include "platform/layershell/LayerShellOverlays.h"

#include <QEvent>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <LayerShellQt/Window>

namespace tarnvik::layershell {

namespace {

bool isOverlay(const QWidget &widget)
{
    return widget.isWindow() && widget.windowFlags().testFlag(Qt::X11BypassWindowManagerHint);
}

// Anchored to the output's top left, at the widget's place on it.
void place(QWidget &widget, LayerShellQt::Window &surface)
{
    const QScreen *screen = widget.screen();
    const QPoint origin = screen ? screen->geometry().topLeft() : QPoint();
    const QPoint at = widget.geometry().topLeft() - origin;
    surface.setMargins(QMargins(at.x(), at.y(), 0, 0));
}

} // namespace

bool LayerShellOverlays::eventFilter(QObject *watched, QEvent *event)
{
    const auto type = event->type();
    if (type != QEvent::Show && type != QEvent::Move)
        return false;
    auto *widget = qobject_cast<QWidget *>(watched);
    if (!widget || !isOverlay(*widget) || !widget->windowHandle())
        return false;
    // Shown, the widget gets its surface after this event: its role is set here first.
    auto *surface = LayerShellQt::Window::get(widget->windowHandle());
    if (type == QEvent::Show)
        putInOverlayLayer(*widget->windowHandle(), "tarnvik", false);
    place(*widget, *surface);
    return false;
}

void putInOverlayLayer(QWindow &window, const char *scope, bool takesKeys)
{
    auto *surface = LayerShellQt::Window::get(&window);
    surface->setLayer(LayerShellQt::Window::LayerOverlay);
    surface->setScope(scope);
    surface->setAnchors(LayerShellQt::Window::Anchors(LayerShellQt::Window::AnchorTop
                                                      | LayerShellQt::Window::AnchorLeft));
    surface->setExclusiveZone(-1);
    surface->setKeyboardInteractivity(takesKeys
                                          ? LayerShellQt::Window::KeyboardInteractivityExclusive
                                          : LayerShellQt::Window::KeyboardInteractivityNone);
}

} // namespace tarnvik::layershell
