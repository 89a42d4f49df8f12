#include "core/analysis/timesheet.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>

#include "core/analysis/project_matcher.h"
#include "core/analysis/project_search.h"
#include "core/localisation/l10n.h"
#include "core/text/join.h"
#include "core/time/calendar.h"
#include "core/time/day_cursor.h"

namespace kvillo::Timesheet {
namespace {

constexpr std::string_view kDisplayPrefix = "Claude Code \u00b7 ";

// Each distinct window title of a call gets a small number, so that the
// per-key tallies compare numbers instead of texts. Titles are views into
// the activities, which outlive the call.
class TitleIds {
public:
    std::uint32_t idOf(std::string_view title) {
        auto [found, inserted] =
            ids_.try_emplace(title, static_cast<std::uint32_t>(titles_.size()));
        if (inserted) {
            titles_.push_back(title);
        }
        return found->second;
    }
    std::string_view title(std::uint32_t id) const { return titles_[id]; }

private:
    std::unordered_map<std::string_view, std::uint32_t> ids_;
    std::vector<std::string_view> titles_;
};

// One day-and-project key's time.
struct Tally {
    Duration total = 0;
    // Seconds per title id, in the order first seen. A key holds one day's
    // titles of one project: few enough for a linear search.
    std::vector<std::pair<std::uint32_t, Duration>> titles;

    void addTitle(std::uint32_t id, Duration seconds) {
        auto found = std::find_if(titles.begin(), titles.end(),
                                  [id](const auto& entry) { return entry.first == id; });
        if (found == titles.end()) {
            titles.emplace_back(id, seconds);
        } else {
            found->second += seconds;
        }
    }
};

// The annotations that overlap one day at a time, for days visited in
// ascending order. Annotations come sorted by start; the latest end up to
// each index lets the scan stop where no earlier annotation reaches the day.
class NotesByDay {
public:
    NotesByDay(const std::vector<Annotation>& annotations, TimePoint now)
        : annotations_(annotations), now_(now) {
        TimePoint latest = -std::numeric_limits<double>::infinity();
        for (const auto& annotation : annotations) {
            latest = std::max(latest, annotation.endedAt.value_or(now));
            latestEndUpTo_.push_back(latest);
        }
    }

