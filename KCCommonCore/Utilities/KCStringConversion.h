#pragma once
// UTF-8 <-> UTF-16 conversion at the edges (files, SQLite, logs, command line).
// Invalid input never fails: ill-formed sequences become U+FFFD.
#include <string>
#include <string_view>

std::u16string KCUTF16FromUTF8(std::string_view utf8);
std::string KCUTF8FromUTF16(std::u16string_view utf16);

// True when the text holds only well-formed UTF-16 (no lone surrogates).
bool KCIsWellFormedUTF16(std::u16string_view utf16);
