#pragma once
// One document fragment filter per document of a library, keyed by the
// document's identifier (a string or a number): which documents may hold a
// query. Queries are tested as given; fold them as the documents were folded.
// Errors: unarchiving answers nullptr for a malformed archive and logs why.
#include "KCDocumentFragmentFilter.h"

#include <unordered_map>
#include <vector>

struct KCLibraryFilterSpecification {
    double loadFactor = 0;
    int64_t numberOfHashFunctions = 0;
    int64_t windowWidth = 0;
    friend bool operator==(const KCLibraryFilterSpecification&, const KCLibraryFilterSpecification&) = default;
};

class KCLibraryFragmentFilter : public KCCoding {
public:
    static constexpr const char* kClassName = "KCLibraryFragmentFilter";

    explicit KCLibraryFragmentFilter(const KCLibraryFilterSpecification& specification);

    // Sized by the document's length in units, not its number of windows:
    // the slight oversize is intended.
    static KCFragmentFilterSpecification fragmentFilterSpecificationForDocumentLength(int64_t length,
        const KCLibraryFilterSpecification& librarySpecification);

    // Both replace any filter stored under the identifier. Identifiers other
    // than strings and numbers are refused (logged).
    void addFilter(std::shared_ptr<KCDocumentFragmentFilter> filter, const KCValue& identifier);
    void addDocument(std::u16string_view document, const KCValue& identifier);

    bool containsDocumentWithIdentifier(const KCValue& identifier) const;
    uint64_t documentCount() const { return m_identifiedDocuements.size(); }
    KCArray allIdentifiers() const;
    // The identifiers whose filters might hold the query, in no particular order.
    std::vector<KCValue> candidateIdentifiersForQuery(std::u16string_view query) const;
    std::shared_ptr<KCDocumentFragmentFilter> filterWithIdentifier(const KCValue& identifier) const;
    const KCLibraryFilterSpecification& specification() const { return m_specification; }

    static bool supportsSecureCoding() { return true; }
    std::string classNameForCoder() const override { return kClassName; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override;
    static std::shared_ptr<KCLibraryFragmentFilter> initWithCoder(KCKeyedUnarchiver& coder);
    std::string description() const override;

    // The library filter at the root of an archive; nothing (logged) otherwise.
    static std::shared_ptr<KCLibraryFragmentFilter> unarchivedFilter(std::span<const uint8_t> archive);

private:
    struct IdentifierHash {
        size_t operator()(const KCValue& identifier) const;
    };
    static bool isIdentifier(const KCValue& value) { return value.string() || value.isNumber(); }

    KCLibraryFilterSpecification m_specification;
    // The name is also the archive key, misspelling included.
    std::unordered_map<KCValue, std::shared_ptr<KCDocumentFragmentFilter>, IdentifierHash> m_identifiedDocuements;
};
