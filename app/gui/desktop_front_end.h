#pragma once

#include "app/front_end.h"
#include "app/gui/app_model_object.h"

namespace kvillo {

// The front end of a desktop session: it holds the live objects, and the
// model's face for the surfaces drawn on them (the tray icon and its popup,
// the main window, each made in show()). Main thread only.
class DesktopFrontEnd : public FrontEnd {
public:
    explicit DesktopFrontEnd(const LiveObjects& objects);

    void show() override;
    void shutdown() override;

private:
    LiveObjects objects_;
    AppModelObject model_;
};

}  // namespace kvillo
