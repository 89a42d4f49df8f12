#include "tests/support/temp_folder.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "core/time/calendar.h"

namespace kvillo::testing {

TempFolder::TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvillo-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        throw std::runtime_error("mkdtemp failed");
    }
    path_ = pattern;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::map<std::string, std::string> homeEnvironment(const TempFolder& home) {
    return {{"HOME", home.path()},
            {"XDG_DATA_HOME", home.file("data")},
            {"XDG_CONFIG_HOME", home.file("config")},
            {"TZ", "Europe/Oslo"},
            {"XDG_RUNTIME_DIR", ""},
            {"DISPLAY", ""},
            {"WAYLAND_DISPLAY", ""}};
}

ScopedEnv::ScopedEnv(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        hadValue_ = true;
        oldValue_ = old;
    }
    ::setenv(name_.c_str(), value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
    if (hadValue_) {
        ::setenv(name_.c_str(), oldValue_.c_str(), 1);
    } else {
        ::unsetenv(name_.c_str());
    }
}

void useTimeZone(const std::string& zone) {
    ::setenv("TZ", zone.c_str(), 1);
    ::tzset();
    calendar::reloadTimeZoneFromEnvironment();
}

ScopedTimeZone::ScopedTimeZone(const std::string& zone) {
    const char* previous = std::getenv("TZ");
    previous_ = previous ? previous : "UTC";
    useTimeZone(zone);
}

ScopedTimeZone::~ScopedTimeZone() {
    useTimeZone(previous_);
}

double localTime(int year, int month, int day, int hour, int minute, int second) {
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    ::tzset();
    return static_cast<double>(std::mktime(&parts));
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

void writeFile(const std::string& path, const std::string& contents) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << contents;
}

}  // namespace kvillo::testing
