#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

namespace kvillo::testing {

// Runs SQL on a connection of its own to the file, as another program would
// (a trigger that refuses writes, a foreign table).
inline void execBeside(const std::string& path, const std::string& sql) {
    sqlite3* side = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &side), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(side, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(side);
}

}  // namespace kvillo::testing
