#include "platform/linux/wayland/gnome_extension_focus.h"

#include <QDBusMessage>
#include <QDBusServiceWatcher>

#include <climits>

namespace kvillo {
namespace {

const QString kShell = QStringLiteral("org.gnome.Shell");
const QString kPath = QStringLiteral("/io/kvillo/FocusBridge");
const QString kInterface = QStringLiteral("io.kvillo.FocusBridge");
// Long enough for a Shell busy starting up, short enough not to hold up
// Kvillo's start when the extension is missing (the call then fails at
// once anyway, as the Shell answers "no such object").
constexpr int kAnswerTimeoutMs = 2000;

}  // namespace

std::optional<FocusedWindow> focusedWindowFromShell(const std::string& appID,
                                                    const std::string& wmClass,
                                                    const std::string& title, unsigned processID) {
    std::string id = appID;
    // "window:<n>" is how the Shell names an app it made up for a window
    // with no .desktop file; it means nothing outside the Shell.
    if (id.rfind("window:", 0) == 0) {
        id.clear();
    }
    if (constexpr std::string_view suffix = ".desktop"; id.ends_with(suffix)) {
        id.resize(id.size() - suffix.size());
    }
    if (id.empty() && wmClass.empty()) {
        return std::nullopt;
    }
    return FocusedWindow{.appID = id,
                         .wmClass = wmClass,
                         .title = title,
                         .processID = processID <= INT_MAX ? static_cast<int>(processID) : 0};
}

GnomeExtensionFocus::GnomeExtensionFocus(const QDBusConnection& bus) : bus_(bus) {
    if (!bus_.isConnected()) {
        return;
    }
    // Subscribed before asking, so no change falls between the answer and
    // the subscription. Signals that came while the call below waited are
    // delivered after it, in order; each carries the whole state, so the
    // last one wins.
    bus_.connect(kShell, kPath, kInterface, QStringLiteral("FocusChanged"), this,
                 SLOT(focusChanged(QString, QString, QString, uint)));
    // A Shell that ends (or crashes) says nothing more; its successor's
    // extension reports when it starts.
    auto* owner =
        new QDBusServiceWatcher(kShell, bus_, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owner, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this] { report(std::nullopt); });

    QDBusMessage reply = bus_.call(
        QDBusMessage::createMethodCall(kShell, kPath, kInterface, QStringLiteral("GetFocus")),
        QDBus::Block, kAnswerTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != QLatin1String("sssu")) {
        return;
    }
    const QList<QVariant> values = reply.arguments();
    ready_ = true;
    focused_ = focusedWindowFromShell(values[0].toString().toStdString(),
                                      values[1].toString().toStdString(),
                                      values[2].toString().toStdString(), values[3].toUInt());
}

void GnomeExtensionFocus::focusChanged(const QString& appID, const QString& wmClass,
                                       const QString& title, uint processID) {
    report(focusedWindowFromShell(appID.toStdString(), wmClass.toStdString(), title.toStdString(),
                                  processID));
}

// The extension also reports a title set again unchanged; that is no change.
void GnomeExtensionFocus::report(const std::optional<FocusedWindow>& window) {
    if (window == focused_) {
        return;
    }
    focused_ = window;
    emit changed();
}

}  // namespace kvillo
