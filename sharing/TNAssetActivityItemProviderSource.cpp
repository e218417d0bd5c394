#include "TNAssetActivityItemProviderSource.h"

#include "KCBlockActivityItemProvider.h"
#include "TNWebArchive.h"

#include "Sharing/TNAssetCitation.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"

#include <glib.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <cstring>

std::u16string TNFormatted(std::u16string_view format, std::initializer_list<std::u16string_view> arguments)
{
    std::u16string text;
    auto argument = arguments.begin();
    for (size_t at = 0; at < format.size();) {
        size_t found = format.find(u"%@", at);
        if (found == std::u16string_view::npos || argument == arguments.end()) {
            text += format.substr(at);
            break;
        }
        text += format.substr(at, found - at);
        text += *argument++;
        at = found + 2;
    }
    return text;
}

std::u16string TNLocalized(std::u16string_view key)
{
    return KCCommonCoreBundle().localizedString(key);
}

namespace {

std::optional<KCImage> imageOfValue(const KCValue& value)
{
    auto image = value.objectAs<PMSharingImage>();
    if (!image || !image->bitmap())
        return std::nullopt;
    KCCairoSurfacePointer surface = image->bitmap()->cairoSurface();
    cairo_surface_flush(surface.get());
    KCImage converted;
    converted.width = cairo_image_surface_get_width(surface.get());
    converted.height = cairo_image_surface_get_height(surface.get());
    converted.bytesPerRow = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
    const uint8_t* pixels = cairo_image_surface_get_data(surface.get());
    converted.pixels.assign(pixels, pixels + converted.bytesPerRow * static_cast<size_t>(converted.height));
    return converted;
}

bool isEmpty(const std::optional<std::u16string>& text)
{
    return !text || text->empty();
}

} // namespace

TNAssetActivityItemProviderSource::TNAssetActivityItemProviderSource(TNAssetActivityItemPropertySource propertySource)
    : m_propertySource(std::move(propertySource))
{
    subjectForActivityType = [this](KCActivityController*, std::u16string_view) { return subject(); };
    auto URLProperty = [this](const char16_t* key) {
        return [this, key](TNUserPublishing&, std::u16string_view) -> std::optional<KCURL> {
            KCValue value = m_propertySource ? m_propertySource(m_activityType, key) : KCValue();
            return value.url() ? std::optional<KCURL>(*value.url()) : std::nullopt;
        };
    };
    m_userPublishingDataSource.storeURLForStoreId = URLProperty(kTNAssetActivityItemProviderPropertyStoreUrl);
    m_userPublishingDataSource.storeShortURLForStoreId = URLProperty(kTNAssetActivityItemProviderPropertyStoreShortUrl);
    m_HTMLGeneratorDataSource.assetCoverForHTMLGenerator = [this](const TNAssetHTMLGenerator&) { return assetCover(); };
    m_HTMLGeneratorDataSource.storeURLForHTMLGenerator = [this](const TNAssetHTMLGenerator&) { return storeUrl(); };
    m_HTMLGeneratorDataSource.citationForStoreURL = [this](const TNAssetHTMLGenerator&, std::optional<std::u16string_view> storeURL) -> Text {
        std::optional<std::u16string> URL;
        if (storeURL)
            URL.emplace(*storeURL);
        return citationWithPropertySource(m_propertySource, m_activityType, URL, {});
    };
}

TNAssetActivityItemProviderSource::Text TNAssetActivityItemProviderSource::p_text(const char16_t* key) const
{
    if (!m_propertySource)
        return std::nullopt;
    KCValue value = m_propertySource(m_activityType, key);
    return value.string() ? Text(*value.string()) : std::nullopt;
}

const TNAssetActivityItemProviderSource::Text& TNAssetActivityItemProviderSource::storeId() const
{
    if (!m_storeId)
        m_storeId = p_text(kTNAssetActivityItemProviderPropertyStoreId);
    return *m_storeId;
}

const TNAssetActivityItemProviderSource::Text& TNAssetActivityItemProviderSource::epubID() const
{
    if (!m_epubID)
        m_epubID = p_text(kTNAssetActivityItemProviderPropertyEpubId);
    return *m_epubID;
}

