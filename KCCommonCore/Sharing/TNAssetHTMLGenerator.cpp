#include "TNAssetHTMLGenerator.h"

#include "TNHTMLText.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <glib.h>

const char16_t* const kTNAssetHTMLGeneratorInsertionHeaderPlaceholder = u"<!-- %%INSERTIONHEADER%% -->";
const char16_t* const kTNAssetHTMLGeneratorBookInfoSectionPlaceholder = u"<!-- %%BOOKINFO%% -->";
const char16_t* const kTNAssetHTMLGeneratorDisclaimerSectionPlaceholder = u"<!-- %%DISCLAIMERSECTION%% -->";
const char16_t* const kTNAssetHTMLGeneratorStylePlaceholder = u"<!-- %%STYLESECTION%% -->";
const char16_t* const kTNAssetHTMLGeneratorStoreURL = u"<!-- %%STOREURL%% -->";
const char16_t* const kTNAssetHTMLGeneratorReadingDirection = u"<!-- %%READINGDIRECTION%% -->";
const char16_t* const kTNAssetHTMLGeneratorDate = u"<!-- %%ANNOTATIONDATE%% -->";
const char16_t* const kTNAssetHTMLGeneratorChapter = u"<!-- %%ANNOTATIONCHAPTER%% -->";

namespace {

const char16_t* const kCheckOutBookPlaceholder = u"<!-- %%CHECKOUTBOOK%% -->";
const char16_t* const kCitationPlaceholder = u"<!-- %%CITATION%% -->";
const char16_t* const kStoreLinkPlaceholder = u"<!-- %%STORELINK%% -->";
const char16_t* const kNotAddedToMailListPlaceholder = u"<!-- %%NOTADDEDTOMAILLIST%% -->";
const char16_t* const kPagemoorPlaceholder = u"<!-- %%PAGEMOOR%% -->";
const char16_t* const kPagemoorLinkPlaceholder = u"<!-- %%PAGEMOORLINK%% -->";

// A resource's text: nothing when it is missing; when it is not UTF-8, nothing and `problem` says so.
std::optional<std::u16string> resourceText(const std::string& fileName, std::string* problem)
{
    auto bytes = KCCommonCoreBundle().resourceData(fileName, "");
    if (!bytes)
        return std::nullopt;
    if (!g_utf8_validate_len(bytes->data(), bytes->size(), nullptr)) {
        *problem = "The file is not UTF-8 text.";
        return std::nullopt;
    }
    return KCUTF16FromUTF8(*bytes);
}

} // namespace

TNAssetHTMLGenerator::Text TNAssetHTMLGenerator::documentString() const
{
    auto document = templateStringForName("TNAssetShare");
    if (!document)
        return std::nullopt;
    const KCBundle& bundle = KCCommonCoreBundle();
    bool hasStoreURL = m_dataSource && m_dataSource->storeURLForHTMLGenerator && m_dataSource->storeURLForHTMLGenerator(*this);
    std::u16string checkOut = bundle.localizedString(hasStoreURL ? u"Check out this book on the Pagemoor Store:" : u"Check out this book:");
    Text bookInfo = bookInfoSection();
    Text citation;
    Text link;
    if (!bookInfo) {
        citation = citationIncludingStoreURL(false);
        link = storeLink();
    }
    TNReplaceTemplatePlaceholder(*document, kCheckOutBookPlaceholder, checkOut);
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorInsertionHeaderPlaceholder, insertionHeaderSection());
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorStylePlaceholder, styleSection());
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorBookInfoSectionPlaceholder, bookInfo);
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorDisclaimerSectionPlaceholder, disclaimerSection());
    TNReplaceTemplatePlaceholder(*document, kTNAssetHTMLGeneratorReadingDirection, m_readingDirection);
    TNReplaceTemplatePlaceholder(*document, kCitationPlaceholder, citation);
    TNReplaceTemplatePlaceholder(*document, kStoreLinkPlaceholder, link);
    return document;
}

TNAssetHTMLGenerator::Text TNAssetHTMLGenerator::templateStringForName(std::string_view name) const
{
    std::string fileName = std::string(name) + ".html.tmpl";
    std::string problem;
    auto text = resourceText(fileName, &problem);
    if (!text && !problem.empty())
        KCLog("Failed to load e-mail template {%@} -- %@", fileName, problem);
    return text;
}

