#pragma once

#include <exception>
#include <string>

namespace kvillo {

// What the store throws when SQLite refuses. `what()` is the user-visible
// description: "Failed to open database: unable to open database file".
class DatabaseError : public std::exception {
public:
    enum class Kind {
        openFailed,       // the file cannot be opened
        prepareFailed,    // a statement cannot be prepared; nothing changed
        executionFailed,  // a write did not finish, or the schema failed
        readOnly,         // the file can be read but not written; nothing changed
        readFailed,       // a query stopped early (damaged file, I/O error);
                          // none of its rows are returned
        busy,             // another connection held the file's lock past the
                          // wait; nothing changed, and trying later may work
    };

    DatabaseError(Kind kind, std::string message);

    Kind kind() const { return kind_; }
    // SQLite's own text, without the prefix.
    const std::string& message() const { return message_; }
    const char* what() const noexcept override { return description_.c_str(); }

private:
    Kind kind_;
    std::string message_;
    std::string description_;
};

}  // namespace kvillo
