// A module built exactly as the GUI module is, reporting the calendar's
// zone generation as code on the GUI side sees it.
#include "core/time/calendar.h"

extern "C" __attribute__((visibility("default"))) unsigned kvilloProbeZoneGeneration() {
    return kvillo::calendar::zoneGeneration();
}
