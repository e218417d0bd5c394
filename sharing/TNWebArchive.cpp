#include "TNWebArchive.h"

#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCKeyedArchivePlist.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCURL.h"

#include <glib.h>

KCData TNWebArchiveData(std::string_view html, std::string_view URL)
{
    KCPlistPointer mainResource(plist_new_dict());
    plist_dict_set_item(mainResource.get(), "WebResourceData", plist_new_data(html.data(), html.size()));
    // Property-list text is Unicode: what of a URL is not UTF-8 becomes U+FFFD.
    KCGCharPointer text(g_utf8_make_valid(URL.data(), static_cast<gssize>(URL.size())));
    plist_dict_set_item(mainResource.get(), "WebResourceURL", plist_new_string(text.get()));
    plist_dict_set_item(mainResource.get(), "WebResourceMIMEType", plist_new_string("text/html"));
    plist_dict_set_item(mainResource.get(), "WebResourceTextEncodingName", plist_new_string("utf-8"));
    plist_dict_set_item(mainResource.get(), "WebResourceFrameName", plist_new_string("main"));
    KCPlistPointer archive(plist_new_dict());
    plist_dict_set_item(archive.get(), "WebMainResource", mainResource.release());

    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(archive.get(), &bytes, &length);
    KCData data(bytes, bytes + length);
    plist_to_bin_free(bytes);
    return data;
}

std::optional<std::string> TNWriteWebArchive(std::string_view html, const std::string& path, KCError* error)
{
    auto fail = [&](int64_t code, std::string message) -> std::optional<std::string> {
        KCLog("Could not write the web archive %@: %@", path, message);
        if (error)
            *error = KCError("TNWebArchiveErrorDomain", code, std::move(message));
        return std::nullopt;
    };
    auto URL = KCURL::fileURLWithPath(path);
    if (!URL)
        return fail(1, "the path is not absolute");
    KCData data = TNWebArchiveData(html, URL->absoluteString());
    GError* writeError = nullptr;
    // Written to a temporary file that then replaces the old one.
    if (!g_file_set_contents(path.c_str(), reinterpret_cast<const char*>(data.data()), static_cast<gssize>(data.size()), &writeError)) {
        std::string message = writeError->message;
        int64_t code = writeError->code;
        g_error_free(writeError);
        return fail(code, message);
    }
    return path;
}
