#pragma once

#include "core/model/ui_thread.h"

namespace kvillo {

// The UI thread of a Qt program: work is queued on the application
// object's event loop. Needs a QCoreApplication for its whole life.
class QtUiThread : public UiThread {
public:
    void post(std::function<void()> work) override;
};

}  // namespace kvillo
