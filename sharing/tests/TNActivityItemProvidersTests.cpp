#include "sharing/KCActivityController.h"
#include "sharing/TNAnnotationActivityItemProviders.h"
#include "sharing/TNAssetActivityItemProvider.h"
#include "sharing/TNAssetActivityItemProviders.h"
#include "Annotations/tests/TNAnnotationShareTestSupport.h"
#include "Sharing/TNAssetCitation.h"
#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCKeyedArchivePlist.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"
#include "testing/PMRecordingSharingPlatform.h"

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

namespace {

using Properties = std::map<std::u16string, KCValue>;

const Properties kStoreBook {
    {kTNAssetActivityItemProviderPropertyStoreId, u"1234"},
    {kTNAssetActivityItemProviderPropertyStoreShortUrl, *KCURL::URLWithString("https://s.example/1")},
    {kTNAssetActivityItemProviderPropertyTitle, u"Tides."},
    {kTNAssetActivityItemProviderPropertyAuthor, u"Ann Lee"},
    {kTNAssetActivityItemProviderPropertyPublisherName, u"Harbor"},
    {kTNAssetActivityItemProviderPropertyPublisherYear, u"2010"},
};
const Properties kOwnBook {
    {kTNAssetActivityItemProviderPropertyStoreId, u"0"},
    {kTNAssetActivityItemProviderPropertyTitle, u"Tides"},
    {kTNAssetActivityItemProviderPropertyAuthor, u"Ann Lee"},
};

TNAssetActivityItemPropertySource source(Properties properties)
{
    return [properties = std::move(properties)](std::u16string_view, std::u16string_view key) -> KCValue {
        auto found = properties.find(std::u16string(key));
        return found == properties.end() ? KCValue() : found->second;
    };
}

Properties with(Properties properties, const char16_t* key, KCValue value)
{
    properties[key] = std::move(value);
    return properties;
}

std::string utf8(const KCValue& value)
{
    return value.string() ? KCUTF8FromUTF16(*value.string()) : "(null)";
}

// What the only block provider of an expanding provider resolves to.
std::string expandedText(KCActivityItemSourceExpanding& provider, size_t index = 0)
{
    KCActivityItems items = provider.expandedItemProviders();
    if (index >= items.size())
        return "(none)";
    auto block = std::dynamic_pointer_cast<KCActivityItemSource>(items[index]);
    std::vector<std::u16string> types = block->supportedActivityTypes();
    return types.empty() ? "(no types)" : utf8(block->itemForActivityType(nullptr, types.front()));
}

std::string inQuotes(std::string_view text)
{
    return KCUTF8FromUTF16(stringByEnclosingInQuotes(KCUTF16FromUTF8(text)));
}

class TNActivityItemProvidersTest : public TNAnnotationShareTest {
protected:
    TNAnnotationPaginationDataSource m_pages {
        [](const TNAnnotation&) { return TNAnnotation::Text(u"Chapter 3"); },
        [this](const TNAnnotation& annotation) {
            auto found = m_ranges.find(&annotation);
            return found == m_ranges.end() ? KCRange() : found->second;
        },
    };
    std::map<const TNAnnotation*, KCRange> m_ranges;
};

} // namespace

