#pragma once
// What the reader knows of an annotation's place in its paginated book.
#include "TNAnnotation/TNAnnotation.h"
#include "Utilities/KCGeometry.h"

#include <functional>

// The reader supplies both; an empty one answers nothing.
struct TNAnnotationPaginationDataSource {
    // The title of the chapter that holds the annotation, or nothing.
    std::function<TNAnnotation::Text(const TNAnnotation&)> chapterTitleForAnnotation;
    // The pages the annotation spans; location KCNotFound when they are not known.
    std::function<KCRange(const TNAnnotation&)> pageRangeForAnnotation;
};
