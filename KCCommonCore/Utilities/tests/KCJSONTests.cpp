#include "Utilities/KCJSON.h"

#include <gtest/gtest.h>

namespace {

TEST(KCJSON, PlainFormsOfKindsJSONLacks)
{
    KCDictionary dictionary {{"z", KCValue(1)}, {"a", KCValue(u"x")}, {"when", KCDate {86400.5}}, {"bytes", KCData {1, 2, 3}},
        {"list", KCArray {KCValue(true), KCValue(), KCValue(uint64_t(UINT64_MAX))}}};
    auto json = KCJSONFromValue(KCValue(dictionary));
    ASSERT_TRUE(json);
    EXPECT_EQ(json->dump(), R"({"z":1,"a":"x","when":86400.5,"bytes":3,"list":[true,null,18446744073709551615]})");

    auto back = KCValueFromJSON(*json);
    ASSERT_TRUE(back);
    EXPECT_EQ((*back)["z"], KCValue(1));
    EXPECT_EQ((*back)["a"], KCValue(u"x"));
    EXPECT_EQ((*back)["list"], KCValue(KCArray {KCValue(true), KCValue(), KCValue(uint64_t(UINT64_MAX))}));
    EXPECT_EQ(KCValueFromJSON(KCJSON(uint64_t(7)))->kind(), KCValue::Kind::Integer);
}

TEST(KCJSON, CallersWriteAndReadTheirOwnForms)
{
    KCValue nested(KCArray {KCValue(KCDate {1.0})});
    auto refused = KCJSONFromValue(nested, [](const KCValue&) { return std::optional<KCJSON>(); });
    EXPECT_FALSE(refused);
    auto tagged = KCJSONFromValue(nested, [](const KCValue& value) { return std::optional<KCJSON>(KCJSON::binary({9}, value.date() ? 1 : 2)); });
    ASSERT_TRUE(tagged);
    auto read = KCValueFromJSON(*tagged, [](const KCJSON::binary_t& binary) { return std::optional<KCValue>(KCValue(int(binary.subtype()))); });
    EXPECT_EQ(read, KCValue(KCArray {KCValue(1)}));
    EXPECT_EQ(KCValueFromJSON(*tagged), KCValue(KCArray {KCValue(KCData {9})}));
}

TEST(KCJSON, DeepNestingIsRefused)
{
    KCValue deep(1);
    for (int i = 0; i < 100; ++i)
        deep = KCValue(KCArray {deep});
    EXPECT_FALSE(KCJSONFromValue(deep));
    KCJSON json = 1;
    for (int i = 0; i < 100; ++i)
        json = KCJSON::array({json});
    EXPECT_FALSE(KCValueFromJSON(json));
}

} // namespace
