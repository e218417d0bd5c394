#include "Utilities/KCBase64.h"

#include <gtest/gtest.h>

namespace {

// Round trips of any bytes, unbroken by lines, are the fuzz target's (fuzz/Base64Fuzzer.cpp).
TEST(KCBase64, EncodesGroupsAndPadding)
{
    EXPECT_EQ(KCBase64Encoding(KCData()), "");
    EXPECT_EQ(KCBase64Encoding(KCData {0x4D}), "TQ==");
    EXPECT_EQ(KCBase64Encoding(KCData {0x4D, 0x61}), "TWE=");
    EXPECT_EQ(KCBase64Encoding(KCData {0x4D, 0x61, 0x6E}), "TWFu");
    EXPECT_EQ(KCBase64Encoding(KCData {0xFB, 0xFF, 0xBF}), "+/+/");
    std::string foobar = "foobar";
    EXPECT_EQ(KCBase64Encoding(std::span(reinterpret_cast<const uint8_t*>(foobar.data()), foobar.size())), "Zm9vYmFy");
}

TEST(KCBase64, DecodingSkipsWhiteSpaceAndEqualsSignsAnywhere)
{
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TW E=\n"), (KCData {0x4D, 0x61}));
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TQ"), KCData {0x4D});
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TQ==TQ=="), (KCData {0x4D, 0x04, 0xD0}));
    EXPECT_EQ(KCDataWithBase64EncodedString(u"=\tT\rW\fF\vu="), (KCData {0x4D, 0x61, 0x6E}));
    EXPECT_EQ(KCDataWithBase64EncodedString(u""), KCData());
    EXPECT_EQ(KCDataWithBase64EncodedString(u" \n=="), KCData());
}

TEST(KCBase64, DecodingRejectsForeignCharactersAndLoneFinalCharacter)
{
    EXPECT_EQ(KCDataWithBase64EncodedString(u"T"), std::nullopt);
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TWFuT"), std::nullopt);
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TQ*="), std::nullopt);
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TWFu-_"), std::nullopt);
    // Not ASCII at all, in the fast path and in the careful one.
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TWFu\u00C4Q=="), std::nullopt);
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TW\u0154u"), std::nullopt);
    EXPECT_EQ(KCDataWithBase64EncodedString(std::string_view("TWF\xC3\xA4")), std::nullopt);
    EXPECT_EQ(KCDataWithBase64EncodedString(static_cast<const std::u16string*>(nullptr)), std::nullopt);
    std::u16string text = u"TWFu";
    EXPECT_EQ(KCDataWithBase64EncodedString(&text), (KCData {0x4D, 0x61, 0x6E}));
}

} // namespace
