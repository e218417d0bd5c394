#pragma once
// The base of the item providers of a share of annotations: the annotations
// (the single-annotation texts use the last), where they stand in the
// paginated book, whether their text may be quoted, and the 200-word
// excerpt the shares quote.
#include "TNAssetActivityItemProviderSource.h"

#include "Sharing/Annotations/TNAnnotationPaginationDataSource.h"
#include "TNAnnotation/TNAnnotation.h"

class TNAnnotationActivityItemProviderSource : public TNAssetActivityItemProviderSource {
public:
    TNAnnotationActivityItemProviderSource(TNAnnotation::Annotations annotations, TNAssetActivityItemPropertySource propertySource);

    const TNAnnotation::Annotations& annotations() const { return m_annotations; }
    // Not owned: it must outlive the provider's requests.
    const TNAnnotationPaginationDataSource* paginationDataSource() const { return m_paginationDataSource; }
    void setPaginationDataSource(const TNAnnotationPaginationDataSource* dataSource) { m_paginationDataSource = dataSource; }
    // Whether excerpts may be quoted; both spellings answer the same.
    bool areCitationAllowed() const { return m_citationsAllowed; }
    bool areCitationsAllowed() const { return m_citationsAllowed; }
    void setCitationsAllowed(bool allowed) { m_citationsAllowed = allowed; }

    static TNAnnotation::Text truncatedAnnotationSelectedText(const TNAnnotation& annotation);
    // The excerpt of the last annotation; empty without one.
    virtual std::u16string text();
    TNAnnotation::Text chapterTitleForAnnotation(const TNAnnotation& annotation) const;
    // The pages all annotations span together; not found when none is known.
    KCRange annotationsPageRange() const;
    std::u16string copyrightCitation() { return citation(); }

    // The book, then the annotations, their pages and whether excerpts are
    // quoted, for an annotation generator.
    void populateHTMLGenerator(TNAssetHTMLGenerator& generator) override;

private:
    TNAnnotation::Annotations m_annotations;
    const TNAnnotationPaginationDataSource* m_paginationDataSource = nullptr;
    bool m_citationsAllowed = false;
};

// A provider of class P for the annotations, with its settings.
template <typename P>
std::shared_ptr<P> TNMakeAnnotationProvider(const TNAnnotation::Annotations& annotations, const TNAssetActivityItemPropertySource& propertySource,
    const TNAnnotationPaginationDataSource* paginationDataSource, bool citationsAllowed)
{
    auto provider = std::make_shared<P>(annotations, propertySource);
    provider->setPaginationDataSource(paginationDataSource);
    provider->setCitationsAllowed(citationsAllowed);
    return provider;
}