const std::optional<KCImage>& TNAssetActivityItemProviderSource::assetCover() const
{
    if (!m_assetCover)
        m_assetCover = m_propertySource ? imageOfValue(m_propertySource(m_activityType, kTNAssetActivityItemProviderPropertyAssetCover)) : std::nullopt;
    return *m_assetCover;
}

TNAssetActivityItemProviderSource::Text TNAssetActivityItemProviderSource::title() const { return p_text(kTNAssetActivityItemProviderPropertyTitle); }
TNAssetActivityItemProviderSource::Text TNAssetActivityItemProviderSource::author() const { return p_text(kTNAssetActivityItemProviderPropertyAuthor); }
TNAssetActivityItemProviderSource::Text TNAssetActivityItemProviderSource::publisherLocation() const { return p_text(kTNAssetActivityItemProviderPropertyPublisherLocation); }
TNAssetActivityItemProviderSource::Text TNAssetActivityItemProviderSource::publisherName() const { return p_text(kTNAssetActivityItemProviderPropertyPublisherName); }
TNAssetActivityItemProviderSource::Text TNAssetActivityItemProviderSource::publisherYear() const { return p_text(kTNAssetActivityItemProviderPropertyPublisherYear); }
TNAssetActivityItemProviderSource::Text TNAssetActivityItemProviderSource::genre() const { return p_text(kTNAssetActivityItemProviderPropertyGenre); }

std::u16string TNAssetActivityItemProviderSource::readingDirection() const
{
    Text language = p_text(kTNAssetActivityItemProviderPropertyLanguage);
    if (isEmpty(language))
        return u"auto";
    return uloc_isRightToLeft(KCUTF8FromUTF16(*language).c_str()) ? u"rtl" : u"auto";
}

const std::optional<KCURL>& TNAssetActivityItemProviderSource::storeUrl() const
{
    if (!m_storeUrl)
        m_storeUrl = TNUserPublishing::sharedInstance().storeURLForStoreId(storeId().value_or(u""), &m_userPublishingDataSource);
    return *m_storeUrl;
}

const std::optional<KCURL>& TNAssetActivityItemProviderSource::storeShortUrl() const
{
    if (!m_storeShortUrl)
        m_storeShortUrl = TNUserPublishing::sharedInstance().storeShortURLForStoreId(storeId().value_or(u""), &m_userPublishingDataSource);
    return *m_storeShortUrl;
}

std::optional<KCURL> TNAssetActivityItemProviderSource::storeUrlPreferShort() const
{
    return storeShortUrl() ? storeShortUrl() : storeUrl();
}

std::u16string TNAssetActivityItemProviderSource::p_storeLinkString() const
{
    auto URL = storeUrlPreferShort();
    return URL ? KCUTF16FromUTF8(URL->absoluteString()) : std::u16string();
}

std::optional<KCURL> TNAssetActivityItemProviderSource::bookURL() const
{
    Text path = p_text(kTNAssetActivityItemProviderPropertyBookPath);
    return isEmpty(path) ? std::nullopt : KCURL::fileURLWithPath(KCUTF8FromUTF16(*path));
}

bool TNAssetActivityItemProviderSource::isStoreAsset() const
{
    return storeId() && TNStoreIdHasNonZeroValue(*storeId());
}

bool TNAssetActivityItemProviderSource::isPDF() const
{
    auto URL = bookURL();
    if (!URL)
        return false;
    std::string extension = URL->pathExtension();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) { return g_ascii_tolower(c); });
    return extension.find("pdf") != std::string::npos;
}

std::u16string TNAssetActivityItemProviderSource::citation()
{
    return citationWithPropertySource(m_propertySource, m_activityType, std::nullopt, {});
}

