#pragma once
// What the reader makes for one share, of one annotation, of a group of
// annotations or of the book itself: it stands for the item providers of
// that share (expandedItemProviders) and writes the share to the pasteboard
// as plain text, and a group as rich text too.
#include "KCActivityItemSource.h"
#include "TNAssetActivityItemProviderProperties.h"

#include "Sharing/Annotations/TNAnnotationPaginationDataSource.h"
#include "TNAnnotation/TNAnnotation.h"

#include <cstdint>
#include <optional>
#include <string>

extern const char16_t* const kKCUTITypeRTF;  // u"public.rtf"

class TNAssetActivityItemProvider : public KCActivityItemSourceExpanding, public PMPasteboardWriting {
public:
    enum ShareType : int32_t {
        ShareTypeAnnotation = 0,
        ShareTypeAnnotationGroup = 1,
        ShareTypeBook = 2,
    };

    TNAssetActivityItemProvider(std::shared_ptr<TNAnnotation> annotation, TNAssetActivityItemPropertySource propertySource);
    TNAssetActivityItemProvider(TNAnnotation::Annotations annotations, TNAssetActivityItemPropertySource propertySource);
    explicit TNAssetActivityItemProvider(TNAssetActivityItemPropertySource propertySource);

    int32_t shareType() const { return m_shareType; }
    void setShareType(int32_t shareType) { m_shareType = shareType; }
    const TNAnnotation::Annotations& annotations() const { return m_annotations; }
    const TNAssetActivityItemPropertySource& propertySource() const { return m_propertySource; }
    // Not owned: it must outlive the providers made from this share.
    const TNAnnotationPaginationDataSource* paginationDataSource() const { return m_paginationDataSource; }
    void setPaginationDataSource(const TNAnnotationPaginationDataSource* dataSource) { m_paginationDataSource = dataSource; }
    bool areCitationsAllowed() const { return m_citationsAllowed; }
    void setCitationsAllowed(bool allowed) { m_citationsAllowed = allowed; }
    const std::u16string& activityType() const { return m_activityType; }
    void setActivityType(std::u16string activityType) { m_activityType = std::move(activityType); }

    // A book: Facebook, Twitter/Weibo, mail and text. One annotation (only
    // when excerpts may be quoted): Facebook, Twitter/Weibo, HTML mail, text.
    // A group: its HTML mail (with the single-annotation posts and text
    // around it for a group of one that may be quoted), then print when any
    // annotation has a note.
    KCActivityItems expandedItemProviders() override;

    // The text a book or a quotable annotation copies; nothing for a group.
    std::optional<std::u16string> pasteboardString();
    // Plain text always, RTF for a group.
    std::vector<std::u16string> writableTypesForPasteboard() override;
    // UTF-8 or RTF bytes (KCData) for the type; null for any other.
    KCValue pasteboardPropertyListForType(std::u16string_view type) override;

private:
    // An annotation provider of this share's settings.
    template <typename P> std::shared_ptr<P> p_make() const;

    int32_t m_shareType;
    TNAnnotation::Annotations m_annotations;
    TNAssetActivityItemPropertySource m_propertySource;
    const TNAnnotationPaginationDataSource* m_paginationDataSource = nullptr;
    bool m_citationsAllowed = false;
    std::u16string m_activityType;
};

// The items for a KCActivityController for one share: a single
// TNAssetActivityItemProvider set up with the arguments. shareType is a
// TNAssetActivityItemProvider::ShareType; annotations are ignored for a book.
KCActivityItems TNAssetActivityItemsForShare(TNAssetActivityItemPropertySource propertySource, TNAnnotation::Annotations annotations,
    int32_t shareType, bool citationsAllowed, const TNAnnotationPaginationDataSource* paginationDataSource);

// The item itself when it is an item source, then the expansion of each of
// its expanded providers when it expands, in order.
KCActivityItems kc_expandedItemSourcesFromItemSource(const KCActivityItemRef& item);
