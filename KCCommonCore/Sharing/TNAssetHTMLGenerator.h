#pragma once
// An HTML mail that recommends one book: the "TNAssetShare.html.tmpl"
// template filled with a call to action, the book-information block of the
// user-publishing service or else the book's citation and store link, the
// shared style sheet "TNAssetShare.css" and a disclaimer. Every placeholder
// is an HTML comment ("<!-- %%BOOKINFO%% -->"); each step replaces every
// occurrence in the whole document, so a placeholder inside an earlier step's
// text is filled by a later step. Values are inserted as they are, not
// escaped. The annotation generators build on this one.
// Errors: a missing template answers nothing silently; a template or style
// sheet that is not UTF-8 text is logged, and a missing style sheet too (the
// document is then made without it).
#include "TNUserPublishing.h"

#include "Utilities/KCImage.h"
#include "Utilities/KCURL.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

extern const char16_t* const kTNAssetHTMLGeneratorInsertionHeaderPlaceholder;    // u"<!-- %%INSERTIONHEADER%% -->"
extern const char16_t* const kTNAssetHTMLGeneratorBookInfoSectionPlaceholder;    // u"<!-- %%BOOKINFO%% -->"
extern const char16_t* const kTNAssetHTMLGeneratorDisclaimerSectionPlaceholder;  // u"<!-- %%DISCLAIMERSECTION%% -->"
extern const char16_t* const kTNAssetHTMLGeneratorStylePlaceholder;              // u"<!-- %%STYLESECTION%% -->"
// No generator fills this one: a template that carries it keeps the comment.
extern const char16_t* const kTNAssetHTMLGeneratorStoreURL;          // u"<!-- %%STOREURL%% -->"
extern const char16_t* const kTNAssetHTMLGeneratorReadingDirection;  // u"<!-- %%READINGDIRECTION%% -->"
extern const char16_t* const kTNAssetHTMLGeneratorDate;              // u"<!-- %%ANNOTATIONDATE%% -->"
extern const char16_t* const kTNAssetHTMLGeneratorChapter;           // u"<!-- %%ANNOTATIONCHAPTER%% -->"

class TNAssetHTMLGenerator;

// The cover and the store URL are required; an empty one answers nothing.
// The citation is optional: empty, the document has none. The citation is
// plain text and may hold line feeds.
struct TNAssetHTMLGeneratorDataSource {
    std::function<std::optional<KCImage>(const TNAssetHTMLGenerator&)> assetCoverForHTMLGenerator;
    std::function<std::optional<KCURL>(const TNAssetHTMLGenerator&)> storeURLForHTMLGenerator;
    std::function<std::optional<std::u16string>(const TNAssetHTMLGenerator&, std::optional<std::u16string_view> storeURL)> citationForStoreURL;
};

class TNAssetHTMLGenerator {
public:
    using Text = std::optional<std::u16string>;

    virtual ~TNAssetHTMLGenerator() = default;

    // A decimal number; "0" or empty for a book that is not from the store.
    const Text& storeId() const { return m_storeId; }
    void setStoreId(Text value) { m_storeId = std::move(value); }
    const Text& epubId() const { return m_epubId; }
    void setEpubId(Text value) { m_epubId = std::move(value); }
    const Text& title() const { return m_title; }
    void setTitle(Text value) { m_title = std::move(value); }
    const Text& author() const { return m_author; }
    void setAuthor(Text value) { m_author = std::move(value); }
    const Text& sortAuthor() const { return m_sortAuthor; }
    void setSortAuthor(Text value) { m_sortAuthor = std::move(value); }
    const Text& publisherLocation() const { return m_publisherLocation; }
    void setPublisherLocation(Text value) { m_publisherLocation = std::move(value); }
    const Text& publisherName() const { return m_publisherName; }
    void setPublisherName(Text value) { m_publisherName = std::move(value); }
    const Text& publisherYear() const { return m_publisherYear; }
    void setPublisherYear(Text value) { m_publisherYear = std::move(value); }
    // The template's dir attribute: "rtl" or "auto".
    const Text& readingDirection() const { return m_readingDirection; }
    void setReadingDirection(Text value) { m_readingDirection = std::move(value); }
    const Text& genre() const { return m_genre; }
    void setGenre(Text value) { m_genre = std::move(value); }
    bool isForPrint() const { return m_forPrint; }
    void setForPrint(bool forPrint) { m_forPrint = forPrint; }
    // Not owned: it must outlive every call that makes a document.
    const TNAssetHTMLGeneratorDataSource* dataSource() const { return m_dataSource; }
    void setDataSource(const TNAssetHTMLGeneratorDataSource* dataSource) { m_dataSource = dataSource; }

    // Nothing when the template is missing.
    virtual Text documentString() const;

    // The text of resource NAME.html.tmpl.
    Text templateStringForName(std::string_view name) const;
    // The style sheet in a <style> element.
    Text styleSection() const;
    std::u16string insertionHeaderSection() const;
    // The user-publishing service's block for storeId, this generator answering its questions.
    Text bookInfoSection() const;
    std::u16string disclaimerSection() const;
    // A link to the reader's apps; no document carries it yet.
    std::u16string appsSection() const;
    Text storeURL() const;
    // The reader's own link that opens the book; meant for a set epubId.
    std::u16string bookURL() const;
    // The data source's citation (given the store URL when asked to), line feeds made <br>.
    Text citationIncludingStoreURL(bool includingStoreURL) const;
    // "Available in Pagemoor Store" linked to the store URL.
    Text storeLink() const;

    // What this generator answers the user-publishing service: author, title,
    // genre, the data source's cover, and its store URL for a non-zero store ID.
    virtual TNUserPublishingDataSource userPublishingDataSource() const;

private:
    Text m_storeId;
    Text m_epubId;
    Text m_title;
    Text m_author;
    Text m_sortAuthor;
    Text m_publisherLocation;
    Text m_publisherName;
    Text m_publisherYear;
    Text m_readingDirection;
    Text m_genre;
    bool m_forPrint = false;
    const TNAssetHTMLGeneratorDataSource* m_dataSource = nullptr;
};
