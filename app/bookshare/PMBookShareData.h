#pragma once
// What the share documents of one book take from the book file: the facts of
// its package, the citation made of them, the reading direction of its
// language, its navigation for the chapter and pages of an annotation, and
// the property source that answers the share items about the book.
#include "Annotations/TNAnnotationPaginationDataSource.h"
#include "Sharing/TNAssetCitation.h"
#include "sharing/TNAssetActivityItemProviderProperties.h"
#include "book/PMBook.h"
#include "book/PMBookNavigation.h"

#include <string>

class TNAssetHTMLGenerator;

struct PMBookShareData {
    std::u16string identifier;
    std::u16string storeId;  // "0" for a book without an ISBN
    std::u16string language;
    TNAssetCitationSource citationSource;  // author, title, publisher, year
    PMBookNavigation navigation;           // answers nothing for a book without one

    // Chapter titles and pages from the navigation; valid while this lives.
    TNAnnotationPaginationDataSource paginationDataSource() const;
    // "rtl" for a right-to-left language, else "auto".
    std::u16string readingDirection() const;
    // The book's facts on a generator (an untitled book as "Untitled").
    void populate(TNAssetHTMLGenerator& generator) const;
    // The book's properties for its share items (storeId "0": not from the
    // store); valid while this lives.
    TNAssetActivityItemPropertySource propertySource(std::u16string bookPath, std::u16string storeId) const;
};

// A book without a navigation document still shares: it just has no chapter titles.
PMBookShareData PMBookShareDataForBook(const PMBook& book);
// The same with the book's navigation already opened.
PMBookShareData PMBookShareDataForBook(const PMBook& book, PMBookNavigation navigation);
