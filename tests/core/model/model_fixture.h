#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "core/capture/activity_monitor.h"
#include "core/model/app_model.h"
#include "tests/support/fake_clock.h"
#include "tests/support/fake_desktop.h"
#include "tests/support/fake_notification_center.h"
#include "tests/support/records.h"
#include "tests/support/temp_folder.h"

namespace kvillo::testing {

// A model on a real file, Monday 23 November 2026 09:00, beside a running
// monitor with its own connection to the same file, as in the program. The
// model's clock moves with its tick (`tick(n)`); `model()` builds it on
// first use, so a test can prepare the store first.
class ModelFixture : public ::testing::Test {
protected:
    AppModel& model() {
        if (!model_) {
            model_ =
                std::make_unique<AppModel>(modelDb_, monitor_, features_,
                                           AppModelServices{clock_, modelTimer_, uiThread_,
                                                            notifications_, updates_, installer_});
        }
        return *model_;
    }

    // Seconds of ticks, each moving the clock by one second.
    void tick(int seconds) {
        model();
        modelTimer_.run(seconds);
        uiThread_.runPending();
    }

    std::vector<Annotation> annotations() { return db_.fetchAnnotations(0, 4e9); }

    TempFolder folder_;
    Database db_{folder_.file("activities.db")};
    Database modelDb_{folder_.file("activities.db"), std::chrono::milliseconds(20)};
    Features features_{folder_.file("settings.json"), [] { return std::string(); }};
    FakeDesktop desktop_;
    const double start_ = localTime(2026, 11, 23, 9);
    FakeClock clock_{start_};
    FakeTimer monitorTimer_{clock_};
    FakeTimer modelTimer_{clock_};
    FakeUiThread uiThread_;
    FakeNotificationCenter notifications_;
    ActivityMonitor monitor_{db_, features_, desktop_, clock_, monitorTimer_};
    // Must outlive model_ when set.
    UpdateChecker* updates_ = nullptr;
    McpInstaller* installer_ = nullptr;
    std::unique_ptr<AppModel> model_;
};

}  // namespace kvillo::testing
