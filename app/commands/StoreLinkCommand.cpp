// pagemoor store-link: a book's store URL, short URL or e-mail body, as the
// user-publishing service answers it.
#include "app/PMCommand.h"

#include "Sharing/TNUserPublishing.h"
#include "Utilities/KCStringConversion.h"
#include "storelookup/PMStoreLookUp.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace {

const char* const kUsage =
    "usage: pagemoor store-link STOREID [--short | --email-body] [--title T] [--author A] [--category C] [--json]\n"
    "  Prints the book's store URL, looked up at $PAGEMOOR_STORE_LOOKUP_URL when set\n"
    "  (see docs/store-lookup.md), else the store page made from the ID.\n"
    "  --short       the short URL instead (only a look-up knows it)\n"
    "  --email-body  the HTML e-mail body that presents the book: the store's page\n"
    "                ($PAGEMOOR_STORE_SERVICE_URL), else one generated from the\n"
    "                title, author and category when any of them is given\n"
    "  --json        print {\"storeId\": ..., \"url\" | \"shortUrl\" | \"emailBody\": ...}\n";

// Answers what the command line gives; an operation without a value stays unanswered.
TNUserPublishingDataSource dataSourceFrom(const PMArguments& arguments)
{
    TNUserPublishingDataSource dataSource;
    auto answer = [&](const char* name) -> TNUserPublishingDataSource::Operation<std::optional<std::u16string>> {
        auto value = arguments.option(name);
        if (!value)
            return nullptr;
        return [text = KCUTF16FromUTF8(*value)](TNUserPublishing&, std::u16string_view) { return std::optional<std::u16string>(text); };
    };
    dataSource.assetTitleForStoreId = answer("title");
    dataSource.assetAuthorForStoreId = answer("author");
    dataSource.assetCategoryForStoreId = answer("category");
    return dataSource;
}

int runStoreLink(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"title", "author", "category"});
    if (auto failed = PMRejectUnknown(arguments, {"short", "email-body", "json"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("store-link needs exactly one store ID (see pagemoor store-link --help)");
    if (arguments.flag("short") && arguments.flag("email-body"))
        return PMFail("store-link answers --short or --email-body, not both");

    PMSendLogToStandardError();
    PMRegisterStoreLookUp();

    std::string storeIdText = arguments.positionals()[0];
    std::u16string storeId = KCUTF16FromUTF8(storeIdText);
    bool describesBook = arguments.option("title") || arguments.option("author") || arguments.option("category");
    TNUserPublishingDataSource dataSource = dataSourceFrom(arguments);
    TNUserPublishing& service = TNUserPublishing::sharedInstance();

    std::string key;
    std::optional<std::string> answer;
    if (arguments.flag("email-body")) {
        key = "emailBody";
        if (auto body = service.bookInfoHTMLForStoreId(storeId, describesBook ? &dataSource : nullptr))
            answer = KCUTF8FromUTF16(*body);
    } else {
        key = arguments.flag("short") ? "shortUrl" : "url";
        auto url = arguments.flag("short") ? service.storeShortURLForStoreId(storeId, &dataSource) : service.storeURLForStoreId(storeId, &dataSource);
        if (url)
            answer = url->absoluteString();
    }
    if (!answer) {
        if (key == "emailBody" && !describesBook)
            return PMFail("no e-mail body for store ID '" + storeIdText + "' (give --title, --author or --category to generate one)");
        return PMFail("no " + std::string(key == "shortUrl" ? "short URL" : key == "url" ? "store URL" : "e-mail body") + " for store ID '"
            + storeIdText + "'" + (key == "url" ? "" : " (is $PAGEMOOR_STORE_LOOKUP_URL set?)"));
    }
    if (arguments.flag("json"))
        std::cout << nlohmann::ordered_json {{"storeId", KCUTF8FromUTF16(storeId)}, {key, *answer}}.dump(2) << '\n';
    else
        std::cout << *answer << (answer->ends_with('\n') ? "" : "\n");
    return 0;
}

PMCommandRegistration registration({"store-link", "print a book's store URL, short URL or e-mail body", kUsage, runStoreLink});

} // namespace
