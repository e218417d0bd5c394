// pagemoor share: what the desktop offers for sharing a book or its
// annotations, and carrying out one share.
#include "BookCommandSupport.h"
#include "StoreCommandSupport.h"

#include "Utilities/KCBase64.h"
#include "Utilities/KCRTFWriter.h"
#include "bookshare/PMBookShareData.h"
#include "bookshare/PMShareDocuments.h"
#include "sharing/KCActivityController.h"
#include "sharing/PMDesktopClipboard.h"
#include "sharing/PMDesktopSharingPlatform.h"
#include "sharing/TNAnnotationActivityItemProviders.h"
#include "sharing/TNAssetActivityItemProvider.h"
#include "storelookup/PMStoreLookUp.h"

#include <glib.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <iostream>
#include <map>

namespace {

const char* const kUsage =
    "usage: pagemoor share BOOK.epub [--store FILE (--uuid U | --all)] [--no-citations] [--store-id ID]\n"
    "                      (--list | --to TYPE [--dry-run] [--print-to FILE.pdf]) [--json] [--cache-dir DIR]\n"
    "  Shares the book, one annotation (--uuid) or all live annotations of the book (--all)\n"
    "  from the annotation store.\n"
    "  --list         the destinations on offer, in order: activity type and title per line\n"
    "                 (--json: [{\"type\", \"title\"}])\n"
    "  --to TYPE      share there: an activity type, or mail, copy, print, twitter, facebook, weibo\n"
    "  --dry-run      print as JSON what the destination would be handed, instead of sharing\n"
    "  --print-to     print into this PDF file instead of through the print dialog\n"
    "  --store-id     the book's store ID (default 0: not from the store)\n"
    "  --no-citations leave the book's text out of the share\n";

const std::map<std::string, const char16_t*> kShortTypes = {
    {"mail", KCActivityTypeMail},
    {"copy", KCActivityTypeCopyToPasteboard},
    {"print", KCActivityTypePrint},
    {"twitter", KCActivityTypePostToTwitter},
    {"facebook", KCActivityTypePostToFacebook},
    {"weibo", KCActivityTypePostToWeibo},
};

// A value as JSON: text as it is, data as base64, lists and dictionaries within.
nlohmann::ordered_json jsonValue(const KCValue& value)
{
    if (auto text = value.string())
        return KCUTF8FromUTF16(*text);
    if (auto url = value.url())
        return url->absoluteString();
    if (auto data = value.data()) {
        // Text written as data (plain text, RTF) reads better as text.
        std::string_view bytes(reinterpret_cast<const char*>(data->data()), data->size());
        if (g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr))
            return std::string(bytes);
        return KCBase64Encoding(*data);
    }
    if (auto array = value.array()) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const KCValue& element : *array)
            list.push_back(jsonValue(element));
        return list;
    }
    if (auto number = value.doubleValue())
        return *number;
    return nullptr;
}

// One share item as the destination gets it.
void appendItem(nlohmann::ordered_json& items, const KCValue& item)
{
    auto add = [&](std::u16string_view uti, nlohmann::ordered_json value) { items.push_back({{"uti", KCUTF8FromUTF16(uti)}, {"value", std::move(value)}}); };
    if (auto text = item.string())
        return add(text->starts_with(u"<") ? u"public.html" : kKCUTITypeText, KCUTF8FromUTF16(*text));
    if (auto url = item.url())
        return add(url->isFileURL() ? kKCUTITypeFileURL : kKCUTITypeURL, url->absoluteString());
    if (auto object = item.object()) {
        if (auto* styled = dynamic_cast<PMSharingStyledText*>(object.get()))
            return add(u"public.rtf", KCRTFFromStyledString(styled->text()));
        if (auto* writer = dynamic_cast<PMPasteboardWriting*>(object.get())) {
            for (const std::u16string& type : writer->writableTypesForPasteboard())
                add(type, jsonValue(writer->pasteboardPropertyListForType(type)));
            return;
        }
    }
    add(u"public.data", jsonValue(item));
}

// A destination that shows what it is handed instead of sharing it.
class DryRunService final : public PMSharingService {
public:
    explicit DryRunService(PMSharingServiceRef service) : m_service(std::move(service)) {}
    std::optional<std::u16string> name() const override { return m_service->name(); }
    std::u16string title() const override { return m_service->title(); }
    PMSharingImageRef image() const override { return m_service->image(); }
    PMSharingImageRef alternateImage() const override { return m_service->alternateImage(); }
    std::optional<std::u16string> subject() const override { return m_subject; }
    void setSubject(std::optional<std::u16string> subject) override { m_subject = std::move(subject); }
    PMSharingServiceDelegate* delegate() const override { return m_delegate; }
    void setDelegate(PMSharingServiceDelegate* delegate) override { m_delegate = delegate; }
    bool canPerformWithItems(const PMShareItems& items) override { return m_service->canPerformWithItems(items); }
    void performWithItems(const PMShareItems& items) override
    {
        if (m_delegate)
            m_delegate->willShareItems(*this, items);
        nlohmann::ordered_json shown = {{"type", KCUTF8FromUTF16(name().value_or(u""))}, {"subject", nullptr}, {"items", nlohmann::ordered_json::array()}};
        if (m_subject)
            shown["subject"] = KCUTF8FromUTF16(*m_subject);
        for (const KCValue& item : items)
            appendItem(shown["items"], item);
        std::cout << shown.dump(2) << '\n';
        if (m_delegate)
            m_delegate->didShareItems(*this, items);
    }

private:
    PMSharingServiceRef m_service;
    PMSharingServiceDelegate* m_delegate = nullptr;
    std::optional<std::u16string> m_subject;
};

