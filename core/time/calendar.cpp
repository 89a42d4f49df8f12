#include "core/time/calendar.h"

#include <unicode/calendar.h>
#include <unicode/dtptngen.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <atomic>
#include <cassert>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace kvillo::calendar {
namespace {

constexpr double kMillisPerSecond = 1000.0;

// Bumped whenever the default zone changes, so that cached calendars are
// rebuilt in the new zone.
std::atomic<unsigned> generation{0};

// ISO-8601 rules on the Gregorian calendar, whatever the process locale
// says. Building a calendar looks up locale data and costs far more than
// copying one, so each thread keeps one to copy.
std::unique_ptr<icu::Calendar> isoCalendar() {
    thread_local std::unique_ptr<icu::Calendar> prototype;
    thread_local unsigned prototypeGeneration = 0;
    unsigned current = generation.load();
    if (!prototype || prototypeGeneration != current) {
        UErrorCode status = U_ZERO_ERROR;
        auto calendar = std::make_unique<icu::GregorianCalendar>(status);
        assert(U_SUCCESS(status));
        calendar->setFirstDayOfWeek(UCAL_MONDAY);
        calendar->setMinimalDaysInFirstWeek(4);
        prototype = std::move(calendar);
        prototypeGeneration = current;
    }
    return std::unique_ptr<icu::Calendar>(prototype->clone());
}

std::unique_ptr<icu::Calendar> calendarAt(TimePoint t) {
    auto calendar = isoCalendar();
    UErrorCode status = U_ZERO_ERROR;
    calendar->setTime(t * kMillisPerSecond, status);
    return calendar;
}

TimePoint timeOf(icu::Calendar& calendar) {
    UErrorCode status = U_ZERO_ERROR;
    return calendar.getTime(status) / kMillisPerSecond;
}

void clearTimeOfDay(icu::Calendar& calendar) {
    calendar.set(UCAL_HOUR_OF_DAY, 0);
    calendar.set(UCAL_MINUTE, 0);
    calendar.set(UCAL_SECOND, 0);
    calendar.set(UCAL_MILLISECOND, 0);
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), text.size()));
}

// Finding a locale's pattern for a skeleton is costly; the answer never
// changes, so it is kept for the life of the process.
icu::UnicodeString patternFor(std::string_view skeleton, std::string_view locale) {
    static std::mutex mutex;
    static std::map<std::pair<std::string, std::string>, icu::UnicodeString> patterns;
    std::lock_guard lock(mutex);
    auto key = std::make_pair(std::string(skeleton), std::string(locale));
    auto found = patterns.find(key);
    if (found != patterns.end()) {
        return found->second;
    }
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(icu::Locale(key.second.c_str()), status));
    icu::UnicodeString pattern = U_SUCCESS(status)
                                     ? generator->getBestPattern(unicode(skeleton), status)
                                     : unicode(skeleton);
    patterns.emplace(key, pattern);
    return pattern;
}

std::string formatWith(TimePoint t, const icu::UnicodeString& pattern, const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat formatter(pattern, locale, status);
    if (U_FAILURE(status)) {
        return {};
    }
    formatter.adoptCalendar(isoCalendar().release());
    icu::UnicodeString text;
    formatter.format(t * kMillisPerSecond, text);
    return utf8(text);
}

}  // namespace

TimePoint startOf(Unit unit, TimePoint t) {
    auto calendar = calendarAt(t);
    UErrorCode status = U_ZERO_ERROR;
    switch (unit) {
        case Unit::day:
            break;
        case Unit::week:
            calendar->set(UCAL_DAY_OF_WEEK, UCAL_MONDAY);
            break;
        case Unit::month:
            calendar->set(UCAL_DATE, 1);
            break;
        case Unit::quarter: {
            int month = calendar->get(UCAL_MONTH, status);
            calendar->set(UCAL_MONTH, month / 3 * 3);
            calendar->set(UCAL_DATE, 1);
            break;
        }
        case Unit::year:
            calendar->set(UCAL_DAY_OF_YEAR, 1);
            break;
    }
    clearTimeOfDay(*calendar);
    return timeOf(*calendar);
}

TimePoint startOfDay(TimePoint t) {
    return startOf(Unit::day, t);
}

TimePoint add(Unit unit, TimePoint t, int count) {
    auto calendar = calendarAt(t);
    UErrorCode status = U_ZERO_ERROR;
    switch (unit) {
        case Unit::day:
            calendar->add(UCAL_DATE, count, status);
            break;
        case Unit::week:
            calendar->add(UCAL_WEEK_OF_YEAR, count, status);
            break;
        case Unit::month:
            calendar->add(UCAL_MONTH, count, status);
            break;
        case Unit::quarter:
            calendar->add(UCAL_MONTH, 3 * count, status);
            break;
        case Unit::year:
            calendar->add(UCAL_YEAR, count, status);
            break;
    }
    return timeOf(*calendar);
}

