#pragma once
// A fixed-size Bloom filter: keys are added, and a test answers either
// certainly absent or possibly present. The hash functions are a provider
// chosen at construction; filters decoded from an archive always hash with
// the character provider, so only filters built on it may travel.
#include "Utilities/KCKeyedArchive.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct KCBloomFilterSpecification {
    int64_t expectedNumberOfInsertions = 0;
    double loadFactor = 0;
    int64_t numberOfHashFunctions = 0;  // at most 8
    friend bool operator==(const KCBloomFilterSpecification&, const KCBloomFilterSpecification&) = default;
};

// The bit array; owned by its filter.
struct KCBloomFilterBitVector {
    uint8_t* bytes = nullptr;
    uint64_t byteCount = 0;
};

inline constexpr int64_t KCBloomFilterMaximumHashCount = 8;

// Fills `count` hashes of the key that `key` points to.
using KCBloomFilterHashProvider = std::function<void(const void* key, uint64_t* hashes, int64_t count)>;

// The key of the character provider: a run of UTF-16 units, not owned.
struct KCBloomFilterCharacterKey {
    const char16_t* characters = nullptr;
    int64_t length = 0;
};

// The seed of each hash; index 7 is zero on purpose.
inline constexpr std::array<uint64_t, 8> KCBloomFilterHashSeeds = {
    0x1AFA82F3983E0FA2ull, 0x7E132804DADB4424ull, 0x9563F4E52A1C7B0Full, 0x7A00CF0D50391521ull,
    0xF77A829AD0BAFF94ull, 0xB65119699B273624ull, 0x3D9CC1A1831D9AFCull, 0x0000000000000000ull,
};

// The i-th character hash: the multiply-by-33 recurrence seeded with the
// i-th seed, over the key rotated left by i units.
inline uint64_t KCBloomFilterCharacterHash(const char16_t* characters, int64_t length, int64_t i)
{
    uint64_t h = KCBloomFilterHashSeeds[static_cast<size_t>(i)];
    // i is below 8 and keys are rarely shorter, so the division is rare.
    int64_t rotation = i < length ? i : (length > 0 ? i % length : 0);
    for (int64_t j = rotation; j < length; ++j)
        h = h * 33 + static_cast<uint16_t>(characters[j]);
    for (int64_t j = 0; j < rotation; ++j)
        h = h * 33 + static_cast<uint16_t>(characters[j]);
    return h;
}

// The three shared providers, each made once. Keys: KCBloomFilterCharacterKey,
// std::u16string_view, and int64_t.
const KCBloomFilterHashProvider& KCBloomFilterCharacterHashProvider();
const KCBloomFilterHashProvider& KCBloomFilterStringHashProvider();
const KCBloomFilterHashProvider& KCBloomFilterInt64HashProvider();

// Calls `block(units, length)` once with a stable copy of the text's units:
// on the stack for up to 128 units, on the heap beyond.
template <typename Block>
decltype(auto) KCWithAccessToCharacters(std::u16string_view text, Block&& block)
{
    constexpr size_t kStackUnits = 128;
    if (text.size() <= kStackUnits) {
        char16_t units[kStackUnits];
        std::char_traits<char16_t>::copy(units, text.data(), text.size());
        return block(static_cast<const char16_t*>(units), static_cast<int64_t>(text.size()));
    }
    std::unique_ptr<char16_t[]> units(new char16_t[text.size()]);
    std::char_traits<char16_t>::copy(units.get(), text.data(), text.size());
    return block(static_cast<const char16_t*>(units.get()), static_cast<int64_t>(text.size()));
}

class KCBloomFilter : public KCCoding {
public:
    static constexpr const char* kClassName = "KCBloomFilter";

    // The bit array holds max(1, n x loadFactor / 8) bytes, rounded up to the
    // size the allocator hands out for such a block (on glibc, what
    // malloc_usable_size reports: 24, 40, 56... bytes), so the slack of the
    // block becomes usable bits. Under AddressSanitizer there is no slack.
    // The count travels with the bits, so builds that round differently
    // still read each other's filters. Requests beyond 4 GiB are capped.
    KCBloomFilter(const KCBloomFilterSpecification& specification, KCBloomFilterHashProvider hashProvider);
    ~KCBloomFilter() override;
    KCBloomFilter(const KCBloomFilter&) = delete;
    KCBloomFilter& operator=(const KCBloomFilter&) = delete;

    // `key` points to a key of the provider's key type.
    void addKey(const void* key);
    bool mightContainKey(const void* key) const;

    // Every run of `width` consecutive units as a character key: adds them
    // all, or answers whether all might be present (yes when there is none).
    // Hashed inline when the filter uses the character provider, the
    // document filters' hot path.
    void addWindows(const char16_t* units, int64_t length, int64_t width);
    bool mightContainWindows(const char16_t* units, int64_t length, int64_t width) const;

    std::string usageDescription() const;
    uint64_t indexSize() const { return m_bitVector.byteCount; }
    const KCBloomFilterSpecification& specification() const { return m_specification; }
    const KCBloomFilterBitVector& bitVector() const { return m_bitVector; }

    std::string classNameForCoder() const override { return kClassName; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override;
    // Nothing (logged) for fields that are missing, short or inconsistent.
    static std::shared_ptr<KCBloomFilter> initWithCoder(KCKeyedUnarchiver& coder);
    std::string description() const override;

private:
    struct Decoded {};
    KCBloomFilter(Decoded, const KCBloomFilterSpecification& specification, const uint8_t* bytes, uint64_t byteCount);

    int64_t hashCount() const;
    void setBitCount(uint64_t bitCount);
    // hash mod M without a division: multiply by ceil(2^128 / M) and keep
    // the high 64 bits of the fraction times M (exact for every 64-bit hash).
    static uint64_t bitIndex(uint64_t hash, unsigned __int128 reciprocal, uint64_t bitCount)
    {
        unsigned __int128 fraction = reciprocal * hash;
        unsigned __int128 low = (fraction & UINT64_MAX) * bitCount;
        unsigned __int128 high = (fraction >> 64) * bitCount;
        return static_cast<uint64_t>((high + (low >> 64)) >> 64);
    }
    template <typename Visit>
    bool forEachBit(const void* key, Visit&& visit) const;

    KCBloomFilterSpecification m_specification;
    KCBloomFilterHashProvider m_hashProvider;
    KCBloomFilterBitVector m_bitVector;
    uint64_t m_bitCount = 0;
    unsigned __int128 m_reciprocal = 0;
    bool m_usesCharacterProvider = false;
};
