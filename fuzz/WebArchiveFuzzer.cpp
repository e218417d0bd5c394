// Any HTML bytes and any URL text (well-formed UTF-8 read back) make a web archive that passes the binary
// property-list check and reads back with the same data and URL, in a
// dictionary of one main resource.
//
// Input: the URL text, then after the first zero byte the HTML bytes.
#include "sharing/TNWebArchive.h"
#include "Utilities/KCBinaryPlistCheck.h"
#include "Utilities/KCKeyedArchivePlist.h"

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string_view input(reinterpret_cast<const char*>(data), size);
    size_t zero = input.find('\0');
    std::string_view URL = input.substr(0, zero);
    std::string_view html = zero == std::string_view::npos ? std::string_view() : input.substr(zero + 1);

    KCData archive = TNWebArchiveData(html, URL);
    if (auto problem = KCBinaryPlistProblem(archive))
        fail(problem->c_str());
    plist_t root = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(archive.data()), static_cast<uint32_t>(archive.size()), &root);
    KCPlistPointer owner(root);
    plist_t resource = root ? KCPlistItemOfType(root, "WebMainResource", PLIST_DICT) : nullptr;
    if (!resource || plist_dict_get_size(root) != 1)
        fail("The archive has no main resource of its own");
    uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(KCPlistItemOfType(resource, "WebResourceData", PLIST_DATA), &length);
    if (std::string_view(bytes ? bytes : "", length) != html)
        fail("The archive's data differs from the HTML");
    // Text in a property list is Unicode: only well-formed UTF-8 comes back byte for byte.
    bool wellFormed = g_utf8_validate(URL.data(), static_cast<gssize>(URL.size()), nullptr);
    if (wellFormed && KCPlistStringValue(KCPlistItemOfType(resource, "WebResourceURL", PLIST_STRING)) != URL)
        fail("The archive's URL differs from the one given");
    return 0;
}
