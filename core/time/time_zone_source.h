#pragma once

#include <functional>
#include <string>

namespace kvillo {

// Where the system's time zone comes from; adapters follow the desktop, tests fake it.
class TimeZoneSource {
public:
    virtual ~TimeZoneSource() = default;
    // The IANA id ("Europe/Oslo"); empty when unknown.
    virtual std::string currentZone() = 0;
    // Calls `changed` on the owner's thread whenever currentZone() may have changed; until
    // unsubscribe().
    virtual void subscribe(std::function<void()> changed) = 0;
    virtual void unsubscribe() = 0;
};

}  // namespace kvillo