class DryRunPlatform final : public PMDesktopSharingPlatform {
public:
    PMSharingServiceRef sharingServiceNamed(std::u16string_view name) override
    {
        PMSharingServiceRef service = PMDesktopSharingPlatform::sharingServiceNamed(name);
        return service ? std::make_shared<DryRunService>(std::move(service)) : nullptr;
    }
};

int runShare(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"store", "uuid", "store-id", "to", "print-to", "cache-dir"});
    if (auto failed = PMRejectUnknown(arguments, {"all", "no-citations", "list", "dry-run", "json"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("share needs exactly one book (see pagemoor share --help)");
    auto storePath = arguments.option("store");
    auto uuid = PMTextOption(arguments, "uuid");
    if (storePath && !!uuid == arguments.flag("all"))
        return PMFail("with --store, give --uuid U or --all");
    if (!storePath && (uuid || arguments.flag("all")))
        return PMFail("--uuid and --all need --store FILE");
    auto to = arguments.option("to");
    if (arguments.flag("list") == !!to)
        return PMFail("give --list or --to TYPE");
    std::u16string type;
    if (to)
        type = kShortTypes.contains(*to) ? std::u16string(kShortTypes.at(*to)) : KCUTF16FromUTF8(*to);

    PMSendLogToStandardError();
    PMRegisterStoreLookUp();
    auto book = PMOpenBookArgument(arguments.positionals()[0], arguments);
    if (!book)
        return 1;
    PMBookShareData shareData = PMBookShareDataForBook(*book);
    TNAnnotation::Annotations annotations;
    std::optional<PMStoreSession> session;
    int32_t shareType = TNAssetActivityItemProvider::ShareTypeBook;
    if (storePath) {
        session = PMOpenStore(*storePath);
        if (!session)
            return PMFail("could not open the annotation store " + *storePath);
        KCError error;
        if (uuid) {
            auto annotation = TNAnnotation::annotationWithUUID(*uuid, shareData.identifier, session->context.get(), &error);
            if (!annotation)
                return PMFail("no annotation " + *arguments.option("uuid") + " in this book");
            annotations = {annotation};
            shareType = TNAssetActivityItemProvider::ShareTypeAnnotation;
        } else {
            auto all = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForUserAnnotationsWithAssetID(shareData.identifier, false),
                session->context.get(), &error);
            if (!all)
                return PMFail("could not read the annotation store: " + error.message);
            annotations = std::move(*all);
            shareType = TNAssetActivityItemProvider::ShareTypeAnnotationGroup;
        }
    }

    std::u16string storeId = PMTextOption(arguments, "store-id").value_or(u"0");
    TNAnnotationPaginationDataSource pagination = shareData.paginationDataSource();
    KCActivityItems items = TNAssetActivityItemsForShare(shareData.propertySource(KCUTF16FromUTF8(std::filesystem::absolute(arguments.positionals()[0]).string()), storeId),
        std::move(annotations), shareType, !arguments.flag("no-citations"), &pagination);
    std::unique_ptr<PMDesktopSharingPlatform> platform = arguments.flag("dry-run") ? std::make_unique<DryRunPlatform>() : std::make_unique<PMDesktopSharingPlatform>();
    platform->setPrintToFile(arguments.option("print-to"));
    KCActivityController controller(*platform, std::move(items), {});

    if (arguments.flag("list")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const PMSharingServiceRef& service : controller.sharingServices())
            list.push_back({{"type", KCUTF8FromUTF16(service->name().value_or(u""))}, {"title", KCUTF8FromUTF16(service->title())}});
        if (arguments.flag("json"))
            std::cout << list.dump(2) << '\n';
        else
            for (const auto& entry : list)
                std::cout << entry["type"].get<std::string>() << '\t' << entry["title"].get<std::string>() << '\n';
        return 0;
    }

    std::optional<bool> succeeded;
    controller.setCompletionHandler([&](std::u16string_view, bool success) { succeeded = success; });
    if (type == KCActivityTypePrint) {
        PMSharingServiceRef service = platform->sharingServiceNamed(type);
        if (!service || !PMPrintShare(controller, *service))
            return PMFail("this share has nothing to print (a group prints when one of its annotations has a note)");
    } else {
        PMSharingServiceRef offered;
        for (const PMSharingServiceRef& service : controller.sharingServices())
            if (service->name() == type)
                offered = service;
        if (offered)
            controller.performShareWithService(*offered);
        else if (PMSharingServiceRef clipboard = type == KCActivityTypeCopyToPasteboard ? platform->sharingServiceNamed(type) : nullptr) {
            // A share whose destinations do not include copying (a group) still
            // writes itself to the clipboard, as the reader's Copy does.
            PMCopyShare(controller, *clipboard);
        } else
            return PMFail("this share is not offered to " + *to + " (see pagemoor share --list)");
    }
    while (!succeeded)
        g_main_context_iteration(nullptr, TRUE);
    if (!*succeeded)
        return PMFail("the share to " + *to + " failed");
    if (type == KCActivityTypeCopyToPasteboard && !arguments.flag("dry-run"))
        PMKeepServingClipboardInBackground();
    return 0;
}

PMCommandRegistration registration({"share", "offer a book or its annotations to the desktop's share destinations", kUsage, runShare});

} // namespace
