#pragma once
// The item providers of a share of a book, one per kind of destination: a
// text for messages and the pasteboard, posts, an HTML mail or the book file
// attached to a mail. Each offers its destinations only for a book it can
// share (from the store, or a PDF for the attachment) and answers null for
// any other destination.
#include "TNAssetActivityItemProviderSource.h"

class TNAssetTextActivityItemProvider : public TNAssetActivityItemProviderSource {
public:
    using TNAssetActivityItemProviderSource::TNAssetActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override;
    std::u16string className() const override { return u"TNAssetTextActivityItemProvider"; }

protected:
    KCValue p_itemForSupportedActivityType(std::u16string_view activityType) override;
};

class TNAssetTwitterWeiboActivityItemProvider : public TNAssetActivityItemProviderSource, public KCActivityItemSourceExpanding {
public:
    using TNAssetActivityItemProviderSource::TNAssetActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override;
    std::u16string className() const override { return u"TNAssetTwitterWeiboActivityItemProvider"; }
    // 140, or 116 to leave room for the store link.
    uint64_t characterLimit();
    KCActivityItems expandedItemProviders() override;
};

class TNAssetFacebookActivityItemProvider : public TNAssetActivityItemProviderSource, public KCActivityItemSourceExpanding {
public:
    using TNAssetActivityItemProviderSource::TNAssetActivityItemProviderSource;
    static constexpr uint64_t kCharacterLimit = 63000;
    std::vector<std::u16string> supportedActivityTypes() const override;
    std::u16string className() const override { return u"TNAssetFacebookActivityItemProvider"; }
    KCActivityItems expandedItemProviders() override;
};

// Mail: the HTML body for a store book, else the PDF attached.
class TNAssetMailActivityItemProvider : public TNAssetActivityItemProviderSource, public KCActivityItemSourceExpanding {
public:
    using TNAssetActivityItemProviderSource::TNAssetActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override;
    std::u16string className() const override { return u"TNAssetMailActivityItemProvider"; }
    KCActivityItems expandedItemProviders() override;
};

class TNAssetAttachmentActivityItemProvider : public TNAssetActivityItemProviderSource {
public:
    using TNAssetActivityItemProviderSource::TNAssetActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override;
    std::u16string className() const override { return u"TNAssetAttachmentActivityItemProvider"; }
    KCValue activityViewControllerPlaceholderItem(KCActivityController*) override;

protected:
    KCValue p_itemForSupportedActivityType(std::u16string_view) override;
};

// The HTML mail body; on the pasteboard, a web archive file of it, made when pasted.
class TNAssetHTMLActivityItemProvider : public TNAssetActivityItemProviderSource, public PMPasteboardWriting {
public:
    using TNAssetActivityItemProviderSource::TNAssetActivityItemProviderSource;
    // The platform's option for data made only when pasted.
    static constexpr uint64_t kWritingOptions = 512;
    std::vector<std::u16string> supportedActivityTypes() const override;
    std::u16string className() const override { return u"TNAssetHTMLActivityItemProvider"; }
    KCValue activityViewControllerPlaceholderItem(KCActivityController*) override { return u""; }
    std::vector<std::u16string> writableTypesForPasteboard() override { return {kKCUTITypeFileURL}; }
    uint64_t writingOptionsForType(std::u16string_view) const { return kWritingOptions; }
    KCValue pasteboardPropertyListForType(std::u16string_view type) override;

protected:
    KCValue p_itemForSupportedActivityType(std::u16string_view) override;
};

// The web archive's path as a pasteboard value, or null.
KCValue TNWebArchivePasteboardValue(TNAssetActivityItemProviderSource& provider);
