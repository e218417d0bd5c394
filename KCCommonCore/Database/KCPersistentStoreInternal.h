#pragma once
// What the store's source files share; not for use outside the store.
// Errors: KCIsSQLiteFileOrEmpty answers false and fills *error for anything but a missing, empty or SQLite file.
#include "KCStoreError.h"
#include "Utilities/KCValue.h"

#include <string>
#include <string_view>

inline constexpr const char* KCStoreMetadataTable = "KCStoreMetadata";

// A table or column name as an SQL identifier.
inline std::string KCQuotedSQLName(std::string_view name)
{
    std::string text;
    text.reserve(name.size() + 2);
    text.append(1, '"').append(name).append(1, '"');
    return text;
}

inline const KCValue& KCStoreMetadataValue(const KCDictionary& metadata, std::string_view key)
{
    const KCValue* value = metadata.find(key);
    return value ? *value : KCNullValue();
}

// Whether the file at `path` is missing (exists false), empty or an SQLite
// file; fails with not-a-store for any other file, without writing to it.
bool KCIsSQLiteFileOrEmpty(const std::string& path, bool& exists, KCError* error);
