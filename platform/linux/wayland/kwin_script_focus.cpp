#include "platform/linux/wayland/kwin_script_focus.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDir>
#include <QTemporaryFile>

#include <functional>
#include <utility>

namespace kvillo {
namespace {

const QString kKWin = QStringLiteral("org.kde.KWin");
const QString kScriptingPath = QStringLiteral("/Scripting");
const QString kScripting = QStringLiteral("org.kde.kwin.Scripting");
const QString kPluginName = QStringLiteral("kvillo-capture");
const QString kBridgePath = QStringLiteral("/io/kvillo/KWinBridge");
// Long enough for a busy compositor, short enough that a session without a
// working KWin does not hold up start-up (QtDBus would wait 25 s).
constexpr int kCallTimeoutMs = 2000;

QDBusMessage call(const QDBusConnection& bus, const QString& service, const QString& path,
                  const QString& interface, const QString& method,
                  const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, kCallTimeoutMs);
}

QDBusMessage callScripting(const QDBusConnection& bus, const QString& method,
                           const QVariantList& arguments = {}) {
    return call(bus, kKWin, kScriptingPath, kScripting, method, arguments);
}

// Runs inside KWin. Kept tiny and without timers: it only forwards what KWin
// says. @SERVICE@ becomes our unique bus name. KWin 6 renamed the API, so the
// new names are tried first. KWin 5 numbers windows that share a title
// ("Mail <2>"); KWin 6 has the plain title apart. The window active when the
// script starts is watched too: it may be retitled before anything else is
// activated. Disconnecting from a window KWin has destroyed may throw, which
// must not stop the reports.
constexpr const char* kScript = R"JS(
const SERVICE = "@SERVICE@", PATH = "/io/kvillo/KWinBridge", IFACE = "io.kvillo.KWinBridge";
const kwin6 = workspace.windowActivated !== undefined;
let watched = null;
function title(w) {
    return w.captionNormal !== undefined ? String(w.captionNormal)
                                         : String(w.caption).replace(/ <\d+>$/, "");
}
function report() {
    const w = kwin6 ? workspace.activeWindow : workspace.activeClient;
    if (!w) {
        callDBus(SERVICE, PATH, IFACE, "activeWindow", "", "", "", "0");
    } else {
        callDBus(SERVICE, PATH, IFACE, "activeWindow", String(w.desktopFileName || ""),
                 String(w.resourceClass || ""), title(w), String(w.pid));
    }
}
function watch(w) {
    if (watched) {
        try { watched.captionChanged.disconnect(report); } catch (e) {}
    }
    watched = w;
    if (w) {
        w.captionChanged.connect(report);
    }
    report();
}
(kwin6 ? workspace.windowActivated : workspace.clientActivated).connect(watch);
watch(kwin6 ? workspace.activeWindow : workspace.activeClient);
)JS";

}  // namespace

// The object the script calls. Separate from the source so that only this
// one method is on the bus.
class KWinBridge : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "io.kvillo.KWinBridge")
public:
    // `accept` gets the caller's unique name and the report, and tells
    // whether the caller may report.
    using Accept = std::function<bool(const QString&, const std::optional<FocusedWindow>&)>;
    explicit KWinBridge(Accept accept) : accept_(std::move(accept)) {}

public slots:
    Q_SCRIPTABLE void activeWindow(const QString& desktopFileName, const QString& resourceClass,
                                   const QString& caption, const QString& processID) {
        if (!calledFromDBus()) {
            return;
        }
        if (!accept_(message().service(),
                     kwinFocusedWindow(desktopFileName, resourceClass, caption, processID))) {
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("Only KWin reports here"));
        }
    }

private:
    Accept accept_;
};

std::optional<FocusedWindow> kwinFocusedWindow(const QString& desktopFileName,
                                               const QString& resourceClass, const QString& caption,
                                               const QString& processID) {
    if (resourceClass.isEmpty()) {
        return std::nullopt;
    }
    bool isNumber = false;
    int pid = processID.toInt(&isNumber);
    return FocusedWindow{
        .appID = (desktopFileName.isEmpty() ? resourceClass : desktopFileName).toStdString(),
        .wmClass = resourceClass.toStdString(),
        .title = caption.toStdString(),
        .processID = isNumber && pid > 0 ? pid : 0,
    };
}

KWinScriptFocus::KWinScriptFocus(const QDBusConnection& bus) : busName_(bus.name()) {
    if (!bus.isConnected()) {
        return;
    }
    QDBusReply<QString> owner =
        call(bus, QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
             QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"), {kKWin});
    if (!owner.isValid()) {
        return;
    }
    kwinOwner_ = owner.value();
    auto* owners =
        new QDBusServiceWatcher(kKWin, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                // The script died with the old KWin.
                kwinOwner_ = newOwner;
                show(std::nullopt);
            });
    bridge_ = std::make_unique<KWinBridge>(
        [this](const QString& sender, const std::optional<FocusedWindow>& window) {
            return accept(sender, window);
        });
    registered_ = this->bus().registerObject(kBridgePath, bridge_.get(),
                                             QDBusConnection::ExportScriptableSlots);
    ready_ = registered_ && load();
}

KWinScriptFocus::~KWinScriptFocus() {
    if (ready_) {
        callScripting(bus(), QStringLiteral("unloadScript"), {kPluginName});
    }
    if (registered_) {
        bus().unregisterObject(kBridgePath);
    }
}

QDBusConnection KWinScriptFocus::bus() const {
    return QDBusConnection(busName_);
}

bool KWinScriptFocus::load() {
    QDBusConnection bus = this->bus();
    script_ = std::make_unique<QTemporaryFile>(QDir::tempPath() + "/kvillo-kwin-XXXXXX.js");
    if (!script_->open()) {
        return false;
    }
    script_->write(QByteArray(kScript).replace("@SERVICE@", bus.baseService().toUtf8()));
    // KWin reads the file itself, and may run as another user (it does in
    // the tests); the text is no secret, and /tmp's sticky bit keeps others
    // from replacing it.
    script_->setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                            QFileDevice::ReadGroup | QFileDevice::ReadOther);
    if (!script_->flush()) {
        return false;
    }
    // KWin refuses a second script of the same name: a crashed run's goes.
    callScripting(bus, QStringLiteral("unloadScript"), {kPluginName});
    // loadScript is overloaded; the two arguments choose (path, name).
    QDBusReply<int> id =
        callScripting(bus, QStringLiteral("loadScript"), {script_->fileName(), kPluginName});
    if (!id.isValid() || id.value() < 0) {
        return false;
    }
    // Runs every loaded script not yet running; KWin reads the file after
    // replying.
    if (callScripting(bus, QStringLiteral("start")).type() != QDBusMessage::ReplyMessage) {
        callScripting(bus, QStringLiteral("unloadScript"), {kPluginName});
        return false;
    }
    return true;
}

bool KWinScriptFocus::accept(const QString& sender, const std::optional<FocusedWindow>& window) {
    // Anyone on the bus may call us; only KWin tells the truth.
    if (sender.isEmpty() || sender != kwinOwner_) {
        return false;
    }
    // A report means KWin has read the script.
    script_.reset();
    show(window);
    return true;
}

void KWinScriptFocus::show(const std::optional<FocusedWindow>& window) {
    if (window == focused_) {
        return;
    }
    focused_ = window;
    emit changed();
}

}  // namespace kvillo

#include "kwin_script_focus.moc"
