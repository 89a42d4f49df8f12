#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/time/time_point.h"

namespace kvillo {

// A half-open stretch of time [start, end).
struct TimeRange {
    TimePoint start = 0;
    TimePoint end = 0;
    bool operator==(const TimeRange&) const = default;
};

// Calendar arithmetic and date texts in the process's current time zone
// (ICU's default zone, taken from TZ), on the ISO-8601 calendar: weeks start
// on Monday and are numbered by the ISO rule. A day with a clock change
// lasts 23 or 25 hours. Safe to call from any thread.
namespace calendar {

enum class Unit { day, week, month, quarter, year };

// The first instant of the day, ISO week, month, quarter or year containing t.
TimePoint startOf(Unit unit, TimePoint t);
TimePoint startOfDay(TimePoint t);

// t moved by `count` units (a quarter is three months), keeping the wall
// clock where the zone allows it.
TimePoint add(Unit unit, TimePoint t, int count);
TimePoint addDays(TimePoint t, int days);

// The unit containing t: [startOf(unit, t), the next one).
TimeRange rangeOf(Unit unit, TimePoint t);
TimeRange dayRange(TimePoint t);

// How many seconds the zone's wall clock is ahead of UTC at t, daylight
// saving time included (3600 for Oslo in winter, 20700 for Kathmandu).
int utcOffset(TimePoint t);

// The ISO week number (1 to 53) of t.
int isoWeek(TimePoint t);

// Midnight starting the given date, or none when it does not exist
// (month 13, 30 February).
struct Date {
    int year;
    int month;  // 1 to 12
    int day;    // 1 to 31
};
std::optional<TimePoint> startOfDate(Date date);

// "2026-11-23" (four-digit year, one- or two-digit month and day) as a
// date; any other text gives none. Whether the date exists is not checked.
std::optional<Date> parseDate(std::string_view text);
Date dateOf(TimePoint t);

// Fixed patterns in ICU syntax ("yyyy-MM-dd", "EEE HH:mm"), with English
// names in the POSIX locale, whatever the user's language.
std::string format(TimePoint t, std::string_view pattern);

// A locale's own arrangement of the fields named by an ICU skeleton
// ("EEEEdMMMM" is weekday, day and month name), in that locale's words.
std::string formatSkeleton(TimePoint t, std::string_view skeleton, std::string_view locale);

// Re-reads TZ. ICU keeps the default zone it saw first; a process that
// changes TZ while running (tests do) calls this afterwards.
void reloadTimeZoneFromEnvironment();

// Makes the zone with this IANA id ("Europe/Oslo") the one all of the above
// use, from the next call on, in every thread. TZ and libc are left alone.
// An id ICU does not know is refused: nothing changes and it gives false.
bool useTimeZone(std::string_view ianaID);

// The id of the zone in use ("Europe/Oslo").
std::string timeZoneID();

// How many times the zone has been reloaded or replaced: a date text or
// calendar made under another number may be in the wrong zone.
unsigned zoneGeneration();

}  // namespace calendar
}  // namespace kvillo
