#include "PMWebSharePage.h"

#include "PMShareContent.h"

#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCLogger.h"
#include "sharing/KCActivityItemSource.h"

#include <gio/gio.h>

namespace {

std::string encoded(const std::string& text)
{
    return KCGCharPointer(g_uri_escape_string(text.c_str(), nullptr, FALSE)).get();
}

std::string withParameters(std::string page, std::initializer_list<std::pair<const char*, const std::string*>> parameters)
{
    char separator = '?';
    for (auto& [key, value] : parameters) {
        if (value->empty())
            continue;
        page += separator + std::string(key) + '=' + encoded(*value);
        separator = '&';
    }
    return page;
}

}

std::string PMWebSharePageURL(std::u16string_view activityType, const std::string& text, const std::string& link)
{
    if (activityType == KCActivityTypePostToTwitter)
        return withParameters("https://twitter.com/intent/tweet", {{"text", &text}, {"url", &link}});
    // The page takes a link only.
    if (activityType == KCActivityTypePostToFacebook)
        return link.empty() ? std::string() : withParameters("https://www.facebook.com/sharer/sharer.php", {{"u", &link}});
    if (activityType == KCActivityTypePostToWeibo)
        return withParameters("https://service.weibo.com/share/share.php", {{"title", &text}, {"url", &link}});
    return {};
}

bool PMOpenWebSharePage(const std::string& url, KCError* error)
{
    GError* gerror = nullptr;
    if (g_app_info_launch_default_for_uri(url.c_str(), nullptr, &gerror))
        return true;
    std::string message = std::string("Cannot open the share page: ") + (gerror ? gerror->message : "");
    g_clear_error(&gerror);
    KCLog("%s", message.c_str());
    return KCSetError(error, {PMDesktopSharingErrorDomain, 5, message});
}
