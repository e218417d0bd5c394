#include "Search/KCBloomFilter.h"
#include "Search/KCSearchCoding.h"

#include "Utilities/tests/KCTestLocale.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <random>
#include <set>

namespace {

uint64_t usableSize(size_t request)
{
    void* block = std::malloc(request);
    uint64_t size = malloc_usable_size(block);
    std::free(block);
    return size;
}

// The djb2 recurrence written out from scratch: seed, then h * 33 + unit
// over the key rotated left by i.
uint64_t referenceHash(std::u16string_view key, size_t i)
{
    static const uint64_t seeds[8] = {0x1AFA82F3983E0FA2, 0x7E132804DADB4424, 0x9563F4E52A1C7B0F, 0x7A00CF0D50391521,
        0xF77A829AD0BAFF94, 0xB65119699B273624, 0x3D9CC1A1831D9AFC, 0};
    std::u16string rotated(key);
    if (!key.empty())
        std::rotate(rotated.begin(), rotated.begin() + static_cast<long>(i % key.size()), rotated.end());
    uint64_t h = seeds[i];
    for (char16_t unit : rotated)
        h = h * 33 + unit;
    return h;
}

KCBloomFilterCharacterKey characterKey(std::u16string_view text)
{
    return {text.data(), static_cast<int64_t>(text.size())};
}

std::vector<uint8_t> bitsOf(const KCBloomFilter& filter)
{
    const auto& bits = filter.bitVector();
    return {bits.bytes, bits.bytes + bits.byteCount};
}

TEST(KCBloomFilter, SizesFromTheSpecificationAndTheAllocator)
{
    struct Case {
        KCBloomFilterSpecification specification;
        size_t requested;
    } cases[] = {
        {{7, 1.0, 1}, 1},       // x < 1
        {{1000, 1.0, 1}, 125},
        {{1000, 2.5, 3}, 312},  // truncated toward zero
        {{100, std::nan(""), 1}, 1},
        {{-5, 1.0, 1}, 1},
    };
    for (const auto& [specification, requested] : cases) {
        KCBloomFilter filter(specification, KCBloomFilterCharacterHashProvider());
        EXPECT_EQ(filter.indexSize(), usableSize(requested)) << requested;
        EXPECT_GE(filter.indexSize(), requested);
        EXPECT_EQ(filter.usageDescription(), "0.00% of bits turned on.");
    }
}

TEST(KCBloomFilter, SetsExactlyTheBitsOfTheSeededHashes)
{
    // Several sizes, so that bit positions wrap at different moduli.
    for (KCBloomFilterSpecification specification : {KCBloomFilterSpecification {1, 1.0, 8}, KCBloomFilterSpecification {400, 1.0, 8},
             KCBloomFilterSpecification {99991, 3.0, 8}}) {
        KCBloomFilter filter(specification, KCBloomFilterCharacterHashProvider());
        const uint64_t bitCount = 8 * filter.indexSize();
        std::set<uint64_t> expected;
        for (std::u16string_view key : {u"abcd", u"bcde", u"\u00E9t\u00E9\uFFFF", u"", u"a much longer key than four units"}) {
            auto characters = characterKey(key);
            filter.addKey(&characters);
            uint64_t hashes[8];
            KCBloomFilterCharacterHashProvider()(&characters, hashes, 8);
            for (size_t i = 0; i < 8; ++i) {
                EXPECT_EQ(hashes[i], referenceHash(key, i)) << i;  // the whole 64 bits, not only the bit position
                expected.insert(referenceHash(key, i) % bitCount);
            }
        }
        std::vector<uint8_t> bits = bitsOf(filter);
        for (uint64_t p = 0; p < bitCount; ++p)
            ASSERT_EQ(bool(bits[p / 8] & (1u << (p % 8))), expected.contains(p)) << "bit " << p << " of " << bitCount;
    }

    // Random sizes and full-range 64-bit hashes against the plain modulo.
    std::mt19937_64 random(42);
    for (int round = 0; round < 50; ++round) {
        KCBloomFilter filter({int64_t(random() % 200000), 1.0, 1}, KCBloomFilterInt64HashProvider());
        const uint64_t bitCount = 8 * filter.indexSize();
        std::vector<uint8_t> expected(filter.indexSize());
        for (int k = 0; k < 64; ++k) {
            int64_t key = int64_t(random());
            filter.addKey(&key);
            uint64_t p = (KCBloomFilterHashSeeds[0] + uint64_t(key) * 33) % bitCount;
            expected[p / 8] |= uint8_t(1u << (p % 8));
        }
        ASSERT_EQ(bitsOf(filter), expected) << bitCount;
    }
}

TEST(KCBloomFilter, ProvidersAgreeOnTheSameUnits)
{
    std::u16string longKey(300, u'x');
    longKey[150] = u'\uFFFF';  // past the stack buffer, and a unit with the top bit set
    for (std::u16string_view text : {std::u16string_view(u"chapter"), std::u16string_view(longKey)}) {
        uint64_t fromString[8], fromCharacters[8];
        KCBloomFilterStringHashProvider()(&text, fromString, 8);
        auto characters = characterKey(text);
        KCBloomFilterCharacterHashProvider()(&characters, fromCharacters, 8);
        EXPECT_TRUE(std::equal(fromString, fromString + 8, fromCharacters));
    }
    int64_t value = -3;
    uint64_t hashes[8];
    KCBloomFilterInt64HashProvider()(&value, hashes, 8);
    for (size_t i = 0; i < 8; ++i)
        EXPECT_EQ(hashes[i], KCBloomFilterHashSeeds[i] + uint64_t(-3) * 33);
}

TEST(KCBloomFilter, AnswersAfterAdding)
{
    // An empty filter's "no" is the filter command test's.
    KCBloomFilter filter({1000, 8.0, 3}, KCBloomFilterInt64HashProvider());
    for (int64_t key = 0; key < 1000; key += 3)
        filter.addKey(&key);
    for (int64_t key = 0; key < 1000; key += 3)
        EXPECT_TRUE(filter.mightContainKey(&key));

    KCBloomFilter noHashes({10, 1.0, 0}, KCBloomFilterCharacterHashProvider());
    auto key = characterKey(u"anything");
    EXPECT_TRUE(noHashes.mightContainKey(&key));

    // Too many hash functions are clamped rather than overrunning the scratch space.
    KCBloomFilter tooMany({100, 1.0, 50}, KCBloomFilterCharacterHashProvider());
    tooMany.addKey(&key);
    EXPECT_TRUE(tooMany.mightContainKey(&key));
}

TEST(KCBloomFilter, RoundTripsThroughAnArchive)
{
    KCRegisterSearchCodingClasses();
    // A string-keyed filter decodes onto the character provider, which hashes strings alike.
    auto filter = std::make_shared<KCBloomFilter>(KCBloomFilterSpecification {500, 4.0, 5}, KCBloomFilterStringHashProvider());
    std::vector<std::u16string> keys;
    for (int i = 0; i < 60; ++i)
        keys.push_back(u"key " + std::u16string(size_t(i % 7), u'+') + char16_t(u'A' + i));
    for (int i = 0; i < 60; i += 2) {
        std::u16string_view key = keys[size_t(i)];
        filter->addKey(&key);
    }
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter));
    auto decoded = KCKeyedUnarchiver::unarchivedRootObject(archive).value_or(KCValue()).objectAs<KCBloomFilter>();
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->specification(), filter->specification());
    EXPECT_EQ(bitsOf(*decoded), bitsOf(*filter));
    for (const auto& key : keys) {
        std::u16string_view view = key;
        auto characters = characterKey(key);
        EXPECT_EQ(decoded->mightContainKey(&characters), filter->mightContainKey(&view));
    }
}

TEST(KCBloomFilter, UsageDescriptionIgnoresTheUsersLocale)
{
    KCBloomFilter filter({64, 1.0, 1}, KCBloomFilterCharacterHashProvider());
    std::u16string key = u"word";
    auto characters = characterKey(key);
    filter.addKey(&characters);
    std::string inC = filter.usageDescription();
    EXPECT_NE(inC.find('.'), std::string::npos);
    KC_IN_LOCALE(german, "de_DE.UTF-8");
    EXPECT_EQ(filter.usageDescription(), inC);
}

} // namespace
