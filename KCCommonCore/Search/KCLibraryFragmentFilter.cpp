#include "KCLibraryFragmentFilter.h"

#include "KCSearchCoding.h"
#include "Utilities/KCLogger.h"

#include <bit>
#include <cmath>

KCLibraryFragmentFilter::KCLibraryFragmentFilter(const KCLibraryFilterSpecification& specification)
    : m_specification(specification)
{
}

size_t KCLibraryFragmentFilter::IdentifierHash::operator()(const KCValue& identifier) const
{
    if (const std::u16string* text = identifier.string())
        return std::hash<std::u16string>()(*text);
    // Numbers that compare equal (1, 1u, 1.0) must hash alike.
    double number = identifier.doubleValue().value_or(0);
    return std::hash<double>()(number == 0 ? 0.0 : number);
}

KCFragmentFilterSpecification KCLibraryFragmentFilter::fragmentFilterSpecificationForDocumentLength(int64_t length,
    const KCLibraryFilterSpecification& librarySpecification)
{
    return {{length, librarySpecification.loadFactor, librarySpecification.numberOfHashFunctions}, librarySpecification.windowWidth};
}

void KCLibraryFragmentFilter::addFilter(std::shared_ptr<KCDocumentFragmentFilter> filter, const KCValue& identifier)
{
    if (!filter || !isIdentifier(identifier)) {
        KCLog("Library filter refuses filter %@ under identifier %@", filter, identifier);
        return;
    }
    m_identifiedDocuements.insert_or_assign(identifier, std::move(filter));
}

void KCLibraryFragmentFilter::addDocument(std::u16string_view document, const KCValue& identifier)
{
    auto specification = fragmentFilterSpecificationForDocumentLength(static_cast<int64_t>(document.size()), m_specification);
    addFilter(std::make_shared<KCDocumentFragmentFilter>(document, specification), identifier);
}

bool KCLibraryFragmentFilter::containsDocumentWithIdentifier(const KCValue& identifier) const
{
    return isIdentifier(identifier) && m_identifiedDocuements.contains(identifier);
}

std::shared_ptr<KCDocumentFragmentFilter> KCLibraryFragmentFilter::filterWithIdentifier(const KCValue& identifier) const
{
    if (!isIdentifier(identifier))
        return nullptr;
    auto found = m_identifiedDocuements.find(identifier);
    return found == m_identifiedDocuements.end() ? nullptr : found->second;
}

KCArray KCLibraryFragmentFilter::allIdentifiers() const
{
    KCArray identifiers;
    identifiers.reserve(m_identifiedDocuements.size());
    for (const auto& entry : m_identifiedDocuements)
        identifiers.push_back(entry.first);
    return identifiers;
}

std::vector<KCValue> KCLibraryFragmentFilter::candidateIdentifiersForQuery(std::u16string_view query) const
{
    std::vector<KCValue> candidates;
    candidates.reserve(m_identifiedDocuements.size());
    for (const auto& [identifier, filter] : m_identifiedDocuements) {
        if (filter->mightContainFragment(query))
            candidates.push_back(identifier);
    }
    return candidates;
}

std::string KCLibraryFragmentFilter::description() const
{
    return KCStringWithFormat("<KCLibraryFragmentFilter: %llu documents, window %lld>",
        static_cast<unsigned long long>(documentCount()), static_cast<long long>(m_specification.windowWidth));
}

void KCLibraryFragmentFilter::encodeWithCoder(KCKeyedArchiver& coder) const
{
    KCData specification(24);
    KCStoreLittleEndian(specification.data(), std::bit_cast<uint64_t>(m_specification.loadFactor));
    KCStoreLittleEndian(specification.data() + 8, static_cast<uint64_t>(m_specification.numberOfHashFunctions));
    KCStoreLittleEndian(specification.data() + 16, static_cast<uint64_t>(m_specification.windowWidth));
    coder.encodeObject(KCValue(std::move(specification)), "specification");

    KCDictionaryEntries documents;
    documents.reserve(m_identifiedDocuements.size());
    for (const auto& [identifier, filter] : m_identifiedDocuements)
        documents.emplace_back(identifier, KCValue(filter));
    coder.encodeDictionary(documents, "identifiedDocuements");
}

std::shared_ptr<KCLibraryFragmentFilter> KCLibraryFragmentFilter::initWithCoder(KCKeyedUnarchiver& coder)
{
    KCValue specificationValue = coder.decodeObject("specification");
    const KCData* bytes = specificationValue.data();
    if (!bytes || bytes->size() < 24) {
        KCLog("Archived library filter has no 24-byte specification");
        return nullptr;
    }
    KCLibraryFilterSpecification specification {
        std::bit_cast<double>(KCLoadLittleEndian(bytes->data())),
        static_cast<int64_t>(KCLoadLittleEndian(bytes->data() + 8)),
        static_cast<int64_t>(KCLoadLittleEndian(bytes->data() + 16)),
    };
    if (specification.numberOfHashFunctions < 0 || specification.numberOfHashFunctions > KCBloomFilterMaximumHashCount
        || specification.windowWidth < 1) {
        KCLog("Archived library filter has %lld hash functions and window width %lld",
            static_cast<long long>(specification.numberOfHashFunctions), static_cast<long long>(specification.windowWidth));
        return nullptr;
    }
    std::optional<KCDictionaryEntries> documents = coder.decodeDictionary("identifiedDocuements");
    if (!documents) {
        KCLog("Archived library filter has no document dictionary");
        return nullptr;
    }
    auto library = std::make_shared<KCLibraryFragmentFilter>(specification);
    for (const auto& [identifier, value] : *documents) {
        auto filter = value.objectAs<KCDocumentFragmentFilter>();
        if (!filter || !isIdentifier(identifier)) {
            KCLog("Archived library filter holds %@ under identifier %@", value, identifier);
            return nullptr;
        }
        library->m_identifiedDocuements.insert_or_assign(identifier, std::move(filter));
    }
    return library;
}

std::shared_ptr<KCLibraryFragmentFilter> KCLibraryFragmentFilter::unarchivedFilter(std::span<const uint8_t> archive)
{
    KCRegisterSearchCodingClasses();
    std::optional<KCValue> root = KCKeyedUnarchiver::unarchivedRootObject(archive);
    if (!root)
        return nullptr;
    auto library = root->objectAs<KCLibraryFragmentFilter>();
    if (!library)
        KCLog("Archive root is not a library fragment filter: %@", *root);
    return library;
}
