#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>

namespace kvillo::mark {

// The mark's drawing box, in its own units (y grows downwards).
inline constexpr double kWidth = 142.73;
inline constexpr double kHeight = 166.85;

// Fills the mark's two shapes with `colour` into a `size` square at the
// painter's origin: `padding` clear above and below, centred across. The
// same drawing as resources/icons/io.kvillo.Kvillo.svg.
void paint(QPainter& painter, double size, double padding, const QColor& colour);

// The mark on a transparent `size` square, with the tray icon's padding
// (one ninth of the size, as 2 of 18).
QImage image(int size, const QColor& colour);

}  // namespace kvillo::mark
