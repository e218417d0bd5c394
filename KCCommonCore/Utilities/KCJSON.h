#pragma once
// The one conversion between values and JSON, for everything that prints,
// reads or stores values as JSON. Kinds JSON has no type for are written,
// unless the caller writes them itself: dates as seconds since 1 January
// 2001, data as its length in bytes, URLs and opaque objects as their
// description. Dictionaries keep their order.
// Errors: both conversions answer nothing for values nested deeper than 64
// levels, or when the caller's writer or reader refuses a value.
#include "KCValue.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>

using KCJSON = nlohmann::ordered_json;

// Writes a date, data, URL or opaque object; nothing refuses the whole value.
using KCJSONWriter = std::function<std::optional<KCJSON>(const KCValue&)>;
// Reads a binary JSON value (only CBOR has them); nothing refuses the whole value.
using KCJSONBinaryReader = std::function<std::optional<KCValue>(const KCJSON::binary_t&)>;

std::optional<KCJSON> KCJSONFromValue(const KCValue& value, const KCJSONWriter& writeOther = {});

// Unsigned numbers that fit are read as signed integers, binary values
// without a reader as data.
std::optional<KCValue> KCValueFromJSON(const KCJSON& json, const KCJSONBinaryReader& readBinary = {});
