#include "core/capture/alive_marker.h"

#include <fstream>

namespace kvillo {

AliveMarker::AliveMarker(const std::string& databasePath) : path_(databasePath + ".alive") {}

std::optional<TimePoint> AliveMarker::read() const {
    std::ifstream file(path_);
    TimePoint t = 0;
    if (file >> t && t > 0) {
        return t;
    }
    return std::nullopt;
}

void AliveMarker::note(TimePoint now) {
    if (written_ && now - *written_ < kInterval && now >= *written_) {
        return;
    }
    std::ofstream file(path_, std::ios::trunc);
    file.precision(15);
    if (file << now << '\n') {
        written_ = now;
    }
}

}  // namespace kvillo