std::u16string TNAssetActivityItemProviderSource::citationWithPropertySource(const TNAssetActivityItemPropertySource& propertySource,
    std::u16string_view activityType, const std::optional<std::u16string>& storeURL, KCRange pageRange)
{
    auto text = [&](const char16_t* key) {
        KCValue value = propertySource ? propertySource(activityType, key) : KCValue();
        return value.string() ? *value.string() : std::u16string();
    };
    TNAssetCitationSource book {text(kTNAssetActivityItemProviderPropertyAuthor), text(kTNAssetActivityItemProviderPropertyTitle),
        text(kTNAssetActivityItemProviderPropertyPublisherName), text(kTNAssetActivityItemProviderPropertyPublisherYear)};
    return TNAssetCitation(book, storeURL, pageRange);
}

std::u16string TNAssetActivityItemProviderSource::checkOutBookWithShortCitationWithCharacterLimit(uint64_t characterLimit, bool compressedFormat)
{
    std::u16string_view pattern = compressedFormat ? u"%@ %@" : u"%@\n%@";
    std::u16string lead = TNLocalized(isStoreAsset() ? u"Check out this book on the Pagemoor Store:" : u"Check out this book:");
    Text bookTitle = title();
    std::u16string shownTitle = isEmpty(bookTitle) ? TNLocalized(u"Untitled") : *bookTitle;
    Text bookAuthor = author();
    std::u16string byline = isEmpty(bookAuthor) ? TNFormatted(TNLocalized(u"\\U201C%@\\U201D"), {shownTitle})
                                                : TNFormatted(TNLocalized(u"\\U201C%@\\U201D by %@"), {shownTitle, *bookAuthor});
    for (const std::u16string& candidate : {TNFormatted(pattern, {lead, byline}), TNFormatted(pattern, {lead, shownTitle}), shownTitle}) {
        if (candidate.size() <= characterLimit)
            return candidate;
    }
    return stringByTruncatingToLength(shownTitle, characterLimit, KCStringEnumerationByWords, TNLocalized(u"\\U2026"));
}

void TNAssetActivityItemProviderSource::populateHTMLGenerator(TNAssetHTMLGenerator& generator)
{
    generator.setDataSource(&m_HTMLGeneratorDataSource);
    generator.setStoreId(isStoreAsset() ? storeId() : std::nullopt);
    generator.setEpubId(epubID());
    Text bookTitle = title();
    generator.setTitle(isEmpty(bookTitle) ? TNLocalized(u"Untitled") : *bookTitle);
    generator.setAuthor(author());
    generator.setPublisherLocation(publisherLocation());
    generator.setPublisherName(publisherName());
    generator.setPublisherYear(publisherYear());
    generator.setGenre(genre());
    generator.setReadingDirection(readingDirection());
}

std::optional<std::string> TNAssetActivityItemProviderSource::filePathByGeneratingWebArchive()
{
    KCValue item = itemForActivityType(nullptr, m_activityType);
    if (!item.string())
        return std::nullopt;
    KCGCharPointer path(g_build_filename(g_get_tmp_dir(), "PagemoorEmail.webarchive", nullptr));
    return TNWriteWebArchive(KCUTF8FromUTF16(*item.string()), path.get());
}

std::optional<std::u16string> TNAssetActivityItemProviderSource::subject()
{
    Text bookTitle = title();
    if (isEmpty(bookTitle))
        return TNLocalized(u"Check out this book");
    return TNFormatted(TNLocalized(u"Check out \\U201C%@\\U201D"), {*bookTitle});
}

KCValue TNAssetActivityItemProviderSource::itemForActivityType(KCActivityController*, std::u16string_view activityType)
{
    std::vector<std::u16string> supported = supportedActivityTypes();
    if (std::find(supported.begin(), supported.end(), activityType) == supported.end())
        return nullptr;
    return p_itemForSupportedActivityType(activityType);
}

KCActivityItemRef TNAssetActivityItemProviderSource::p_blockProvider(const char16_t* UTI, std::function<KCValue()> resolve) const
{
    auto provider = std::make_shared<KCBlockActivityItemProvider>(UTI, [self = shared_from_this(), resolve = std::move(resolve)](std::u16string_view) { return resolve(); });
    provider->setSupportedActivityTypes(supportedActivityTypes());
    return provider;
}
