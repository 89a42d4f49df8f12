#include "core/time/iso8601.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>

#include "core/time/calendar.h"

namespace kvillo::iso8601 {
namespace {

bool readDigits(std::string_view text, size_t& pos, size_t count, int& value) {
    if (pos + count > text.size()) {
        return false;
    }
    value = 0;
    for (size_t i = 0; i < count; ++i) {
        char c = text[pos + i];
        if (c < '0' || c > '9') {
            return false;
        }
        value = value * 10 + (c - '0');
    }
    pos += count;
    return true;
}

bool expect(std::string_view text, size_t& pos, char c) {
    if (pos < text.size() && text[pos] == c) {
        ++pos;
        return true;
    }
    return false;
}

}  // namespace

std::string format(TimePoint t) {
    std::string text = format(t, 0);
    text.replace(19, std::string::npos, "Z");
    return text;
}

std::string format(TimePoint t, int utcOffset) {
    // Calendar arithmetic and plain digits instead of gmtime and strftime:
    // reports write hundreds of these per request.
    using namespace std::chrono;
    int offsetMinutes = utcOffset / 60;
    // Years 0001 to 9999 on the wall clock: the form has four digits for them.
    constexpr double kFirst = -62135596800.0, kLast = 253402300799.0;
    double wall = std::isfinite(t) ? std::floor(t) + offsetMinutes * 60.0 : 0;
    sys_seconds instant{seconds{static_cast<long long>(std::clamp(wall, kFirst, kLast))}};
    auto day = floor<days>(instant);
    year_month_day date{day};
    hh_mm_ss clock{instant - day};
    std::string text = "0000-00-00T00:00:00+00:00";
    auto put = [&text](size_t at, long long value, int width) {
        for (int i = width - 1; i >= 0; --i, value /= 10) {
            text[at + static_cast<size_t>(i)] = static_cast<char>('0' + value % 10);
        }
    };
    put(0, static_cast<int>(date.year()), 4);
    put(5, static_cast<unsigned>(date.month()), 2);
    put(8, static_cast<unsigned>(date.day()), 2);
    put(11, clock.hours().count(), 2);
    put(14, clock.minutes().count(), 2);
    put(17, clock.seconds().count(), 2);
    text[19] = offsetMinutes < 0 ? '-' : '+';
    put(20, std::abs(offsetMinutes) / 60, 2);
    put(23, std::abs(offsetMinutes) % 60, 2);
    return text;
}

std::string formatLocal(TimePoint t) {
    return format(t, calendar::utcOffset(t));
}

std::optional<TimePoint> parse(std::string_view text) {
    size_t pos = 0;
    int year, month, day, hour, minute, second;
    if (!readDigits(text, pos, 4, year) || !expect(text, pos, '-') ||
        !readDigits(text, pos, 2, month) || !expect(text, pos, '-') ||
        !readDigits(text, pos, 2, day) || !expect(text, pos, 'T') ||
        !readDigits(text, pos, 2, hour) || !expect(text, pos, ':') ||
        !readDigits(text, pos, 2, minute) || !expect(text, pos, ':') ||
        !readDigits(text, pos, 2, second)) {
        return std::nullopt;
    }
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60) {
        return std::nullopt;
    }
    double fraction = 0;
    if (expect(text, pos, '.')) {
        double scale = 0.1;
        size_t digits = 0;
        while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
            fraction += (text[pos] - '0') * scale;
            scale /= 10;
            ++pos;
            ++digits;
        }
        if (digits == 0) {
            return std::nullopt;
        }
    }
    int offsetSeconds = 0;
    if (expect(text, pos, 'Z')) {
        offsetSeconds = 0;
    } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        int sign = text[pos] == '-' ? -1 : 1;
        ++pos;
        int offsetHours, offsetMinutes;
        if (!readDigits(text, pos, 2, offsetHours) || !expect(text, pos, ':') ||
            !readDigits(text, pos, 2, offsetMinutes)) {
            return std::nullopt;
        }
        offsetSeconds = sign * (offsetHours * 3600 + offsetMinutes * 60);
    } else {
        return std::nullopt;
    }
    if (pos != text.size()) {
        return std::nullopt;
    }
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    std::time_t seconds = timegm(&parts);
    // timegm moves 31 February on to March; such a date is no date.
    if (parts.tm_mday != day || parts.tm_mon != month - 1) {
        return std::nullopt;
    }
    return static_cast<TimePoint>(seconds) + fraction - offsetSeconds;
}

}  // namespace kvillo::iso8601
