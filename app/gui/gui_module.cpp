// The entry point of libkvillo_gui.so: everything that needs Qt's GUI
// libraries is reached from here.
#include <QtQml/qqmlextensionplugin.h>
#include <QApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>

#include <utility>

#include "app/front_end.h"
#include "app/gui/brand_font.h"
#include "app/gui/desktop_front_end.h"
#include "app/gui/prompt_window.h"
#include "core/net/curl_http_client.h"
#include "platform/linux/desktop_notifications.h"

// The popup's QML, compiled in; only this module links it.
Q_IMPORT_QML_PLUGIN(Kvillo_UiPlugin)

namespace kvillo {
namespace {

// Desktop notifications, and the window for the questions they cannot ask.
class DesktopQuestions final : public NotificationCenter {
public:
    void setAnswerHandler(AnswerHandler handler) override {
        notifications_.setAnswerHandler(std::move(handler));
    }
    void post(const Question& question) override { notifications_.post(question); }

private:
    PromptWindow window_;
    DesktopNotifications notifications_{window_};  // goes first, while the window still lives
};

class DesktopGuiModule final : public GuiModule {
public:
    std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv) override {
        // The popup is a few shapes and texts: Qt Quick's software renderer
        // draws it without a GL context, so no GLX connection to the X
        // server (whose loss Xlib answers with exit() on whatever thread
        // used it, racing the orderly end of the open row), no render
        // thread and far less memory.
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        auto application = std::make_unique<QApplication>(argc, argv);
        // The tray program keeps running with no window open.
        application->setQuitOnLastWindowClosed(false);
        // Names the program to the desktop (the Wayland app id, the desktop
        // entry its notifications and windows belong to).
        QGuiApplication::setDesktopFileName(QStringLiteral("io.kvillo.Kvillo"));
        BrandFont::registerFonts();
        return application;
    }

    std::unique_ptr<NotificationCenter> makeNotificationCenter() override {
        return std::make_unique<DesktopQuestions>();
    }

    std::unique_ptr<HttpClient> makeHttpClient(const std::string& userAgent) override {
        initialiseHttp();
        CurlHttpClientOptions options;
        options.userAgent = userAgent;
        return std::make_unique<CurlHttpClient>(std::move(options));
    }

    std::unique_ptr<FrontEnd> makeFrontEnd(const LiveObjects& objects) override {
        return std::make_unique<DesktopFrontEnd>(objects);
    }
};

}  // namespace
}  // namespace kvillo

extern "C" __attribute__((visibility("default"))) kvillo::GuiModule& kvilloGuiModule() {
    static kvillo::DesktopGuiModule module;
    return module;
}
