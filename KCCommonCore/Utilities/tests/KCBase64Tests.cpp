#include "Utilities/KCBase64.h"

#include <gtest/gtest.h>

namespace {

// Round trips of any bytes, unbroken by lines, are the fuzz target's (fuzz/Base64Fuzzer.cpp).
TEST(KCBase64, EncodesGroupsAndPadding)
{
    const std::pair<KCData, const char*> cases[] = {
        {{}, ""}, {{0x4D}, "TQ=="}, {{0x4D, 0x61}, "TWE="}, {{0x4D, 0x61, 0x6E}, "TWFu"}, {{0xFB, 0xFF, 0xBF}, "+/+/"},
    };
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(KCBase64Encoding(bytes), text);
}

// White space and equals signs are skipped anywhere; foreign characters and a lone final character are refused.
TEST(KCBase64, Decoding)
{
    const std::pair<const char16_t*, std::optional<KCData>> cases[] = {
        {u"TW E=\n", KCData {0x4D, 0x61}}, {u"TQ", KCData {0x4D}}, {u"TQ==TQ==", KCData {0x4D, 0x04, 0xD0}},
        {u"=\tT\rW\fF\vu=", KCData {0x4D, 0x61, 0x6E}}, {u"", KCData()}, {u" \n==", KCData()},
        {u"T", std::nullopt}, {u"TWFuT", std::nullopt}, {u"TQ*=", std::nullopt}, {u"TWFu-_", std::nullopt},
        // Not ASCII at all, in the fast path and in the careful one.
        {u"TWFu\u00C4Q==", std::nullopt}, {u"TW\u0154u", std::nullopt},
    };
    for (const auto& [text, bytes] : cases)
        EXPECT_EQ(KCDataWithBase64EncodedString(text), bytes) << testing::PrintToString(std::u16string(text));
    EXPECT_EQ(KCDataWithBase64EncodedString(std::string_view("TWF\xC3\xA4")), std::nullopt);
    EXPECT_EQ(KCDataWithBase64EncodedString(static_cast<const std::u16string*>(nullptr)), std::nullopt);
}

} // namespace
