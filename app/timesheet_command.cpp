#include "app/timesheet_command.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "core/analysis/timesheet.h"
#include "core/localisation/l10n.h"
#include "core/settings/features.h"
#include "core/store/database.h"
#include "platform/linux/user_account.h"

namespace kvillo {
namespace {

TimeRange requestedRange(const ExportTimesheet& request, TimePoint now) {
    if (request.firstDay && request.lastDay) {
        TimePoint from = *calendar::startOfDate(*request.firstDay);
        TimePoint lastDay = *calendar::startOfDate(*request.lastDay);
        return {from, calendar::addDays(lastDay, 1)};
    }
    return rangeOf(request.period.value_or(ExportPeriod::thisMonth), now);
}

// The stored spelling of a project named without regard to case.
std::optional<std::string> storedName(const std::vector<Project>& projects,
                                      const std::string& wanted) {
    for (const auto& project : projects) {
        if (project.name == wanted) {
            return project.name;
        }
    }
    for (const auto& project : projects) {
        if (std::equal(project.name.begin(), project.name.end(), wanted.begin(), wanted.end(),
                       [](unsigned char a, unsigned char b) {
                           return std::tolower(a) == std::tolower(b);
                       })) {
            return project.name;
        }
    }
    return std::nullopt;
}

// Writes beside the target and renames, so a failure leaves any old file.
bool writeWhole(const std::string& path, const std::string& bytes, std::string& reason) {
    std::string temporary = path + ".kvillo-tmp";
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        if (!file) {
            reason = "cannot create " + temporary;
            return false;
        }
        file << bytes;
        file.close();
        if (!file) {
            std::remove(temporary.c_str());
            reason = "cannot write " + temporary;
            return false;
        }
    }
    std::error_code error;
    std::filesystem::rename(temporary, path, error);
    if (error) {
        std::remove(temporary.c_str());
        reason = error.message();
        return false;
    }
    return true;
}

}  // namespace

int runTimesheetCommand(const ExportTimesheet& request, const AppPaths& paths, TimePoint now,
                        std::ostream& out, std::ostream& err) {
    if (!std::filesystem::exists(paths.databaseFile)) {
        err << "kvillo: no activity log at " << paths.databaseFile << "\n";
        return 1;
    }
    try {
        Database database(paths.databaseFile);
        Features features(paths.settingsFile, fullUserName);

        std::optional<std::string> project;
        if (request.project) {
            project = storedName(database.fetchProjects(), *request.project);
            if (!project) {
                err << "kvillo: no project named " << *request.project << "\n";
                return 2;
            }
        }
        TimeRange range = requestedRange(request, now);
        auto lines = Timesheet::lines(database, range.start, range.end, project, now);
        std::string text = Timesheet::csv(lines, features.timesheetName(), range.start, range.end,
                                          L10n::language(features));
        if (!request.output) {
            out << text;
            out.flush();
            return out ? 0 : 1;
        }
        std::string reason;
        if (!writeWhole(*request.output, std::string(Timesheet::kByteOrderMark) + text, reason)) {
            err << "kvillo: cannot write " << *request.output << ": " << reason << "\n";
            return 1;
        }
        return 0;
    } catch (const DatabaseError& error) {
        err << "kvillo: cannot read the activity log " << paths.databaseFile << ": "
            << error.message() << "\n";
        return 1;
    }
}

}  // namespace kvillo
