// Any text as a content document and as a package: the viewport's page size
// is nothing or positive and finite, and every spine item has a rendition.
#include "book/PMBookFixedLayout.h"
#include "Utilities/KCLogger.h"

#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Rejected input is logged; keep it off standard output.
    KCLogger::sharedLogger()->setAuxPath("/dev/null");
    KCLogger::sharedLogger()->setLogToFileOnly(true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    std::string_view text(reinterpret_cast<const char*>(bytes), size);
    if (auto page = PMViewportSizeOfDocument(text)) {
        if (!(page->width > 0 && page->height > 0 && std::isfinite(page->width) && std::isfinite(page->height)))
            std::abort();
    }
    if (auto package = PMParsePackage(text, "OPS/package.opf", nullptr)) {
        for (size_t index = 0; index <= package->spine.size(); ++index)
            PMSpineItemRendition(*package, index);
    }
    return 0;
}
