#include "Search/KCLibraryFragmentFilter.h"
#include "Search/KCSearchCoding.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <set>

namespace {

const KCFragmentFilterSpecification kPageSpecification(int64_t length)
{
    return {{length, 1.0, 1}, 4};
}

std::set<std::string> stringsOf(const std::vector<KCValue>& values)
{
    std::set<std::string> strings;
    for (const auto& value : values)
        strings.insert(value.kind() == KCValue::Kind::String ? "string " + value.description() : value.description());
    return strings;
}

TEST(KCDocumentFragmentFilter, IndexesEveryWindow)
{
    KCDocumentFragmentFilter filter(u"abcdef", {{600, 1.0, 2}, 4});
    for (std::u16string_view window : {u"abcd", u"bcde", u"cdef", u"abcdef", u"bcdef"})
        EXPECT_TRUE(filter.mightContainFragment(window)) << std::string(window.begin(), window.end());
    EXPECT_TRUE(filter.mightContainFragment(u"bcd"));  // shorter than a window: never ruled out
    EXPECT_FALSE(filter.mightContainFragment(u"bcdf"));
    EXPECT_FALSE(filter.mightContainFragment(u"abcdefg"));  // last window absent

    KCDocumentFragmentFilter shortDocument(u"abc", kPageSpecification(3));
    EXPECT_FALSE(shortDocument.mightContainFragment(u"abcd"));
    EXPECT_TRUE(shortDocument.mightContainFragment(u"abc"));

    KCDocumentFragmentFilter noWindow(u"abcdef", {{6, 1.0, 1}, 0});
    EXPECT_TRUE(noWindow.mightContainFragment(u"zzzzzz"));
}

std::shared_ptr<KCLibraryFragmentFilter> sampleLibrary()
{
    // Roomy filters, so that no false positive blurs the answers.
    auto library = std::make_shared<KCLibraryFragmentFilter>(KCLibraryFilterSpecification {64.0, 1, 4});
    library->addDocument(u"it was the best of times", KCValue(u"chapter-1"));
    library->addDocument(u"it was the worst of times", KCValue(u"chapter-2"));
    library->addDocument(u"a tale of two cities", KCValue(7));
    return library;
}

TEST(KCLibraryFragmentFilter, SelectsCandidateDocuments)
{
    KCLibraryFragmentFilter empty({1.0, 1, 4});
    EXPECT_TRUE(empty.candidateIdentifiersForQuery(u"anything").empty());

    auto library = sampleLibrary();
    EXPECT_EQ(library->documentCount(), 3u);
    EXPECT_TRUE(library->containsDocumentWithIdentifier(KCValue(7.0)));  // numbers compare by value
    EXPECT_TRUE(library->containsDocumentWithIdentifier(KCValue(u"chapter-2")));
    EXPECT_FALSE(library->containsDocumentWithIdentifier(KCValue(u"7")));

    auto worst = library->candidateIdentifiersForQuery(u"worst");
    ASSERT_EQ(worst.size(), 1u);
    EXPECT_EQ(worst[0], KCValue(u"chapter-2"));
    EXPECT_EQ(library->candidateIdentifiersForQuery(u"of").size(), 3u);  // shorter than a window

    // Re-adding replaces; sizing follows the document length, not the window count.
    library->addDocument(u"the best of times again", KCValue(7u));
    EXPECT_EQ(library->documentCount(), 3u);
    EXPECT_EQ(library->filterWithIdentifier(KCValue(7))->specification(), (KCFragmentFilterSpecification {{23, 64.0, 1}, 4}));
    EXPECT_TRUE(library->candidateIdentifiersForQuery(u"two cities").empty());
    EXPECT_EQ(library->candidateIdentifiersForQuery(u"best of").size(), 2u);

    library->addDocument(u"refused", KCValue(KCArray {}));
    EXPECT_EQ(library->documentCount(), 3u);
}

TEST(KCLibraryFragmentFilter, RoundTripsThroughAnArchive)
{
    auto library = sampleLibrary();
    // 2^63 and -2^63, 2^64-1 and -1 have the same bits: the identifiers must stay apart.
    library->addDocument(u"call me ishmael", KCValue(uint64_t(1) << 63));
    library->addDocument(u"some years ago", KCValue(INT64_MIN));
    library->addDocument(u"never mind how long", KCValue(UINT64_MAX));
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCValue(library));
    auto decoded = KCLibraryFragmentFilter::unarchivedFilter(archive);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->specification(), library->specification());
    EXPECT_EQ(stringsOf(decoded->allIdentifiers()), stringsOf(library->allIdentifiers()));
    // The filters' bits survive too: the fuzz target compares them after every round trip.
    for (std::u16string_view query : {u"best", u"worst", u"times", u"cities", u"xyzzy", u"it w", u"two", u"ishmael", u"mind"}) {
        EXPECT_EQ(stringsOf(decoded->candidateIdentifiersForQuery(query)), stringsOf(library->candidateIdentifiersForQuery(query))) << query.size();
    }
    EXPECT_EQ(stringsOf(decoded->candidateIdentifiersForQuery(u"ishmael")), std::set<std::string> {"9223372036854775808"});

    // The archive is a binary property list that other tools read, with the keys as written.
    int status = 0;
    std::string xml = KCPlistAsXML(archive, status);
    EXPECT_EQ(status, 0) << xml;
    for (const char* key : {"identifiedDocuements", "specification", "filter", "bytes", "KCDocumentFragmentFilter", "KCBloomFilter"})
        EXPECT_NE(xml.find(key), std::string::npos) << key;
}