TEST(TNAssetActivityItemProviders, BookTexts)
{
    const std::string lead = "Check out this book on the Pagemoor Store:";
    const std::string longTitle(150, 'T');
    struct Case {
        Properties book;
        uint64_t limit;
        bool compressed;
        std::string expected;
    } cases[] = {
        {kStoreBook, TNAssetActivityItemProviderSource::kNoCharacterLimit, false, lead + "\n“Tides.” by Ann Lee"},
        {kStoreBook, 50, true, lead + " Tides."},
        {kStoreBook, 10, true, "Tides."},
        {with(kOwnBook, kTNAssetActivityItemProviderPropertyTitle, nullptr), 100, false, "Check out this book:\n“Untitled” by Ann Lee"},
        {with(kOwnBook, kTNAssetActivityItemProviderPropertyTitle, KCUTF16FromUTF8("Tides of the " + longTitle)), 116, true, "Tides of the…"},
    };
    for (const Case& test : cases) {
        TNAssetTextActivityItemProvider provider(source(test.book));
        EXPECT_EQ(KCUTF8FromUTF16(provider.checkOutBookWithShortCitationWithCharacterLimit(test.limit, test.compressed)), test.expected);
    }

    auto tweet = std::make_shared<TNAssetTwitterWeiboActivityItemProvider>(source(kStoreBook));
    EXPECT_EQ(tweet->characterLimit(), 116u);
    EXPECT_EQ(expandedText(*tweet), lead + " “Tides.” by Ann Lee https://s.example/1");
    auto text = std::make_shared<TNAssetTextActivityItemProvider>(source(kStoreBook));
    EXPECT_EQ(utf8(text->itemForActivityType(nullptr, KCActivityTypeMessage)), lead + "\n“Tides.” by Ann Lee\nhttps://s.example/1");
    EXPECT_EQ(utf8(text->itemForActivityType(nullptr, KCActivityTypeMail)), "(null)");
    EXPECT_EQ(text->subject(), u"Check out “Tides.”");
    for (auto [language, direction] : {std::pair {u"he", u"rtl"}, {u"ar-EG", u"rtl"}, {u"en", u"auto"}}) {
        TNAssetHTMLGenerator generator;
        TNAssetHTMLActivityItemProvider(source(with(kStoreBook, kTNAssetActivityItemProviderPropertyLanguage, language))).populateHTMLGenerator(generator);
        EXPECT_EQ(generator.readingDirection(), direction);
    }

    // A book not from the store offers nothing but a PDF attachment by mail.
    auto own = source(with(kOwnBook, kTNAssetActivityItemProviderPropertyBookPath, u"/books/Tides.PDF"));
    EXPECT_TRUE(TNAssetTextActivityItemProvider(own).supportedActivityTypes().empty());
    EXPECT_TRUE(TNAssetTwitterWeiboActivityItemProvider(own).supportedActivityTypes().empty());
    EXPECT_TRUE(TNAssetFacebookActivityItemProvider(own).supportedActivityTypes().empty());
    EXPECT_EQ(TNAssetTwitterWeiboActivityItemProvider(own).characterLimit(), 140u);
    TNAssetMailActivityItemProvider mail(own);
    ASSERT_EQ(mail.expandedItemProviders().size(), 1u);
    auto attachment = std::dynamic_pointer_cast<TNAssetAttachmentActivityItemProvider>(mail.expandedItemProviders().front());
    ASSERT_TRUE(attachment);
    EXPECT_EQ(attachment->itemForActivityType(nullptr, KCActivityTypeMail).url()->absoluteString(), "file:///books/Tides.PDF");
}

TEST_F(TNActivityItemProvidersTest, CitationsAndPageRanges)
{
    TNAnnotationTextActivityItemProvider provider({insertAnnotation(u"one", std::nullopt), insertAnnotation(u"two", std::nullopt),
                                                      insertAnnotation(u"three", std::nullopt)},
        source(kStoreBook));
    provider.setPaginationDataSource(&m_pages);
    EXPECT_EQ(provider.citation(), u"Ann Lee. “Tides.” Harbor, 2010. Pagemoor. ");
    EXPECT_FALSE(provider.annotationsPageRange().found());

    struct Case {
        std::vector<KCRange> ranges;
        KCRange expected;
    } cases[] = {
        {{{123, 5}, {}, {125, 1}}, {123, 5}},
        {{{15, 1}, {12, 2}, {}}, {12, 4}},
    };
    for (const Case& test : cases) {
        for (size_t i = 0; i < test.ranges.size(); ++i)
            m_ranges[provider.annotations()[i].get()] = test.ranges[i];
        EXPECT_EQ(provider.annotationsPageRange(), test.expected);
    }
    m_ranges = {{provider.annotations()[0].get(), {123, 5}}};
    EXPECT_EQ(TNAssetActivityItemProviderSource::citationWithPropertySource(provider.propertySource(), u"", std::nullopt, provider.annotationsPageRange()),
        u"Ann Lee. “Tides.” Harbor, 2010. 123ll-8ll. Pagemoor. ");
}

