#include "core/records/record_json.h"

#include <optional>

#include "core/time/iso8601.h"

namespace kvillo {
namespace {

using Json = nlohmann::ordered_json;

Json encodeTime(TimePoint t, DateEncoding dates) {
    if (dates == DateEncoding::iso8601) {
        return iso8601::format(t);
    }
    return t;
}

template <typename T>
void putOptional(Json& object, const char* key, const std::optional<T>& value) {
    if (value) {
        object[key] = *value;
    }
}

void putOptionalTime(Json& object, const char* key, const std::optional<TimePoint>& value,
                     DateEncoding dates) {
    if (value) {
        object[key] = encodeTime(*value, dates);
    }
}

const Json* member(const Json& object, const char* key) {
    if (!object.is_object()) {
        throw RecordDecodeError("expected a JSON object");
    }
    auto found = object.find(key);
    if (found == object.end() || found->is_null()) {
        return nullptr;
    }
    return &*found;
}

const Json& required(const Json& object, const char* key) {
    const Json* value = member(object, key);
    if (!value) {
        throw RecordDecodeError(std::string("missing key \"") + key + "\"");
    }
    return *value;
}

template <typename T>
T as(const Json& value, const char* key) {
    try {
        return value.get<T>();
    } catch (const nlohmann::json::exception&) {
        throw RecordDecodeError(std::string("wrong type for key \"") + key + "\"");
    }
}

template <typename T>
std::optional<T> optionalMember(const Json& object, const char* key) {
    const Json* value = member(object, key);
    if (!value) {
        return std::nullopt;
    }
    return as<T>(*value, key);
}

TimePoint decodeTime(const Json& value, const char* key, DateEncoding dates) {
    if (dates == DateEncoding::iso8601) {
        auto parsed = iso8601::parse(as<std::string>(value, key));
        if (!parsed) {
            throw RecordDecodeError(std::string("not an ISO 8601 date for key \"") + key + "\"");
        }
        return *parsed;
    }
    return as<double>(value, key);
}

std::optional<TimePoint> optionalTime(const Json& object, const char* key, DateEncoding dates) {
    const Json* value = member(object, key);
    if (!value) {
        return std::nullopt;
    }
    return decodeTime(*value, key, dates);
}

}  // namespace

Json toJson(const Activity& activity, DateEncoding dates) {
    Json object = Json::object();
    putOptional(object, "id", activity.id);
    object["appName"] = activity.appName;
    putOptional(object, "bundleID", activity.bundleID);
    putOptional(object, "title", activity.title);
    object["startTime"] = encodeTime(activity.startTime, dates);
    putOptionalTime(object, "endTime", activity.endTime, dates);
    return object;
}

Json toJson(const Annotation& annotation, DateEncoding dates) {
    Json object = Json::object();
    putOptional(object, "id", annotation.id);
    object["text"] = annotation.text;
    object["startedAt"] = encodeTime(annotation.startedAt, dates);
    putOptionalTime(object, "endedAt", annotation.endedAt, dates);
    return object;
}

Json toJson(const AppUsageSummary& summary) {
    Json object = Json::object();
    object["appName"] = summary.appName;
    putOptional(object, "bundleID", summary.bundleID);
    object["totalDuration"] = summary.totalDuration;
    object["sessionCount"] = summary.sessionCount;
    putOptional(object, "latestTitle", summary.latestTitle);
    return object;
}

Activity activityFromJson(const Json& object, DateEncoding dates) {
    Activity activity;
    activity.id = optionalMember<std::int64_t>(object, "id");
    activity.appName = as<std::string>(required(object, "appName"), "appName");
    activity.bundleID = optionalMember<std::string>(object, "bundleID");
    activity.title = optionalMember<std::string>(object, "title");
    activity.startTime = decodeTime(required(object, "startTime"), "startTime", dates);
    activity.endTime = optionalTime(object, "endTime", dates);
    return activity;
}

Annotation annotationFromJson(const Json& object, DateEncoding dates) {
    Annotation annotation;
    annotation.id = optionalMember<std::int64_t>(object, "id");
    annotation.text = as<std::string>(required(object, "text"), "text");
    annotation.startedAt = decodeTime(required(object, "startedAt"), "startedAt", dates);
    annotation.endedAt = optionalTime(object, "endedAt", dates);
    return annotation;
}

AppUsageSummary appUsageSummaryFromJson(const Json& object) {
    AppUsageSummary summary;
    summary.appName = as<std::string>(required(object, "appName"), "appName");
    summary.bundleID = optionalMember<std::string>(object, "bundleID");
    summary.totalDuration = as<double>(required(object, "totalDuration"), "totalDuration");
    summary.sessionCount = as<int>(required(object, "sessionCount"), "sessionCount");
    summary.latestTitle = optionalMember<std::string>(object, "latestTitle");
    return summary;
}

}  // namespace kvillo
