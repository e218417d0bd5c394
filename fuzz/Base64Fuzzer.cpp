// Any bytes as base64 text, as ASCII and as UTF-16: decoding never crashes,
// and whatever decodes survives an encode-decode round trip unchanged.
#include "Utilities/KCBase64.h"
#include "Utilities/KCLogger.h"

#include <cstdlib>
#include <cstring>

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
    auto decoded = KCDataWithBase64EncodedString(text);

    std::u16string wide(size / 2, u'\0');
    std::memcpy(wide.data(), bytes, wide.size() * 2);
    KCDataWithBase64EncodedString(wide);

    if (decoded) {
        std::string encoded = KCBase64Encoding(*decoded);
        if (encoded.size() != (decoded->size() + 2) / 3 * 4)
            std::abort();
        auto again = KCDataWithBase64EncodedString(std::u16string(encoded.begin(), encoded.end()));
        if (!again || *again != *decoded)
            std::abort();
    }
    return 0;
}
