#include "core/net/curl_http_client.h"

#include <gtest/gtest.h>

#include "tests/support/local_web_server.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::LocalWebServer;

class CurlHttpClientTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initialiseHttp(); }
    void SetUp() override { ASSERT_EQ(server.error(), ""); }

    CurlHttpClientOptions trusting() const {
        CurlHttpClientOptions options;
        options.userAgent = kvilloUserAgent("9.8.7");
        options.caFile = server.caFile();
        return options;
    }

    static TransferFailure failureOf(const HttpOutcome& outcome) {
        auto* error = std::get_if<TransferError>(&outcome);
        return error ? error->kind : TransferFailure::other;
    }

    LocalWebServer server;
    testing::TempFolder folder;
};

TEST_F(CurlHttpClientTest, AnAnswerOfAnyStatusComesBackWithItsHeadersAndOurName) {
    server.route("/found", {.body = "{}", .headers = {{"X-Kind", "release"}}});
    CurlHttpClient client(trusting());
    auto found = client.get(server.url("/found"), {{"Accept", "application/json"}}, {});
    ASSERT_TRUE(std::holds_alternative<HttpReply>(found));
    EXPECT_EQ(std::get<HttpReply>(found).status, 200);
    EXPECT_EQ(std::get<HttpReply>(found).body, "{}");
    EXPECT_EQ(std::get<HttpReply>(found).header("x-kind"), "release");
    auto missing = client.get(server.url("/missing"), {}, {});
    ASSERT_TRUE(std::holds_alternative<HttpReply>(missing));
    EXPECT_EQ(std::get<HttpReply>(missing).status, 404);
    EXPECT_EQ(server.requests().at(0), "GET /found Kvillo/9.8.7 (Linux)");
}

TEST_F(CurlHttpClientTest, OnlyHttpsWithATrustedCertificateIsUsed) {
    LocalWebServer plain(false);
    ASSERT_EQ(plain.error(), "");
    plain.route("/x", {.body = "plain"});
    server.route("/x", {.body = "secure"});
    server.route("/to-plain", {.status = 302, .headers = {{"Location", plain.url("/x")}}});
    server.route("/to-secure", {.status = 301, .headers = {{"Location", server.url("/x")}}});
    CurlHttpClient client(trusting());
    CurlHttpClientOptions untrusting = trusting();
    untrusting.caFile.clear();
    CurlHttpClientOptions allowingPlain = trusting();
    allowingPlain.allowPlainHttpForTests = true;

    EXPECT_EQ(failureOf(client.get(plain.url("/x"), {}, {})), TransferFailure::refusedProtocol);
    EXPECT_EQ(failureOf(client.get(server.url("/to-plain"), {}, {})),
              TransferFailure::refusedProtocol);
    EXPECT_EQ(failureOf(CurlHttpClient(untrusting).get(server.url("/x"), {}, {})),
              TransferFailure::tls);
    auto redirected = client.get(server.url("/to-secure"), {}, {});
    ASSERT_TRUE(std::holds_alternative<HttpReply>(redirected));
    EXPECT_EQ(std::get<HttpReply>(redirected).body, "secure");
    auto allowed = CurlHttpClient(allowingPlain).get(plain.url("/x"), {}, {});
    ASSERT_TRUE(std::holds_alternative<HttpReply>(allowed));
    EXPECT_EQ(std::get<HttpReply>(allowed).body, "plain");
}

TEST_F(CurlHttpClientTest, ADownloadStreamsToItsFileWithProgress) {
    const std::string bytes(300 * 1024, 'k');
    for (bool withLength : {true, false}) {
        SCOPED_TRACE(withLength ? "with a length" : "without");
        server.route("/k.deb", {.body = bytes, .sendLength = withLength});
        std::uint64_t lastReceived = 0;
        std::uint64_t lastExpected = 0;
        auto outcome = CurlHttpClient(trusting())
                           .download(server.url("/k.deb"), {}, folder.file("k.deb"),
                                     [&](std::uint64_t received, std::uint64_t expected) {
                                         lastReceived = received;
                                         lastExpected = expected;
                                         return true;
                                     });
        ASSERT_TRUE(std::holds_alternative<HttpReply>(outcome));
        EXPECT_EQ(testing::readFile(folder.file("k.deb")), bytes);
        EXPECT_EQ(lastReceived, bytes.size());
        EXPECT_EQ(lastExpected, withLength ? bytes.size() : 0u);
    }
}

TEST_F(CurlHttpClientTest, ADownloadStopsWhenCancelledOrStalled) {
    server.route("/slow", {.body = "late", .stallSeconds = 5});
    CurlHttpClientOptions impatient = trusting();
    impatient.stallSeconds = 1;
    auto stalled =
        CurlHttpClient(impatient).download(server.url("/slow"), {}, folder.file("s"), {});
    EXPECT_EQ(failureOf(stalled), TransferFailure::stalled);
    auto cancelled =
        CurlHttpClient(trusting())
            .download(server.url("/slow"), {}, folder.file("c"), [](auto, auto) { return false; });
    EXPECT_EQ(failureOf(cancelled), TransferFailure::cancelled);
}

}  // namespace
}  // namespace kvillo
