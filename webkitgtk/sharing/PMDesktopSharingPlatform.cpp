#include "PMDesktopSharingPlatform.h"

#include "PMDesktopClipboard.h"
#include "PMDesktopPrint.h"
#include "PMDesktopSharingService.h"
#include "PMWebSharePage.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCStringConversion.h"
#include "sharing/KCActivityItemSource.h"

#include <glib.h>

namespace {

using Finish = PMDesktopSharingService::Finish;

std::string escapedHTML(const std::string& text)
{
    KCGCharPointer escaped(g_markup_escape_text(text.c_str(), gssize(text.size())));
    return "<!DOCTYPE html><html><body><pre style=\"white-space: pre-wrap\">" + std::string(escaped.get()) + "</pre></body></html>";
}

PMSharingServiceRef makeService(std::u16string_view name, const char16_t* titleKey, const char* iconName,
    PMDesktopSharingService::CanPerform canPerform, PMDesktopSharingService::Perform perform)
{
    return std::make_shared<PMDesktopSharingService>(std::u16string(name), KCCommonCoreBundle().localizedString(titleKey),
        iconName, std::move(canPerform), std::move(perform));
}

PMSharingServiceRef clipboardService(std::u16string_view name)
{
    return makeService(name, u"Copy", "edit-copy", [](const PMShareItems& items) {
        auto content = PMShareContentFromItems(items);
        return !content.text.empty() || !content.html.empty() || !content.rtf.empty() || !content.urls.empty();
    }, [](PMDesktopSharingService&, const PMShareItems& items, Finish finish) {
        KCError error;
        if (PMCopyToClipboard(PMShareContentFromItems(items), &error))
            finish(std::nullopt);
        else
            finish(error);
    });
}

PMSharingServiceRef mailService(std::u16string_view name)
{
    return makeService(name, u"Mail", "mail-send", [](const PMShareItems& items) { return !items.empty(); },
        [](PMDesktopSharingService& service, const PMShareItems& items, Finish finish) {
            PMComposeMail(PMShareContentFromItems(items), KCUTF8FromUTF16(service.subject().value_or(u"")), std::move(finish));
        });
}

PMSharingServiceRef printService(std::u16string_view name, std::shared_ptr<const std::optional<std::string>> printToFile)
{
    return makeService(name, u"Print", "document-print", [](const PMShareItems& items) {
        auto content = PMShareContentFromItems(items);
        return !content.html.empty() || !content.text.empty();
    }, [printToFile](PMDesktopSharingService&, const PMShareItems& items, Finish finish) {
        auto content = PMShareContentFromItems(items);
        PMPrintHTML(content.html.empty() ? escapedHTML(content.text) : content.html, *printToFile, std::move(finish));
    });
}

PMSharingServiceRef webShareService(std::u16string_view name, const char16_t* titleKey, const char* iconName)
{
    std::u16string type(name);
    auto pageFor = [type](const PMShareItems& items) {
        auto content = PMShareContentFromItems(items);
        return PMWebSharePageURL(type, content.text, content.firstLink());
    };
    return makeService(name, titleKey, iconName, [pageFor](const PMShareItems& items) { return !pageFor(items).empty(); },
        [pageFor](PMDesktopSharingService&, const PMShareItems& items, Finish finish) {
            KCError error;
            if (PMOpenWebSharePage(pageFor(items), &error))
                finish(std::nullopt);
            else
                finish(error);
        });
}

}

PMSharingServiceRef PMDesktopSharingPlatform::sharingServiceNamed(std::u16string_view name)
{
    if (name == KCActivityTypeCopyToPasteboard)
        return clipboardService(name);
    if (name == KCActivityTypeMail)
        return mailService(name);
    if (name == KCActivityTypePrint)
        return printService(name, m_printToFile);
    if (name == KCActivityTypePostToTwitter)
        return webShareService(name, u"Twitter", "web-browser");
    if (name == KCActivityTypePostToFacebook)
        return webShareService(name, u"Facebook", "web-browser");
    if (name == KCActivityTypePostToWeibo)
        return webShareService(name, u"Sina Weibo", "web-browser");
    return nullptr;
}

PMSharingServiceRef PMDesktopSharingPlatform::sharingServiceWithTitle(std::u16string_view title, PMSharingImageRef image,
    PMSharingImageRef alternateImage, std::function<void()> handler)
{
    auto service = std::make_shared<PMDesktopSharingService>(std::nullopt, std::u16string(title), "",
        [](const PMShareItems&) { return true; },
        [handler](PMDesktopSharingService&, const PMShareItems&, Finish finish) {
            if (handler)
                handler();
            finish(std::nullopt);
        });
    service->setImages(std::move(image), std::move(alternateImage));
    return service;
}
