#pragma once

#include "app/front_end.h"
#include "app/gui/app_model_object.h"
#include "app/gui/status_bar_controller.h"

namespace kvillo {

// The front end of a desktop session: it holds the live objects, and the
// model's face for the surfaces drawn on them (the tray icon and its popup,
// the main window, each made in show()). Main thread only.
class DesktopFrontEnd : public FrontEnd {
public:
    explicit DesktopFrontEnd(const LiveObjects& objects);

    // The first call puts the tray icon up (or, without a tray, the main
    // window); later ones, from another start of the program, bring the
    // main window forward, or the popup while there is no window yet.
    void show() override;
    void shutdown() override;

private:
    LiveObjects objects_;
    AppModelObject model_;
    StatusBarController controller_;
    bool shown_ = false;
};

}  // namespace kvillo
