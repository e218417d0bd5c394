#pragma once
// The item providers of a share of annotations: the quoted excerpt for
// posts, a text for messages and the pasteboard, an HTML mail of one
// annotation or of the group, the print documents and the group as rich
// text. The print providers answer no item: they stand in the list for the
// print destination, and the printing side has them fill their generator
// (documentString).
#include "TNAnnotationActivityItemProviderSource.h"

#include "Sharing/Annotations/TNSingleAnnotationHTMLGenerator.h"
#include "Utilities/KCStyledString.h"

#include <memory>

// The last annotation's excerpt cut to the character limit and quoted.
class TNAnnotationSocialActivityItemProvider : public TNAnnotationActivityItemProviderSource {
public:
    using TNAnnotationActivityItemProviderSource::TNAnnotationActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override;
    std::u16string className() const override { return u"TNAnnotationSocialActivityItemProvider"; }
    virtual uint64_t characterLimit() { return kNoCharacterLimit; }
    std::u16string text() override;
};

class TNAnnotationFacebookActivityItemProvider : public TNAnnotationSocialActivityItemProvider, public KCActivityItemSourceExpanding {
public:
    using TNAnnotationSocialActivityItemProvider::TNAnnotationSocialActivityItemProvider;
    std::vector<std::u16string> supportedActivityTypes() const override { return {KCActivityTypePostToFacebook}; }
    std::u16string className() const override { return u"TNAnnotationFacebookActivityItemProvider"; }
    uint64_t characterLimit() override { return 63000; }
    // The excerpt, "Excerpt From:" with the citation, and the store link of a store book.
    KCActivityItems expandedItemProviders() override;
};

class TNAnnotationTwitterWeiboActivityItemProvider : public TNAnnotationSocialActivityItemProvider, public KCActivityItemSourceExpanding {
public:
    using TNAnnotationSocialActivityItemProvider::TNAnnotationSocialActivityItemProvider;
    std::vector<std::u16string> supportedActivityTypes() const override { return {KCActivityTypePostToTwitter, KCActivityTypePostToWeibo}; }
    std::u16string className() const override { return u"TNAnnotationTwitterWeiboActivityItemProvider"; }
    // 114 beside a store link, else what the citation leaves of 137; a
    // citation longer than 137 wraps the unsigned difference, so the excerpt
    // is then not cut at all.
    uint64_t characterLimit() override;
    // Only the author and the quoted title.
    std::u16string citation() override;
    static std::u16string citationWithPropertySource(const TNAssetActivityItemPropertySource& propertySource,
        std::u16string_view activityType, const std::optional<std::u16string>& storeURL, KCRange pageRange);
    // The post: the excerpt, then the store link or, on a new line, the citation.
    std::u16string postText();
    KCActivityItems expandedItemProviders() override;
};

// The HTML mail of one annotation; on the pasteboard, a web archive file of it.
class TNAnnotationHTMLActivityItemProvider : public TNAnnotationActivityItemProviderSource, public PMPasteboardWriting {
public:
    using TNAnnotationActivityItemProviderSource::TNAnnotationActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override { return {KCActivityTypeMail}; }
    std::u16string className() const override { return u"TNAnnotationHTMLActivityItemProvider"; }
    // "Notes from “Title”".
    std::optional<std::u16string> subject() override;
    // A generator of this provider's kind, filled.
    virtual std::unique_ptr<TNSingleAnnotationHTMLGenerator> makeGenerator();
    Text documentString();
    std::vector<std::u16string> writableTypesForPasteboard() override { return {kKCUTITypeFileURL}; }
    KCValue pasteboardPropertyListForType(std::u16string_view type) override;

protected:
    KCValue p_itemForSupportedActivityType(std::u16string_view) override;
};

class TNAnnotationPrintActivityItemProvider : public TNAnnotationHTMLActivityItemProvider {
public:
    using TNAnnotationHTMLActivityItemProvider::TNAnnotationHTMLActivityItemProvider;
    std::vector<std::u16string> supportedActivityTypes() const override { return {KCActivityTypePrint}; }
    std::u16string className() const override { return u"TNAnnotationPrintActivityItemProvider"; }
    KCValue activityViewControllerPlaceholderItem(KCActivityController*) override { return nullptr; }

protected:
    KCValue p_itemForSupportedActivityType(std::u16string_view) override { return nullptr; }
};

class TNAnnotationGroupHTMLActivityItemProvider : public TNAnnotationHTMLActivityItemProvider {
public:
    using TNAnnotationHTMLActivityItemProvider::TNAnnotationHTMLActivityItemProvider;
    std::u16string className() const override { return u"TNAnnotationGroupHTMLActivityItemProvider"; }
    std::unique_ptr<TNSingleAnnotationHTMLGenerator> makeGenerator() override;
};

// A printed group shows notes, dates and chapters, never excerpts, and has no links.
class TNAnnotationGroupPrintActivityItemProvider : public TNAnnotationGroupHTMLActivityItemProvider {
public:
    using TNAnnotationGroupHTMLActivityItemProvider::TNAnnotationGroupHTMLActivityItemProvider;
    std::vector<std::u16string> supportedActivityTypes() const override { return {KCActivityTypePrint}; }
    std::u16string className() const override { return u"TNAnnotationGroupPrintActivityItemProvider"; }
    KCValue activityViewControllerPlaceholderItem(KCActivityController*) override { return nullptr; }
    void populateHTMLGenerator(TNAssetHTMLGenerator& generator) override;

protected:
    KCValue p_itemForSupportedActivityType(std::u16string_view) override { return nullptr; }
};

// The excerpt quoted with "Excerpt From: " and the citation when it has at
// least four words, else the bare excerpt.
class TNAnnotationTextActivityItemProvider : public TNAnnotationActivityItemProviderSource {
public:
    using TNAnnotationActivityItemProviderSource::TNAnnotationActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override { return {KCActivityTypeMessage, KCActivityTypeCopyToPasteboard}; }
    std::u16string className() const override { return u"TNAnnotationTextActivityItemProvider"; }

protected:
    KCValue p_itemForSupportedActivityType(std::u16string_view) override;
};

// The group as styled text (PMSharingStyledText), whatever the destination asked.
class TNAnnotationGroupRTFActivityItemProvider : public TNAnnotationActivityItemProviderSource {
public:
    using TNAnnotationActivityItemProviderSource::TNAnnotationActivityItemProviderSource;
    std::vector<std::u16string> supportedActivityTypes() const override { return {KCActivityTypeCopyToPasteboard}; }
    std::u16string className() const override { return u"TNAnnotationGroupRTFActivityItemProvider"; }
    KCValue itemForActivityType(KCActivityController*, std::u16string_view) override;
    KCStyledString attributedString();
};
