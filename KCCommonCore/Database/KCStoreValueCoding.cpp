#include "KCStoreValueCoding.h"

#include "Utilities/KCStringConversion.h"

#include <nlohmann/json.hpp>

#include <bit>
#include <cstring>

namespace {

using Json = nlohmann::ordered_json;

enum Subtype : uint8_t { kDateSubtype = 1, kURLSubtype = 2 };
constexpr int kMaximumDepth = 64;

bool toJSON(const KCValue& value, Json& out, int depth)
{
    if (depth > kMaximumDepth)
        return false;
    using Kind = KCValue::Kind;
    switch (value.kind()) {
    case Kind::Null: out = nullptr; return true;
    case Kind::Boolean: out = *value.exactBoolean(); return true;
    case Kind::Integer: out = *value.int64Value(); return true;
    case Kind::Unsigned: out = *value.uint64Value(); return true;
    case Kind::Double: out = *value.doubleValue(); return true;
    case Kind::String: out = value.utf8String(); return true;
    case Kind::Data: out = Json::binary(*value.data()); return true;
    case Kind::Date: {
        uint64_t bits = std::bit_cast<uint64_t>(value.date()->timeIntervalSinceReferenceDate);
        std::vector<uint8_t> bytes(8);
        for (int i = 0; i < 8; ++i)
            bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(bits >> (56 - 8 * i));
        out = Json::binary(std::move(bytes), kDateSubtype);
        return true;
    }
    case Kind::URL: {
        const std::string& text = value.url()->absoluteString();
        out = Json::binary(std::vector<uint8_t>(text.begin(), text.end()), kURLSubtype);
        return true;
    }
    case Kind::Array:
        out = Json::array();
        for (const KCValue& item : *value.array()) {
            Json element;
            if (!toJSON(item, element, depth + 1))
                return false;
            out.push_back(std::move(element));
        }
        return true;
    case Kind::Dictionary:
        out = Json::object();
        for (const auto& [key, item] : *value.dictionary()) {
            Json element;
            if (!toJSON(item, element, depth + 1))
                return false;
            out[key] = std::move(element);
        }
        return true;
    case Kind::Object:
        return false;
    }
    return false;
}

std::optional<KCValue> fromJSON(const Json& json, int depth)
{
    if (depth > kMaximumDepth)
        return std::nullopt;
    switch (json.type()) {
    case Json::value_t::null: return KCValue();
    case Json::value_t::boolean: return KCValue(json.get<bool>());
    case Json::value_t::number_integer: return KCValue(json.get<int64_t>());
    case Json::value_t::number_unsigned: {
        uint64_t number = json.get<uint64_t>();
        return number <= INT64_MAX ? KCValue(static_cast<int64_t>(number)) : KCValue(number);
    }
    case Json::value_t::number_float: return KCValue(json.get<double>());
    case Json::value_t::string: return KCValue::fromUTF8(json.get_ref<const std::string&>());
    case Json::value_t::binary: {
        const auto& binary = json.get_binary();
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
    case Json::value_t::array: {
        KCArray array;
        array.reserve(json.size());
        for (const Json& item : json) {
            auto value = fromJSON(item, depth + 1);
            if (!value)
                return std::nullopt;
            array.push_back(std::move(*value));
        }
        return KCValue(std::move(array));
    }
    case Json::value_t::object: {
        KCDictionary dictionary;
        for (const auto& [key, item] : json.items()) {
            auto value = fromJSON(item, depth + 1);
            if (!value)
                return std::nullopt;
            dictionary.set(key, std::move(*value));
        }
        return KCValue(std::move(dictionary));
    }
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<KCData> KCEncodeStoreValue(const KCValue& value)
{
    Json json;
    if (!toJSON(value, json, 0))
        return std::nullopt;
    return Json::to_cbor(json);
}

std::optional<KCValue> KCDecodeStoreValue(std::span<const uint8_t> bytes)
{
    Json json = Json::from_cbor(bytes.begin(), bytes.end(), true, false, Json::cbor_tag_handler_t::store);
    if (json.is_discarded())
        return std::nullopt;
    return fromJSON(json, 0);
}