TEST_F(TNActivityItemProvidersTest, AnnotationTexts)
{
    const std::string fourWords = "Tides turn at dusk.";
    const std::string twitterCitation = "Ann Lee. " + inQuotes("Tides.") + " ";
    auto units = [](const std::string& text) { return KCUTF16FromUTF8(text).size(); };
    const std::string longAuthor(140, 'A');
    struct Case {
        Properties book;
        std::string selected;
        uint64_t twitterLimit;
        std::string post;
        std::string message;
    } cases[] = {
        {kStoreBook, fourWords, 114, inQuotes(fourWords) + " https://s.example/1",
            inQuotes(fourWords) + "\n\nExcerpt From: Ann Lee. “Tides.” Harbor, 2010. Pagemoor. https://s.example/1"},
        {kOwnBook, "Dusk", 137 - units(twitterCitation), inQuotes("Dusk") + "\n" + twitterCitation, "Dusk"},
        // A citation longer than 137 units leaves the excerpt uncut.
        {with(kOwnBook, kTNAssetActivityItemProviderPropertyAuthor, KCUTF16FromUTF8(longAuthor)), fourWords, 137 - units(longAuthor + ". " + inQuotes("Tides.") + " "),
            inQuotes(fourWords) + "\n" + longAuthor + ". " + inQuotes("Tides.") + " ", inQuotes(fourWords) + "\n\nExcerpt From: " + longAuthor + ". “Tides.” Pagemoor. "},
    };
    for (const Case& test : cases) {
        TNAnnotation::Annotations annotations {insertAnnotation(u"first", std::nullopt), insertAnnotation(KCUTF16FromUTF8(test.selected), std::nullopt)};
        auto twitter = std::make_shared<TNAnnotationTwitterWeiboActivityItemProvider>(annotations, source(test.book));
        EXPECT_EQ(twitter->characterLimit(), test.twitterLimit);
        EXPECT_EQ(expandedText(*twitter), test.post);
        TNAnnotationTextActivityItemProvider text(annotations, source(test.book));
        EXPECT_EQ(utf8(text.itemForActivityType(nullptr, KCActivityTypeMessage)), test.message);
    }

    auto facebook = std::make_shared<TNAnnotationFacebookActivityItemProvider>(TNAnnotation::Annotations {insertAnnotation(u"Dusk", std::nullopt)},
        source(kStoreBook));
    EXPECT_EQ(expandedText(*facebook, 0), inQuotes("Dusk") + "\n");
    EXPECT_EQ(expandedText(*facebook, 1), "Excerpt From:\nAnn Lee. “Tides.” Harbor, 2010. Pagemoor. ");
    EXPECT_EQ(facebook->expandedItemProviders().size(), 3u);
    TNAnnotationHTMLActivityItemProvider mail({}, source(with(kOwnBook, kTNAssetActivityItemProviderPropertyTitle, nullptr)));
    EXPECT_EQ(mail.subject(), u"Notes from “Untitled”");
}

