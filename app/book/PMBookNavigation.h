#pragma once
// The book's navigation: the table of contents and the page list of its
// navigation document (the EPUB 3 nav, else the NCX the spine names), each
// entry tied to the spine item its target lies in. Answers what shares say
// about an annotation's place: the chapter it is in and its printed pages.
// Errors: open and parse answer nothing and fill *error (PMBookErrorDomain:
// MissingFile without a readable navigation document, MalformedXML when it
// does not parse); the look-ups answer nothing for a location that is not a
// CFI or lies outside the spine, and log why.
#include "PMBookPackage.h"
#include "Utilities/KCGeometry.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class PMBook;

struct PMNavigationEntry {
    std::string title;  // the text content, blanks collapsed
    std::string path;   // the target, relative to the container's root
    std::optional<size_t> spineIndex;  // the spine item of the target
};

class PMBookNavigation {
public:
    // Answers nothing for everything.
    PMBookNavigation() = default;

    static std::optional<PMBookNavigation> open(const PMBook& book, KCError* error);
    // A navigation document (XHTML nav or NCX, told apart by its root) that
    // lies at `documentPath` in the container of `package`, which lies at `packagePath`.
    static std::optional<PMBookNavigation> parse(std::string_view documentXML, const std::string& documentPath, const PMPackage& package,
        const std::string& packagePath, KCError* error);

    const std::vector<PMNavigationEntry>& tableOfContents() const { return m_tableOfContents; }
    const std::vector<PMNavigationEntry>& pageList() const { return m_pageList; }

    // The title of the first table-of-contents entry in the spine item of the
    // location's spine step; without one there, the one an earlier spine item
    // continues (the last entry of the nearest earlier item that has entries).
    std::optional<std::string> chapterTitleForLocation(std::string_view cfi) const;
    // The numeric page labels in that spine item: the first one and how many
    // there are; {KCNotFound, 0} when there are none (or no page list).
    KCRange pageRangeForLocation(std::string_view cfi) const;

private:
    std::optional<size_t> spineIndexInRange(std::string_view cfi) const;

    size_t m_spineCount = 0;
    std::vector<PMNavigationEntry> m_tableOfContents;
    std::vector<PMNavigationEntry> m_pageList;
};

// The spine item an EPUB CFI's spine step names: "epubcfi(/6/4[chap01ref]!/4/2/1:0)" -> 1.
// Nothing (logged) when `cfi` is not a CFI with a spine step.
std::optional<size_t> PMSpineIndexFromCFI(std::string_view cfi);
