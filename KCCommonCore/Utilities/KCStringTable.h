#pragma once
// The string table format: UTF-8 text of entries
//     "key" = "value";
// with /* */ and // comments. Keys and values read the same escapes:
// \" \\ \n \t \r and \Uxxxx (four hex digits, one UTF-16 unit). So a key
// written "\\U201C%@\\U201D" is the literal backslash text that code asks
// for, while the value "\U201C%@\U201D" holds the curly quotation marks.
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using KCStringTableEntries = std::vector<std::pair<std::u16string, std::u16string>>;

// The entries in file order, or nothing (logged) for a malformed table.
std::optional<KCStringTableEntries> KCParseStringTable(std::string_view utf8);
