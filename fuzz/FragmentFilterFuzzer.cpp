// Decodes arbitrary bytes as archived document and library fragment
// filters. Whatever decodes must answer queries, archive again and decode
// to the same bits. The bytes, read as UTF-16, also go through the search fold.
#include "Search/KCLibraryFragmentFilter.h"
#include "Search/KCSearchCoding.h"
#include "Search/KCSearchFolding.h"
#include "Search/KCSearchRange.h"
#include "Utilities/KCLogger.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

void check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

void checkDocument(const KCDocumentFragmentFilter& filter)
{
    (void)filter.mightContainFragment(u"abcdefgh");
    (void)filter.mightContainFragment(u"");
    (void)filter.usageDescription();
}

bool sameBits(const KCDocumentFragmentFilter& a, const KCDocumentFragmentFilter& b)
{
    const auto& x = a.filter().bitVector();
    const auto& y = b.filter().bitVector();
    return a.specification() == b.specification() && x.byteCount == y.byteCount && std::memcmp(x.bytes, y.bytes, x.byteCount) == 0;
}

void fuzzDocument(const uint8_t* data, size_t size)
{
    auto filter = KCDocumentFragmentFilter::unarchivedFilter({data, size});
    if (!filter)
        return;
    checkDocument(*filter);
    auto again = KCDocumentFragmentFilter::unarchivedFilter(KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter)));
    check(again && sameBits(*filter, *again), "A decoded document filter did not survive archiving again");
}

void fuzzLibrary(const uint8_t* data, size_t size)
{
    auto library = KCLibraryFragmentFilter::unarchivedFilter({data, size});
    if (!library)
        return;
    (void)library->candidateIdentifiersForQuery(u"query text");
    for (const auto& identifier : library->allIdentifiers())
        checkDocument(*library->filterWithIdentifier(identifier));
    auto again = KCLibraryFragmentFilter::unarchivedFilter(KCKeyedArchiver::archivedDataWithRootObject(KCValue(library)));
    check(again && again->documentCount() == library->documentCount(), "A decoded library filter did not survive archiving again");
}

void fuzzFolding(const uint8_t* data, size_t size)
{
    std::u16string text(size / 2, u'\0');
    std::memcpy(text.data(), data, text.size() * 2);
    (void)StringCopyFlattenedForSearch(text);
    std::u16string_view needle = std::u16string_view(text).substr(text.size() / 2, 3);
    KCRange found = KCRangeOfStringForSearch(text, needle);
    check(!found.found() || found.end() <= text.size(), "A search answered a range outside the text");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    KCRegisterSearchCodingClasses();
    // Refused input is the common case; keep its log lines out of the way.
    KCLogger::sharedLogger()->setFilter(std::string("\x01 no line matches"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzzDocument(data, size);
    fuzzLibrary(data, size);
    if (size <= 4096)
        fuzzFolding(data, size);
    return 0;
}
