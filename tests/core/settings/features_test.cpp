#include <gtest/gtest.h>

#include "core/settings/features.h"
#include "tests/support/temp_folder.h"

namespace kvillo {
namespace {

using testing::TempFolder;

class FeaturesTest : public ::testing::Test {
protected:
    nlohmann::json stored() { return nlohmann::json::parse(testing::readFile(file_)); }

    TempFolder folder_;
    std::string file_ = folder_.file("kvillo/app.kvillo.shared.json");
    Features features_{file_, [] { return std::string("Kari Nordmann"); }};
};

TEST_F(FeaturesTest, FreshStoreReadsTheDefaults) {
    for (auto key : Features::allKeys()) {
        SCOPED_TRACE(std::string(Features::rawValue(key)));
        EXPECT_EQ(features_.isEnabled(key), key != Features::Key::timesheets);
    }
    EXPECT_EQ(features_.idleMinutes(), 5);
    EXPECT_EQ(features_.annotationIdleMinutes(), 30);
    EXPECT_FALSE(features_.language());
    EXPECT_EQ(features_.timesheetName(), "Kari Nordmann");
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
}

TEST_F(FeaturesTest, ValuesOfTheWrongTypeReadAsDefaults) {
    testing::writeFile(file_, R"({"timesheets": "yes", "activityLogging": 0,
        "idleMinutes": "7", "annotationIdleMinutes": 7.5, "language": "de",
        "timesheetName": 42})");
    EXPECT_FALSE(features_.isEnabled(Features::Key::timesheets));
    EXPECT_TRUE(features_.isEnabled(Features::Key::activityLogging));
    EXPECT_EQ(features_.idleMinutes(), 5);
    EXPECT_EQ(features_.annotationIdleMinutes(), 30);
    EXPECT_FALSE(features_.language());
    EXPECT_EQ(features_.timesheetName(), "Kari Nordmann");
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

TEST_F(FeaturesTest, ClearingTheLanguageRemovesTheKey) {
    features_.setLanguage(Language::es);
    features_.setLanguage(std::nullopt);
    EXPECT_FALSE(stored().contains("language"));
    EXPECT_FALSE(features_.language());
}

TEST_F(FeaturesTest, ChangesAreSeenByAnotherInstanceAtOnce) {
    Features other(file_, [] { return std::string(); });
    EXPECT_TRUE(other.isEnabled(Features::Key::windowTitles));
    features_.set(Features::Key::windowTitles, false);
    EXPECT_FALSE(other.isEnabled(Features::Key::windowTitles));
    other.setIdleMinutes(9);
    EXPECT_EQ(features_.idleMinutes(), 9);
    EXPECT_FALSE(features_.isEnabled(Features::Key::windowTitles));
}

TEST(FeatureKeys, RawValuesAreTheNamesAndUnknownTextsGiveNoKey) {
    EXPECT_EQ(Features::keyFromRawValue("claudeCodeHook"), Features::Key::claudeCodeHook);
    EXPECT_FALSE(Features::keyFromRawValue("ClaudeCodeHook"));
    EXPECT_FALSE(Features::keyFromRawValue(""));
    for (auto key : Features::allKeys()) {
        EXPECT_EQ(Features::keyFromRawValue(Features::rawValue(key)), key);
    }
    EXPECT_EQ(Language::fromCode("fr"), Language::fr);
    EXPECT_FALSE(Language::fromCode("FR"));
    EXPECT_FALSE(Language::fromCode("nb_NO"));
}

}  // namespace
}  // namespace kvillo