TEST(KCDocumentFragmentFilter, ArchiveHoldsTheSpecificationLittleEndian)
{
    auto filter = std::make_shared<KCDocumentFragmentFilter>(u"some page text", KCFragmentFilterSpecification {{14, 64.0, 1}, 4});
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter));
    const uint8_t expected[32] = {14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x50, 0x40, 1, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_NE(std::search(archive.begin(), archive.end(), std::begin(expected), std::end(expected)), archive.end());
    auto decoded = KCDocumentFragmentFilter::unarchivedFilter(archive);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->specification(), filter->specification());
    EXPECT_TRUE(decoded->mightContainFragment(u"page"));
    EXPECT_FALSE(decoded->mightContainFragment(u"pagf"));
}

// An archive entry under one of the filters' class names with whatever fields a test wants.
class ForgedObject : public KCCoding {
public:
    ForgedObject(std::string name, std::function<void(KCKeyedArchiver&)> fields) : m_name(std::move(name)), m_fields(std::move(fields)) {}
    std::string classNameForCoder() const override { return m_name; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override { m_fields(coder); }

private:
    std::string m_name;
    std::function<void(KCKeyedArchiver&)> m_fields;
};

KCValue forged(std::string name, std::function<void(KCKeyedArchiver&)> fields)
{
    return KCValue(std::make_shared<ForgedObject>(std::move(name), std::move(fields)));
}

void expectRejected(const KCData& archive, const char* what)
{
    KCStdoutCapture log;
    EXPECT_FALSE(KCDocumentFragmentFilter::unarchivedFilter(archive)) << what;
    EXPECT_FALSE(KCLibraryFragmentFilter::unarchivedFilter(archive)) << what;
    std::string lines = log.finish();
    EXPECT_NE(lines, "") << what;
}

TEST(KCFragmentFilterArchives, HostileArchivesDecodeToNothing)
{
    const uint8_t spec24[24] = {10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 1};
    const uint8_t spec32[32] = {10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 1, 0, 0, 0, 0, 0, 0, 0, 4};
    const uint8_t librarySpec[24] = {0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 1, 0, 0, 0, 0, 0, 0, 0, 4};
    const uint8_t bits[24] = {0xFF};
    auto bloom = [&](std::function<void(KCKeyedArchiver&)> fields) {
        return forged("KCDocumentFragmentFilter", [=](KCKeyedArchiver& coder) {
            coder.encodeBytes(spec32, 32, "specification");
            coder.encodeObject(forged("KCBloomFilter", fields), "filter");
        });
    };
    struct Case {
        const char* what;
        KCValue root;
    } cases[] = {
        {"empty bytes", bloom([&](KCKeyedArchiver& c) { c.encodeBytes(spec24, 24, "specification"); c.encodeBytes(bits, 0, "bytes"); })},
        {"bytes as a string", bloom([&](KCKeyedArchiver& c) { c.encodeBytes(spec24, 24, "specification"); c.encodeObject(KCValue(u"bits"), "bytes"); })},
        {"no bytes", bloom([&](KCKeyedArchiver& c) { c.encodeBytes(spec24, 24, "specification"); })},
        {"short specification", bloom([&](KCKeyedArchiver& c) { c.encodeBytes(spec24, 23, "specification"); c.encodeBytes(bits, 24, "bytes"); })},
        {"specification as a number", bloom([&](KCKeyedArchiver& c) { c.encodeInt64(3, "specification"); c.encodeBytes(bits, 24, "bytes"); })},
        {"nine hash functions", bloom([&](KCKeyedArchiver& c) {
             uint8_t nine[24] = {10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 9};
             c.encodeBytes(nine, 24, "specification");
             c.encodeBytes(bits, 24, "bytes");
         })},
        {"filter as a string", forged("KCDocumentFragmentFilter", [&](KCKeyedArchiver& c) { c.encodeBytes(spec32, 32, "specification"); c.encodeObject(KCValue(u"x"), "filter"); })},
        {"document specification of 24 bytes", forged("KCDocumentFragmentFilter", [&](KCKeyedArchiver& c) {
             c.encodeBytes(spec32, 24, "specification");
             c.encodeObject(KCValue(std::make_shared<KCBloomFilter>(KCBloomFilterSpecification {8, 1.0, 1}, KCBloomFilterCharacterHashProvider())), "filter");
         })},
        {"window of zero", forged("KCDocumentFragmentFilter", [&](KCKeyedArchiver& c) {
             uint8_t zeroWindow[32] = {10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 1};
             c.encodeBytes(zeroWindow, 32, "specification");
             c.encodeObject(KCValue(std::make_shared<KCBloomFilter>(KCBloomFilterSpecification {8, 1.0, 1}, KCBloomFilterCharacterHashProvider())), "filter");
         })},
        {"library with a string for a filter", forged("KCLibraryFragmentFilter", [&](KCKeyedArchiver& c) {
             c.encodeObject(KCValue(KCData(librarySpec, librarySpec + 24)), "specification");
             c.encodeDictionary({{KCValue(u"a"), KCValue(u"not a filter")}}, "identifiedDocuements");
         })},
        {"library with a short specification", forged("KCLibraryFragmentFilter", [&](KCKeyedArchiver& c) {
             c.encodeObject(KCValue(KCData(librarySpec, librarySpec + 16)), "specification");
             c.encodeDictionary({}, "identifiedDocuements");
         })},
        {"library without documents", forged("KCLibraryFragmentFilter", [&](KCKeyedArchiver& c) {
             c.encodeObject(KCValue(KCData(librarySpec, librarySpec + 24)), "specification");
         })},
        {"a plain string", KCValue(u"KCBloomFilter")},
    };
    for (const auto& [what, root] : cases)
        expectRejected(KCKeyedArchiver::archivedDataWithRootObject(root), what);

    // A data length declared past the end (truncations are the keyed archive tests').
    auto filter = std::make_shared<KCDocumentFragmentFilter>(std::u16string(5000, u'a'), kPageSpecification(5000));
    KCData large = KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter));
    size_t bytesAt = 0;
    for (size_t i = 0; i + 3 < large.size(); ++i) {
        if (large[i] == 0x4F && large[i + 1] == 0x11)  // data with a two-byte length
            bytesAt = i;
    }
    ASSERT_NE(bytesAt, 0u);
    large[bytesAt + 2] = 0xFF;
    large[bytesAt + 3] = 0xFF;
    expectRejected(large, "huge declared length");
}

} // namespace
