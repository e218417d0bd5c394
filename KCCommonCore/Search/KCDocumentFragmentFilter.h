#pragma once
// A Bloom filter of every run of `windowWidth` consecutive UTF-16 units of
// one document: it tells that a document cannot hold a query. It does not
// fold: fold the document and every query with StringCopyFlattenedForSearch.
// Errors: unarchiving answers nullptr for a malformed archive and logs why.
#include "KCBloomFilter.h"

#include <span>

struct KCFragmentFilterSpecification {
    KCBloomFilterSpecification bloomFilterSpecification;
    int64_t windowWidth = 0;
    friend bool operator==(const KCFragmentFilterSpecification&, const KCFragmentFilterSpecification&) = default;
};

class KCDocumentFragmentFilter : public KCCoding {
public:
    static constexpr const char* kClassName = "KCDocumentFragmentFilter";

    // Adds the L - w + 1 windows of a document of L units (none when L < w).
    KCDocumentFragmentFilter(std::u16string_view document, const KCFragmentFilterSpecification& specification);

    // No when some window of the query is certainly absent; a query shorter
    // than a window is never ruled out.
    bool mightContainFragment(std::u16string_view query) const;

    uint64_t indexSize() const { return m_filter->indexSize(); }
    std::string usageDescription() const { return m_filter->usageDescription(); }
    const KCFragmentFilterSpecification& specification() const { return m_specification; }
    const KCBloomFilter& filter() const { return *m_filter; }

    std::string classNameForCoder() const override { return kClassName; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override;
    static std::shared_ptr<KCDocumentFragmentFilter> initWithCoder(KCKeyedUnarchiver& coder);
    std::string description() const override;

    // Archive one with KCKeyedArchiver::archivedDataWithRootObject.
    // The filter at the root of an archive; nothing (logged) for anything else.
    static std::shared_ptr<KCDocumentFragmentFilter> unarchivedFilter(std::span<const uint8_t> archive);

private:
    KCDocumentFragmentFilter(const KCFragmentFilterSpecification& specification, std::shared_ptr<KCBloomFilter> filter);

    KCFragmentFilterSpecification m_specification;
    std::shared_ptr<KCBloomFilter> m_filter;
};
