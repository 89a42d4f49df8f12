#include "app/gui/popup_placement.h"

#include <algorithm>

namespace kvillo {
namespace {

// The popup's start along one axis: after the click in the first half of
// the free span, before it in the second, then inside the span.
int place(int click, int length, int spanStart, int spanLength) {
    const int start = 2 * (click - spanStart) < spanLength ? click : click - length;
    const int last = spanStart + spanLength - length;
    return std::max(spanStart, std::min(start, last));
}

}  // namespace

QPoint popupPosition(QPoint click, QSize popup, QRect available) {
    return {place(click.x(), popup.width(), available.x(), available.width()),
            place(click.y(), popup.height(), available.y(), available.height())};
}

}  // namespace kvillo
