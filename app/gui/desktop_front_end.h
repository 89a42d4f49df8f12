#pragma once

#include "app/front_end.h"

namespace kvillo {

// The front end of a desktop session: it holds the live objects for the
// surfaces drawn on them (the tray icon and its popup, the main window,
// each made in show()). Main thread only.
class DesktopFrontEnd : public FrontEnd {
public:
    explicit DesktopFrontEnd(const LiveObjects& objects);

    void show() override;
    void shutdown() override;

private:
    LiveObjects objects_;
};

}  // namespace kvillo
