// Any bytes as an .epub file: opening never crashes or hangs, and whatever
// the archive says, nothing is written outside the cache directory.
#include "book/PMBook.h"

#include "PMFuzzSandbox.h"

#include <cstdlib>
#include <fstream>

namespace {

namespace fs = std::filesystem;

fs::path sandbox;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    sandbox = PMFuzzSandbox("epub");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const fs::path epub = sandbox / "book.epub";
    const fs::path cache = sandbox / "cache";
    std::ofstream(epub, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));

    PMBookOpenOptions options;
    options.cacheDirectory = cache.string();
    options.limits.maxEntries = 256;
    options.limits.maxTotalBytes = 8 << 20;
    KCError error;
    if (auto book = PMBook::open(epub.string(), options, &error))
        book->resourceInformation();

    for (const auto& entry : fs::directory_iterator(sandbox)) {
        if (entry.path() != epub && entry.path() != cache)
            std::abort();  // something escaped the cache directory
    }
    std::error_code ignored;
    fs::remove_all(cache, ignored);
    return 0;
}