TEST_F(TNActivityItemProvidersTest, ExpansionByShareType)
{
    auto quiet = insertAnnotation(u"Tides turn at dusk.", std::nullopt);
    auto noted = insertAnnotation(u"The harbour sleeps.", u"Remember this");
    struct Case {
        int32_t shareType;
        TNAnnotation::Annotations annotations;
        bool citationsAllowed;
        std::vector<std::u16string> expected;
    } cases[] = {
        {2, {}, false,
            {u"TNAssetFacebookActivityItemProvider", u"TNAssetTwitterWeiboActivityItemProvider", u"TNAssetMailActivityItemProvider",
                u"TNAssetTextActivityItemProvider"}},
        {0, {quiet}, false, {}},
        {0, {quiet}, true,
            {u"TNAnnotationFacebookActivityItemProvider", u"TNAnnotationTwitterWeiboActivityItemProvider", u"TNAnnotationHTMLActivityItemProvider",
                u"TNAnnotationTextActivityItemProvider"}},
        {1, {quiet}, true,
            {u"TNAnnotationFacebookActivityItemProvider", u"TNAnnotationTwitterWeiboActivityItemProvider", u"TNAnnotationGroupHTMLActivityItemProvider",
                u"TNAnnotationTextActivityItemProvider"}},
        {1, {quiet, quiet}, true, {u"TNAnnotationGroupHTMLActivityItemProvider"}},
        {1, {quiet, noted}, false, {u"TNAnnotationGroupHTMLActivityItemProvider", u"TNAnnotationGroupPrintActivityItemProvider"}},
        {3, {quiet}, true, {}},
    };
    for (const Case& test : cases) {
        KCActivityItems items = TNAssetActivityItemsForShare(source(kStoreBook), test.annotations, test.shareType, test.citationsAllowed, &m_pages);
        ASSERT_EQ(items.size(), 1u);
        std::vector<std::u16string> names;
        for (const auto& item : std::dynamic_pointer_cast<TNAssetActivityItemProvider>(items.front())->expandedItemProviders())
            names.push_back(std::dynamic_pointer_cast<TNAssetActivityItemProviderSource>(item)->className());
        EXPECT_EQ(names, test.expected) << "share type " << test.shareType << ", " << test.annotations.size() << " annotations";
    }

    // The flattened book share: each provider followed by what it stands for.
    KCActivityItems flat = kc_expandedItemSourcesFromItemSource(TNAssetActivityItemsForShare(source(kStoreBook), {}, 2, false, nullptr).front());
    EXPECT_EQ(flat.size(), 4u + 2 + 1 + 1);

    TNAssetActivityItemProvider group(TNAnnotation::Annotations {quiet, noted}, source(kStoreBook));
    EXPECT_EQ(group.writableTypesForPasteboard(), (std::vector<std::u16string> {kKCUTITypeText, kKCUTITypeRTF}));
    KCValue rtfValue = group.pasteboardPropertyListForType(kKCUTITypeRTF);
    const KCData* rtf = rtfValue.data();
    ASSERT_TRUE(rtf);
    EXPECT_EQ(std::string(rtf->begin(), rtf->begin() + 5), "{\\rtf");
    EXPECT_FALSE(group.pasteboardString());
    EXPECT_EQ(TNAssetActivityItemProvider(source(kStoreBook)).pasteboardString(),
        u"Check out this book on the Pagemoor Store:\n“Tides.” by Ann Lee\nhttps://s.example/1");
}

TEST(TNAssetActivityItemProviders, ABookSharedThroughTheController)
{
    PMRecordingSharingPlatform platform;
    auto message = platform.addService(KCActivityTypeMessage);
    auto twitter = platform.addService(KCActivityTypePostToTwitter);
    platform.addService(KCActivityTypePrint);
    KCActivityController controller(platform, TNAssetActivityItemsForShare(source(kStoreBook), {}, 2, false, nullptr), {});
    std::vector<std::u16string> offered;
    for (const auto& service : controller.sharingServices())
        offered.push_back(*service->name());
    EXPECT_EQ(offered, (std::vector<std::u16string> {KCActivityTypePostToTwitter, KCActivityTypeMessage}));

    controller.performShareWithService(*message);
    controller.performShareWithService(*twitter);
    const std::u16string byline = u"Check out this book on the Pagemoor Store:\n“Tides.” by Ann Lee";
    EXPECT_EQ(message->performedItems, (std::vector<PMShareItems> {{byline + u"\nhttps://s.example/1"}}));
    // Block providers write to the pasteboard, so the service gets the provider itself.
    ASSERT_EQ(twitter->performedItems.size(), 1u);
    ASSERT_EQ(twitter->performedItems[0].size(), 1u);
    auto post = twitter->performedItems[0][0].objectAs<PMPasteboardWriting>();
    ASSERT_TRUE(post);
    EXPECT_EQ(post->pasteboardPropertyListForType(kKCUTITypeText), KCValue(u"Check out this book on the Pagemoor Store: “Tides.” by Ann Lee https://s.example/1"));
}

