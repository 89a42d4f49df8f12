#include "core/store/database_error.h"

namespace kvillo {
namespace {

const char* prefix(DatabaseError::Kind kind) {
    switch (kind) {
        case DatabaseError::Kind::openFailed:
            return "Failed to open database: ";
        case DatabaseError::Kind::prepareFailed:
            return "Failed to prepare statement: ";
        case DatabaseError::Kind::executionFailed:
            return "Failed to execute statement: ";
        case DatabaseError::Kind::readOnly:
            return "The database cannot be written: ";
        case DatabaseError::Kind::readFailed:
            return "Failed to read: ";
        case DatabaseError::Kind::busy:
            return "The database is locked by another connection: ";
    }
    return "";
}

}  // namespace

DatabaseError::DatabaseError(Kind kind, std::string message)
    : kind_(kind), message_(std::move(message)), description_(prefix(kind_) + message_) {}

}  // namespace kvillo
