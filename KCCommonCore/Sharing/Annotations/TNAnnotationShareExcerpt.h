#pragma once
// The excerpt of an annotation that its shares quote: the selected text cut
// after its first 200 words, whatever a generator's own word limit.
#include "TNAnnotation/TNAnnotation.h"

#include <cstdint>

inline constexpr uint64_t TNAnnotationShareExcerptWordLimit = 200;

// With the localized "[…]" when cut; nothing without a selected text.
TNAnnotation::Text TNTruncatedAnnotationSelectedText(const TNAnnotation& annotation);
