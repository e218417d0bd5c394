#include "Messages/PMGVariantValue.h"

#include <glib.h>
#include <gtest/gtest.h>

namespace {

KCValue roundTrip(const KCValue& value)
{
    GVariant* variant = g_variant_ref_sink(PMGVariantFromKCValue(value));
    KCValue result = PMKCValueFromGVariant(variant);
    g_variant_unref(variant);
    return result;
}

TEST(PMGVariantValue, TaskBodiesKeepTheirKinds)
{
    KCDictionary context {{"rangeLocation", 4u}, {"rangeLength", 7u}, {"context", u"A lantern, café ＦＵＬＬ."}};
    KCDictionary body {
        {"PMEpubWebProcessPlugInObjectDocumentIndex", 7u},
        {"task", -2},
        {"PMEpubWebProcessPlugInMessageSnapshotViewportOnly", true},
        {"scale", 0.5},
        {"PMEpubWebProcessPlugInObjectBloomFilter", KCData {0, 1, 255}},
        {"PMEpubWebProcessPlugInObjectContextArray", KCArray {KCValue(context), KCValue(context)}},
        {"mixed", KCArray {KCValue(1), KCValue(u"two"), KCValue()}},
        {"empty", KCArray {}},
    };
    EXPECT_EQ(roundTrip(KCValue(body)), KCValue(body));

    GVariant* variant = g_variant_ref_sink(PMGVariantFromKCValue(KCValue(body)));
    EXPECT_STREQ(g_variant_get_type_string(variant), "a{sv}");
    GVariant* contexts = g_variant_lookup_value(variant, "PMEpubWebProcessPlugInObjectContextArray", nullptr);
    EXPECT_STREQ(g_variant_get_type_string(contexts), "aa{sv}");
    GVariant* data = g_variant_lookup_value(variant, "PMEpubWebProcessPlugInObjectBloomFilter", nullptr);
    EXPECT_STREQ(g_variant_get_type_string(data), "ay");
    g_variant_unref(data);
    g_variant_unref(contexts);
    g_variant_unref(variant);
}

TEST(PMGVariantValue, ForeignAndMissingValues)
{
    EXPECT_TRUE(PMKCValueFromGVariant(nullptr).isNull());
    // What other senders may use: 32-bit numbers, maybes, unusual types.
    const std::pair<GVariant*, KCValue> foreign[] = {{g_variant_new_int32(-3), KCValue(-3)},
        {g_variant_new_maybe(G_VARIANT_TYPE_STRING, nullptr), KCValue()}, {g_variant_new_handle(3), KCValue()}};
    for (const auto& [variant, expected] : foreign) {
        g_variant_ref_sink(variant);
        EXPECT_EQ(PMKCValueFromGVariant(variant), expected) << g_variant_get_type_string(variant);
        g_variant_unref(variant);
    }
}

} // namespace
