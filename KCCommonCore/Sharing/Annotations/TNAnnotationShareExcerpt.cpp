#include "TNAnnotationShareExcerpt.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCWordServices.h"

TNAnnotation::Text TNTruncatedAnnotationSelectedText(const TNAnnotation& annotation)
{
    auto selected = annotation.annotationSelectedText();
    if (!selected)
        return std::nullopt;
    uint64_t limit = 0;
    tokenCountWithEnumerationOptions(*selected, KCStringEnumerationByWords, TNAnnotationShareExcerptWordLimit, &limit);
    return stringByTruncatingToLength(*selected, limit, KCStringEnumerationByWords, KCCommonCoreBundle().localizedString(u"[\\U2026]"));
}
