#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kvillo {

// One prepared statement, finalised when it goes out of scope on every path.
// Internal to the store: callers hold the connection's lock for its lifetime.
class Statement {
public:
    // Throws DatabaseError(prepareFailed).
    Statement(sqlite3* db, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Parameters are numbered from 1. Texts are copied by SQLite.
    void bind(int index, const std::string& text);
    void bind(int index, double value);
    void bind(int index, std::int64_t value);
    void bind(int index, int value);
    void bind(int index, const std::optional<std::string>& text);
    void bind(int index, const std::optional<double>& value);

    // Steps a query: true while a row is ready, false once all are read.
    // Any other outcome throws DatabaseError(readFailed, or busy for a lock
    // held past the wait): a list cut short must not pass for the whole one
    // (an empty day, a missing task).
    bool nextRow();

    // Steps a write once; anything but SQLITE_DONE throws
    // DatabaseError(executionFailed, or busy for a lock held past the wait).
    void run();

    // Columns are numbered from 0.
    std::int64_t int64(int column) const;
    int int32(int column) const;
    double real(int column) const;
    std::string text(int column) const;
    std::optional<std::string> optionalText(int column) const;
    std::optional<double> optionalReal(int column) const;

private:
    sqlite3* db_;
    sqlite3_stmt* statement_ = nullptr;
};

}  // namespace kvillo
