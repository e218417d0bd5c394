#pragma once
// The base of the share item providers of a book and its annotations: reads
// the book through the share's property source (for the destination being
// served), looks up its store links once, and makes the texts every share
// of the book uses: the citation, the "Check out this book" text and the
// subject, the filling of an HTML share generator, and the web archive of an
// HTML item that a mail composer attaches.
// Errors: a missing property skips the text that needs it; a web archive
// that cannot be written answers nothing and logs.
#include "KCActivityItemSource.h"
#include "TNAssetActivityItemProviderProperties.h"

#include "Sharing/TNAssetHTMLGenerator.h"
#include "Utilities/KCGeometry.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>

class TNAssetActivityItemProviderSource : public KCActivityItemSource, public std::enable_shared_from_this<TNAssetActivityItemProviderSource> {
public:
    using Text = std::optional<std::u16string>;
    static constexpr uint64_t kNoCharacterLimit = std::numeric_limits<uint64_t>::max();

    explicit TNAssetActivityItemProviderSource(TNAssetActivityItemPropertySource propertySource);
    TNAssetActivityItemProviderSource(const TNAssetActivityItemProviderSource&) = delete;
    TNAssetActivityItemProviderSource& operator=(const TNAssetActivityItemProviderSource&) = delete;

    const TNAssetActivityItemPropertySource& propertySource() const { return m_propertySource; }

    // The book's properties for the current activity type; the first three
    // are asked once.
    const Text& storeId() const;
    const Text& epubID() const;
    const std::optional<KCImage>& assetCover() const;
    Text title() const;
    Text author() const;
    Text publisherLocation() const;
    Text publisherName() const;
    Text publisherYear() const;
    Text genre() const;
    // "rtl" when the book's language is written right to left, else "auto".
    std::u16string readingDirection() const;

    // The store links, looked up once (an absent answer included).
    const std::optional<KCURL>& storeUrl() const;
    const std::optional<KCURL>& storeShortUrl() const;
    std::optional<KCURL> storeUrlPreferShort() const;
    // The book file; nothing without a path.
    std::optional<KCURL> bookURL() const;
    bool isStoreAsset() const;
    bool isPDF() const;

    // The book's citation without a store link or pages.
    virtual std::u16string citation();
    static std::u16string citationWithPropertySource(const TNAssetActivityItemPropertySource& propertySource,
        std::u16string_view activityType, const std::optional<std::u16string>& storeURL, KCRange pageRange);
    // "Check out this book: “Title” by Author", shortened to the limit by
    // dropping the byline, then the lead, then cutting the title.
    std::u16string checkOutBookWithShortCitationWithCharacterLimit(uint64_t characterLimit, bool compressedFormat);
    virtual void populateHTMLGenerator(TNAssetHTMLGenerator& generator);
    // Writes this provider's item for its activity type as the web archive
    // "PagemoorEmail.webarchive" in the temporary directory, replacing the
    // last one; its path.
    std::optional<std::string> filePathByGeneratingWebArchive();

    virtual std::optional<std::u16string> subject();

    // The item for a supported type; null for any other.
    KCValue itemForActivityType(KCActivityController* controller, std::u16string_view activityType) override;
    KCValue activityViewControllerPlaceholderItem(KCActivityController*) override { return className(); }
    std::u16string activityType() const override { return m_activityType; }
    void setActivityType(std::u16string activityType) override { m_activityType = std::move(activityType); }
    virtual std::u16string className() const = 0;

protected:
    virtual KCValue p_itemForSupportedActivityType(std::u16string_view) { return nullptr; }
    Text p_text(const char16_t* key) const;
    bool p_hasStoreLink() const { return isStoreAsset() && storeUrlPreferShort(); }
    // The store link's text: the short one when there is one.
    std::u16string p_storeLinkString() const;
    // A block provider of this provider's supported types; it keeps this provider alive.
    KCActivityItemRef p_blockProvider(const char16_t* UTI, std::function<KCValue()> resolve) const;

private:
    TNAssetActivityItemPropertySource m_propertySource;
    std::u16string m_activityType;
    mutable std::optional<Text> m_storeId;
    mutable std::optional<Text> m_epubID;
    mutable std::optional<std::optional<KCImage>> m_assetCover;
    mutable std::optional<std::optional<KCURL>> m_storeUrl;
    mutable std::optional<std::optional<KCURL>> m_storeShortUrl;
    TNUserPublishingDataSource m_userPublishingDataSource;
    TNAssetHTMLGeneratorDataSource m_HTMLGeneratorDataSource;
};

// Each "%@" of the format in turn replaced by the next argument.
std::u16string TNFormatted(std::u16string_view format, std::initializer_list<std::u16string_view> arguments);
// The common library's localized text for a key.
std::u16string TNLocalized(std::u16string_view key);