TNAssetHTMLGenerator::Text TNAssetHTMLGenerator::styleSection() const
{
    const std::string fileName = "TNAssetShare.css";
    std::string problem;
    auto css = resourceText(fileName, &problem);
    if (!css) {
        KCLog("Failed to load CSS at Path {%@}", fileName);
        return std::nullopt;
    }
    return u"<style type=\"text/css\">" + *css + u"</style>";
}

std::u16string TNAssetHTMLGenerator::insertionHeaderSection() const
{
    return u"<p id=\"insertionheader\"><br/></p>";
}

TNAssetHTMLGenerator::Text TNAssetHTMLGenerator::bookInfoSection() const
{
    TNUserPublishingDataSource answers = userPublishingDataSource();
    return TNUserPublishing::sharedInstance().bookInfoHTMLForStoreId(m_storeId.value_or(u""), &answers);
}

std::u16string TNAssetHTMLGenerator::disclaimerSection() const
{
    std::u16string section = u"<div class=\"disclaimer\"><!-- %%NOTADDEDTOMAILLIST%% --></div>";
    TNReplaceTemplatePlaceholder(section, kNotAddedToMailListPlaceholder,
        KCCommonCoreBundle().localizedString(u"Please note that you have not been added to any email lists."));
    return section;
}

std::u16string TNAssetHTMLGenerator::appsSection() const
{
    const KCBundle& bundle = KCCommonCoreBundle();
    std::u16string section = u"<div class=\"getapps\"><a class=\"gray\" href=\"<!-- %%PAGEMOORLINK%% -->\"><!-- %%PAGEMOOR%% --></a></div>";
    TNReplaceTemplatePlaceholder(section, kPagemoorPlaceholder, bundle.localizedString(u"Get Pagemoor for your phone and tablet"));
    TNReplaceTemplatePlaceholder(section, kPagemoorLinkPlaceholder, bundle.localizedString(u"PagemoorAppsLink"));
    return section;
}

TNAssetHTMLGenerator::Text TNAssetHTMLGenerator::storeURL() const
{
    if (!m_dataSource || !m_dataSource->storeURLForHTMLGenerator)
        return std::nullopt;
    auto url = m_dataSource->storeURLForHTMLGenerator(*this);
    return url ? Text(KCUTF16FromUTF8(url->absoluteString())) : std::nullopt;
}

std::u16string TNAssetHTMLGenerator::bookURL() const
{
    return u"pagemoor://bookid/" + m_epubId.value_or(u"(null)");
}

TNAssetHTMLGenerator::Text TNAssetHTMLGenerator::citationIncludingStoreURL(bool includingStoreURL) const
{
    if (!m_dataSource || !m_dataSource->citationForStoreURL)
        return std::nullopt;
    Text url = includingStoreURL ? storeURL() : std::nullopt;
    auto citation = m_dataSource->citationForStoreURL(*this, url ? std::optional<std::u16string_view>(*url) : std::nullopt);
    return citation ? Text(kc_stringByReplacingNewLinesWithHTMLBreaks(*citation)) : std::nullopt;
}

TNAssetHTMLGenerator::Text TNAssetHTMLGenerator::storeLink() const
{
    Text url = storeURL();
    if (!url)
        return std::nullopt;
    return u"<a href=\"" + *url + u"\">" + KCCommonCoreBundle().localizedString(u"Available in Pagemoor Store") + u"</a>";
}

TNUserPublishingDataSource TNAssetHTMLGenerator::userPublishingDataSource() const
{
    TNUserPublishingDataSource answers;
    answers.assetAuthorForStoreId = [this](TNUserPublishing&, std::u16string_view) { return m_author; };
    answers.assetTitleForStoreId = [this](TNUserPublishing&, std::u16string_view) { return m_title; };
    answers.assetCategoryForStoreId = [this](TNUserPublishing&, std::u16string_view) { return m_genre; };
    answers.assetCoverImageForStoreId = [this](TNUserPublishing&, std::u16string_view) -> std::optional<KCImage> {
        if (!m_dataSource || !m_dataSource->assetCoverForHTMLGenerator)
            return std::nullopt;
        return m_dataSource->assetCoverForHTMLGenerator(*this);
    };
    answers.storeURLForStoreId = [this](TNUserPublishing&, std::u16string_view storeId) -> std::optional<KCURL> {
        if (!TNStoreIdHasNonZeroValue(storeId) || !m_dataSource || !m_dataSource->storeURLForHTMLGenerator)
            return std::nullopt;
        return m_dataSource->storeURLForHTMLGenerator(*this);
    };
    return answers;
}
