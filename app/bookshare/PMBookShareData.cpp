#include "PMBookShareData.h"

#include "Sharing/TNAssetHTMLGenerator.h"
#include "Sharing/TNUserPublishing.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCStringConversion.h"

#include <unicode/uloc.h>

PMBookShareData PMBookShareDataForBook(const PMBook& book)
{
    return PMBookShareDataForBook(book, PMBookNavigation::open(book, nullptr).value_or(PMBookNavigation()));
}

PMBookShareData PMBookShareDataForBook(const PMBook& book, PMBookNavigation navigation)
{
    const PMPackage& package = book.package();
    PMBookShareData data;
    data.identifier = KCUTF16FromUTF8(package.uniqueIdentifier);
    data.storeId = KCUTF16FromUTF8(package.storeId.empty() ? std::string("0") : package.storeId);
    data.language = KCUTF16FromUTF8(package.language);
    data.citationSource = {KCUTF16FromUTF8(package.creator), KCUTF16FromUTF8(package.title), KCUTF16FromUTF8(package.publisher),
        KCUTF16FromUTF8(package.year())};
    data.navigation = std::move(navigation);
    return data;
}

TNAnnotationPaginationDataSource PMBookShareData::paginationDataSource() const
{
    auto location = [](const TNAnnotation& annotation) { return KCUTF8FromUTF16(annotation.annotationLocation().value_or(u"")); };
    return {
        [this, location](const TNAnnotation& annotation) -> TNAnnotation::Text {
            auto title = navigation.chapterTitleForLocation(location(annotation));
            return title ? TNAnnotation::Text(KCUTF16FromUTF8(*title)) : std::nullopt;
        },
        [this, location](const TNAnnotation& annotation) { return navigation.pageRangeForLocation(location(annotation)); },
    };
}

std::u16string PMBookShareData::readingDirection() const
{
    return !language.empty() && uloc_isRightToLeft(KCUTF8FromUTF16(language).c_str()) ? u"rtl" : u"auto";
}

void PMBookShareData::populate(TNAssetHTMLGenerator& generator) const
{
    generator.setStoreId(storeId);
    generator.setEpubId(identifier);
    generator.setTitle(citationSource.title.empty() ? KCCommonCoreBundle().localizedString(u"Untitled") : citationSource.title);
    generator.setAuthor(citationSource.author);
    generator.setPublisherName(citationSource.publisherName);
    generator.setPublisherYear(citationSource.publisherYear);
    generator.setReadingDirection(readingDirection());
}

TNAssetActivityItemPropertySource PMBookShareData::propertySource(std::u16string bookPath, std::u16string storeId) const
{
    return [this, bookPath = std::move(bookPath), storeId = std::move(storeId)](std::u16string_view, std::u16string_view key) -> KCValue {
        auto text = [](const std::u16string& value) { return value.empty() ? KCValue() : KCValue(value); };
        if (key == kTNAssetActivityItemProviderPropertyStoreId)
            return KCValue(storeId);
        if (key == kTNAssetActivityItemProviderPropertyStoreUrl || key == kTNAssetActivityItemProviderPropertyStoreShortUrl) {
            bool isShort = key == kTNAssetActivityItemProviderPropertyStoreShortUrl;
            TNUserPublishing& publishing = TNUserPublishing::sharedInstance();
            auto url = isShort ? publishing.storeShortURLForStoreId(storeId, nullptr) : publishing.storeURLForStoreId(storeId, nullptr);
            return url ? KCValue(*url) : KCValue();
        }
        if (key == kTNAssetActivityItemProviderPropertyBookPath)
            return KCValue(bookPath);
        if (key == kTNAssetActivityItemProviderPropertyEpubId)
            return text(identifier);
        if (key == kTNAssetActivityItemProviderPropertyTitle)
            return text(citationSource.title);
        if (key == kTNAssetActivityItemProviderPropertyAuthor)
            return text(citationSource.author);
        if (key == kTNAssetActivityItemProviderPropertyPublisherName)
            return text(citationSource.publisherName);
        if (key == kTNAssetActivityItemProviderPropertyPublisherYear)
            return text(citationSource.publisherYear);
        if (key == kTNAssetActivityItemProviderPropertyLanguage)
            return text(language);
        return KCValue();
    };
}
