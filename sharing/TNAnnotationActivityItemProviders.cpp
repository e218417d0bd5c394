#include "TNAnnotationActivityItemProviders.h"

#include "TNAssetActivityItemProviders.h"

#include "Sharing/Annotations/TNAnnotationGroupHTMLGenerator.h"
#include "Sharing/Annotations/TNAnnotationGroupRTFGenerator.h"
#include "Sharing/TNAssetCitation.h"
#include "Utilities/KCStringAdditions.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"

std::vector<std::u16string> TNAnnotationSocialActivityItemProvider::supportedActivityTypes() const
{
    return {KCActivityTypePostToFacebook, KCActivityTypePostToTwitter, KCActivityTypePostToWeibo};
}

std::u16string TNAnnotationSocialActivityItemProvider::text()
{
    std::u16string excerpt = TNAnnotationActivityItemProviderSource::text();
    return stringByEnclosingInQuotes(stringByTruncatingToLength(excerpt, characterLimit(), KCStringEnumerationByWords, TNLocalized(u"\\U2026")));
}

KCActivityItems TNAnnotationFacebookActivityItemProvider::expandedItemProviders()
{
    KCActivityItems providers {
        p_blockProvider(kKCUTITypeText, [this] { return KCValue(text() + u"\n"); }),
        p_blockProvider(kKCUTITypeText, [this] { return KCValue(TNFormatted(u"%@\n%@", {TNLocalized(u"Excerpt From") + u":", citation()})); }),
    };
    if (isStoreAsset()) {
        providers.push_back(p_blockProvider(kKCUTITypeURL, [this] {
            auto URL = storeUrlPreferShort();
            return URL ? KCValue(*URL) : KCValue();
        }));
    }
    return providers;
}

uint64_t TNAnnotationTwitterWeiboActivityItemProvider::characterLimit()
{
    if (p_hasStoreLink())
        return 114;
    return uint64_t(137) - citation().size();
}

std::u16string TNAnnotationTwitterWeiboActivityItemProvider::citation()
{
    return citationWithPropertySource(propertySource(), activityType(), std::nullopt, {});
}

std::u16string TNAnnotationTwitterWeiboActivityItemProvider::citationWithPropertySource(const TNAssetActivityItemPropertySource& propertySource,
    std::u16string_view activityType, const std::optional<std::u16string>&, KCRange)
{
    // The author loses blanks and line breaks at its ends, the title only blanks.
    auto piece = [&](const char16_t* key, auto trim) {
        KCValue value = propertySource ? propertySource(activityType, key) : KCValue();
        std::u16string text(trim(value.string() ? *value.string() : u""));
        if (!text.empty() && text.back() != u'.')
            text += u'.';
        return text;
    };
    std::u16string citation;
    if (std::u16string author = piece(kTNAssetActivityItemProviderPropertyAuthor, KCTrimWhitespaceAndNewlines); !author.empty())
        citation += author + u" ";
    if (std::u16string title = piece(kTNAssetActivityItemProviderPropertyTitle, TNTrimmedOfBlanks); !title.empty())
        citation += stringByEnclosingInQuotes(title) + u" ";
    return citation;
}

std::u16string TNAnnotationTwitterWeiboActivityItemProvider::postText()
{
    if (p_hasStoreLink())
        return TNFormatted(TNLocalized(u"%@ %@"), {text(), p_storeLinkString()});
    return TNFormatted(u"%@\n%@", {text(), citation()});
}

KCActivityItems TNAnnotationTwitterWeiboActivityItemProvider::expandedItemProviders()
{
    return {p_blockProvider(kKCUTITypeText, [this] { return KCValue(postText()); })};
}

std::optional<std::u16string> TNAnnotationHTMLActivityItemProvider::subject()
{
    Text bookTitle = title();
    return TNFormatted(TNLocalized(u"Notes from \\U201C%@\\U201D"), {bookTitle && !bookTitle->empty() ? *bookTitle : TNLocalized(u"Untitled")});
}

std::unique_ptr<TNSingleAnnotationHTMLGenerator> TNAnnotationHTMLActivityItemProvider::makeGenerator()
{
    auto generator = std::make_unique<TNSingleAnnotationHTMLGenerator>();
    populateHTMLGenerator(*generator);
    return generator;
}

TNAssetActivityItemProviderSource::Text TNAnnotationHTMLActivityItemProvider::documentString()
{
    return makeGenerator()->documentString();
}

KCValue TNAnnotationHTMLActivityItemProvider::p_itemForSupportedActivityType(std::u16string_view)
{
    Text document = documentString();
    return document ? KCValue(*document) : KCValue();
}

KCValue TNAnnotationHTMLActivityItemProvider::pasteboardPropertyListForType(std::u16string_view)
{
    return TNWebArchivePasteboardValue(*this);
}

std::unique_ptr<TNSingleAnnotationHTMLGenerator> TNAnnotationGroupHTMLActivityItemProvider::makeGenerator()
{
    auto generator = std::make_unique<TNAnnotationGroupHTMLGenerator>();
    populateHTMLGenerator(*generator);
    return generator;
}

void TNAnnotationGroupPrintActivityItemProvider::populateHTMLGenerator(TNAssetHTMLGenerator& generator)
{
    TNAnnotationGroupHTMLActivityItemProvider::populateHTMLGenerator(generator);
    if (auto* annotationGenerator = dynamic_cast<TNSingleAnnotationHTMLGenerator*>(&generator))
        annotationGenerator->setCitationsAllowed(false);
    generator.setForPrint(true);
}

KCValue TNAnnotationTextActivityItemProvider::p_itemForSupportedActivityType(std::u16string_view)
{
    std::u16string excerpt = text();
    if (tokenCountWithEnumerationOptions(excerpt, KCStringEnumerationByWords, 0) < 4)
        return excerpt;
    std::u16string message = TNFormatted(u"%@\n\n%@: %@", {stringByEnclosingInQuotes(excerpt), TNLocalized(u"Excerpt From"), citation()});
    if (p_hasStoreLink())
        message += p_storeLinkString();
    return message;
}

KCValue TNAnnotationGroupRTFActivityItemProvider::itemForActivityType(KCActivityController*, std::u16string_view)
{
    return std::make_shared<PMSharingStyledText>(attributedString());
}

KCStyledString TNAnnotationGroupRTFActivityItemProvider::attributedString()
{
    TNAnnotationGroupRTFGenerator generator;
    generator.setAnnotations(annotations());
    generator.setCitationsAllowed(areCitationAllowed());
    generator.setBookCitationString(citation());
    if (isStoreAsset()) {
        generator.setBookURLPrefix(TNLocalized(u"Check out this book on the Pagemoor Store: "));
        generator.setBookURL(storeUrlPreferShort());
    }
    return generator.attributedString();
}
