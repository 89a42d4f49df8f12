#include <gtest/gtest.h>

#include "core/records/app_usage_summary.h"
#include "core/records/project.h"
#include "core/records/record_json.h"
#include "core/time/iso8601.h"
#include "tests/support/records.h"

namespace kvillo {
namespace {

using testing::act;
using testing::note;
using Json = nlohmann::ordered_json;

TEST(DurationText, ActivityAndSummaryFormsAtEveryBoundary) {
    struct Row {
        const char* name;
        double seconds;
        const char* activityText;
        const char* summaryText;
    };
    const Row rows[] = {
        {"under a second", 0.4, "0s", "0s"},
        {"just under a minute", 59.9, "59s", "59s"},
        {"one minute", 60, "1m 0s", "1m"},
        {"minutes and seconds", 125, "2m 5s", "2m"},
        {"just under an hour", 3599, "59m 59s", "59m"},
        {"one hour", 3600, "1h 0m", "1h 0m"},
        {"hours and minutes", 3725, "1h 2m", "1h 2m"},
        {"more than a day", 90000, "25h 0m", "25h 0m"},
        {"end before start", -5.7, "-5s", "-5s"},
        {"long negative stays in seconds", -125, "-125s", "-125s"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(act("Terminal", 1000, 1000 + row.seconds).formattedDuration(), row.activityText);
        AppUsageSummary summary{.appName = "Terminal", .totalDuration = row.seconds};
        EXPECT_EQ(summary.formattedDuration(), row.summaryText);
    }
}

TEST(DurationText, OpenActivitiesAreOngoingAndOpenNotesRunUntilNow) {
    EXPECT_EQ(act("Mail", 1000, std::nullopt).formattedDuration(), "ongoing");
    EXPECT_EQ(note("Skriver rapport", 1000, std::nullopt).formattedDuration(1090), "1m 30s");
    EXPECT_EQ(note("Skriver rapport", 1000, 4725).formattedDuration(99999), "1h 2m");
}

TEST(ProjectKeywords, ParsingTrimsSplitsAndKeepsOrder) {
    struct Row {
        const char* name;
        const char* text;
        std::vector<std::string> keywords;
    };
    const Row rows[] = {
        {"blanks, empty pieces and a line break", " a, ,b ,,c\n", {"a", "b", "c"}},
        {"empty text", "", {}},
        {"only commas", ",,,", {}},
        {"case and duplicates kept", "Foo, foo", {"Foo", "foo"}},
        {"no comma", "Skarvelin app", {"Skarvelin app"}},
        {"unicode spaces trimmed", "\u00a0kunde\u2003,\u3000møte", {"kunde", "møte"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Project::parseKeywords(row.text), row.keywords);
    }
}

TEST(ProjectKeywords, TheStoredFormJoinsWithABareCommaAndParsesBack) {
    std::vector<std::string> keywords{"a", "b c", "æøå"};
    EXPECT_EQ(Project::joinKeywords(keywords), "a,b c,æøå");
    EXPECT_EQ(Project::parseKeywords(Project::joinKeywords(keywords)), keywords);
    EXPECT_EQ(Project::joinKeywords({}), "");
}

TEST(RecordJson, AbsentOptionalsAreLeftOutAndDatesWrittenAsAsked) {
    Activity activity = act("Safari", 1700000000, std::nullopt);
    EXPECT_EQ(toJson(activity, DateEncoding::secondsSince1970).dump(),
              R"({"appName":"Safari","startTime":1700000000.0})");
    activity.id = 7;
    EXPECT_EQ(toJson(activity, DateEncoding::iso8601).dump(),
              R"({"id":7,"appName":"Safari","startTime":"2023-11-14T22:13:20Z"})");
}

TEST(RecordJson, RoundTripsEveryRecord) {
    Activity activity = act("Code", 1700000000, 1700000125, "main.cpp — kvillo");
    activity.id = 3;
    activity.bundleID = "code";
    for (auto dates : {DateEncoding::secondsSince1970, DateEncoding::iso8601}) {
        EXPECT_EQ(activityFromJson(toJson(activity, dates), dates), activity);
    }
    Annotation annotation = note("Kvillo", 1700000000.5, 1700000100, 1);
    auto seconds = DateEncoding::secondsSince1970;
    EXPECT_EQ(annotationFromJson(toJson(annotation, seconds), seconds), annotation);
    AppUsageSummary summary{
        .appName = "Mail", .totalDuration = 12.5, .sessionCount = 2, .latestTitle = "Innboks"};
    EXPECT_EQ(appUsageSummaryFromJson(toJson(summary)), summary);
}

TEST(RecordJson, NullReadsAsAbsentAndAMissingOrMistypedValueIsAnError) {
    auto object = Json::parse(R"({"appName":"Mail","bundleID":null,"startTime":5,"endTime":null})");
    Activity activity = activityFromJson(object, DateEncoding::secondsSince1970);
    EXPECT_FALSE(activity.bundleID || activity.endTime);

    object.erase("appName");
    EXPECT_THROW(activityFromJson(object, DateEncoding::secondsSince1970), RecordDecodeError);
    EXPECT_THROW(annotationFromJson(Json::parse(R"({"text":3,"startedAt":5})"),
                                    DateEncoding::secondsSince1970),
                 RecordDecodeError);
    EXPECT_THROW(annotationFromJson(Json::parse(R"({"text":"x","startedAt":"yesterday"})"),
                                    DateEncoding::iso8601),
                 RecordDecodeError);
}

TEST(Iso8601, ParsesZonesAndFractionsAndRejectsTheRest) {
    EXPECT_EQ(iso8601::parse("2026-11-23T10:00:00Z"), 1795428000.0);
    EXPECT_EQ(iso8601::parse("2026-11-23T11:00:00+01:00"), 1795428000.0);
    EXPECT_EQ(iso8601::parse("2026-11-23T10:00:00.25Z"), 1795428000.25);
    for (const char* bad :
         {"", "2026-11-23", "2026-11-23T10:00:00", "2026-13-01T00:00:00Z",
          "2026-11-23T10:00:00Zjunk", "2026-11-23T10:00:00.", "2026-02-31T10:00:00Z"}) {
        SCOPED_TRACE(bad);
        EXPECT_FALSE(iso8601::parse(bad));
    }
    EXPECT_EQ(iso8601::format(1795428000.9), "2026-11-23T10:00:00Z");
}

TEST(Iso8601, WithAnOffsetTheWallClockAndTheOffsetNameTheSameInstant) {
    struct Row {
        int offset;
        const char* text;
    };
    const Row rows[] = {
        {0, "2026-11-23T10:00:00+00:00"},
        {20700, "2026-11-23T15:45:00+05:45"},
        {-12600, "2026-11-23T06:30:00-03:30"},
        {-36000, "2026-11-23T00:00:00-10:00"},
        // Local mean time, New York's -4:56:02, is cut to whole minutes.
        {-17762, "2026-11-23T05:04:00-04:56"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(iso8601::format(1795428000.9, row.offset), row.text);
        EXPECT_EQ(iso8601::parse(row.text), 1795428000.0);
    }
}

}  // namespace
}  // namespace kvillo
