#include "core/integrations/update_checker.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "core/environment/xdg_folders.h"
#include "core/files/sha256.h"
#include "core/localisation/l10n.h"

namespace kvillo {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kLatestRelease = "releases/linux/latest";

template <typename T>
bool read(const nlohmann::json& object, const char* key, T& into) {
    auto found = object.find(key);
    if (found == object.end()) {
        return false;
    }
    if constexpr (std::is_same_v<T, std::string>) {
        if (!found->is_string()) {
            return false;
        }
    } else if constexpr (std::is_same_v<T, bool>) {
        if (!found->is_boolean()) {
            return false;
        }
    } else {
        if (!found->is_number_integer()) {
            return false;
        }
    }
    into = found->get<T>();
    return true;
}

// Numbers of a version, in order; pieces that are not numbers dropped.
std::vector<long long> versionNumbers(std::string_view version) {
    std::vector<long long> numbers;
    while (!version.empty()) {
        size_t dot = version.find('.');
        std::string_view piece = version.substr(0, dot);
        if (piece.starts_with('+')) {
            piece.remove_prefix(1);
        }
        long long number = 0;
        auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), number);
        if (!piece.empty() && error == std::errc() && end == piece.data() + piece.size()) {
            numbers.push_back(number);
        }
        if (dot == std::string_view::npos) {
            break;
        }
        version.remove_prefix(dot + 1);
    }
    return numbers;
}

// A path segment as a URL carries it: a tag or a file name can never
// reach another path.
std::string escapeSegment(std::string_view segment) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string escaped;
    for (unsigned char c : segment) {
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     c == '-' || c == '.' || c == '_' || c == '~' || c == '+';
        if (plain) {
            escaped += static_cast<char>(c);
        } else {
            escaped += '%';
            escaped += kDigits[c >> 4];
            escaped += kDigits[c & 0xf];
        }
    }
    return escaped;
}

std::string joinUrl(std::string_view base, std::string_view path) {
    while (base.ends_with('/')) {
        base.remove_suffix(1);
    }
    return std::string(base) + "/" + std::string(path);
}

