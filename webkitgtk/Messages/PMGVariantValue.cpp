#include "PMGVariantValue.h"

#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <glib.h>

namespace {

bool isArrayOfDictionaries(const KCArray& array)
{
    if (array.empty())
        return false;
    for (const auto& element : array) {
        if (!element.dictionary())
            return false;
    }
    return true;
}

GVariant* dictionaryVariant(const KCDictionary& dictionary)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
    for (const auto& [key, value] : dictionary)
        g_variant_builder_add(&builder, "{sv}", key.c_str(), PMGVariantFromKCValue(value));
    return g_variant_builder_end(&builder);
}

GVariant* arrayVariant(const KCArray& array)
{
    if (isArrayOfDictionaries(array)) {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("aa{sv}"));
        for (const auto& element : array)
            g_variant_builder_add_value(&builder, dictionaryVariant(*element.dictionary()));
        return g_variant_builder_end(&builder);
    }
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
    for (const auto& element : array)
        g_variant_builder_add(&builder, "v", PMGVariantFromKCValue(element));
    return g_variant_builder_end(&builder);
}

KCValue arrayValue(GVariant* variant)
{
    KCArray array;
    array.reserve(g_variant_n_children(variant));
    GVariantIter iterator;
    g_variant_iter_init(&iterator, variant);
    while (GVariant* child = g_variant_iter_next_value(&iterator)) {
        array.push_back(PMKCValueFromGVariant(child));
        g_variant_unref(child);
    }
    return KCValue(std::move(array));
}

} // namespace

GVariant* PMGVariantFromKCValue(const KCValue& value)
{
    switch (value.kind()) {
    case KCValue::Kind::Null:
        return g_variant_new_tuple(nullptr, 0);
    case KCValue::Kind::Boolean:
        return g_variant_new_boolean(*value.exactBoolean());
    case KCValue::Kind::Integer:
        return g_variant_new_int64(*value.int64Value());
    case KCValue::Kind::Unsigned:
        return g_variant_new_uint64(*value.uint64Value());
    case KCValue::Kind::Double:
        return g_variant_new_double(*value.doubleValue());
    case KCValue::Kind::String:
        return g_variant_new_string(value.utf8String().c_str());
    case KCValue::Kind::Data: {
        const KCData& data = *value.data();
        return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, data.data(), data.size(), 1);
    }
    case KCValue::Kind::Date:
        return g_variant_new_double(value.date()->timeIntervalSinceReferenceDate);
    case KCValue::Kind::URL:
        return g_variant_new_string(value.description().c_str());
    case KCValue::Kind::Array:
        return arrayVariant(*value.array());
    case KCValue::Kind::Dictionary:
        return dictionaryVariant(*value.dictionary());
    case KCValue::Kind::Object:
        break;
    }
    KCLog("Cannot send %@ in a message; sending null", value);
    return g_variant_new_tuple(nullptr, 0);
}

KCValue PMKCValueFromGVariant(GVariant* variant)
{
    if (!variant)
        return KCValue();
    const GVariantType* type = g_variant_get_type(variant);
    if (g_variant_type_equal(type, G_VARIANT_TYPE_BOOLEAN))
        return KCValue(static_cast<bool>(g_variant_get_boolean(variant)));
    if (g_variant_type_equal(type, G_VARIANT_TYPE_INT64))
        return KCValue(static_cast<long long>(g_variant_get_int64(variant)));
    if (g_variant_type_equal(type, G_VARIANT_TYPE_INT32))
        return KCValue(static_cast<long long>(g_variant_get_int32(variant)));
    if (g_variant_type_equal(type, G_VARIANT_TYPE_UINT64))
        return KCValue(static_cast<unsigned long long>(g_variant_get_uint64(variant)));
    if (g_variant_type_equal(type, G_VARIANT_TYPE_UINT32))
        return KCValue(static_cast<unsigned long long>(g_variant_get_uint32(variant)));
    if (g_variant_type_equal(type, G_VARIANT_TYPE_DOUBLE))
        return KCValue(g_variant_get_double(variant));
    if (g_variant_type_equal(type, G_VARIANT_TYPE_STRING) || g_variant_type_equal(type, G_VARIANT_TYPE_OBJECT_PATH))
        return KCValue::fromUTF8(g_variant_get_string(variant, nullptr));
    if (g_variant_type_equal(type, G_VARIANT_TYPE_BYTESTRING)) {
        gsize length = 0;
        auto* bytes = static_cast<const uint8_t*>(g_variant_get_fixed_array(variant, &length, 1));
        return KCValue(KCData(bytes, bytes + length));
    }
    if (g_variant_type_equal(type, G_VARIANT_TYPE_VARIANT)) {
        GVariant* inner = g_variant_get_variant(variant);
        KCValue value = PMKCValueFromGVariant(inner);
        g_variant_unref(inner);
        return value;
    }
    if (g_variant_type_is_subtype_of(type, G_VARIANT_TYPE("a{s*}"))) {
        KCDictionary dictionary;
        GVariantIter iterator;
        g_variant_iter_init(&iterator, variant);
        const char* key = nullptr;
        GVariant* child = nullptr;
        while (g_variant_iter_next(&iterator, "{&s@*}", &key, &child)) {
            dictionary.set(key, PMKCValueFromGVariant(child));
            g_variant_unref(child);
        }
        return KCValue(std::move(dictionary));
    }
    if (g_variant_type_is_array(type))
        return arrayValue(variant);
    if (g_variant_type_is_tuple(type) && g_variant_n_children(variant) == 0)
        return KCValue();
    if (g_variant_type_is_maybe(type)) {
        GVariant* inner = g_variant_get_maybe(variant);
        if (!inner)
            return KCValue();
        KCValue value = PMKCValueFromGVariant(inner);
        g_variant_unref(inner);
        return value;
    }
    KCLog("Cannot read a message value of type %s", g_variant_get_type_string(variant));
    return KCValue();
}
