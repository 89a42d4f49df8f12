#include "core/analysis/timesheet.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <unordered_map>

#include "core/analysis/project_matcher.h"
#include "core/analysis/project_search.h"
#include "core/localisation/l10n.h"
#include "core/time/calendar.h"
#include "core/time/day_cursor.h"

namespace kvillo::Timesheet {
namespace {

constexpr std::string_view kTaskPrefix = "Claude Code: ";
constexpr std::string_view kDisplayPrefix = "Claude Code \u00b7 ";

struct Tally {
    Duration total = 0;
    // Seconds per title, with titles in the order first seen.
    std::vector<std::pair<std::string, Duration>> titles;
    std::unordered_map<std::string, size_t> titleIndex;

    void addTitle(const std::string& title, Duration seconds) {
        auto [found, inserted] = titleIndex.try_emplace(title, titles.size());
        if (inserted) {
            titles.emplace_back(title, 0);
        }
        titles[found->second].second += seconds;
    }
};

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const auto& part : parts) {
        if (!text.empty()) {
            text += "; ";
        }
        text += part;
    }
    return text;
}

std::string descriptionOf(const std::string& project, TimePoint day, const Tally& tally,
                          const std::vector<Annotation>& annotations,
                          const std::vector<const std::string*>& annotationProjects,
                          TimePoint now) {
    TimePoint dayEnd = calendar::addDays(day, 1);
    std::vector<std::string> notes;
    std::set<std::string> seen;
    for (size_t i = 0; i < annotations.size(); ++i) {
        const Annotation& note = annotations[i];
        if (!(note.startedAt < dayEnd && note.endedAt.value_or(now) > day)) {
            continue;
        }
        if (!annotationProjects[i] || *annotationProjects[i] != project) {
            continue;
        }
        std::string shown = displayTask(note.text);
        if (seen.insert(shown).second) {
            notes.push_back(std::move(shown));
        }
    }
    if (!notes.empty()) {
        return joined(notes);
    }
    auto titles = tally.titles;
    std::stable_sort(titles.begin(), titles.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    std::vector<std::string> longest;
    for (size_t i = 0; i < titles.size() && i < 3; ++i) {
        longest.push_back(titles[i].first);
    }
    return joined(longest);
}

// Two decimals, with a decimal comma except in English.
std::string number(double value, Language language) {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string result = text;
    if (language != Language::en) {
        std::replace(result.begin(), result.end(), '.', ',');
    }
    return result;
}

std::string quoted(std::string_view value) {
    std::string result = "\"";
    for (char c : value) {
        if (c == '"') {
            result += '"';
        }
        result += c;
    }
    return result + "\"";
}

}  // namespace

std::string displayTask(std::string_view text) {
    if (!text.starts_with(kTaskPrefix)) {
        return std::string(text);
    }
    std::string_view rest = text.substr(kTaskPrefix.size());
    std::string_view last = rest;
    bool found = false;
    size_t start = 0;
    while (start <= rest.size()) {
        size_t slash = rest.find('/', start);
        std::string_view piece = rest.substr(start, slash == std::string_view::npos ? std::string_view::npos : slash - start);
        if (!piece.empty()) {
            last = piece;
            found = true;
        }
        if (slash == std::string_view::npos) {
            break;
        }
        start = slash + 1;
    }
    return std::string(kDisplayPrefix) + std::string(found ? last : rest);
}

std::vector<TimesheetLine> lines(Database& database, TimePoint from, TimePoint to,
                                 const std::optional<std::string>& project, TimePoint now) {
    auto annotations = database.fetchAnnotations(from, to);
    auto projects = database.fetchProjects();
    auto activities = database.fetchActivities(from, to);
    return lines(activities, annotations, projects, project, now);
}

std::vector<TimesheetLine> lines(const std::vector<Activity>& activities,
                                 const std::vector<Annotation>& annotations,
                                 const std::vector<Project>& projects,
                                 const std::optional<std::string>& project, TimePoint now) {
    // Keys order by day, then by project name in code-point order.
    std::map<std::pair<TimePoint, std::string>, Tally> tallies;
    DayCursor days;
    for (const auto& [activity, assigned] : ProjectMatcher::assign(
             activities, projects, annotations, ProjectMatcher::kDefaultCarryOver, now)) {
        if (!assigned || (project && *assigned != *project)) {
            continue;
        }
        Duration seconds = activity.endTime.value_or(now) - activity.startTime;
        Tally& tally = tallies[{days.startOfDay(activity.startTime), *assigned}];
        tally.total += seconds;
        if (activity.title && !activity.title->empty()) {
            tally.addTitle(*activity.title, seconds);
        }
    }

    ProjectSearch search(projects);
    std::vector<const std::string*> annotationProjects;
    annotationProjects.reserve(annotations.size());
    for (const auto& annotation : annotations) {
        annotationProjects.push_back(search.find(annotation.text));
    }

    std::vector<TimesheetLine> result;
    for (const auto& [key, tally] : tallies) {
        double hours = std::round(tally.total / 3600 * 4) * 0.25;
        if (hours <= 0) {
            continue;
        }
        const auto& [day, name] = key;
        result.push_back({day, name, hours,
                          descriptionOf(name, day, tally, annotations, annotationProjects, now)});
    }
    return result;
}

std::string csv(const std::vector<TimesheetLine>& lines, std::string_view name, TimePoint from,
                TimePoint to, Language language) {
    const std::string separator = language == Language::en ? "," : ";";
    auto label = [&](std::string_view key) { return L10n::string(language, key); };
    auto row = [&](std::initializer_list<std::string> fields) {
        std::string text;
        bool first = true;
        for (const auto& field : fields) {
            if (!first) {
                text += separator;
            }
            text += field;
            first = false;
        }
        return text + "\n";
    };

    std::string text;
    text += row({label("Timeliste"), quoted(name)});
    text += row({label("Periode"), calendar::format(from, "yyyy-MM-dd") + " \u2013 " +
                                       calendar::format(calendar::addDays(to, -1), "yyyy-MM-dd")});
    text += "\n";
    text += row({label("Dato"), label("Navn"), label("Prosjekt / arbeidspakke"), label("Timer"),
                 label("Beskrivelse")});
    double total = 0;
    for (const auto& line : lines) {
        text += row({calendar::format(line.date, "yyyy-MM-dd"), quoted(name), quoted(line.project),
                     quoted(number(line.hours, language)), quoted(line.description)});
        total += line.hours;
    }
    text += "\n";
    text += row({label("Sum"), "", "", quoted(number(total, language)), ""});
    text += "\n";
    text += row({label("Signatur prosjektdeltaker"), "", label("Dato"), ""});
    text += row({label("Signatur prosjektansvarlig"), "", label("Dato"), ""});
    return text;
}

std::string fileName(const std::optional<std::string>& project, TimePoint from,
                     Language language) {
    return L10n::string(language, "Timeliste %@ %@.csv",
                        {project ? *project : L10n::string(language, "alle prosjekter"),
                         calendar::format(from, "yyyy-MM")});
}

}  // namespace kvillo::Timesheet