    // Indices of the annotations overlapping [day, dayEnd), in list order.
    std::vector<size_t> overlapping(TimePoint day, TimePoint dayEnd) const {
        auto after =
            std::lower_bound(annotations_.begin(), annotations_.end(), dayEnd,
                             [](const Annotation& a, TimePoint t) { return a.startedAt < t; });
        std::vector<size_t> found;
        for (size_t i = static_cast<size_t>(after - annotations_.begin()); i > 0;) {
            --i;
            if (latestEndUpTo_[i] <= day) {
                break;
            }
            if (annotations_[i].endedAt.value_or(now_) > day) {
                found.push_back(i);
            }
        }
        std::reverse(found.begin(), found.end());
        return found;
    }

private:
    const std::vector<Annotation>& annotations_;
    TimePoint now_;
    std::vector<TimePoint> latestEndUpTo_;
};

std::string descriptionOf(size_t project, const Tally& tally, const TitleIds& titleIds,
                          const std::vector<Annotation>& annotations,
                          const std::vector<size_t>& dayNotes,
                          const std::vector<std::optional<size_t>>& annotationProjects) {
    std::vector<std::string> notes;
    std::set<std::string> seen;
    for (size_t i : dayNotes) {
        if (annotationProjects[i] != project) {
            continue;
        }
        std::string shown = displayTask(annotations[i].text);
        if (seen.insert(shown).second) {
            notes.push_back(std::move(shown));
        }
    }
    if (!notes.empty()) {
        return join(notes, "; ");
    }
    auto titles = tally.titles;
    std::stable_sort(titles.begin(), titles.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    std::vector<std::string> longest;
    for (size_t i = 0; i < titles.size() && i < 3; ++i) {
        longest.emplace_back(titleIds.title(titles[i].first));
    }
    return join(longest, "; ");
}

// Two decimals, with a decimal comma except in English.
std::string number(double value, Language language) {
    // to_chars ignores the C locale, which a GUI toolkit may have set to one
    // with a decimal comma.
    char text[64];
    auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 2).ptr;
    std::string result(text, end);
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
    // Only the hook's own form, the prefix and a blank, is shortened.
    if (!text.starts_with(kClaudeCodePrefix) ||
        !text.substr(kClaudeCodePrefix.size()).starts_with(' ')) {
        return std::string(text);
    }
    std::string_view rest = text.substr(kClaudeCodePrefix.size() + 1);
    std::string_view last = rest;
    bool found = false;
    size_t start = 0;
    while (start <= rest.size()) {
        size_t slash = rest.find('/', start);
        std::string_view piece = rest.substr(
            start, slash == std::string_view::npos ? std::string_view::npos : slash - start);
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
    // Counted by the project's place in the list; ordered by name only once
    // per line.
    using Key = std::pair<TimePoint, size_t>;
    std::map<Key, Tally> tallies;
    TitleIds titleIds;
    DayCursor days;
    // Consecutive activities mostly share their key.
    std::optional<std::pair<Key, Tally*>> last;
    for (const auto& [activity, assigned] : ProjectMatcher::assign(
             activities, projects, annotations, ProjectMatcher::kDefaultCarryOver, now)) {
        if (!assigned || (project && projects[*assigned].name != *project)) {
            continue;
        }
        Duration seconds = activity->endTime.value_or(now) - activity->startTime;
        Key key{days.startOfDay(activity->startTime), *assigned};
        if (!last || last->first != key) {
            last.emplace(key, &tallies[key]);
        }
        Tally& tally = *last->second;
        tally.total += seconds;
        if (activity->title && !activity->title->empty()) {
            tally.addTitle(titleIds.idOf(*activity->title), seconds);
        }
    }

    ProjectSearch search(projects);
    std::vector<std::optional<size_t>> annotationProjects;
    annotationProjects.reserve(annotations.size());
    for (const auto& annotation : annotations) {
        annotationProjects.push_back(search.find(annotation.text));
    }
    NotesByDay notesByDay(annotations, now);

    std::vector<TimesheetLine> result;
    TimePoint currentDay = std::numeric_limits<double>::quiet_NaN();
    std::vector<size_t> dayNotes;
    for (const auto& [key, tally] : tallies) {
        const auto& [day, index] = key;
        double hours = std::round(tally.total / 3600 * 4) * 0.25;
        if (hours <= 0) {
            continue;
        }
        if (day != currentDay) {
            currentDay = day;
            dayNotes = notesByDay.overlapping(day, calendar::addDays(day, 1));
        }
        result.push_back(
            {day, projects[index].name, hours,
             descriptionOf(index, tally, titleIds, annotations, dayNotes, annotationProjects)});
    }
    // Keys order by day, then by project name in code-point order.
    std::stable_sort(result.begin(), result.end(),
                     [](const TimesheetLine& a, const TimesheetLine& b) {
                         return std::tie(a.date, a.project) < std::tie(b.date, b.project);
                     });
    return result;
}

std::string csv(const std::vector<TimesheetLine>& lines, std::string_view name, TimePoint from,
                TimePoint to, Language language) {
    const std::string separator = language == Language::en ? "," : ";";
    // Fields that are not always quoted are quoted when they must be, so
    // that a translation or a date never splits a row (RFC 4180).
    auto bare = [&](std::string value) {
        return value.find_first_of(separator + "\"\r\n") == std::string::npos ? value
                                                                              : quoted(value);
    };
    auto label = [&](L10n::Key key) { return bare(L10n::string(language, key)); };
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
    text +=
        row({label("Periode"), bare(calendar::format(from, "yyyy-MM-dd") + " \u2013 " +
                                    calendar::format(calendar::addDays(to, -1), "yyyy-MM-dd"))});
    text += "\n";
    text += row({label("Dato"), label("Navn"), label("Prosjekt / arbeidspakke"), label("Timer"),
                 label("Beskrivelse")});
    double total = 0;
    for (const auto& line : lines) {
        text += row({bare(calendar::format(line.date, "yyyy-MM-dd")), quoted(name),
                     quoted(line.project), quoted(number(line.hours, language)),
                     quoted(line.description)});
        total += line.hours;
    }
    text += "\n";
    text += row({label("Sum"), "", "", quoted(number(total, language)), ""});
    text += "\n";
    text += row({label("Signatur prosjektdeltaker"), "", label("Dato"), ""});
    text += row({label("Signatur prosjektansvarlig"), "", label("Dato"), ""});
    return text;
}

std::string fileName(const std::optional<std::string>& project, TimePoint from, Language language) {
    return L10n::string(language, "Timeliste %@ %@.csv",
                        {project ? *project : L10n::string(language, "alle prosjekter"),
                         calendar::format(from, "yyyy-MM")});
}

}  // namespace kvillo::Timesheet
