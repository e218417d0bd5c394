#pragma once
// Range search that ignores case, diacritics and width, as the page's
// search function needs. It compares through the same fold as
// StringCopyFlattenedForSearch (quote marks included), so whatever the
// fold makes equal is found, and what a fragment filter admits can be found.
#include "Utilities/KCGeometry.h"

#include <string_view>

// The first match of `needle` in `haystack` that starts inside `range`, as a
// range of the original haystack (folding may change lengths before it).
// Not found for an empty needle, an empty range or one that leaves the text
// (logged).
KCRange KCRangeOfStringForSearch(std::u16string_view haystack, std::u16string_view needle, KCRange range);
KCRange KCRangeOfStringForSearch(std::u16string_view haystack, std::u16string_view needle);
