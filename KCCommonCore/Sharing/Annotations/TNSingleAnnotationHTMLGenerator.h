#pragma once
// An HTML share of one annotation, the last of `annotations`: its excerpt
// (cut after wordLimit words, only the "[…]" mark when citations are not
// allowed), the chapter and page it comes from, the date of sharing and the
// book's citation and store link or its information block, in
// "TNAnnotationShare.html.tmpl". The information block is only one the
// user-publishing service downloaded: this generator never has it made
// locally. Excerpts are inserted as they are, line feeds made <br>.
// Errors: those of TNAssetHTMLGenerator.h.
#include "TNAnnotationPaginationDataSource.h"

#include "Sharing/TNAssetHTMLGenerator.h"
#include "TNAnnotation/TNAnnotation.h"

#include <cstdint>
#include <memory>
#include <optional>

class TNSingleAnnotationHTMLGenerator : public TNAssetHTMLGenerator {
public:
    static constexpr uint64_t kDefaultWordLimit = 200;

    const TNAnnotation::Annotations& annotations() const { return m_annotations; }
    void setAnnotations(TNAnnotation::Annotations annotations) { m_annotations = std::move(annotations); }
    bool areCitationsAllowed() const { return m_citationsAllowed; }
    void setCitationsAllowed(bool allowed) { m_citationsAllowed = allowed; }
    // Not owned: it must outlive every call that makes a document.
    const TNAnnotationPaginationDataSource* paginationDataSource() const { return m_paginationDataSource; }
    void setPaginationDataSource(const TNAnnotationPaginationDataSource* dataSource) { m_paginationDataSource = dataSource; }
    uint64_t wordLimit() const { return m_wordLimit; }
    void setWordLimit(uint64_t limit) { m_wordLimit = limit; }
    // The moment of sharing that documents show; nothing: the time of the call.
    void setDateOfSharing(std::optional<KCDate> date) { m_dateOfSharing = date; }

    Text documentString() const override;

    // The last of `annotations`; null when there is none.
    std::shared_ptr<TNAnnotation> annotation() const;
    // How many characters of the annotation's text an excerpt keeps: 0 when
    // citations are not allowed, everything of a text shorter than four times
    // the word limit, else up to the end of its wordLimit-th word.
    uint64_t characterCountLimitforAnnotation(const TNAnnotation& annotation) const;
    // The annotation's text in its sentence, cut to the limit with "[…]".
    Text excerpt() const;
    // The chapter title, with ", p. 41" when the page is known; nothing
    // without a title, even when the page is known.
    Text chapterTitle() const;

    // This generator's information block is never made locally.
    TNUserPublishingDataSource userPublishingDataSource() const override;

protected:
    // The localized "p. %@" for the page number.
    static std::u16string p_pageString(std::u16string_view page);

private:
    TNAnnotation::Annotations m_annotations;
    bool m_citationsAllowed = false;
    const TNAnnotationPaginationDataSource* m_paginationDataSource = nullptr;
    uint64_t m_wordLimit = kDefaultWordLimit;
    std::optional<KCDate> m_dateOfSharing;
};
