// Any bytes as a look-up response and as an e-mail body page: decoding the
// records and reading their covers never crashes, and a cut table is a
// piece of the page from "<table" through "</table>" that ends before it does.
#include "Sharing/TNUserPublishing.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"
#include "storelookup/PMStoreLookUp.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    KCLogger::sharedLogger()->setAuxPath("/dev/null");
    KCLogger::sharedLogger()->setLogToFileOnly(true);
    return 0;
}

static bool equalsIgnoringASCIICase(std::u16string_view text, std::u16string_view lower)
{
    if (text.size() != lower.size())
        return false;
    for (size_t index = 0; index < text.size(); ++index) {
        char16_t c = text[index] >= u'A' && text[index] <= u'Z' ? char16_t(text[index] + 32) : text[index];
        if (c != lower[index])
            return false;
    }
    return true;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    for (const auto& [storeId, record] : PMStoreLookUpResults(KCData(bytes, bytes + size))) {
        if (auto profile = TNUserPublishingProductProfile::initWithProfileDictionary(record)) {
            profile->urlForCoverImageOfSize({});
            profile->urlForCoverImageOfSize({500, 500});
            profile->isExplicit();
        }
    }

    std::u16string page = KCUTF16FromUTF8(std::string_view(reinterpret_cast<const char*>(bytes), size));
    if (auto table = TNUserPublishing::p_firstTableOfPage(page)) {
        size_t at = page.find(*table);
        if (at == std::u16string::npos || at + table->size() >= page.size() || table->size() < 14
            || !equalsIgnoringASCIICase(std::u16string_view(*table).substr(0, 6), u"<table")
            || !equalsIgnoringASCIICase(std::u16string_view(*table).substr(table->size() - 8), u"</table>"))
            std::abort();
    }
    return 0;
}
