#include "TNAnnotationActivityItemProviderSource.h"

#include "Sharing/Annotations/TNAnnotationShareExcerpt.h"
#include "Sharing/Annotations/TNSingleAnnotationHTMLGenerator.h"

#include <algorithm>

TNAnnotationActivityItemProviderSource::TNAnnotationActivityItemProviderSource(TNAnnotation::Annotations annotations,
    TNAssetActivityItemPropertySource propertySource)
    : TNAssetActivityItemProviderSource(std::move(propertySource))
    , m_annotations(std::move(annotations))
{
}

TNAnnotation::Text TNAnnotationActivityItemProviderSource::truncatedAnnotationSelectedText(const TNAnnotation& annotation)
{
    return TNTruncatedAnnotationSelectedText(annotation);
}

std::u16string TNAnnotationActivityItemProviderSource::text()
{
    if (m_annotations.empty() || !m_annotations.back())
        return {};
    return truncatedAnnotationSelectedText(*m_annotations.back()).value_or(u"");
}

TNAnnotation::Text TNAnnotationActivityItemProviderSource::chapterTitleForAnnotation(const TNAnnotation& annotation) const
{
    if (!m_paginationDataSource || !m_paginationDataSource->chapterTitleForAnnotation)
        return std::nullopt;
    return m_paginationDataSource->chapterTitleForAnnotation(annotation);
}

KCRange TNAnnotationActivityItemProviderSource::annotationsPageRange() const
{
    KCRange pages;
    if (!m_paginationDataSource || !m_paginationDataSource->pageRangeForAnnotation)
        return pages;
    for (const auto& annotation : m_annotations) {
        KCRange range = annotation ? m_paginationDataSource->pageRangeForAnnotation(*annotation) : KCRange();
        if (!range.found())
            continue;
        if (!pages.found()) {
            pages = range;
            continue;
        }
        uint64_t start = std::min(pages.location, range.location);
        pages = {start, std::max(pages.end(), range.end()) - start};
    }
    return pages;
}

void TNAnnotationActivityItemProviderSource::populateHTMLGenerator(TNAssetHTMLGenerator& generator)
{
    TNAssetActivityItemProviderSource::populateHTMLGenerator(generator);
    if (auto* annotationGenerator = dynamic_cast<TNSingleAnnotationHTMLGenerator*>(&generator)) {
        annotationGenerator->setCitationsAllowed(areCitationAllowed());
        annotationGenerator->setPaginationDataSource(m_paginationDataSource);
        annotationGenerator->setAnnotations(m_annotations);
    }
}
