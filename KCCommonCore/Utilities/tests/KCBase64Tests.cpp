#include "Utilities/KCBase64.h"

#include <gtest/gtest.h>

#include <random>

namespace {

KCData bytes(std::initializer_list<int> values)
{
    KCData data;
    for (int value : values)
        data.push_back(static_cast<uint8_t>(value));
    return data;
}

TEST(KCBase64, EncodesGroupsAndPadding)
{
    EXPECT_EQ(KCBase64Encoding(KCData()), "");
    EXPECT_EQ(KCBase64Encoding(bytes({0x4D})), "TQ==");
    EXPECT_EQ(KCBase64Encoding(bytes({0x4D, 0x61})), "TWE=");
    EXPECT_EQ(KCBase64Encoding(bytes({0x4D, 0x61, 0x6E})), "TWFu");
    EXPECT_EQ(KCBase64Encoding(bytes({0xFB, 0xFF, 0xBF})), "+/+/");
    std::string foobar = "foobar";
    EXPECT_EQ(KCBase64Encoding(std::span(reinterpret_cast<const uint8_t*>(foobar.data()), foobar.size())), "Zm9vYmFy");
}

TEST(KCBase64, NeverBreaksLines)
{
    for (size_t length : {57u, 600u}) {
        std::string encoded = KCBase64Encoding(KCData(length, 0xA5));
        EXPECT_EQ(encoded.size(), length / 3 * 4);
        EXPECT_EQ(encoded.find_first_of("\r\n"), std::string::npos);
    }
}

TEST(KCBase64, DecodingSkipsWhiteSpaceAndEqualsSignsAnywhere)
{
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TW E=\n"), bytes({0x4D, 0x61}));
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TQ"), bytes({0x4D}));
    EXPECT_EQ(KCDataWithBase64EncodedString(u"TQ==TQ=="), bytes({0x4D, 0x04, 0xD0}));
    EXPECT_EQ(KCDataWithBase64EncodedString(u"=\tT\rW\fF\vu="), bytes({0x4D, 0x61, 0x6E}));
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
    EXPECT_EQ(KCDataWithBase64EncodedString(&text), bytes({0x4D, 0x61, 0x6E}));
}

TEST(KCBase64, RandomRoundTripsThroughNoisyText)
{
    std::mt19937 random(20240611);
    const std::u16string noise = u" \t\r\n=";
    for (int round = 0; round < 300; ++round) {
        KCData data(random() % 200);
        for (auto& byte : data)
            byte = static_cast<uint8_t>(random());
        std::string encoded = KCBase64Encoding(data);
        ASSERT_EQ(KCDataWithBase64EncodedString(std::string_view(encoded)), data);

        std::u16string noisy;
        for (char c : encoded) {
            while (random() % 5 == 0)
                noisy.push_back(noise[random() % noise.size()]);
            noisy.push_back(static_cast<char16_t>(c));
        }
        ASSERT_EQ(KCDataWithBase64EncodedString(noisy), data) << std::string(noisy.begin(), noisy.end());
    }
}

} // namespace
