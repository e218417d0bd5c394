#pragma once
// How a book's pages are laid out when their documents fix the page: the
// package's rendition settings, an itemref's own overriding them, the
// spine's reading direction, and the page size each document's viewport
// meta element gives.
#include "PMBookPackage.h"
#include "Utilities/KCGeometry.h"

#include <optional>
#include <string>
#include <string_view>

enum class PMPageSpread { None, Landscape, Both };
enum class PMPageSide { Any, Left, Right };

struct PMSpineRendition {
    bool prePaginated = false;
    PMPageSpread spread = PMPageSpread::Landscape;  // "auto" and no setting show spreads in landscape
    PMPageSide side = PMPageSide::Any;              // "page-spread-left" / "-right"
};

PMSpineRendition PMSpineItemRendition(const PMPackage& package, size_t spineIndex);
bool PMPackageIsRightToLeft(const PMPackage& package);
// The width and height of `<meta name="viewport" content="width=600, height=837">`
// in a content document; nothing without both as positive finite numbers.
std::optional<KCSize> PMViewportSizeOfDocument(std::string_view documentXML);
