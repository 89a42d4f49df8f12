#include "core/store/statement.h"

#include "core/store/database_error.h"

namespace kvillo {

namespace {

// A lock held past the wait is worth telling apart: the caller may retry.
DatabaseError stepError(sqlite3* db, int result, DatabaseError::Kind otherwise) {
    const auto kind = (result & 0xff) == SQLITE_BUSY ? DatabaseError::Kind::busy : otherwise;
    return DatabaseError(kind, db ? sqlite3_errmsg(db) : "Unknown");
}

}  // namespace

Statement::Statement(sqlite3* db, const char* sql) : db_(db) {
    // Preparing reads the schema, which can find the file locked too.
    if (int result = sqlite3_prepare_v2(db_, sql, -1, &statement_, nullptr); result != SQLITE_OK) {
        auto error = stepError(db_, result, DatabaseError::Kind::prepareFailed);
        sqlite3_finalize(statement_);
        throw error;
    }
}

Statement::~Statement() {
    sqlite3_finalize(statement_);
}

void Statement::bind(int index, const std::string& text) {
    sqlite3_bind_text(statement_, index, text.c_str(), -1, SQLITE_TRANSIENT);
}

void Statement::bind(int index, double value) {
    sqlite3_bind_double(statement_, index, value);
}

void Statement::bind(int index, std::int64_t value) {
    sqlite3_bind_int64(statement_, index, value);
}

void Statement::bind(int index, int value) {
    sqlite3_bind_int(statement_, index, value);
}

void Statement::bind(int index, const std::optional<std::string>& text) {
    if (text) {
        bind(index, *text);
    } else {
        sqlite3_bind_null(statement_, index);
    }
}

void Statement::bind(int index, const std::optional<double>& value) {
    if (value) {
        bind(index, *value);
    } else {
        sqlite3_bind_null(statement_, index);
    }
}

bool Statement::nextRow() {
    switch (int result = sqlite3_step(statement_)) {
        case SQLITE_ROW:
            return true;
        case SQLITE_DONE:
            return false;
        default:
            throw stepError(db_, result, DatabaseError::Kind::readFailed);
    }
}

void Statement::run() {
    if (int result = sqlite3_step(statement_); result != SQLITE_DONE) {
        throw stepError(db_, result, DatabaseError::Kind::executionFailed);
    }
}

std::int64_t Statement::int64(int column) const {
    return sqlite3_column_int64(statement_, column);
}

int Statement::int32(int column) const {
    return sqlite3_column_int(statement_, column);
}

double Statement::real(int column) const {
    return sqlite3_column_double(statement_, column);
}

std::string Statement::text(int column) const {
    const auto* bytes = sqlite3_column_text(statement_, column);
    if (!bytes) {
        return {};
    }
    return {reinterpret_cast<const char*>(bytes),
            static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
}

std::optional<std::string> Statement::optionalText(int column) const {
    const auto* bytes = sqlite3_column_text(statement_, column);
    if (!bytes) {
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char*>(bytes),
                       static_cast<size_t>(sqlite3_column_bytes(statement_, column)));
}

std::optional<double> Statement::optionalReal(int column) const {
    if (sqlite3_column_type(statement_, column) == SQLITE_NULL) {
        return std::nullopt;
    }
    return real(column);
}

}  // namespace kvillo
