#include "app/timesheet_command.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unicode/unistr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "core/analysis/timesheet.h"
#include "core/files/atomic_file.h"
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
    auto folded = [](const std::string& text) {
        return icu::UnicodeString::fromUTF8(text).foldCase();
    };
    for (const auto& project : projects) {
        if (folded(project.name) == folded(wanted)) {
            return project.name;
        }
    }
    return std::nullopt;
}

bool writeAll(int fd, const std::string& bytes) {
    for (size_t written = 0; written < bytes.size();) {
        ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
        if (n < 0) {
            return false;
        }
        written += static_cast<size_t>(n);
    }
    return true;
}

// A pipe or a terminal (/dev/stdout) is written to as it is; anything else
// is a file, replaced whole so that a failure leaves the old one.
std::optional<FileWriteError> writeOutput(const std::string& path, const std::string& bytes) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || S_ISREG(info.st_mode) || S_ISDIR(info.st_mode)) {
        return writeFileAtomically(path, bytes, 0644);
    }
    int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    bool ok = fd >= 0 && writeAll(fd, bytes);
    int code = errno;
    if (fd >= 0 && ::close(fd) != 0 && ok) {
        ok = false;
        code = errno;
    }
    return ok ? std::nullopt
              : std::optional(FileWriteError(path, std::error_code(code, std::generic_category())));
}

}  // namespace

int runTimesheetCommand(const ExportTimesheet& request, const AppPaths& paths, const Clock& clock,
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
        const TimePoint now = clock.now();
        TimeRange range = requestedRange(request, now);
        auto lines = Timesheet::lines(database, range.start, range.end, project, now);
        std::string text = Timesheet::csv(lines, features.timesheetName(), range.start, range.end,
                                          L10n::language(features));
        if (!request.output) {
            out << text;
            out.flush();
            return out ? 0 : 1;
        }
        if (auto error =
                writeOutput(*request.output, std::string(Timesheet::kByteOrderMark) + text)) {
            err << "kvillo: " << error->message() << "\n";
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
