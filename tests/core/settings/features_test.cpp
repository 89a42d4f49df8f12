#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "core/settings/features.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

class FeaturesTest : public ::testing::Test {
protected:
    nlohmann::json stored() { return nlohmann::json::parse(testing::readFile(file_)); }

    testing::TempFolder folder_;
    std::string file_ = folder_.file("app.kvillo.shared.json");
    Features features_{file_, [] { return std::string("Kari Nordmann"); }};
};

TEST_F(FeaturesTest, MissingOrMistypedValuesReadAsDefaults) {
    auto expectDefaults = [&] {
        for (auto key : Features::allKeys()) {
            EXPECT_EQ(features_.isEnabled(key), key != Features::Key::timesheets)
                << Features::rawValue(key);
        }
        EXPECT_EQ(features_.idleMinutes(), 5);
        EXPECT_EQ(features_.annotationIdleMinutes(), 30);
        EXPECT_FALSE(features_.language());
        EXPECT_EQ(features_.timesheetName(), "Kari Nordmann");
    };
    expectDefaults();
    // Only the exact lower-case codes name a language.
    testing::writeFile(file_, R"({"timesheets": "yes", "activityLogging": 0,
        "idleMinutes": "7", "annotationIdleMinutes": 7.5, "language": "FR",
        "timesheetName": 42})");
    expectDefaults();
}

TEST_F(FeaturesTest, ValuesAreStoredUnderTheirNamesWithTheirJsonTypes) {
    features_.set(Features::Key::timesheets, true);
    features_.set(Features::Key::aiAccess, false);
    features_.setIdleMinutes(12);
    features_.setLanguage(Language::es);
    features_.setTimesheetName("");
    EXPECT_EQ(stored(), nlohmann::json::parse(R"({"timesheets": true, "aiAccess": false,
        "idleMinutes": 12, "language": "es", "timesheetName": ""})"));
    EXPECT_TRUE(features_.isEnabled(Features::Key::timesheets));
    EXPECT_FALSE(features_.isEnabled(Features::Key::aiAccess));
    EXPECT_EQ(features_.language(), Language::es);
    EXPECT_EQ(features_.timesheetName(), "");  // an empty name does not bring the default back

    features_.setLanguage(std::nullopt);
    EXPECT_FALSE(stored().contains("language"));
}

TEST_F(FeaturesTest, MinutesAreWrittenAsAtLeastOneButReadUnchanged) {
    for (int written : {0, -3}) {
        features_.setIdleMinutes(written);
        features_.setAnnotationIdleMinutes(written);
        EXPECT_EQ(features_.idleMinutes(), 1);
        EXPECT_EQ(features_.annotationIdleMinutes(), 1);
    }
    testing::writeFile(file_, R"({"idleMinutes": -4})");
    EXPECT_EQ(features_.idleMinutes(), -4);
}

TEST_F(FeaturesTest, TheMainWindowFrameIsKeptAsFourIntegersAndOnlyAPlausibleOneIsRead) {
    EXPECT_FALSE(features_.mainWindowFrame());
    features_.setMainWindowFrame({-20, 40, 1040, 760});
    EXPECT_EQ(stored()["mainWindowFrame"], nlohmann::json::parse("[-20, 40, 1040, 760]"));
    EXPECT_EQ(features_.mainWindowFrame(), (Features::WindowFrame{-20, 40, 1040, 760}));
    for (const char* frame :
         {R"("10,10,800,600")", "[10, 10, 800]", "[10, 10, 0, 600]", "[10, 10, 800, -1]",
          "[10, 10, 800.5, 600]", "[10000000000, 0, 800, 600]"}) {
        SCOPED_TRACE(frame);
        testing::writeFile(file_, std::string(R"({"mainWindowFrame": )") + frame + "}");
        EXPECT_FALSE(features_.mainWindowFrame());
    }
}

TEST_F(FeaturesTest, AnotherInstanceSeesChangesAndKeepsThemWhenItWrites) {
    Features other(file_, [] { return std::string(); });
    EXPECT_TRUE(other.isEnabled(Features::Key::windowTitles));
    features_.set(Features::Key::windowTitles, false);
    // other last read the file before that change.
    other.setIdleMinutes(9);
    EXPECT_EQ(features_.idleMinutes(), 9);
    EXPECT_FALSE(features_.isEnabled(Features::Key::windowTitles));
    EXPECT_FALSE(other.isEnabled(Features::Key::windowTitles));
}

// AI access is on by default, so a settings file that breaks must not turn
// it back on for a user who had turned it off.
TEST_F(FeaturesTest, ABrokenFileKeepsAiAccessOffUntilTheUserTurnsItOn) {
    using State = SettingsStore::FileState;
    const auto ai = Features::Key::aiAccess;
    struct Row {
        const char* name;
        std::function<void()> breakFile;
        State state;
    };
    const Row rows[] = {
        {"not JSON", [&] { testing::writeFile(file_, R"({"aiAccess": fal)"); }, State::corrupt},
        {"not an object", [&] { testing::writeFile(file_, "[false]"); }, State::corrupt},
        {"a folder", [&] { std::filesystem::create_directory(file_); }, State::corrupt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(file_);
        std::filesystem::remove_all(file_ + ".corrupt");
        row.breakFile();
        EXPECT_EQ(features_.settingsFileState(), row.state);
        EXPECT_FALSE(features_.isEnabled(ai));
        EXPECT_TRUE(features_.isEnabled(Features::Key::windowTitles));  // the rest: defaults
        features_.setIdleMinutes(9);  // any save, a window's place say
        EXPECT_EQ(stored(), nlohmann::json::parse(R"({"aiAccess": false, "idleMinutes": 9})"));
        features_.set(ai, true);
        EXPECT_TRUE(features_.isEnabled(ai));
    }

    // A file another user cannot read, though it says on.
    testing::writeFile(file_, R"({"aiAccess": true})");
    ::chmod(folder_.path().c_str(), 0755);
    ::chmod(file_.c_str(), 0);  // binds a non-root owner too; root needs the other user
    auto seen = testing::runAsAnotherUser([&] {
        Features other(file_, [] { return std::string(); });
        return std::string(other.settingsFileState() == State::unreadable ? "unreadable" : "?") +
               (other.isEnabled(ai) ? " on" : " off") +
               (other.isEnabled(Features::Key::windowTitles) ? " on" : " off");
    });
    EXPECT_EQ(seen, "unreadable off on");
}

}  // namespace
}  // namespace kvillo
