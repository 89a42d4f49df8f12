#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "core/integrations/update_checker.h"
#include "tests/support/fake_clock.h"
#include "tests/support/fake_notification_center.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo::updates {

// For failure messages; the variant's printer names the alternative.
inline void PrintTo(const Available& state, std::ostream* out) {
    *out << state.release.tag;
}
inline void PrintTo(const Downloading& state, std::ostream* out) {
    *out << state.fraction;
}
inline void PrintTo(const ReadyToInstall& state, std::ostream* out) {
    *out << state.file << (state.appImage ? " (AppImage) " : " ") << state.note;
}
inline void PrintTo(const Error& state, std::ostream* out) {
    *out << state.text;
}

}  // namespace kvillo::updates

namespace kvillo::testing {

inline bool isSettled(const UpdateState& state) {
    return !std::holds_alternative<updates::Checking>(state) &&
           !std::holds_alternative<updates::Downloading>(state);
}

// A checker for version 1.4.0 of a Debian package, with English texts, two
// base URLs and downloads in a temporary folder; the test runs the UI
// thread through settle().
class CheckerHarness {
public:
    explicit CheckerHarness(HttpClient& http) : http_(http) {
        source.baseUrls = {"https://primary.test", "https://fallback.test/mirror/"};
        source.appVersion = "1.4.0";
        source.downloadFolder = folder.file("cache/Kvillo/Updates");
        source.installation = {Installation::Kind::debianPackage, {}};
    }

    // Built on first use, so a test may change `source` first.
    UpdateChecker& checker() {
        if (!checker_) {
            checker_ = std::make_unique<UpdateChecker>(
                UpdateCheckerServices{http_, ui, timer,
                                      [this](const std::string& file) { opened.push_back(file); },
                                      [] { return Language(Language::en); }},
                source);
            checker_->setOnStateChange(
                [this](const UpdateState& state) { delivered_.push_back(state); });
        }
        return *checker_;
    }
    void destroy() { checker_.reset(); }

    // The states delivered to the listener since the last call, once the
    // last of them is no longer a step on the way.
    std::vector<UpdateState> settle() {
        bool settled = eventually(
            [&] {
                ui.runPending();
                return delivered_.size() > taken_ && isSettled(delivered_.back());
            },
            std::chrono::seconds(20));
        EXPECT_TRUE(settled) << "the checker did not finish";
        std::vector<UpdateState> states(delivered_.begin() + taken_, delivered_.end());
        taken_ = delivered_.size();
        return states;
    }
    UpdateState settledState() {
        auto states = settle();
        return states.empty() ? UpdateState{} : states.back();
    }

    TempFolder folder;
    UpdateSource source;
    FakeUiThread ui;
    FakeClock clock{0};
    FakeTimer timer{clock};
    std::vector<std::string> opened;

private:
    HttpClient& http_;
    std::unique_ptr<UpdateChecker> checker_;
    std::vector<UpdateState> delivered_;
    size_t taken_ = 0;
};

// A release document with `tag` and assets of these names.
inline std::string releaseJson(const std::string& tag, const std::vector<std::string>& assets) {
    std::string json = R"({"tag":")" + tag +
                       R"(","name":"Kvillo","body":"notes","prerelease":false,)"
                       R"("publishedAt":"2026-05-01T10:00:00Z","assets":[)";
    for (size_t i = 0; i < assets.size(); ++i) {
        json += (i ? "," : "") + std::string(R"({"name":")") + assets[i] +
                R"(","size":3,"contentType":"application/octet-stream"})";
    }
    return json + "]}";
}

}  // namespace kvillo::testing
