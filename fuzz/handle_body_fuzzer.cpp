// Feeds arbitrary request bodies to the JSON-RPC layer over a real store:
// whatever arrives, the answer is valid JSON or nothing, and nothing crashes.
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "core/mcp/mcp_dispatcher.h"
#include "tests/support/fake_clock.h"

namespace {

struct Setup {
    Setup() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "kvillo-fuzz-XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
        database = std::make_unique<kvillo::Database>(folder + "/activities.db");
        database->saveProject("Skarvelin", {"kraftnod", "skarvelin-web"});
        database->insert(kvillo::Activity{.appName = "Code",
                                          .title = "kraftnod.cpp",
                                          .startTime = 1795420000,
                                          .endTime = 1795423600});
        features = std::make_unique<kvillo::Features>(folder + "/settings.json",
                                                      [] { return std::string("Fuzz"); });
        dispatcher = std::make_unique<kvillo::McpDispatcher>(*database, *features, clock);
    }
    ~Setup() { std::filesystem::remove_all(folder); }

    std::string folder;
    std::unique_ptr<kvillo::Database> database;
    std::unique_ptr<kvillo::Features> features;
    kvillo::testing::FakeClock clock{1795428000.0};
    std::unique_ptr<kvillo::McpDispatcher> dispatcher;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Setup setup;
    std::string body(reinterpret_cast<const char*>(data), size);
    if (auto answer = setup.dispatcher->handleBody(body)) {
        if (!nlohmann::json::accept(*answer)) {
            __builtin_trap();
        }
    }
    return 0;
}
