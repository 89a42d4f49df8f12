// The checker against a real web server of the test's own, over TLS, through
// libcurl: what the fakes cannot show.
#include <gtest/gtest.h>

#include <filesystem>

#include "core/files/sha256.h"
#include "core/integrations/update_checker.h"
#include "core/net/curl_http_client.h"
#include "tests/core/integrations/update_checker_harness.h"
#include "tests/support/local_web_server.h"

namespace kvillo {
namespace {

using testing::LocalWebServer;
using testing::releaseJson;
namespace fs = std::filesystem;

constexpr const char* kAssets = "/fallback/releases/linux/v1.5.0/assets/";

class UpdateCheckerServerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialiseHttp(); }

    void SetUp() override {
        ASSERT_EQ(server.error(), "");
        // The primary is a port where nothing listens; the fallback answers.
        harness.source.baseUrls = {"https://127.0.0.1:" + std::to_string(closed.port()),
                                   server.url("/fallback")};
    }

    static CurlHttpClientOptions options(const LocalWebServer& server) {
        CurlHttpClientOptions options;
        options.userAgent = kvilloUserAgent("1.4.0");
        options.caFile = server.caFile();
        return options;
    }

    std::string downloaded(const std::string& name) const {
        return harness.source.downloadFolder + "/" + name;
    }

    LocalWebServer server;
    testing::ClosedPort closed;
    CurlHttpClient http{options(server)};
    testing::CheckerHarness harness{http};
};

TEST_F(UpdateCheckerServerTest, TheFallbackTellsNewerEqualAndOlderTags) {
    struct Row {
        const char* tag;
        UpdateState expected;
    };
    const Row rows[] = {
        {"v1.5.0", updates::Available{*ReleaseInfo::decode(releaseJson("v1.5.0", {}))}},
        {"v1.4.0", updates::UpToDate{}},
        {"v1.3.9", updates::UpToDate{}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tag);
        server.route("/fallback/releases/linux/latest", {.body = releaseJson(row.tag, {})});
        harness.checker().checkForUpdates();
        auto states = harness.settle();
        EXPECT_EQ(states, (std::vector<UpdateState>{updates::Checking{}, row.expected}));
    }
}

TEST_F(UpdateCheckerServerTest, ADownloadIsKeptOnlyWhenWholeAndMatchingItsSum) {
    const std::string bytes(200 * 1024, 'd');
    Sha256 hash;
    hash.add(bytes);
    server.route(kAssets + std::string("kvillo.deb"), {.body = bytes, .sendLength = false});
    server.route(kAssets + std::string("kvillo.deb.sha256"),
                 {.body = hash.hex() + "  kvillo.deb\n"});
    harness.checker().downloadAndInstall(
        *ReleaseInfo::decode(releaseJson("v1.5.0", {"kvillo.deb", "kvillo.deb.sha256"})));
    // Without a length there is nothing to count: 0 until done.
    EXPECT_EQ(harness.settle(), (std::vector<UpdateState>{
                                    updates::Downloading{0},
                                    updates::ReadyToInstall{downloaded("kvillo.deb"), false, ""}}));
    EXPECT_EQ(testing::readFile(downloaded("kvillo.deb")), bytes);

    fs::remove_all(harness.source.downloadFolder);
    server.route(kAssets + std::string("kvillo.deb"), {.status = 404, .body = "gone"});
    harness.checker().downloadAndInstall(
        *ReleaseInfo::decode(releaseJson("v1.5.0", {"kvillo.deb"})));
    EXPECT_EQ(harness.settledState(),
              UpdateState(updates::Error{
                  "Download failed: The update service answered with HTTP status 404"}));
    EXPECT_FALSE(fs::exists(downloaded("kvillo.deb")));
    EXPECT_FALSE(fs::exists(downloaded("kvillo.deb.part")));
}

TEST_F(UpdateCheckerServerTest, ASecondDownloadReplacesTheFirst) {
    auto release = *ReleaseInfo::decode(releaseJson("v1.5.0", {"kvillo_amd64.deb"}));
    for (const char* contents : {"first build", "second build"}) {
        server.route(kAssets + std::string("kvillo_amd64.deb"),
                     {.body = contents,
                      .headers = {{"Content-Disposition", "attachment; filename=\"kvillo.deb\""}}});
        harness.checker().downloadAndInstall(release);
        EXPECT_EQ(harness.settledState(),
                  UpdateState(updates::ReadyToInstall{downloaded("kvillo.deb"), false, ""}));
    }
    EXPECT_EQ(testing::readFile(downloaded("kvillo.deb")), "second build");
    size_t files = std::distance(fs::directory_iterator(harness.source.downloadFolder),
                                 fs::directory_iterator());
    EXPECT_EQ(files, 1u);
    harness.ui.runPending();
    EXPECT_EQ(harness.opened,
              (std::vector<std::string>{downloaded("kvillo.deb"), downloaded("kvillo.deb")}));
}

}  // namespace
}  // namespace kvillo
