#include "resources/PMURLProtocol.h"

#include "testing/PMLogCapture.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

KCData bytes(size_t count)
{
    KCData data(count);
    std::iota(data.begin(), data.end(), uint8_t(7));
    return data;
}

KCURL fontURL(const char* name)
{
    return *KCURL::fileURLWithPath(std::string("/book/fonts/") + name);
}

KCDictionary idpfInfo(const char16_t* identifier)
{
    return {{"encryptionAlgorithm", PMIDPFFontObfuscationAlgorithm}, {"bookEpubId", identifier}};
}

KCDictionary adobeInfo(const char16_t* identifier)
{
    return {{"encryptionAlgorithm", PMAdobeFontObfuscationAlgorithm}, {"bookEpubIdWithUUIDScheme", identifier}};
}

TEST(PMFontDeobfuscation, IDPFMaskIsTheSHA1OfTheIdentifier)
{
    auto mask = PMURLProtocol::createIDPFXORMaskWithEPubID(u"abc");
    ASSERT_TRUE(mask);
    const KCData digest {0xa9, 0x99, 0x3e, 0x36, 0x47, 0x06, 0x81, 0x6a, 0xba, 0x3e, 0x25, 0x71, 0x78, 0x50, 0xc2, 0x6c, 0x9c, 0xd0, 0xd8, 0x9d};
    EXPECT_EQ(*mask, digest);
    // Nothing is trimmed here, and an empty identifier still has a digest.
    EXPECT_NE(PMURLProtocol::createIDPFXORMaskWithEPubID(u" abc"), mask);
    EXPECT_EQ(PMURLProtocol::createIDPFXORMaskWithEPubID(u"")->size(), 20u);
    EXPECT_FALSE(PMURLProtocol::createIDPFXORMaskWithEPubID(std::nullopt));

    // Whole fonts under both schemes, obfuscated by the tests' own code, are
    // served intact in app/book/tests; here the edges: a font shorter than
    // the span is XORed whole.
    KCData shortFont = bytes(30);
    KCData shortResult = PMURLProtocol::unencryptFontWithAssetInfo(idpfInfo(u"abc"), shortFont, fontURL("a.otf"));
    ASSERT_EQ(shortResult.size(), 30u);
    EXPECT_EQ(shortResult[29], shortFont[29] ^ (*mask)[9]);
    EXPECT_TRUE(PMURLProtocol::unencryptFontWithAssetInfo(idpfInfo(u"abc"), {}, fontURL("a.otf")).empty());
}

TEST(PMFontDeobfuscation, AdobeMaskKeepsTheLengthOfTheUUIDText)
{
    const KCData uuid {0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde, 0xf0, 0x0f, 0xed, 0xcb, 0xa9, 0x87, 0x65, 0x43, 0x21};
    auto hyphenated = PMURLProtocol::createAdobeXORMaskWithEPubID(u"urn:uuid:12345678-9abc-DEF0-0fed-cba987654321");
    ASSERT_TRUE(hyphenated);
    ASSERT_EQ(hyphenated->size(), 36u);
    EXPECT_TRUE(std::equal(uuid.begin(), uuid.end(), hyphenated->begin()));
    EXPECT_TRUE(std::all_of(hyphenated->begin() + 16, hyphenated->end(), [](uint8_t b) { return b == 0; }));

    auto plain = PMURLProtocol::createAdobeXORMaskWithEPubID(u"urn:uuid:123456789abcdef00fedcba987654321");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->size(), 32u);
    EXPECT_TRUE(std::equal(uuid.begin(), uuid.end(), plain->begin()));

    // The scheme may appear anywhere; braces and blanks are skipped.
    EXPECT_EQ(PMURLProtocol::createAdobeXORMaskWithEPubID(u"id urn:uuid:{12345678-9abc-def0-0fed-cba987654321}")->size(), 38u);
    EXPECT_EQ(PMURLProtocol::createAdobeXORMaskWithEPubID(u"123456789abcdef00fedcba987654321")->size(), 32u);

    EXPECT_FALSE(PMURLProtocol::createAdobeXORMaskWithEPubID(u"urn:uuid:123456789abcdef00fedcba9876543"));      // 15 bytes
    EXPECT_FALSE(PMURLProtocol::createAdobeXORMaskWithEPubID(u"urn:uuid:123456789abcdef00fedcba98765432100"));  // 17 bytes
    EXPECT_FALSE(PMURLProtocol::createAdobeXORMaskWithEPubID(u"urn:uuid:"));
    EXPECT_FALSE(PMURLProtocol::createAdobeXORMaskWithEPubID(std::nullopt));
}

TEST(PMFontDeobfuscation, WithoutAUsableKeyTheDataIsUnchanged)
{
    KCData original = bytes(1500);
    for (const KCDictionary& info : {adobeInfo(u""), adobeInfo(u"urn:uuid:1234"), KCDictionary {{"encryptionAlgorithm", PMIDPFFontObfuscationAlgorithm}},
             KCDictionary {{"encryptionAlgorithm", u"http://example.org/other"}, {"bookEpubId", u"x"}}, KCDictionary {}})
        EXPECT_EQ(PMURLProtocol::unencryptFontWithAssetInfo(info, original, fontURL("a.ttf")), original);
}

TEST(PMFontDeobfuscation, LogsTheXORAndTheSignatureOfLowerCaseFontExtensions)
{
    KCData font(64, 0);
    {
        PMLogCapture log;
        PMURLProtocol::unencryptFontWithAssetInfo(adobeInfo(u""), font, fontURL("plain.ttf"));
        EXPECT_FALSE(log.contains("Going to xor"));
        EXPECT_TRUE(log.contains("XOR concluded for file:///book/fonts/plain.ttf -- http://ns.adobe.com/pdf/enc#RC -- [Bytes: 00000000 00000000 00000000 00000000]"));
    }
    {
        PMLogCapture log;
        KCData result = PMURLProtocol::unencryptFontWithAssetInfo(adobeInfo(u"urn:uuid:12345678-9abc-def0-0fed-cba987654321"), font, fontURL("UPPER.OTF"));
        EXPECT_EQ(result[0], 0x12);  // de-obfuscated, but only the XOR itself is logged
        EXPECT_TRUE(log.contains("Going to xor file:///book/fonts/UPPER.OTF -- http://ns.adobe.com/pdf/enc#RC"));
        EXPECT_FALSE(log.contains("XOR concluded"));
    }
    {
        // A file shorter than sixteen bytes shows zeros past its end.
        PMLogCapture log;
        PMURLProtocol::unencryptFontWithAssetInfo(KCDictionary {}, KCData {0, 1, 0, 0}, fontURL("tiny.otf"));
        EXPECT_TRUE(log.contains("-- (null) -- [Bytes: 00010000 00000000 00000000 00000000]"));
    }
}

} // namespace
