#include "app/gui/mark.h"

#include <QPolygonF>

namespace kvillo::mark {

void paint(QPainter& painter, double size, double padding, const QColor& colour) {
    const double scale = (size - 2 * padding) / kHeight;
    painter.save();
    painter.translate((size - kWidth * scale) / 2, padding);
    painter.scale(scale, scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPolygonF block{{47.25, 0.62},    {0, 0.62},        {0, 166.85},
                          {110.77, 166.85}, {110.77, 123.63}, {47.25, 123.63}};
    painter.drawPolygon(block);
    painter.drawRect(QRectF(95.47, 0, 47.26, 47.26));
    painter.restore();
}

QImage image(int size, const QColor& colour) {
    QImage result(size, size, QImage::Format_ARGB32_Premultiplied);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    paint(painter, size, size / 9.0, colour);
    return result;
}

}  // namespace kvillo::mark
