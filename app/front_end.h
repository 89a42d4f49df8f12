#pragma once

#include <memory>

#include "core/capture/activity_monitor.h"
#include "core/mcp/mcp_server.h"
#include "core/model/app_model.h"
#include "core/model/notification_center.h"
#include "core/net/http_client.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "core/time/clock.h"
#include "platform/linux/app_paths.h"

class QCoreApplication;

namespace kvillo {

// The boundary between the program and its graphical side. The graphical
// side (the tray, its popup, the main window) lives in a module of its own,
// libkvillo_gui.so, loaded only when there is a desktop to show it on, so
// that `kvillo --headless` never maps Qt's GUI libraries. Both sides link
// the one libkvillo.so, so the process holds one copy of every core object
// and cache; the graphical side reaches the live objects only through the
// references handed to it here.

// The long-lived objects the program runs on, built and owned by the
// AppDelegate. They outlive the front end made with them.
struct LiveObjects {
    Database& database;
    Features& features;
    ActivityMonitor& monitor;
    McpServer& mcpServer;
    AppModel& model;
    const Clock& clock;
    const AppPaths& paths;
};

// The program as the user sees it on a desktop. Made, used and destroyed on
// the main thread, inside the module's application's event loop.
class FrontEnd {
public:
    virtual ~FrontEnd() = default;

    // Puts the program on screen when launching has finished, and is called
    // again whenever another start of the program asks to be seen.
    virtual void show() = 0;

    // Takes the interface down before the server and the monitor stop:
    // afterwards nothing on screen calls into the live objects.
    virtual void shutdown() = 0;
};

// What the module gives the executable. It stays loaded for the life of
// the process. Main thread only.
class GuiModule {
public:
    // The application object for a desktop session (a QApplication that
    // does not quit when its last window closes), with the brand font
    // registered. `argc` and `argv` must outlive it.
    virtual std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv) = 0;

    // Where the program's questions go: desktop notifications with buttons,
    // or, where the desktop cannot show those, a small window of our own.
    // Needs the application above; made before the front end.
    virtual std::unique_ptr<NotificationCenter> makeNotificationCenter() = 0;

    // HTTP for the update checker. It lives here, not in libkvillo, so that
    // `kvillo --headless` never maps libcurl and its TLS libraries.
    virtual std::unique_ptr<HttpClient> makeHttpClient(const std::string& userAgent) = 0;

    // The front end over the live objects; needs the application above.
    virtual std::unique_ptr<FrontEnd> makeFrontEnd(const LiveObjects& objects) = 0;

protected:
    ~GuiModule() = default;
};

}  // namespace kvillo
