#pragma once

#include <QQuickImageProvider>

namespace kvillo {

// The menu's icons, drawn as single-colour SVGs in the resources
// (":/icons/<name>.svg") and painted in any colour: the id is
// "<name>/<rrggbb>". An unknown name gives a transparent image of the
// requested size (24 px when none is asked for).
//
// Threads: called by the QML engine on its image threads; holds no state.
class IconProvider : public QQuickImageProvider {
public:
    IconProvider();

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

}  // namespace kvillo
