#pragma once

#include <map>
#include <string>

namespace kvillo::testing {

// A fresh folder under the system's temporary folder, removed with all its
// contents when the object goes.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// The environment for a Kvillo started as a child process with its home,
// data and settings in `home`, in Oslo time and with no display (pass it to
// ChildProcess or runProcess; add or replace entries as needed). Without a
// runtime folder, so its instance lock is in `home` too.
std::map<std::string, std::string> homeEnvironment(const TempFolder& home);

// Sets an environment variable for the object's lifetime, then restores it.
class ScopedEnv {
public:
    ScopedEnv(std::string name, const std::string& value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string name_;
    bool hadValue_ = false;
    std::string oldValue_;
};

// Runs with TZ set to `zone` (and ICU told), restoring the previous zone.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const std::string& zone);
    ~ScopedTimeZone();
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::string previous_;
};

// Points TZ at `zone` and makes both libc and ICU see it.
void useTimeZone(const std::string& zone);

// Seconds since 1970 of a wall-clock time in the current zone.
double localTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& contents);

}  // namespace kvillo::testing
