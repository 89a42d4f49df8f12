#pragma once

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

#include "core/records/activity.h"
#include "core/records/annotation.h"
#include "core/records/app_usage_summary.h"

namespace kvillo {

// The JSON form of the records: keys are the field names, in field order; an
// absent optional is left out when writing, and a missing or null key reads as
// absent. Projects have no JSON form.

// How time points are written: the MCP server speaks ISO 8601, everything
// else plain seconds since 1970.
enum class DateEncoding {
    secondsSince1970,
    iso8601,
};

// Thrown when a required key is missing or a value has the wrong type; the
// text names the key.
class RecordDecodeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

nlohmann::ordered_json toJson(const Activity& activity, DateEncoding dates);
nlohmann::ordered_json toJson(const Annotation& annotation, DateEncoding dates);
nlohmann::ordered_json toJson(const AppUsageSummary& summary);

Activity activityFromJson(const nlohmann::ordered_json& object, DateEncoding dates);
Annotation annotationFromJson(const nlohmann::ordered_json& object, DateEncoding dates);
AppUsageSummary appUsageSummaryFromJson(const nlohmann::ordered_json& object);

}  // namespace kvillo
