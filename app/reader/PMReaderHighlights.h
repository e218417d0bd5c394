#pragma once
// The reader's highlights, underlines and notes: range annotations of the
// book (type 2) made from text found in the page, kept in the annotation
// store, and drawn in the page in their themes' colours, by day or by night.
// A highlight's location is an EPUB CFI range in its spine item,
// "epubcfi(/6/6[s04]!/4/2,/1:10,/1:24)"; its representative text is the
// sentence around it, blanks collapsed; its place in the book's location
// space (plLocationRangeStart and End) is the spine index times 2^32 plus
// the UTF-16 offsets of its text in the chapter's text; its physical page is
// the label of the page break before it, in books with a page list.
// Errors: add and edit answer nothing/false, fill *error (PMReaderErrorDomain)
// and log when the store cannot be written or the highlight is gone; a
// location that is not such a range is not drawn.
#include "Themes/TNAnnotationTheme.h"
#include "TNAnnotation/TNAnnotation.h"
#include "TNAnnotation/TNAnnotationStoreDataSource.h"
#include "Utilities/KCError.h"
#include "Utilities/KCGeometry.h"

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct PMHighlightRange {
    size_t spineIndex = 0;
    std::string start;  // paths after the "!": "/4/2/1:10"
    std::string end;

    std::string cfi(std::string_view idref) const;
    static std::optional<PMHighlightRange> fromCFI(std::string_view cfi);
};

// Text the page found (PMHighlights.find's answer).
struct PMFoundText {
    std::string start;
    std::string end;
    std::u16string text;
    std::u16string blockText;  // the text of its block
    size_t offset = 0;         // where the text starts in the block text
    size_t chapterOffset = 0;  // and in the chapter's text
    std::optional<std::string> page;  // the printed page it lies on

    static std::optional<PMFoundText> fromJSON(std::string_view json);
    static std::optional<PMFoundText> fromJSONObject(nlohmann::json found);
};

// The sentence of the block's text around the range, blanks collapsed, and
// where the range lies in it; the whole text, range not found, when the
// range lies past it.
struct PMSentence {
    std::u16string text;
    KCRange selected;
};
PMSentence PMSentenceAround(std::u16string_view blockText, KCRange range);

// How a highlight looks: style 1 to 5 (green, blue, yellow, pink, purple).
struct PMHighlightStyle {
    int style = 3;
    bool underline = false;
    std::optional<std::string> note;
};

// The colour a highlight is drawn in: its theme's highlight colour, or its
// underline colour; nothing for a style without a theme.
TNThemeColor PMHighlightColor(int32_t style, bool underline, bool night);

// A change made from the highlight itself; `remove` deletes it (softly).
struct PMHighlightEdit {
    std::optional<int> style;
    std::optional<bool> underline;
    std::optional<std::string> note;
    bool remove = false;
};

class PMReaderHighlights {
public:
    PMReaderHighlights(TNAnnotationStoreDataSource& store, std::shared_ptr<KCManagedObjectContext> context, std::u16string assetID);

    std::shared_ptr<TNAnnotation> add(const PMFoundText& found, const PMHighlightRange& range, const std::string& idref,
        const std::optional<std::string>& chapterTitle, const PMHighlightStyle& style, KCError* error);
    bool edit(std::u16string_view uuid, const PMHighlightEdit& edit, KCError* error);
    std::optional<PMHighlightStyle> styleOf(std::u16string_view uuid) const;
    // The live highlights of the spine item as PMHighlights.draw's list.
    std::string drawList(size_t spineIndex, bool night) const;
    // The book's live highlights, the newest first: by creation date (the
    // modification date for one without), then by place in the book.
    TNAnnotation::Annotations newestFirst() const;

private:
    std::shared_ptr<TNAnnotation> annotation(std::u16string_view uuid) const;
    bool save(KCError* error);

    TNAnnotationStoreDataSource& m_store;
    std::shared_ptr<KCManagedObjectContext> m_context;
    std::u16string m_assetID;
};
