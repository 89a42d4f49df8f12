#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>

#include <optional>

namespace kvillo {

class Theme;

// Keeps a Theme in the desktop's light or dark mode: the freedesktop
// portal's "org.freedesktop.appearance color-scheme", read without blocking
// and followed as it changes; while the portal has not answered, or has no
// preference, or is missing, the application palette's window colour
// decides (dark when its lightness is below half).
//
// Threads: the UI thread; needs a QGuiApplication. `theme` must outlive it.
class DesktopColorScheme : public QObject {
    Q_OBJECT

public:
    explicit DesktopColorScheme(Theme& theme, QObject* parent = nullptr);

    // The portal's value: 1 prefers dark, 2 prefers light, anything else
    // none.
    static std::optional<bool> darkFromPortal(unsigned value);

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void apply(const QVariant& value);
    bool paletteIsDark() const;

    Theme& theme_;
};

}  // namespace kvillo
