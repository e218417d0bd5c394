#include "sharing/KCBlockActivityItemProvider.h"
#include "sharing/PMAssetActivityPropertySource.h"
#include "testing/PMLogCapture.h"

#include <gtest/gtest.h>

TEST(KCBlockActivityItemProvider, PlaceholdersByType)
{
    KCValue image = KCBlockActivityItemProvider(kKCUTITypeImage, nullptr).activityViewControllerPlaceholderItem(nullptr);
    ASSERT_TRUE(image.objectAs<PMSharingImage>());
    EXPECT_FALSE(image.objectAs<PMSharingImage>()->bitmap());
    EXPECT_EQ(KCBlockActivityItemProvider(kKCUTITypeURL, nullptr).activityViewControllerPlaceholderItem(nullptr),
        KCValue(*KCURL::URLWithString("about:kPMBlockActivityItemProviderURLPlaceholder")));
    EXPECT_TRUE(KCBlockActivityItemProvider(kKCUTITypeFileURL, nullptr).activityViewControllerPlaceholderItem(nullptr).isNull());
}

TEST(KCBlockActivityItemProvider, ItemsForSupportedTypesAndThePasteboard)
{
    std::vector<std::u16string> asked;
    KCBlockActivityItemProvider provider(kKCUTITypeURL, [&](std::u16string_view type) {
        asked.emplace_back(type);
        return KCValue(*KCURL::URLWithString("https://store.example/book?id=1"));
    });
    provider.setSupportedActivityTypes({KCActivityTypeMessage});

    EXPECT_TRUE(provider.itemForActivityType(nullptr, KCActivityTypeMail).isNull());
    EXPECT_TRUE(provider.itemForActivityType(nullptr, KCActivityTypeMessage).url());
    EXPECT_EQ(provider.writableTypesForPasteboard(), std::vector<std::u16string> {kKCUTITypeURL});
    EXPECT_EQ(provider.pasteboardPropertyListForType(kKCUTITypeURL), KCValue(u"https://store.example/book?id=1"));
    EXPECT_EQ(asked, (std::vector<std::u16string> {KCActivityTypeMessage, kKCUTITypeURL}));
    EXPECT_TRUE(KCBlockActivityItemProvider(kKCUTITypeURL, nullptr).pasteboardPropertyListForType(kKCUTITypeURL).isNull());
}

namespace {

struct Book : PMActivityAsset {
    std::optional<std::u16string> assetID() const override { return u"1234"; }
    std::optional<std::u16string> title() const override { return u"Tides"; }
    std::optional<std::u16string> author() const override { return std::nullopt; }
};

}

TEST(PMAssetActivityPropertySource, AnswersTheBooksProperties)
{
    auto propertySource = PMAssetActivityPropertySource::initWithAsset(std::make_shared<Book>())->propertySource();
    struct Case {
        const char16_t* key;
        KCValue value;
    } cases[] = {
        {kTNAssetActivityItemProviderPropertyStoreId, u"1234"},
        {kTNAssetActivityItemProviderPropertyTitle, u"Tides"},
        {kTNAssetActivityItemProviderPropertyAuthor, nullptr},
        {kTNAssetActivityItemProviderPropertyGenre, nullptr},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(propertySource(KCActivityTypeMail, test.key), test.value);
        EXPECT_EQ(propertySource(test.key, KCActivityTypeMail), KCValue());
    }
}

TEST(PMAssetActivityPropertySource, RefusesTheDefaultConstructor)
{
    PMLogCapture log;
    KCError error;
    EXPECT_FALSE(PMAssetActivityPropertySource::init(&error));
    EXPECT_EQ(error.domain, KCInvalidArgumentErrorDomain);
    EXPECT_EQ(error.message, "Please use the designated initializer -[PMAssetActivityPropertySource initWithAsset:]");
    EXPECT_TRUE(log.contains(error.message));
}
