#include "KCBloomFilter.h"

#include "KCSearchCoding.h"
#include "Utilities/KCLogger.h"

#include <malloc.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

namespace {

using HashFunction = void (*)(const void*, uint64_t*, int64_t);

void characterHashes(const void* key, uint64_t* hashes, int64_t count)
{
    const auto* characters = static_cast<const KCBloomFilterCharacterKey*>(key);
    for (int64_t i = 0; i < count; ++i)
        hashes[i] = KCBloomFilterCharacterHash(characters->characters, characters->length, i);
}

void stringHashes(const void* key, uint64_t* hashes, int64_t count)
{
    KCWithAccessToCharacters(*static_cast<const std::u16string_view*>(key), [&](const char16_t* units, int64_t length) {
        KCBloomFilterCharacterKey characters {units, length};
        characterHashes(&characters, hashes, count);
    });
}

void int64Hashes(const void* key, uint64_t* hashes, int64_t count)
{
    // Every hash is the same value offset by its seed; kept so on purpose.
    uint64_t value = static_cast<uint64_t>(*static_cast<const int64_t*>(key));
    for (int64_t i = 0; i < count; ++i)
        hashes[i] = KCBloomFilterHashSeeds[static_cast<size_t>(i)] + value * 33;
}

// Filters beyond this are a caller's mistake (or a hostile size), not a book.
constexpr uint64_t kMaximumByteCount = uint64_t(1) << 32;

uint64_t requestedByteCount(const KCBloomFilterSpecification& specification)
{
    double x = static_cast<double>(specification.expectedNumberOfInsertions) * specification.loadFactor * 0.125;
    if (!(x >= 1.0))  // also NaN
        return 1;
    if (x >= static_cast<double>(kMaximumByteCount)) {
        KCLog("Bloom filter of %lld insertions at load factor %f is too large; capped at %llu bytes",
            static_cast<long long>(specification.expectedNumberOfInsertions), specification.loadFactor,
            static_cast<unsigned long long>(kMaximumByteCount));
        return kMaximumByteCount;
    }
    return static_cast<uint64_t>(x);
}

// A zeroed block of at least `count` bytes, grown to the whole block that
// the allocator hands out for that request. Asking for the usable size of
// a first block and then allocating exactly that keeps every byte ours.
uint8_t* allocateBits(uint64_t& count)
{
    if (void* probe = std::malloc(count)) {
        count = std::max<uint64_t>(count, malloc_usable_size(probe));
        std::free(probe);
    }
    return static_cast<uint8_t*>(std::calloc(count, 1));
}

} // namespace

const KCBloomFilterHashProvider& KCBloomFilterCharacterHashProvider()
{
    static const KCBloomFilterHashProvider provider(static_cast<HashFunction>(characterHashes));
    return provider;
}

const KCBloomFilterHashProvider& KCBloomFilterStringHashProvider()
{
    static const KCBloomFilterHashProvider provider(static_cast<HashFunction>(stringHashes));
    return provider;
}

const KCBloomFilterHashProvider& KCBloomFilterInt64HashProvider()
{
    static const KCBloomFilterHashProvider provider(static_cast<HashFunction>(int64Hashes));
    return provider;
}

KCBloomFilter::KCBloomFilter(const KCBloomFilterSpecification& specification, KCBloomFilterHashProvider hashProvider)
    : m_specification(specification)
    , m_hashProvider(std::move(hashProvider))
{
    if (specification.numberOfHashFunctions < 0 || specification.numberOfHashFunctions > KCBloomFilterMaximumHashCount)
        KCLog("Bloom filter asked for %lld hash functions; using %lld", static_cast<long long>(specification.numberOfHashFunctions),
            static_cast<long long>(hashCount()));
    const HashFunction* function = m_hashProvider.target<HashFunction>();
    m_usesCharacterProvider = function && *function == characterHashes;

    uint64_t byteCount = requestedByteCount(specification);
    uint8_t* bytes = allocateBits(byteCount);
    if (!bytes) {
        KCLog("Cannot allocate a Bloom filter of %llu bytes; using one byte", static_cast<unsigned long long>(byteCount));
        byteCount = 1;
        bytes = allocateBits(byteCount);
    }
    m_bitVector = {bytes, bytes ? byteCount : 0};
    setBitCount(8 * m_bitVector.byteCount);
}

KCBloomFilter::KCBloomFilter(Decoded, const KCBloomFilterSpecification& specification, const uint8_t* bytes, uint64_t byteCount)
    : m_specification(specification)
    , m_hashProvider(KCBloomFilterCharacterHashProvider())
    , m_usesCharacterProvider(true)
{
    auto* copy = static_cast<uint8_t*>(std::malloc(byteCount));
    if (copy)
        std::memcpy(copy, bytes, byteCount);
    m_bitVector = {copy, copy ? byteCount : 0};
    setBitCount(8 * m_bitVector.byteCount);
}

KCBloomFilter::~KCBloomFilter()
{
    std::free(m_bitVector.bytes);
}

void KCBloomFilter::setBitCount(uint64_t bitCount)
{
    m_bitCount = bitCount;
    // ceil(2^128 / M); wraps to 0 for M = 1, which still gives p = 0.
    m_reciprocal = bitCount ? ~static_cast<unsigned __int128>(0) / bitCount + 1 : 0;
}

int64_t KCBloomFilter::hashCount() const
{
    // Beyond 8 the fixed scratch space would overflow.
    return std::clamp<int64_t>(m_specification.numberOfHashFunctions, 0, KCBloomFilterMaximumHashCount);
}

