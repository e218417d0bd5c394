#include "KCDocumentFragmentFilter.h"

#include "KCSearchCoding.h"
#include "Utilities/KCLogger.h"

#include <bit>

KCDocumentFragmentFilter::KCDocumentFragmentFilter(std::u16string_view document, const KCFragmentFilterSpecification& specification)
    : m_specification(specification)
    , m_filter(std::make_shared<KCBloomFilter>(specification.bloomFilterSpecification, KCBloomFilterCharacterHashProvider()))
{
    const int64_t width = specification.windowWidth;
    if (width < 1) {
        KCLog("Fragment filter window width %lld is not positive; nothing indexed", static_cast<long long>(width));
        return;
    }
    KCWithAccessToCharacters(document, [&](const char16_t* units, int64_t length) { m_filter->addWindows(units, length, width); });
}

KCDocumentFragmentFilter::KCDocumentFragmentFilter(const KCFragmentFilterSpecification& specification, std::shared_ptr<KCBloomFilter> filter)
    : m_specification(specification)
    , m_filter(std::move(filter))
{
}

bool KCDocumentFragmentFilter::mightContainFragment(std::u16string_view query) const
{
    const int64_t width = m_specification.windowWidth;
    if (width < 1 || static_cast<int64_t>(query.size()) < width)
        return true;
    return KCWithAccessToCharacters(query, [&](const char16_t* units, int64_t length) {
        return m_filter->mightContainWindows(units, length, width);
    });
}

std::string KCDocumentFragmentFilter::description() const
{
    return KCStringWithFormat("<KCDocumentFragmentFilter: window %lld, %@>", static_cast<long long>(m_specification.windowWidth),
        m_filter->description());
}

void KCDocumentFragmentFilter::encodeWithCoder(KCKeyedArchiver& coder) const
{
    const KCBloomFilterSpecification& bloom = m_specification.bloomFilterSpecification;
    uint8_t specification[32];
    KCStoreLittleEndian(specification, static_cast<uint64_t>(bloom.expectedNumberOfInsertions));
    KCStoreLittleEndian(specification + 8, std::bit_cast<uint64_t>(bloom.loadFactor));
    KCStoreLittleEndian(specification + 16, static_cast<uint64_t>(bloom.numberOfHashFunctions));
    KCStoreLittleEndian(specification + 24, static_cast<uint64_t>(m_specification.windowWidth));
    coder.encodeBytes(specification, sizeof specification, "specification");
    coder.encodeObject(KCValue(m_filter), "filter");
}

std::shared_ptr<KCDocumentFragmentFilter> KCDocumentFragmentFilter::initWithCoder(KCKeyedUnarchiver& coder)
{
    std::optional<std::vector<uint8_t>> bytes = coder.decodeBytes("specification");
    if (!bytes || bytes->size() < 32) {
        KCLog("Archived fragment filter has no 32-byte specification");
        return nullptr;
    }
    KCFragmentFilterSpecification specification {
        {
            static_cast<int64_t>(KCLoadLittleEndian(bytes->data())),
            std::bit_cast<double>(KCLoadLittleEndian(bytes->data() + 8)),
            static_cast<int64_t>(KCLoadLittleEndian(bytes->data() + 16)),
        },
        static_cast<int64_t>(KCLoadLittleEndian(bytes->data() + 24)),
    };
    if (specification.windowWidth < 1) {
        KCLog("Archived fragment filter has window width %lld", static_cast<long long>(specification.windowWidth));
        return nullptr;
    }
    auto filter = coder.decodeObject("filter").objectAs<KCBloomFilter>();
    if (!filter) {
        KCLog("Archived fragment filter has no Bloom filter");
        return nullptr;
    }
    return std::shared_ptr<KCDocumentFragmentFilter>(new KCDocumentFragmentFilter(specification, std::move(filter)));
}

std::shared_ptr<KCDocumentFragmentFilter> KCDocumentFragmentFilter::unarchivedFilter(std::span<const uint8_t> archive)
{
    KCRegisterSearchCodingClasses();
    std::optional<KCValue> root = KCKeyedUnarchiver::unarchivedRootObject(archive);
    if (!root)
        return nullptr;
    auto filter = root->objectAs<KCDocumentFragmentFilter>();
    if (!filter)
        KCLog("Archive root is not a document fragment filter: %@", *root);
    return filter;
}