// A name that stays inside the download folder and hides nothing there
// (no dot files).
bool isPlainFileName(std::string_view name) {
    return !name.empty() && !name.starts_with('.') && name.size() <= 200 &&
           name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

// The file name of a Content-Disposition header ("attachment;
// filename="x.deb""), when it is a plain one.
std::optional<std::string> suggestedName(const HttpReply& reply) {
    auto header = reply.header("content-disposition");
    if (!header) {
        return std::nullopt;
    }
    std::string lower = *header;
    for (char& c : lower) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    size_t at = lower.find("filename=");
    if (at == std::string::npos) {
        return std::nullopt;
    }
    std::string_view value = std::string_view(*header).substr(at + 9);
    std::string name;
    if (value.starts_with('"')) {
        value.remove_prefix(1);
        name = value.substr(0, value.find('"'));
    } else {
        name = value.substr(0, value.find(';'));
        while (!name.empty() && name.back() == ' ') {
            name.pop_back();
        }
    }
    if (!isPlainFileName(name)) {
        return std::nullopt;
    }
    return name;
}

// The digest of a sha256sum line ("<64 hex digits>  <name>"), lower case.
std::optional<std::string> publishedDigest(std::string_view text) {
    if (text.size() < 64) {
        return std::nullopt;
    }
    std::string digest;
    for (char c : text.substr(0, 64)) {
        if (!std::isxdigit(static_cast<unsigned char>(c))) {
            return std::nullopt;
        }
        digest += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (text.size() > 64 && !std::isspace(static_cast<unsigned char>(text[64]))) {
        return std::nullopt;
    }
    return digest;
}

std::string describe(Language language, const TransferError& error) {
    switch (error.kind) {
        case TransferFailure::connect:
            return L10n::string(language, "Får ikke kontakt med oppdateringstjenesten");
        case TransferFailure::tls:
            return L10n::string(language, "Oppdateringstjenestens sertifikat kan ikke godtas");
        case TransferFailure::timeout:
            return L10n::string(language, "Oppdateringstjenesten svarte ikke i tide");
        case TransferFailure::stalled:
            return L10n::string(language, "Nedlastingen stoppet opp");
        case TransferFailure::refusedProtocol:
            return L10n::string(language,
                                "Oppdateringstjenesten viste videre til en usikker adresse");
        case TransferFailure::tooLarge:
            return L10n::string(language, "Svaret fra oppdateringstjenesten kan ikke leses");
        case TransferFailure::file:
        case TransferFailure::cancelled:
        case TransferFailure::other:
            break;
    }
    return L10n::string(language, "Nettverksfeil: %@", {error.detail});
}

std::string describeStatus(Language language, long status) {
    return L10n::string(language, "Oppdateringstjenesten svarte med HTTP-status %d",
                        {static_cast<std::int64_t>(status)});
}

std::string cannotSave(Language language, const std::string& folder) {
    return L10n::string(language, "Kan ikke lagre nedlastingen i %@", {folder});
}

}  // namespace

std::optional<ReleaseInfo> ReleaseInfo::decode(std::string_view json) {
    auto document = nlohmann::json::parse(json, nullptr, false);
    if (!document.is_object()) {
        return std::nullopt;
    }
    ReleaseInfo release;
    if (!read(document, "tag", release.tag) || !read(document, "name", release.name) ||
        !read(document, "body", release.body) ||
        !read(document, "prerelease", release.prerelease) ||
        !read(document, "publishedAt", release.publishedAt)) {
        return std::nullopt;
    }
    auto assets = document.find("assets");
    if (assets == document.end() || assets->is_null()) {
        return release;
    }
    if (!assets->is_array()) {
        return std::nullopt;
    }
    release.assets.emplace();
    for (const auto& item : *assets) {
        ReleaseAsset asset;
        if (!item.is_object() || !read(item, "name", asset.name) ||
            !read(item, "size", asset.size) || !read(item, "contentType", asset.contentType)) {
            return std::nullopt;
        }
        release.assets->push_back(std::move(asset));
    }
    return release;
}

UpdateSource UpdateSource::fromEnvironment(const std::vector<std::string>& builtBaseUrls,
                                           const std::string& appVersion) {
    UpdateSource source;
    if (const char* listed = std::getenv("KVILLO_UPDATE_BASE_URLS")) {
        std::string_view rest = listed;
        while (true) {
            size_t comma = rest.find(',');
            std::string_view url = rest.substr(0, comma);
            while (url.starts_with(' ')) {
                url.remove_prefix(1);
            }
            while (url.ends_with(' ')) {
                url.remove_suffix(1);
            }
            if (!url.empty()) {
                source.baseUrls.emplace_back(url);
            }
            if (comma == std::string_view::npos) {
                break;
            }
            rest.remove_prefix(comma + 1);
        }
    } else {
        for (const auto& url : builtBaseUrls) {
            if (!url.empty()) {
                source.baseUrls.push_back(url);
            }
        }
    }
    if (!appVersion.empty()) {
        source.appVersion = appVersion;
    }
    source.downloadFolder = xdg::cacheHome() + "/Kvillo/Updates";
    source.installation = Installation::ofThisProcess();
    return source;
}

bool UpdateChecker::isNewer(std::string_view a, std::string_view b) {
    auto first = versionNumbers(a);
    auto second = versionNumbers(b);
    size_t length = std::max(first.size(), second.size());
    for (size_t i = 0; i < length; ++i) {
        long long x = i < first.size() ? first[i] : 0;
        long long y = i < second.size() ? second[i] : 0;
        if (x != y) {
            return x > y;
        }
    }
    return false;
}

UpdateChecker::UpdateChecker(UpdateCheckerServices services, UpdateSource source)
    : services_(std::move(services)),
      source_(std::move(source)),
      listener_(std::make_shared<std::function<void(const UpdateState&)>>()) {}

UpdateChecker::~UpdateChecker() {
    if (timerStarted_) {
        services_.timer.stop();
    }
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (worker_.joinable()) {
        worker_.join();
    }
    listener_.reset();
}

void UpdateChecker::setOnStateChange(std::function<void(const UpdateState&)> listener) {
    *listener_ = std::move(listener);
}

UpdateState UpdateChecker::currentState() const {
    std::lock_guard lock(mutex_);
    return state_;
}

bool UpdateChecker::isConfigured() const {
    return !source_.baseUrls.empty() && source_.appVersion.has_value();
}

void UpdateChecker::startPeriodicChecks() {
    if (!isConfigured()) {
        return;
    }
    checkForUpdates();
    services_.timer.start(kCheckIntervalSeconds, [this] { checkForUpdates(); });
    timerStarted_ = true;
}

void UpdateChecker::checkForUpdates() {
    if (!isConfigured()) {
        return;
    }
    enqueue([this] { check(); });
}

void UpdateChecker::downloadAndInstall(const ReleaseInfo& release) {
    if (!isConfigured()) {
        return;
    }
    enqueue([this, release] { download(release); });
}

void UpdateChecker::openDownload() {
    auto state = currentState();
    auto* ready = std::get_if<updates::ReadyToInstall>(&state);
    if (ready && !ready->appImage && services_.open) {
        services_.open(ready->file);
    }
}

void UpdateChecker::enqueue(std::function<void()> job) {
    std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    if (!worker_.joinable()) {
        worker_ = std::thread([this] { runJobs(); });
    }
    wake_.notify_one();
}

void UpdateChecker::runJobs() {
    while (true) {
        std::function<void()> job;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
            if (stopping_) {
                return;
            }
            job = std::move(jobs_.front());
            jobs_.pop_front();
        }
        job();
    }
}

