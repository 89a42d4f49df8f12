#include "app/gui/icon_provider.h"

#include <QColor>
#include <QPainter>
#include <QSvgRenderer>

namespace kvillo {

IconProvider::IconProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage IconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const QString name = id.section('/', 0, 0);
    const QColor color(QStringLiteral("#") + id.section('/', 1, 1));
    const QSize target(requestedSize.width() > 0 ? requestedSize.width() : 24,
                       requestedSize.height() > 0 ? requestedSize.height() : 24);
    QImage image(target, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(QStringLiteral(":/icons/%1.svg").arg(name));
    if (renderer.isValid()) {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
        // The drawing's shape, in the colour asked for.
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color.isValid() ? color : QColor(Qt::black));
    }
    if (size) {
        *size = target;
    }
    return image;
}

}  // namespace kvillo