TEST_F(TNActivityItemProvidersTest, GroupPrintNeverQuotesExcerpts)
{
    TNAnnotation::Annotations annotations {insertAnnotation(u"Quartermaster zebra excerpt", u"A note to print")};
    auto print = TNMakeAnnotationProvider<TNAnnotationGroupPrintActivityItemProvider>(annotations, source(kStoreBook), &m_pages, true);
    EXPECT_TRUE(print->itemForActivityType(nullptr, KCActivityTypePrint).isNull());
    EXPECT_TRUE(print->activityViewControllerPlaceholderItem(nullptr).isNull());
    std::string document = KCUTF8FromUTF16(print->documentString().value_or(u""));
    EXPECT_NE(document.find("A note to print"), std::string::npos);
    EXPECT_EQ(document.find("Quartermaster"), std::string::npos);

    auto mail = TNMakeAnnotationProvider<TNAnnotationGroupHTMLActivityItemProvider>(annotations, source(kStoreBook), &m_pages, true);
    EXPECT_NE(utf8(mail->itemForActivityType(nullptr, KCActivityTypeMail)).find("Quartermaster"), std::string::npos);
}

TEST_F(TNActivityItemProvidersTest, WebArchiveOfTheMailBody)
{
    auto mail = TNMakeAnnotationProvider<TNAnnotationHTMLActivityItemProvider>({insertAnnotation(u"Tides turn.", std::nullopt)}, source(kStoreBook), &m_pages, true);
    mail->setActivityType(KCActivityTypeMail);
    // A directory of this test's own, unless GLib has settled on one already.
    char directory[] = "/tmp/pm-webarchive-XXXXXX";
    ASSERT_TRUE(mkdtemp(directory));
    g_setenv("TMPDIR", directory, true);
    EXPECT_EQ(mail->writableTypesForPasteboard(), std::vector<std::u16string> {kKCUTITypeFileURL});
    KCValue path = mail->pasteboardPropertyListForType(kKCUTITypeFileURL);
    std::string file = std::string(g_get_tmp_dir()) + "/PagemoorEmail.webarchive";
    ASSERT_EQ(utf8(path), file);

    std::ifstream stream(file, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    plist_t root = nullptr;
    plist_from_bin(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    KCPlistPointer owner(root);
    ASSERT_TRUE(root);
    EXPECT_EQ(plist_dict_get_size(root), 1u);
    plist_t resource = KCPlistItemOfType(root, "WebMainResource", PLIST_DICT);
    ASSERT_TRUE(resource);
    EXPECT_EQ(KCPlistStringValue(KCPlistItemOfType(resource, "WebResourceURL", PLIST_STRING)), "file://" + file);
    EXPECT_EQ(KCPlistStringValue(KCPlistItemOfType(resource, "WebResourceMIMEType", PLIST_STRING)), "text/html");
    EXPECT_EQ(KCPlistStringValue(KCPlistItemOfType(resource, "WebResourceTextEncodingName", PLIST_STRING)), "utf-8");
    EXPECT_EQ(KCPlistStringValue(KCPlistItemOfType(resource, "WebResourceFrameName", PLIST_STRING)), "main");
    uint64_t length = 0;
    const char* html = plist_get_data_ptr(KCPlistItemOfType(resource, "WebResourceData", PLIST_DATA), &length);
    EXPECT_EQ(std::string(html, length), utf8(mail->itemForActivityType(nullptr, KCActivityTypeMail)));

    if (KCGCharPointer python(g_find_program_in_path("python3")); python) {
        std::string check = "python3 -c \"import plistlib,sys; r=plistlib.load(open(sys.argv[1],'rb'))['WebMainResource']; "
                            "sys.exit(0 if r['WebResourceMIMEType']=='text/html' and r['WebResourceData'].startswith(b'<') else 1)\" '" + file + "'";
        EXPECT_EQ(std::system(check.c_str()), 0);
    }
    std::remove(file.c_str());
    std::remove(directory);
}
