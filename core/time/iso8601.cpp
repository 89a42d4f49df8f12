#include "core/time/iso8601.h"

#include <cmath>
#include <cstdio>
#include <ctime>

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
    std::time_t seconds = static_cast<std::time_t>(std::floor(t));
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char buffer[32];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return buffer;
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
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 ||
        second > 60) {
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
