#pragma once

#include <sqlite3.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvillo::testing {

// Spoils the first page of every table and index in the closed store at
// `path`, as a failing disk would, leaving the schema page whole: the file
// still opens and every statement prepares, but each query's first step
// fails with SQLite's "database disk image is malformed".
inline void damageEveryTree(const std::string& path) {
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_stmt* roots = nullptr;
    sqlite3_prepare_v2(db, "SELECT rootpage FROM sqlite_schema WHERE rootpage > 1;", -1, &roots,
                       nullptr);
    std::vector<long> pages;
    while (sqlite3_step(roots) == SQLITE_ROW) {
        pages.push_back(sqlite3_column_int(roots, 0));
    }
    sqlite3_finalize(roots);
    sqlite3_stmt* size = nullptr;
    sqlite3_prepare_v2(db, "PRAGMA page_size;", -1, &size, nullptr);
    long pageSize = sqlite3_step(size) == SQLITE_ROW ? sqlite3_column_int(size, 0) : 0;
    sqlite3_finalize(size);
    sqlite3_close(db);
    if (pages.empty() || pageSize == 0) {
        throw std::runtime_error("damageEveryTree: no store at " + path);
    }
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    for (long page : pages) {
        // The first byte of a b-tree page says what kind of page it is.
        file.seekp((page - 1) * pageSize);
        file.put('\xff');
    }
}

}  // namespace kvillo::testing
