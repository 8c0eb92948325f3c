#pragma once

#include "click/ModeViews.h"
#include "labels/LabelLayer.h"

#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

class QVariantAnimation;

namespace tarnvik {

// The overlay: a window above all others that the mouse passes through and that never takes
// the keyboard, drawing the labels of a TargetsView, its focus highlight and the click flash.
class OverlayWidget final : public QWidget
{
public:
    OverlayWidget(QRectF geometry, bool hasCompositor,
                  std::function<void(std::size_t)> labelsPainted);

    void setLabels(TargetsView *view, std::vector<LabelLayer> layers);
    void refresh();
    void flash(std::function<void()> completion);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void paintHighlight(QPainter &painter, QRectF frame, double opacity) const;
    void updateMask();
    // Where the window stands, in the accessibility space.
    CGRect screenFrame() const;

    const bool _hasCompositor;
    std::function<void(std::size_t)> _labelsPainted;
    bool _newLabels = false;
    TargetsView *_view = nullptr;
    std::vector<LabelLayer> _layers;
    double _fade = 1.0;
    // The flash of a click: the highlight growing by 5 points on each side and fading out.
    std::optional<QRectF> _flashFrame;
    double _flashProgress = 0;
    QPointer<QVariantAnimation> _fadeIn;
};

class QtTargetsWindow final : public TargetsWindow
{
public:
    QtTargetsWindow(QRectF geometry, bool hasCompositor, LabelColors colors, double textSize,
                    double scale, std::function<void(std::size_t)> labelsPainted = {});
    ~QtTargetsWindow() override;

    void orderFront() override;
    void close() override;
    void show(TargetsView &view) override;
    void update() override;
    void playClickAnimation(std::function<void()> completion) override;
    // The window itself, for measuring its drawing.
    QWidget *widget() const { return _widget; }

private:
    // Deleted later, not here: a flash's completion may close the window from inside it.
    QPointer<OverlayWidget> _widget;
    const QRectF _geometry;
    const LabelColors _colors;
    const double _textSize;
    const double _scale;
};

} // namespace tarnvik
