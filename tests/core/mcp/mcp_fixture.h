#pragma once

#include <gtest/gtest.h>

#include "core/mcp/mcp_dispatcher.h"
#include "tests/support/fake_clock.h"
#include "tests/support/temp_folder.h"

namespace kvillo::testing {

// A store, settings and a dispatcher whose clock stands still at
// Monday 23 November 2026 15:00 in Oslo.
class McpFixture : public ::testing::Test {
protected:
    const double now_ = localTime(2026, 11, 23, 15);

    Json call(const std::string& method, Json params = nullptr, Json id = 1) {
        Json request = Json::object();
        request["jsonrpc"] = "2.0";
        request["id"] = id;
        request["method"] = method;
        if (!params.is_null()) {
            request["params"] = params;
        }
        auto body = dispatcher_.handleBody(request.dump());
        EXPECT_TRUE(body);
        return body ? Json::parse(*body) : Json();
    }

    // The text of a tools/call answer.
    std::string tool(const std::string& name, Json args = Json::object()) {
        auto response = call("tools/call", Json{{"name", name}, {"arguments", args}});
        return response["result"]["content"][0]["text"].get<std::string>();
    }

    bool toolIsError(const std::string& name, Json args = Json::object()) {
        auto response = call("tools/call", Json{{"name", name}, {"arguments", args}});
        return response["result"]["isError"].get<bool>();
    }

    void add(const std::string& app, double start, double minutes,
             std::optional<std::string> title = std::nullopt) {
        db_.insert(Activity{.appName = app,
                            .title = std::move(title),
                            .startTime = start,
                            .endTime = start + minutes * 60});
    }

    TempFolder folder_;
    Database db_{folder_.file("activities.db")};
    Features features_{folder_.file("settings.json"), [] { return std::string("Kari"); }};
    FakeClock clock_{now_};
    McpDispatcher dispatcher_{db_, features_, clock_};
};

}  // namespace kvillo::testing
