#pragma once
// The stored form of values that have no column type of their own (value
// attributes and store metadata): CBOR, with dates and URLs as tagged byte strings.
// Errors: both answer nothing for values that cannot be stored or bytes that are not a stored value.
#include "Utilities/KCValue.h"

#include <cstdint>
#include <optional>
#include <span>

// Nothing for values that cannot be stored (opaque objects, or containers holding one).
std::optional<KCData> KCEncodeStoreValue(const KCValue& value);
// Nothing for bytes that are not a stored value.
std::optional<KCValue> KCDecodeStoreValue(std::span<const uint8_t> bytes);
