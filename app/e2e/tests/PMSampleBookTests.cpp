// The sample books' fonts must be obfuscated exactly as the engine undoes it,
// or every end-to-end font check would test the wrong thing.
#include "e2e/PMSampleBook.h"
#include "resources/PMURLProtocol.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>

namespace {

TEST(PMSampleBook, FontsRoundTripThroughTheEngine)
{
    std::ifstream file("/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf", std::ios::binary);
    std::string font((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    ASSERT_GT(font.size(), 2000u);
    const std::string identifier = "urn:uuid:3b1f6c2e-8d4a-4f7b-a9e0-52c7d18e6a94";
    auto URL = *KCURL::URLWithString("file:///b/OEBPS/fonts/sample-serif.ttf");

    struct Scheme {
        PMFontObfuscation obfuscation;
        const char* algorithm;
        size_t span;
    };
    for (const Scheme& scheme : {Scheme {PMFontObfuscation::IDPF, "http://www.idpf.org/2008/embedding", 1040},
             Scheme {PMFontObfuscation::Adobe, "http://ns.adobe.com/pdf/enc#RC", 1024}}) {
        std::string obfuscated = PMObfuscateFont(font, scheme.obfuscation, identifier);
        EXPECT_NE(obfuscated.substr(0, 16), font.substr(0, 16));
        EXPECT_EQ(obfuscated.substr(scheme.span), font.substr(scheme.span));
        KCDictionary information {{"encryptionAlgorithm", KCValue::fromUTF8(scheme.algorithm)},
            {"bookEpubId", KCValue::fromUTF8(identifier)}, {"bookEpubIdWithUUIDScheme", KCValue::fromUTF8(identifier)}};
        KCData clear = PMURLProtocol::unencryptFontWithAssetInfo(information, KCData(obfuscated.begin(), obfuscated.end()), URL);
        EXPECT_EQ(std::string(clear.begin(), clear.end()), font) << scheme.algorithm;
    }
}

TEST(PMSampleBook, MarkersAreDistinctAndLongEnoughToFilter)
{
    std::set<std::string> markers;
    for (int k = 0; k < 8; ++k) {
        EXPECT_EQ(PMGeneratedMarker(k).size(), 12u);
        markers.insert(PMGeneratedMarker(k));
    }
    EXPECT_EQ(markers.size(), 8u);
    auto chapters = PMGeneratedChapters(4, 1);
    ASSERT_EQ(chapters.size(), 4u);
    EXPECT_NE(chapters[2].bodyXHTML.find(PMGeneratedMarker(0)), std::string::npos);
    EXPECT_EQ(chapters[3].bodyXHTML.find(PMGeneratedMarker(0)), std::string::npos);
}

} // namespace
