#pragma once
// Base64 with the standard alphabet and "=" padding. Encoding never breaks
// lines. Decoding is lenient about white space and "=" (skipped wherever they
// stand) and strict about everything else: any other character outside the
// alphabet, a non-ASCII unit, or a lone final character gives nothing.
// Errors: decoding answers nothing for malformed input; nothing is logged.
#include "KCValue.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

std::string KCBase64Encoding(std::span<const uint8_t> data);

std::optional<KCData> KCDataWithBase64EncodedString(std::u16string_view string);
std::optional<KCData> KCDataWithBase64EncodedString(std::string_view ascii);
// A null string decodes to nothing.
std::optional<KCData> KCDataWithBase64EncodedString(const std::u16string* string);
