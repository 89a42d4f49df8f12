#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

#include "core/integrations/installation.h"
#include "core/localisation/language.h"
#include "core/model/ui_thread.h"
#include "core/net/http_client.h"
#include "core/time/repeating_timer.h"

namespace kvillo {

// A downloadable file of a release.
struct ReleaseAsset {
    std::string name;
    std::int64_t size = 0;
    std::string contentType;

    bool operator==(const ReleaseAsset&) const = default;
};

// The update service's release document: every key required but "assets",
// unknown keys ignored.
struct ReleaseInfo {
    std::string tag;  // a version, perhaps with a leading "v"; also a path segment
    std::string name;
    std::string body;  // the release notes
    bool prerelease = false;
    std::string publishedAt;  // as sent, not parsed
    std::optional<std::vector<ReleaseAsset>> assets;

    // None when `json` is not such a document (a key missing, a value of
    // the wrong type, not JSON at all).
    static std::optional<ReleaseInfo> decode(std::string_view json);

    bool operator==(const ReleaseInfo&) const = default;
};

// What the update control shows: one of these at a time.
namespace updates {
struct Idle {
    bool operator==(const Idle&) const = default;
};
struct Checking {
    bool operator==(const Checking&) const = default;
};
struct UpToDate {
    bool operator==(const UpToDate&) const = default;
};
struct Available {
    ReleaseInfo release;
    bool operator==(const Available&) const = default;
};
// 0 to 1; stays 0 when the server sends no length.
struct Downloading {
    double fraction = 0;
    bool operator==(const Downloading&) const = default;
};
// The verified download. A package has been handed to the desktop's
// default application; an AppImage was instead made executable beside the
// running one, and `note` tells the user so (empty for a package).
struct ReadyToInstall {
    std::string file;
    bool appImage = false;
    std::string note;
    bool operator==(const ReadyToInstall&) const = default;
};
// The last operation failed; `text` is for the user, in their language.
struct Error {
    std::string text;
    bool operator==(const Error&) const = default;
};
}  // namespace updates

using UpdateState =
    std::variant<updates::Idle, updates::Checking, updates::UpToDate, updates::Available,
                 updates::Downloading, updates::ReadyToInstall, updates::Error>;

// Where updates come from and go, fixed at start.
struct UpdateSource {
    // Tried in order, each "https://host" or "https://host/path". Empty: the
    // checker never checks, silently (a build made without an update
    // service).
    std::vector<std::string> baseUrls;
    // The running version; none: never checks either.
    std::optional<std::string> appVersion;
    // Where downloads are kept: $XDG_CACHE_HOME/Kvillo/Updates.
    std::string downloadFolder;
    Installation installation;

    // The built-in base URLs (the empty ones dropped) unless
    // $KVILLO_UPDATE_BASE_URLS is set, to a comma-separated list (set but
    // empty, it turns checks off); an empty `appVersion` is none; the download
    // folder from $XDG_CACHE_HOME (default ~/.cache); the installation of
    // this process.
    static UpdateSource fromEnvironment(const std::vector<std::string>& builtBaseUrls,
                                        const std::string& appVersion);
};

// What the checker runs on. All must outlive it.
struct UpdateCheckerServices {
    HttpClient& http;       // called on the checker's worker thread
    UiThread& uiThread;     // where the listener and `open` run
    RepeatingTimer& timer;  // the six-hourly check; ticks on the UI thread
    // Opens a downloaded package in the desktop's default application
    // (xdg-open). UI thread.
    std::function<void(const std::string& file)> open;
    // The interface language for the texts of errors and notes; called on
    // the worker thread.
    std::function<Language()> language;
};

// Asks the update service whether a newer release exists, and on request
// downloads its package for this installation, checks it and opens it.
// Endpoints below a base URL: "releases/linux/latest" (the release
// document) and "releases/linux/<tag>/assets/<name>"; each base URL is tried
// in order until one answers. Everything observable is the state, handed to
// the one listener.
//
// Threads: constructed, called and destroyed on the UI thread. The network
// work runs on a worker thread of the checker's own, one job at a time in
// the order asked; every state change is posted to the UI thread and
// reaches the listener there, in order. Destruction abandons a running
// transfer and waits for the worker (about a second at most); states posted
// but not yet delivered are dropped.
//
// Failures end in `updates::Error` with a text in the interface language;
// nothing is thrown.
class UpdateChecker {
public:
    static constexpr double kCheckIntervalSeconds = 6 * 60 * 60;

    // No network activity yet.
    UpdateChecker(UpdateCheckerServices services, UpdateSource source);
    ~UpdateChecker();
    UpdateChecker(const UpdateChecker&) = delete;
    UpdateChecker& operator=(const UpdateChecker&) = delete;

    // The one listener; replaces any earlier one.
    void setOnStateChange(std::function<void(const UpdateState&)> listener);
    // The latest state, perhaps not yet delivered to the listener. Any
    // thread.
    UpdateState currentState() const;
    // Whether checks happen at all: base URLs and a version are known.
    bool isConfigured() const;

    // A check now, then one every six hours.
    void startPeriodicChecks();
    // Queues one check and returns at once: `Checking`, then `Available`,
    // `UpToDate` or `Error`. A check replaces whatever state there was, a
    // finished download's too. Does nothing when not configured.
    void checkForUpdates();
    // Queues the download of `release`'s package and returns at once:
    // `Downloading` with progress, then `ReadyToInstall` (the package handed
    // to `open`) or `Error`. The package is the first asset whose name ends
    // as this installation's kind does. It is written to the download
    // folder as "<name>.part" and renamed, once whole and checked, to the
    // name the server suggests (Content-Disposition) or the asset's,
    // replacing an earlier download of that name. A transfer error or an
    // HTTP status of 400 or more moves on to the next base URL. When the
    // release also has "<name>.sha256" (a sha256sum line), a download that
    // does not match it is deleted and the error ends the attempt. Does
    // nothing when not configured.
    void downloadAndInstall(const ReleaseInfo& release);
    // Hands the finished download to `open` again; does nothing unless the
    // state is `ReadyToInstall` with a package (an AppImage is not opened).
    void openDownload();

    // Whether version `a` is newer than `b`, number by number ("1.10" >
    // "1.9"; "2.0" is not newer than "2"). Pieces between dots that are not
    // numbers are dropped ("1.2.3-beta" counts as 1.2).
    static bool isNewer(std::string_view a, std::string_view b);

private:
    void enqueue(std::function<void()> job);
    void runJobs();
    void setState(UpdateState state);
    void postToListener(std::function<void(const std::function<void(const UpdateState&)>&)> call);
    void check();
    void download(const ReleaseInfo& release);
    bool keepGoing() const { return !stopping_.load(); }

    UpdateCheckerServices services_;
    const UpdateSource source_;

    // Guards state_, jobs_ and the worker's start.
    mutable std::mutex mutex_;
    UpdateState state_ = updates::Idle{};
    std::deque<std::function<void()>> jobs_;
    std::condition_variable wake_;
    std::atomic<bool> stopping_ = false;
    std::thread worker_;  // started with the first job

    // The listener, shared with what is posted to the UI thread so that a
    // post arriving after destruction finds it gone. UI thread only.
    std::shared_ptr<std::function<void(const UpdateState&)>> listener_;
    bool timerStarted_ = false;
};

}  // namespace kvillo
