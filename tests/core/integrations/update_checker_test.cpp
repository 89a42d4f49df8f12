#include "core/integrations/update_checker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/files/sha256.h"
#include "tests/core/integrations/update_checker_harness.h"
#include "tests/support/fake_http_client.h"

namespace kvillo {
namespace {

using testing::CheckerHarness;
using testing::FakeHttpClient;
using testing::releaseJson;
namespace fs = std::filesystem;

constexpr const char* kLatest = "https://primary.test/releases/linux/latest";
constexpr const char* kFallbackLatest = "https://fallback.test/mirror/releases/linux/latest";
constexpr const char* kAssets = "https://primary.test/releases/linux/v1.5.0/assets/";

HttpReply ok(std::string body, HttpHeaders headers = {}) {
    return HttpReply{200, std::move(headers), std::move(body)};
}

class UpdateCheckerTest : public ::testing::Test {
protected:
    FakeHttpClient http;
    CheckerHarness harness{http};
};

TEST(UpdateCheckerVersions, IsNewerComparesNumberByNumber) {
    struct Row {
        const char* a;
        const char* b;
        bool newer;
    };
    const Row rows[] = {
        {"1.10", "1.9", true},         {"1.9", "1.10", false},
        {"2.0", "2", false},           {"2.0.1", "2", true},
        {"1..2", "1.1", true},         {"1.2.3-beta", "1.2", false},
        {"1.2.3-beta", "1.1.9", true}, {"+1.3", "1.2", true},
        {"1.4.0", "1.4.0", false},     {"", "0", false},
        {"x.1", "0.9", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.a) + " vs " + row.b);
        EXPECT_EQ(UpdateChecker::isNewer(row.a, row.b), row.newer);
    }
}

TEST(UpdateCheckerVersions, ADocumentNeedsEveryKeyButAssets) {
    const std::string full = releaseJson("v1.5.0", {"k.deb"});
    struct Row {
        const char* name;
        std::string json;
        bool decodes;
    };
    const Row rows[] = {
        {"complete", full, true},
        {"no assets", R"({"tag":"1","name":"n","body":"b","prerelease":true,"publishedAt":"p"})",
         true},
        {"unknown keys",
         R"({"tag":"1","name":"n","body":"b","prerelease":true,"publishedAt":"p",)"
         R"("draft":1})",
         true},
        {"no tag", R"({"name":"n","body":"b","prerelease":true,"publishedAt":"p"})", false},
        {"tag a number", R"({"tag":1,"name":"n","body":"b","prerelease":true,"publishedAt":"p"})",
         false},
        {"prerelease a text",
         R"({"tag":"1","name":"n","body":"b","prerelease":"no","publishedAt":"p"})", false},
        {"an asset without size",
         R"({"tag":"1","name":"n","body":"b","prerelease":true,"publishedAt":"p",)"
         R"("assets":[{"name":"a","contentType":"c"}]})",
         false},
        {"an error page", "<html>502 Bad Gateway</html>", false},
        {"an array", "[]", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ReleaseInfo::decode(row.json).has_value(), row.decodes);
    }
    auto release = ReleaseInfo::decode(full);
    ASSERT_TRUE(release && release->assets);
    EXPECT_EQ(release->tag, "v1.5.0");
    EXPECT_EQ(release->assets->at(0), (ReleaseAsset{"k.deb", 3, "application/octet-stream"}));
}

// The bases are asked in turn until one gives a release; when none does,
// the last one's error is shown, in the user's language.
TEST_F(UpdateCheckerTest, BasesAreAskedInTurnAndTheLastErrorIsShown) {
    const HttpReply latest = ok(releaseJson("v1.5.0", {}));
    const UpdateState found = updates::Available{*ReleaseInfo::decode(latest.body)};
    struct Row {
        const char* name;
        std::optional<HttpReply> primary;  // none: unreachable
        HttpReply fallback;
        UpdateState settled;
    };
    const Row rows[] = {
        {"unreachable", std::nullopt, latest, found},
        {"an error status", HttpReply{503, {}, releaseJson("v9.9.9", {})}, latest, found},
        {"an undecodable body", ok("<html>"), latest, found},
        {"both failing, the last with a status", std::nullopt, HttpReply{503, {}, ""},
         updates::Error{"The update service answered with HTTP status 503"}},
        {"both failing, the last undecodable", std::nullopt, ok(R"({"tag": 1})"),
         updates::Error{"The update service\u2019s answer cannot be read"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.primary) {
            http.answer(kLatest, *row.primary);
        } else {
            http.fail(kLatest, TransferFailure::connect);
        }
        http.answer(kFallbackLatest, row.fallback);
        const auto before = http.requests().size();
        harness.checker().checkForUpdates();
        EXPECT_EQ(harness.settle(), (std::vector<UpdateState>{updates::Checking{}, row.settled}));
        const auto asked = http.requests();
        EXPECT_EQ(std::vector(asked.begin() + before, asked.end()),
                  (std::vector<std::string>{kLatest, kFallbackLatest}));
    }
}

TEST_F(UpdateCheckerTest, AnUnconfiguredBuildNeverAsks) {
    for (bool withUrls : {false, true}) {
        SCOPED_TRACE(withUrls ? "no version" : "no base URLs");
        CheckerHarness unconfigured(http);
        if (withUrls) {
            unconfigured.source.appVersion.reset();
        } else {
            unconfigured.source.baseUrls.clear();
        }
        unconfigured.checker().startPeriodicChecks();
        unconfigured.checker().checkForUpdates();
        unconfigured.ui.runPending();
        EXPECT_FALSE(unconfigured.checker().isConfigured());
        EXPECT_FALSE(unconfigured.timer.running());
        EXPECT_EQ(unconfigured.checker().currentState(), UpdateState(updates::Idle{}));
    }
    EXPECT_TRUE(http.requests().empty());
}

TEST_F(UpdateCheckerTest, ChecksRunAtStartAndEverySixHours) {
    http.answer(kLatest, ok(releaseJson("1.4.0", {})));
    harness.checker().startPeriodicChecks();
    harness.settle();
    harness.timer.run(UpdateChecker::kCheckIntervalSeconds - 1);
    harness.timer.run(UpdateChecker::kCheckIntervalSeconds);
    harness.settle();
    EXPECT_EQ(http.requests().size(), 2u);
}

TEST_F(UpdateCheckerTest, CheckForUpdatesReturnsWhileTheRequestRunsOnAnotherThread) {
    http.answer(kLatest, ok(releaseJson("v1.5.0", {})));
    http.hold();
    harness.checker().checkForUpdates();
    // Back here while the request is still held open: the check does not run
    // on the calling thread.
    ASSERT_TRUE(
        testing::eventually([&] { return !http.requests().empty(); }, std::chrono::seconds(10)));
    EXPECT_NE(http.lastCaller(), std::this_thread::get_id());
    http.release();
    EXPECT_TRUE(std::holds_alternative<updates::Available>(harness.settledState()));
}

TEST_F(UpdateCheckerTest, DestructionAbandonsARunningDownload) {
    http.hold();
    harness.checker().downloadAndInstall(*ReleaseInfo::decode(releaseJson("v1.5.0", {"k.deb"})));
    ASSERT_TRUE(
        testing::eventually([&] { return !http.requests().empty(); }, std::chrono::seconds(10)));
    // Returns only once the held download has been cancelled and the worker
    // joined.
    harness.destroy();
    harness.ui.runPending();
    EXPECT_TRUE(harness.opened.empty());
}

TEST_F(UpdateCheckerTest, ThePackageSuitsHowKvilloWasInstalled) {
    using Kind = Installation::Kind;
    const std::vector<std::string> assets = {"kvillo.tar.gz", "kvillo_1.5.0_amd64.deb",
                                             "kvillo_1.5.0_arm64.deb", "Kvillo.AppImage",
                                             "../evil.deb"};
    struct Row {
        Kind kind;
        std::vector<std::string> assets;
        const char* downloaded;  // null: none suits
    };
    const Row rows[] = {
        {Kind::debianPackage, assets, "kvillo_1.5.0_amd64.deb"},
        {Kind::appImage, assets, "Kvillo.AppImage"},
        {Kind::tarball, assets, "kvillo.tar.gz"},
        {Kind::debianPackage, {"kvillo.zip", "../evil.deb"}, nullptr},
        {Kind::tarball, {}, nullptr},
    };
    for (const auto& asset : assets) {
        http.answer(kAssets + asset, ok("package"));
    }
    for (const auto& row : rows) {
        CheckerHarness installed(http);
        installed.source.installation = {row.kind, installed.folder.file("Kvillo-old.AppImage")};
        installed.checker().downloadAndInstall(
            *ReleaseInfo::decode(releaseJson("v1.5.0", row.assets)));
        auto state = installed.settledState();
        if (row.downloaded) {
            SCOPED_TRACE(row.downloaded);
            EXPECT_EQ(http.requests().back(), kAssets + std::string(row.downloaded));
        } else {
            EXPECT_EQ(state, UpdateState(updates::Error{"No Linux package found in release"}));
        }
    }
}

TEST_F(UpdateCheckerTest, ADownloadShowsProgressOnlyWithALength) {
    const std::string bytes = "a Debian package";
    const std::string file = harness.source.downloadFolder + "/kvillo.deb";
    struct Row {
        const char* name;
        HttpHeaders headers;
        std::vector<double> fractions;
    };
    const Row rows[] = {
        {"with a length", {{"content-length", "16"}}, {0, 0.5, 1}},
        {"without", {}, {0}},
    };
    auto release = *ReleaseInfo::decode(releaseJson("v1.5.0", {"kvillo.deb"}));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        http.answer(kAssets + std::string("kvillo.deb"), ok(bytes, row.headers));
        harness.checker().downloadAndInstall(release);
        auto states = harness.settle();
        ASSERT_EQ(states.size(), row.fractions.size() + 1);
        for (size_t i = 0; i < row.fractions.size(); ++i) {
            EXPECT_EQ(states[i], UpdateState(updates::Downloading{row.fractions[i]}));
        }
        EXPECT_EQ(states.back(), UpdateState(updates::ReadyToInstall{file, false, ""}));
        EXPECT_EQ(testing::readFile(file), bytes);
    }
    harness.ui.runPending();
    EXPECT_EQ(harness.opened, (std::vector<std::string>{file, file}));
    harness.checker().openDownload();
    EXPECT_EQ(harness.opened.size(), 3u);
}

// The server names the file only within the package's own kind, and only a
// 2xx is a package at all.
TEST_F(UpdateCheckerTest, WhatTheServerSaysOfTheFileIsCheckedBeforeItIsKept) {
    const std::string folder = harness.source.downloadFolder;
    struct Row {
        const char* name;
        HttpReply reply;
        std::optional<std::string> kept;  // none: an error
    };
    const auto named = [](const char* name) {
        return HttpHeaders{{"content-disposition", std::string("attachment; filename=") + name}};
    };
    const Row rows[] = {
        {"a package name", ok("p", named("kvillo_1.5.deb")), "kvillo_1.5.deb"},
        {"another kind", ok("p", named("run.desktop")), "kvillo.deb"},
        {"a dot file", ok("p", named(".bashrc.deb")), "kvillo.deb"},
        {"no content", HttpReply{204, {}, ""}, std::nullopt},
        {"a redirect left", HttpReply{302, {}, "moved"}, std::nullopt},
    };
    auto release = *ReleaseInfo::decode(releaseJson("v1.5.0", {"kvillo.deb"}));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        http.answer(kAssets + std::string("kvillo.deb"), row.reply);
        harness.checker().downloadAndInstall(release);
        auto state = harness.settledState();
        if (row.kept) {
            EXPECT_EQ(state,
                      UpdateState(updates::ReadyToInstall{folder + "/" + *row.kept, false, ""}));
        } else {
            EXPECT_TRUE(std::holds_alternative<updates::Error>(state))
                << ::testing::PrintToString(state);
        }
    }
}

