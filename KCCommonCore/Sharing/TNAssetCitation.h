#pragma once
// The citation that book and annotation shares end with:
//   Author. “Title.” Publisher, 2012. 123ll-8ll. Pagemoor.
// (pieces joined with single spaces, a trailing space included). The page
// range's odd "ll" suffix is how share texts have always printed pages.
#include "Utilities/KCGeometry.h"

#include <optional>
#include <string>
#include <string_view>

struct TNAssetCitationSource {
    std::u16string author;
    std::u16string title;
    std::u16string publisherName;
    std::u16string publisherYear;
};

// With a store URL the title links to it. A range not found prints no pages.
std::u16string TNAssetCitation(const TNAssetCitationSource& book, const std::optional<std::u16string>& storeURL = std::nullopt,
    KCRange pageRange = {});

// "123ll-8ll" for pages 123 to 128: the last page without the leading
// characters it shares with the first; "123ll" for a range of length 0.
std::u16string TNAssetCitationPageRange(KCRange pageRange);

// Without blanks at both ends; line breaks are kept.
std::u16string_view TNTrimmedOfBlanks(std::u16string_view text);