void UpdateChecker::postToListener(
    std::function<void(const std::function<void(const UpdateState&)>&)> call) {
    std::weak_ptr<std::function<void(const UpdateState&)>> listener = listener_;
    services_.uiThread.post([listener, call = std::move(call)] {
        if (auto alive = listener.lock()) {
            call(*alive);
        }
    });
}

void UpdateChecker::setState(UpdateState state) {
    {
        std::lock_guard lock(mutex_);
        state_ = state;
    }
    postToListener([state = std::move(state)](const auto& listener) {
        if (listener) {
            listener(state);
        }
    });
}

void UpdateChecker::check() {
    setState(updates::Checking{});
    Language language = services_.language();
    TransferProgress progress = [this](std::uint64_t, std::uint64_t) { return keepGoing(); };
    std::string lastError;
    for (const auto& base : source_.baseUrls) {
        if (!keepGoing()) {
            return;
        }
        auto outcome = services_.http.get(joinUrl(base, kLatestRelease),
                                          {{"Accept", "application/json"}}, progress);
        if (auto* error = std::get_if<TransferError>(&outcome)) {
            lastError = describe(language, *error);
            continue;
        }
        const auto& reply = std::get<HttpReply>(outcome);
        if (reply.status >= 400) {
            lastError = describeStatus(language, reply.status);
            continue;
        }
        auto release = ReleaseInfo::decode(reply.body);
        if (!release) {
            lastError = L10n::string(language, "Svaret fra oppdateringstjenesten kan ikke leses");
            continue;
        }
        std::string_view version = release->tag;
        if (version.starts_with('v')) {
            version.remove_prefix(1);
        }
        if (isNewer(version, *source_.appVersion)) {
            setState(updates::Available{std::move(*release)});
        } else {
            setState(updates::UpToDate{});
        }
        return;
    }
    setState(updates::Error{lastError});
}

