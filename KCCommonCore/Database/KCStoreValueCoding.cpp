#include "KCStoreValueCoding.h"

#include "Utilities/KCJSON.h"

#include <bit>

namespace {

enum Subtype : uint8_t { kDateSubtype = 1, kURLSubtype = 2 };

// Dates, URLs and data keep their kind in the store: as tagged byte strings.
std::optional<KCJSON> storedForm(const KCValue& value)
{
    switch (value.kind()) {
    case KCValue::Kind::Data: return KCJSON::binary(*value.data());
    case KCValue::Kind::Date: {
        uint64_t bits = std::bit_cast<uint64_t>(value.date()->timeIntervalSinceReferenceDate);
        std::vector<uint8_t> bytes(8);
        for (int i = 0; i < 8; ++i)
            bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(bits >> (56 - 8 * i));
        return KCJSON::binary(std::move(bytes), kDateSubtype);
    }
    case KCValue::Kind::URL: {
        const std::string& text = value.url()->absoluteString();
        return KCJSON::binary(std::vector<uint8_t>(text.begin(), text.end()), kURLSubtype);
    }
    default: return std::nullopt;
    }
}

std::optional<KCValue> storedValue(const KCJSON::binary_t& binary)
{
    if (!binary.has_subtype())
        return KCValue(KCData(binary.begin(), binary.end()));
    if (binary.subtype() == kDateSubtype && binary.size() == 8) {
        uint64_t bits = 0;
        for (uint8_t byte : binary)
            bits = bits << 8 | byte;
        return KCValue(KCDate {std::bit_cast<double>(bits)});
    }
    if (binary.subtype() == kURLSubtype) {
        if (auto url = KCURL::URLWithString(std::string(binary.begin(), binary.end())))
            return KCValue(*url);
    }
    return std::nullopt;
}

} // namespace

std::optional<KCData> KCEncodeStoreValue(const KCValue& value)
{
    auto json = KCJSONFromValue(value, storedForm);
    if (!json)
        return std::nullopt;
    return KCJSON::to_cbor(*json);
}

std::optional<KCValue> KCDecodeStoreValue(std::span<const uint8_t> bytes)
{
    KCJSON json = KCJSON::from_cbor(bytes.begin(), bytes.end(), true, false, KCJSON::cbor_tag_handler_t::store);
    if (json.is_discarded())
        return std::nullopt;
    return KCValueFromJSON(json, storedValue);
}
