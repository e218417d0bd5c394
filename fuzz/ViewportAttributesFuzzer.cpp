// Any text as a viewport script's result and as a snapshot size: reading
// never crashes, and every attribute is a marker or a size from 1 to 10000.
#include "plugin/PMSizeString.h"
#include "plugin/PMViewportAttributes.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Rejected input is logged; keep it off standard output.
    KCLogger::sharedLogger()->setAuxPath("/dev/null");
    KCLogger::sharedLogger()->setLogToFileOnly(true);
    return 0;
}

static bool isValidAttribute(double value)
{
    return value == kPMViewportAttributesNoValue || value == kPMViewportAttributesDevice || (value >= 1.0 && value <= 10000.0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    std::string_view text(reinterpret_cast<const char*>(bytes), size);
    if (auto attributes = PMViewportAttributes::viewportAttributesWithJavaScriptResult(KCUTF16FromUTF8(text))) {
        if (!isValidAttribute(attributes->width()) || !isValidAttribute(attributes->height()))
            std::abort();
        KCSize outer = attributes->viewportSizeForOuterSize({320, 480});
        if (!(outer.width >= 1 && outer.height >= 1))
            std::abort();
    }
    KCSize parsed = PMSizeFromString(text);
    // What was written reads back as it was.
    KCSize again = PMSizeFromString(PMStringFromSize(parsed));
    if (!std::isnan(parsed.width) && !std::isnan(parsed.height) && !(again == parsed))
        std::abort();
    return 0;
}