TEST_F(UpdateCheckerTest, ThePublishedChecksumDecides) {
    const std::string bytes = "a Debian package";
    Sha256 hash;
    hash.add(bytes);
    const std::string digest = hash.hex();
    std::string upper = digest;
    std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
    struct Row {
        const char* name;
        std::string sumFile;
        updates::Error error;  // empty text: accepted
    };
    const Row rows[] = {
        {"matching, in capitals", upper + "  kvillo.deb\n", {}},
        {"matching, binary mode", digest + " *kvillo.deb\n", {}},
        {"another file's",
         std::string(64, 'a') + "  kvillo.deb\n",
         {"The download does not match its checksum"}},
        {"not a sum", "404 not found", {"The download’s checksum cannot be read"}},
    };
    auto release = *ReleaseInfo::decode(releaseJson("v1.5.0", {"kvillo.deb", "kvillo.deb.sha256"}));
    http.answer(kAssets + std::string("kvillo.deb"), ok(bytes));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        http.answer(kAssets + std::string("kvillo.deb.sha256"), ok(row.sumFile));
        harness.checker().downloadAndInstall(release);
        auto state = harness.settledState();
        bool kept = fs::exists(harness.source.downloadFolder + "/kvillo.deb");
        if (row.error.text.empty()) {
            EXPECT_TRUE(std::holds_alternative<updates::ReadyToInstall>(state));
            EXPECT_TRUE(kept);
        } else {
            EXPECT_EQ(state, UpdateState(row.error));
            EXPECT_FALSE(fs::exists(harness.source.downloadFolder + "/kvillo.deb.part"));
        }
        fs::remove(harness.source.downloadFolder + "/kvillo.deb");
    }
}

TEST_F(UpdateCheckerTest, AnAppImageGoesBesideTheRunningOneExecutableAndUnopened) {
    const std::string apps = harness.folder.file("Apps");
    fs::create_directories(apps);
    harness.source.installation = {Installation::Kind::appImage, apps + "/Kvillo-1.4.0.AppImage"};
    http.answer(kAssets + std::string("Kvillo-1.5.0.AppImage"), ok("an image"));
    harness.checker().downloadAndInstall(
        *ReleaseInfo::decode(releaseJson("v1.5.0", {"kvillo.deb", "Kvillo-1.5.0.AppImage"})));
    const std::string placed = apps + "/Kvillo-1.5.0.AppImage";
    EXPECT_EQ(harness.settledState(),
              UpdateState(updates::ReadyToInstall{
                  placed, true,
                  "The new version is saved as " + placed + ". Quit Kvillo and start it."}));
    EXPECT_EQ(testing::readFile(placed), "an image");
    EXPECT_EQ(fs::status(placed).permissions() & fs::perms::owner_exec, fs::perms::owner_exec);
    harness.ui.runPending();
    harness.checker().openDownload();
    EXPECT_TRUE(harness.opened.empty());
}

}  // namespace
}  // namespace kvillo
