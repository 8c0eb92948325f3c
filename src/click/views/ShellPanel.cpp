#include "click/views/ShellPanel.h"

#include "click/views/QtTargetsWindow.h"

#include <QImage>
#include <QPainter>
#include <QWidget>

#include <cmath>

namespace tarnvik {

OverviewImage shellPanel(std::string key, const QImage &image, CGRect frame)
{
    OverviewImage panel {
        .key = std::move(key),
        .frame = frame,
        .width = image.width(),
        .height = image.height(),
        .stride = static_cast<int>(image.bytesPerLine()),
    };
    panel.pixels.assign(image.constBits(), image.constBits() + image.sizeInBytes());
    return panel;
}

OverviewImage shellPanel(std::string key, QWidget &widget, QPoint topLeft)
{
    const double scale = widget.devicePixelRatioF();
    QImage image(widget.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    widget.render(&image);
    return shellPanel(std::move(key), image,
                      makeRect(topLeft.x(), topLeft.y(), widget.width(), widget.height()));
}

OverviewImage highlightPanel(std::string key, CGRect frame, double scale)
{
    QImage image(
        QSize(int(std::ceil(frame.size.width * scale)), int(std::ceil(frame.size.height * scale))),
        QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(scale, scale);
        paintTranslucentHighlight(painter, QRectF(0, 0, frame.size.width, frame.size.height), 1.0);
    }
    return shellPanel(std::move(key), image, frame);
}

} // namespace tarnvik
