#pragma once
// Store files read and damaged behind the store's back.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>
#include <string>
#include <vector>

// The first column of every row one SQL statement answers, run on the file
// directly (created when missing).
inline std::vector<std::string> KCQueryStoreFile(const std::string& path, const std::string& sql)
{
    std::vector<std::string> rows;
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open(path.c_str(), &database) == SQLITE_OK && sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK) {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(statement, 0);
            rows.push_back(text ? reinterpret_cast<const char*>(text) : "");
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return rows;
}

// Damages a store file as a failing disk would: the pages of one table and
// its indexes are filled with garbage. The schema and the store metadata
// live on other pages, so the store still opens, but every read of the
// table fails.
inline void KCDamageTablePages(const std::string& path, const std::string& table)
{
    auto pageSizes = KCQueryStoreFile(path, "PRAGMA page_size");
    auto pages = KCQueryStoreFile(path, "SELECT rootpage FROM sqlite_master WHERE tbl_name = '" + table + "'");
    ASSERT_EQ(pageSizes.size(), 1u);
    ASSERT_FALSE(pages.empty());
    const int64_t pageSize = std::stoll(pageSizes[0]);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    for (const std::string& page : pages) {
        file.seekp((std::stoll(page) - 1) * pageSize);
        file.write(std::string(static_cast<size_t>(pageSize), '\xA5').data(), pageSize);
    }
    ASSERT_TRUE(file.good());
}
