#pragma once

#include <gtest/gtest.h>

#include "core/mcp/mcp_dispatcher.h"
#include "tests/support/fake_clock.h"
#include "tests/support/records.h"
#include "tests/support/temp_folder.h"

namespace kvillo::testing {

// A store, settings and a dispatcher whose clock stands still at
// Monday 23 November 2026 15:00 in Oslo.
class McpFixture : public ::testing::Test {
protected:
    Json call(const std::string& method, Json params = nullptr) {
        Json request{{"jsonrpc", "2.0"}, {"id", 1}, {"method", method}};
        if (!params.is_null()) {
            request["params"] = params;
        }
        auto body = dispatcher_.handleBody(request.dump());
        EXPECT_TRUE(body);
        return body ? Json::parse(*body) : Json();
    }

    Json toolResult(const std::string& name, const Json& args) {
        return call("tools/call", Json{{"name", name}, {"arguments", args}})["result"];
    }
    std::string tool(const std::string& name, const Json& args = Json::object()) {
        return toolResult(name, args)["content"][0]["text"].get<std::string>();
    }
    bool toolIsError(const std::string& name, const Json& args = Json::object()) {
        return toolResult(name, args)["isError"].get<bool>();
    }

    void add(const std::string& app, double start, double minutes,
             std::optional<std::string> title = std::nullopt) {
        db_.insert(act(app, start, start + minutes * kMinute, std::move(title)));
    }

    TempFolder folder_;
    Database db_{folder_.file("activities.db")};
    Features features_{folder_.file("settings.json"), [] { return std::string("Kari"); }};
    FakeClock clock_{localTime(2026, 11, 23, 15)};
    McpDispatcher dispatcher_{db_, features_, clock_};
};

}  // namespace kvillo::testing
