#include "core/time/calendar.h"

#include <unicode/calendar.h>
#include <unicode/timezone.h>

#include <cassert>
#include <memory>

namespace kvillo::calendar {
namespace {

constexpr double kMillisPerSecond = 1000.0;

std::unique_ptr<icu::Calendar> calendarAt(TimePoint t) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    assert(U_SUCCESS(status));
    calendar->setTime(t * kMillisPerSecond, status);
    return calendar;
}

TimePoint timeOf(const icu::Calendar& calendar) {
    UErrorCode status = U_ZERO_ERROR;
    return calendar.getTime(status) / kMillisPerSecond;
}

}  // namespace

TimePoint startOfDay(TimePoint t) {
    auto calendar = calendarAt(t);
    calendar->set(UCAL_HOUR_OF_DAY, 0);
    calendar->set(UCAL_MINUTE, 0);
    calendar->set(UCAL_SECOND, 0);
    calendar->set(UCAL_MILLISECOND, 0);
    return timeOf(*calendar);
}

TimePoint addDays(TimePoint t, int days) {
    auto calendar = calendarAt(t);
    UErrorCode status = U_ZERO_ERROR;
    calendar->add(UCAL_DATE, days, status);
    return timeOf(*calendar);
}

DayRange dayRange(TimePoint t) {
    TimePoint start = startOfDay(t);
    return {start, addDays(start, 1)};
}

void reloadTimeZoneFromEnvironment() {
    icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
}

}  // namespace kvillo::calendar
