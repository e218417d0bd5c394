#include "KCJSON.h"

namespace {

constexpr int kMaximumDepth = 64;

std::optional<KCJSON> plainJSON(const KCValue& value)
{
    switch (value.kind()) {
    case KCValue::Kind::Date: return KCJSON(value.date()->timeIntervalSinceReferenceDate);
    case KCValue::Kind::Data: return KCJSON(value.data()->size());
    default: return KCJSON(value.description());
    }
}

std::optional<KCJSON> jsonOf(const KCValue& value, const KCJSONWriter& writeOther, int depth)
{
    if (depth > kMaximumDepth)
        return std::nullopt;
    using Kind = KCValue::Kind;
    switch (value.kind()) {
    case Kind::Null: return KCJSON(nullptr);
    case Kind::Boolean: return KCJSON(*value.exactBoolean());
    case Kind::Integer: return KCJSON(*value.int64Value());
    case Kind::Unsigned: return KCJSON(*value.uint64Value());
    case Kind::Double: return KCJSON(*value.doubleValue());
    case Kind::String: return KCJSON(value.utf8String());
    case Kind::Array: {
        auto array = KCJSON::array();
        for (const KCValue& item : *value.array()) {
            auto element = jsonOf(item, writeOther, depth + 1);
            if (!element)
                return std::nullopt;
            array.push_back(std::move(*element));
        }
        return array;
    }
    case Kind::Dictionary: {
        auto object = KCJSON::object();
        for (const auto& [key, item] : *value.dictionary()) {
            auto element = jsonOf(item, writeOther, depth + 1);
            if (!element)
                return std::nullopt;
            object[key] = std::move(*element);
        }
        return object;
    }
    default: return writeOther ? writeOther(value) : plainJSON(value);
    }
}

std::optional<KCValue> valueOf(const KCJSON& json, const KCJSONBinaryReader& readBinary, int depth)
{
    if (depth > kMaximumDepth)
        return std::nullopt;
    switch (json.type()) {
    case KCJSON::value_t::null: return KCValue();
    case KCJSON::value_t::boolean: return KCValue(json.get<bool>());
    case KCJSON::value_t::number_integer: return KCValue(json.get<int64_t>());
    case KCJSON::value_t::number_unsigned: {
        uint64_t number = json.get<uint64_t>();
        return number <= INT64_MAX ? KCValue(static_cast<int64_t>(number)) : KCValue(number);
    }
    case KCJSON::value_t::number_float: return KCValue(json.get<double>());
    case KCJSON::value_t::string: return KCValue::fromUTF8(json.get_ref<const std::string&>());
    case KCJSON::value_t::binary: {
        const auto& binary = json.get_binary();
        return readBinary ? readBinary(binary) : KCValue(KCData(binary.begin(), binary.end()));
    }
    case KCJSON::value_t::array: {
        KCArray array;
        array.reserve(json.size());
        for (const KCJSON& item : json) {
            auto value = valueOf(item, readBinary, depth + 1);
            if (!value)
                return std::nullopt;
            array.push_back(std::move(*value));
        }
        return KCValue(std::move(array));
    }
    case KCJSON::value_t::object: {
        KCDictionary dictionary;
        for (const auto& [key, item] : json.items()) {
            auto value = valueOf(item, readBinary, depth + 1);
            if (!value)
                return std::nullopt;
            dictionary.set(key, std::move(*value));
        }
        return KCValue(std::move(dictionary));
    }
    default: return std::nullopt;
    }
}

} // namespace

std::optional<KCJSON> KCJSONFromValue(const KCValue& value, const KCJSONWriter& writeOther)
{
    return jsonOf(value, writeOther, 0);
}

std::optional<KCValue> KCValueFromJSON(const KCJSON& json, const KCJSONBinaryReader& readBinary)
{
    return valueOf(json, readBinary, 0);
}