TimePoint addDays(TimePoint t, int days) {
    return add(Unit::day, t, days);
}

TimeRange rangeOf(Unit unit, TimePoint t) {
    TimePoint start = startOf(unit, t);
    return {start, add(unit, start, 1)};
}

TimeRange dayRange(TimePoint t) {
    // One calendar for both ends: building one costs more than the arithmetic.
    auto calendar = calendarAt(t);
    clearTimeOfDay(*calendar);
    TimePoint start = timeOf(*calendar);
    UErrorCode status = U_ZERO_ERROR;
    calendar->add(UCAL_DATE, 1, status);
    return {start, timeOf(*calendar)};
}

int utcOffset(TimePoint t) {
    // Asked once per date-time in a report: the zone alone answers, without
    // building a calendar.
    thread_local std::unique_ptr<icu::TimeZone> zone;
    thread_local unsigned zoneMadeIn = 0;
    unsigned current = generation.load();
    if (!zone || zoneMadeIn != current) {
        zone.reset(icu::TimeZone::createDefault());
        zoneMadeIn = current;
    }
    int32_t raw = 0, dst = 0;
    UErrorCode status = U_ZERO_ERROR;
    zone->getOffset(t * kMillisPerSecond, false, raw, dst, status);
    return U_SUCCESS(status) ? (raw + dst) / 1000 : 0;
}

int isoWeek(TimePoint t) {
    UErrorCode status = U_ZERO_ERROR;
    return calendarAt(t)->get(UCAL_WEEK_OF_YEAR, status);
}

std::optional<TimePoint> startOfDate(Date date) {
    if (date.month < 1 || date.month > 12 || date.day < 1) {
        return std::nullopt;
    }
    auto calendar = isoCalendar();
    calendar->clear();
    calendar->set(date.year, date.month - 1, 1);
    UErrorCode status = U_ZERO_ERROR;
    if (date.day > calendar->getActualMaximum(UCAL_DATE, status)) {
        return std::nullopt;
    }
    // Leniently, so that a day whose midnight a clock change skips starts
    // at its first real instant.
    calendar->set(UCAL_DATE, date.day);
    return timeOf(*calendar);
}

std::optional<Date> parseDate(std::string_view text) {
    auto number = [&text](size_t minDigits, size_t maxDigits) -> std::optional<int> {
        size_t digits = 0;
        int value = 0;
        while (digits < text.size() && digits < maxDigits && text[digits] >= '0' &&
               text[digits] <= '9') {
            value = value * 10 + (text[digits] - '0');
            ++digits;
        }
        if (digits < minDigits) {
            return std::nullopt;
        }
        text.remove_prefix(digits);
        return value;
    };
    auto dash = [&text] {
        if (text.empty() || text.front() != '-') {
            return false;
        }
        text.remove_prefix(1);
        return true;
    };
    auto year = number(4, 4);
    if (!year || !dash()) {
        return std::nullopt;
    }
    auto month = number(1, 2);
    if (!month || !dash()) {
        return std::nullopt;
    }
    auto day = number(1, 2);
    if (!day || !text.empty()) {
        return std::nullopt;
    }
    return Date{*year, *month, *day};
}

Date dateOf(TimePoint t) {
    auto calendar = calendarAt(t);
    UErrorCode status = U_ZERO_ERROR;
    return {calendar->get(UCAL_YEAR, status), calendar->get(UCAL_MONTH, status) + 1,
            calendar->get(UCAL_DATE, status)};
}

std::string format(TimePoint t, std::string_view pattern) {
    return formatWith(t, unicode(pattern), icu::Locale("en_US_POSIX"));
}

std::string formatSkeleton(TimePoint t, std::string_view skeleton, std::string_view locale) {
    return formatWith(t, patternFor(skeleton, locale), icu::Locale(std::string(locale).c_str()));
}

void reloadTimeZoneFromEnvironment() {
    icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
    ++generation;
}

bool useTimeZone(std::string_view ianaID) {
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(unicode(ianaID)));
    // ICU answers an unknown id with "Etc/Unknown", which behaves as UTC.
    if (!zone || *zone == icu::TimeZone::getUnknown()) {
        return false;
    }
    icu::TimeZone::adoptDefault(zone.release());
    ++generation;
    return true;
}

std::string timeZoneID() {
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
    icu::UnicodeString id;
    return utf8(zone->getID(id));
}

unsigned zoneGeneration() {
    return generation.load();
}

}  // namespace kvillo::calendar