void UpdateChecker::download(const ReleaseInfo& release) {
    Language language = services_.language();
    const Installation& installation = source_.installation;
    const auto assets = release.assets.value_or(std::vector<ReleaseAsset>{});
    auto asset = std::find_if(assets.begin(), assets.end(), [&](const ReleaseAsset& candidate) {
        return isPlainFileName(candidate.name) &&
               candidate.name.ends_with(installation.packageSuffix());
    });
    if (asset == assets.end()) {
        setState(updates::Error{L10n::string(language, "Fant ingen Linux-pakke i utgivelsen")});
        return;
    }
    bool hasChecksum = std::any_of(assets.begin(), assets.end(), [&](const ReleaseAsset& other) {
        return other.name == asset->name + ".sha256";
    });
    setState(updates::Downloading{0});

    const std::string& folder = source_.downloadFolder;
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        setState(updates::Error{cannotSave(language, folder)});
        return;
    }
    auto downloadFailed = [&](const std::string& reason) {
        return L10n::string(language, "Nedlasting mislyktes: %@", {reason});
    };
    // Progress is shown in whole percent; finer steps would only flood the
    // UI thread.
    int shownPercent = 0;
    TransferProgress progress = [&](std::uint64_t received, std::uint64_t expected) {
        if (expected > 0) {
            int percent = static_cast<int>(std::min<std::uint64_t>(received * 100 / expected, 100));
            if (percent != shownPercent) {
                shownPercent = percent;
                setState(updates::Downloading{
                    std::min(1.0, static_cast<double>(received) / static_cast<double>(expected))});
            }
        }
        return keepGoing();
    };
    TransferProgress stopOnly = [this](std::uint64_t, std::uint64_t) { return keepGoing(); };

    // A half download is never offered: it is written beside the final name
    // and renamed only once complete and checked.
    std::string part = folder + "/" + asset->name + ".part";
    std::string lastError;
    for (const auto& base : source_.baseUrls) {
        if (!keepGoing()) {
            return;
        }
        std::string assetsUrl =
            joinUrl(base, "releases/linux/" + escapeSegment(release.tag) + "/assets/");
        std::optional<std::string> digest;
        if (hasChecksum) {
            auto outcome = services_.http.get(assetsUrl + escapeSegment(asset->name + ".sha256"),
                                              {}, stopOnly);
            if (auto* failure = std::get_if<TransferError>(&outcome)) {
                lastError = downloadFailed(describe(language, *failure));
                continue;
            }
            const auto& reply = std::get<HttpReply>(outcome);
            if (reply.status >= 400) {
                lastError = downloadFailed(describeStatus(language, reply.status));
                continue;
            }
            digest = publishedDigest(reply.body);
            if (!digest) {
                setState(updates::Error{
                    L10n::string(language, "Sjekksummen for nedlastingen kan ikke leses")});
                return;
            }
        }
        shownPercent = 0;
        auto outcome =
            services_.http.download(assetsUrl + escapeSegment(asset->name), {}, part, progress);
        const auto* reply = std::get_if<HttpReply>(&outcome);
        if (!reply) {
            fs::remove(part, error);
            lastError = downloadFailed(describe(language, std::get<TransferError>(outcome)));
            continue;
        }
        // Only a 200 carries the package: a 204, or a redirect left
        // unfollowed, is no file to offer.
        if (reply->status != 200) {
            fs::remove(part, error);
            lastError = downloadFailed(describeStatus(language, reply->status));
            continue;
        }
        // A sum that the service answered but the file does not match is
        // the release's fault, not the line's: the other base serves the
        // same release, and the user must see why nothing was offered.
        if (digest && sha256OfFile(part) != digest) {
            fs::remove(part, error);
            setState(updates::Error{
                L10n::string(language, "Nedlastingen stemmer ikke med sjekksummen")});
            return;
        }
        // rename() replaces an earlier download of the same name in one step.
        // The server's suggested name is taken only for a package of this
        // kind; an AppImage keeps the asset's name, as it goes beside the
        // running one.
        auto suggested = suggestedName(*reply);
        if (!suggested || installation.kind == Installation::Kind::appImage ||
            !suggested->ends_with(installation.packageSuffix())) {
            suggested = asset->name;
        }
        std::string file = folder + "/" + *suggested;
        fs::rename(part, file, error);
        if (error) {
            fs::remove(part, error);
            setState(updates::Error{cannotSave(language, folder)});
            return;
        }
        if (installation.kind != Installation::Kind::appImage) {
            setState(updates::ReadyToInstall{file, false, {}});
            postToListener([open = services_.open, file](const auto&) {
                if (open) {
                    open(file);
                }
            });
            return;
        }
        // An AppImage has no program to open it: it goes beside the running
        // one, executable, and the user starts it. Copied under a temporary
        // name first (the folders may be on different disks), so the folder
        // never holds half an image; a new image of the running one's name
        // replaces it, which the running copy survives (it keeps its inode).
        fs::path beside = fs::path(installation.appImage).parent_path() / fs::path(file).filename();
        std::string copying = beside.string() + ".part";
        fs::copy_file(file, copying, fs::copy_options::overwrite_existing, error);
        if (!error) {
            fs::permissions(copying,
                            fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                fs::perms::others_read | fs::perms::others_exec,
                            error);
        }
        if (!error) {
            fs::rename(copying, beside, error);
        }
        if (error) {
            std::error_code ignored;
            fs::remove(copying, ignored);
            setState(updates::Error{cannotSave(language, beside.parent_path().string())});
            return;
        }
        fs::remove(file, error);
        setState(updates::ReadyToInstall{
            beside.string(), true,
            L10n::string(language,
                         "Den nye versjonen er lagret som %@. Avslutt Kvillo og start den.",
                         {beside.string()})});
        return;
    }
    setState(updates::Error{lastError});
}

}  // namespace kvillo
