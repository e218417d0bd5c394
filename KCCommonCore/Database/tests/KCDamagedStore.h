#pragma once
// Damages a store file as a failing disk would: the pages of one table and
// its indexes are filled with garbage. The schema and the store metadata
// live on other pages, so the store still opens, but every read of the
// table fails.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

inline void KCDamageTablePages(const std::string& path, const std::string& table)
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    int64_t pageSize = 0;
    std::vector<int64_t> pages;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database, "PRAGMA page_size", -1, &statement, nullptr);
    if (sqlite3_step(statement) == SQLITE_ROW)
        pageSize = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    sqlite3_prepare_v2(database, "SELECT rootpage FROM sqlite_master WHERE tbl_name = ?", -1, &statement, nullptr);
    sqlite3_bind_text(statement, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    while (sqlite3_step(statement) == SQLITE_ROW)
        pages.push_back(sqlite3_column_int64(statement, 0));
    sqlite3_finalize(statement);
    sqlite3_close(database);
    ASSERT_GT(pageSize, 0);
    ASSERT_FALSE(pages.empty());
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    for (int64_t page : pages) {
        file.seekp((page - 1) * pageSize);
        file.write(std::string(static_cast<size_t>(pageSize), '\xA5').data(), pageSize);
    }
    ASSERT_TRUE(file.good());
}