// Calls visit(byte, mask) for the key's bits in hash order until it answers false.
template <typename Visit>
bool KCBloomFilter::forEachBit(const void* key, Visit&& visit) const
{
    uint64_t hashes[KCBloomFilterMaximumHashCount];
    int64_t count = hashCount();
    m_hashProvider(key, hashes, count);
    for (int64_t i = 0; i < count; ++i) {
        uint64_t p = bitIndex(hashes[i], m_reciprocal, m_bitCount);
        if (!visit(m_bitVector.bytes + (p >> 3), uint8_t(1u << (p & 7))))
            return false;
    }
    return true;
}

void KCBloomFilter::addKey(const void* key)
{
    if (m_bitCount)
        forEachBit(key, [](uint8_t* byte, uint8_t mask) { return *byte |= mask, true; });
}

bool KCBloomFilter::mightContainKey(const void* key) const
{
    return !m_bitCount || forEachBit(key, [](const uint8_t* byte, uint8_t mask) { return (*byte & mask) != 0; });
}

void KCBloomFilter::addWindows(const char16_t* units, int64_t length, int64_t width)
{
    if (width < 1 || !m_bitCount)
        return;
    if (!m_usesCharacterProvider) {
        for (int64_t start = 0; start + width <= length; ++start) {
            KCBloomFilterCharacterKey key {units + start, width};
            addKey(&key);
        }
        return;
    }
    // Locals, so that stores through the byte pointer do not force reloads.
    uint8_t* const bytes = m_bitVector.bytes;
    const uint64_t bitCount = m_bitCount;
    const unsigned __int128 reciprocal = m_reciprocal;
    const int64_t count = hashCount();
    for (int64_t start = 0; start + width <= length; ++start) {
        for (int64_t i = 0; i < count; ++i) {
            uint64_t p = bitIndex(KCBloomFilterCharacterHash(units + start, width, i), reciprocal, bitCount);
            bytes[p >> 3] |= uint8_t(1u << (p & 7));
        }
    }
}

bool KCBloomFilter::mightContainWindows(const char16_t* units, int64_t length, int64_t width) const
{
    if (width < 1 || !m_bitCount)
        return true;
    for (int64_t start = 0; start + width <= length; ++start) {
        if (m_usesCharacterProvider) {
            for (int64_t i = 0, count = hashCount(); i < count; ++i) {
                uint64_t p = bitIndex(KCBloomFilterCharacterHash(units + start, width, i), m_reciprocal, m_bitCount);
                if (!(m_bitVector.bytes[p >> 3] & (1u << (p & 7))))
                    return false;
            }
        } else {
            KCBloomFilterCharacterKey key {units + start, width};
            if (!mightContainKey(&key))
                return false;
        }
    }
    return true;
}

std::string KCBloomFilter::usageDescription() const
{
    uint64_t setBits = 0;
    for (uint64_t i = 0; i < m_bitVector.byteCount; ++i)
        setBits += static_cast<uint64_t>(std::popcount(m_bitVector.bytes[i]));
    float percentage = m_bitCount ? static_cast<float>(setBits) / static_cast<float>(m_bitCount) * 100.0f : 0.0f;
    return KCStringWithFormat("%.2f%% of bits turned on.", percentage);
}

std::string KCBloomFilter::description() const
{
    return KCStringWithFormat("<KCBloomFilter: %llu bytes, %lld hash functions>", static_cast<unsigned long long>(indexSize()),
        static_cast<long long>(m_specification.numberOfHashFunctions));
}

void KCBloomFilter::encodeWithCoder(KCKeyedArchiver& coder) const
{
    uint8_t specification[24];
    KCStoreLittleEndian(specification, static_cast<uint64_t>(m_specification.expectedNumberOfInsertions));
    KCStoreLittleEndian(specification + 8, std::bit_cast<uint64_t>(m_specification.loadFactor));
    KCStoreLittleEndian(specification + 16, static_cast<uint64_t>(m_specification.numberOfHashFunctions));
    coder.encodeBytes(specification, sizeof specification, "specification");
    coder.encodeBytes(m_bitVector.bytes, m_bitVector.byteCount, "bytes");
}

std::shared_ptr<KCBloomFilter> KCBloomFilter::initWithCoder(KCKeyedUnarchiver& coder)
{
    std::optional<std::vector<uint8_t>> specificationBytes = coder.decodeBytes("specification");
    std::optional<std::vector<uint8_t>> bytes = coder.decodeBytes("bytes");
    if (!specificationBytes || specificationBytes->size() < 24) {
        KCLog("Archived Bloom filter has no 24-byte specification");
        return nullptr;
    }
    KCBloomFilterSpecification specification {
        static_cast<int64_t>(KCLoadLittleEndian(specificationBytes->data())),
        std::bit_cast<double>(KCLoadLittleEndian(specificationBytes->data() + 8)),
        static_cast<int64_t>(KCLoadLittleEndian(specificationBytes->data() + 16)),
    };
    if (specification.numberOfHashFunctions < 0 || specification.numberOfHashFunctions > KCBloomFilterMaximumHashCount) {
        KCLog("Archived Bloom filter has %lld hash functions", static_cast<long long>(specification.numberOfHashFunctions));
        return nullptr;
    }
    if (!bytes || bytes->empty()) {
        KCLog("Archived Bloom filter has no bits");
        return nullptr;
    }
    std::shared_ptr<KCBloomFilter> filter(new KCBloomFilter(Decoded {}, specification, bytes->data(), bytes->size()));
    if (!filter->m_bitCount) {
        KCLog("Cannot allocate a decoded Bloom filter of %llu bytes", static_cast<unsigned long long>(bytes->size()));
        return nullptr;
    }
    return filter;
}
