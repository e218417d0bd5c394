#include "Annotations/TNAnnotationGroupHTMLGenerator.h"
#include "Annotations/tests/TNAnnotationShareTestSupport.h"
#include "Themes/TNAnnotationTheme.h"
#include "Utilities/KCBundle.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCStringConversion.h"

namespace {

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string utf8(const TNAssetHTMLGenerator::Text& text)
{
    return text ? KCUTF8FromUTF16(*text) : "(none)";
}

class TNAnnotationHTMLGeneratorsTest : public TNAnnotationShareTest {
protected:
    TNAnnotationHTMLGeneratorsTest()
    {
        m_dataSource.storeURLForHTMLGenerator = [](const TNAssetHTMLGenerator&) { return KCURL::URLWithString("https://store.example/book/id42"); };
        m_dataSource.citationForStoreURL = [](const TNAssetHTMLGenerator&, std::optional<std::u16string_view>) {
            return std::optional<std::u16string>(u"Moby-Dick.\nHerman Melville.");
        };
        m_pagination.chapterTitleForAnnotation = [](const TNAnnotation&) { return TNAnnotation::Text(u"Loomings"); };
    }

    void TearDown() override { TNUserPublishing::sharedInstance().cache()->removeAllObjects(); }

    std::shared_ptr<TNAnnotation> annotation(TNAnnotation::TextArgument selected, TNAnnotation::TextArgument note = std::nullopt, int32_t style = 2)
    {
        auto made = insertAnnotation(selected, note);
        made->setAnnotationStyle(style);
        return made;
    }

    void prepare(TNSingleAnnotationHTMLGenerator& generator, TNAnnotation::Annotations annotations, bool citationsAllowed = true)
    {
        generator.setTitle(u"Moby-Dick");
        generator.setAuthor(u"Herman Melville");
        generator.setStoreId(u"42");
        generator.setReadingDirection(u"rtl");
        generator.setDataSource(&m_dataSource);
        generator.setPaginationDataSource(&m_pagination);
        generator.setAnnotations(std::move(annotations));
        generator.setCitationsAllowed(citationsAllowed);
    }

    TNAssetHTMLGeneratorDataSource m_dataSource;
    TNAnnotationPaginationDataSource m_pagination;
    std::string m_day = KCUTF8FromUTF16(KCLongDateFormatter().stringFromDate(m_date));
};

// The style sheet colours each class as the day theme of its style highlights.
TEST_F(TNAnnotationHTMLGeneratorsTest, StyleClassesAndTheirColours)
{
    const std::pair<int64_t, const char16_t*> classes[] = {{1, u"green"}, {2, u"blue"}, {3, u"yellow"}, {4, u"pink"}, {5, u"purple"}, {0, u"defaultColor"}, {6, u"defaultColor"}};
    std::string css = *KCCommonCoreBundle().resourceData("TNAssetShare", "css");
    for (const auto& [style, name] : classes) {
        EXPECT_EQ(TNAnnotationGroupHTMLGenerator::CSSClassForStyle(style), name) << style;
        auto theme = TNAnnotationTheme::themeForAnnotationStyle(style, false);
        if (!theme)
            continue;
        KCColor day = *theme->highlightColor();
        std::string hex = KCStringWithFormat("#%02x%02x%02x", unsigned(day.red() * 255 + 0.5), unsigned(day.green() * 255 + 0.5), unsigned(day.blue() * 255 + 0.5));
        size_t rule = css.find("." + KCUTF8FromUTF16(name) + " {");
        EXPECT_TRUE(rule != std::string::npos && contains(css.substr(rule, css.find('}', rule) - rule), hex)) << hex;
    }
}

TEST_F(TNAnnotationHTMLGeneratorsTest, SingleDocument)
{
    TNSingleAnnotationHTMLGenerator generator;
    auto quoted = annotation(u"Call me Ishmael.\nSome years ago");
    quoted->setChapterTitle(u"Chapter 3");
    quoted->setPhysicalPageNumber(u"41");
    prepare(generator, {annotation(u"An earlier one"), quoted});
    generator.setDateOfSharing(m_date);

    std::string document = utf8(generator.documentString());
    for (const std::string& part : std::initializer_list<std::string> {"<blockquote class=\"excerpt\">Call me Ishmael.<br>\nSome years ago</blockquote>", ">Excerpt From<", "Moby-Dick.<br>\nHerman Melville.",
             "<a href=\"https://store.example/book/id42\">Available in Pagemoor Store</a>", "<span>" + m_day + "</span><span>Chapter 3, p. 41</span>", "dir=\"rtl\""})
        EXPECT_TRUE(contains(document, part)) << part;
    EXPECT_FALSE(contains(document, "<!-- %%"));
}

// Without citations only the mark is left; text under four times the word
// limit is never counted; longer text is cut after its 200th word.
TEST_F(TNAnnotationHTMLGeneratorsTest, SingleExcerptLimits)
{
    std::u16string cut = words(200);
    cut.pop_back();
    struct Case {
        std::u16string selected;
        bool citationsAllowed;
        std::u16string excerpt;
    } cases[] = {
        {words(150), true, words(150)},
        {words(300), true, cut + u"[\u2026]"},
        {u"Call me Ishmael.", false, u"[\u2026]"},
    };
    for (const auto& [selected, citationsAllowed, excerpt] : cases) {
        TNSingleAnnotationHTMLGenerator generator;
        generator.setAnnotations({annotation(selected)});
        generator.setCitationsAllowed(citationsAllowed);
        EXPECT_EQ(generator.excerpt(), excerpt) << selected.size();
    }
}

// Only the group names a page without a chapter.
TEST_F(TNAnnotationHTMLGeneratorsTest, ChapterTitles)
{
    struct Case {
        TNAnnotation::Text chapter;
        TNAnnotation::Text single;
        std::u16string group;
    } cases[] = {
        {u"Chapter 3", u"Chapter 3, p. 41", u"Chapter 3, p. 41"},
        {std::nullopt, std::nullopt, u"p. 41"},
    };
    for (const auto& [chapter, single, group] : cases) {
        auto placed = annotation(u"text");
        placed->setChapterTitle(chapter);
        placed->setPhysicalPageNumber(u"41");
        TNAnnotationGroupHTMLGenerator generator;
        generator.setAnnotations({placed});
        EXPECT_EQ(generator.chapterTitle(), single);
        EXPECT_EQ(generator.chapterTitleForAnnotation(*placed), group);
    }
}

TEST_F(TNAnnotationHTMLGeneratorsTest, GroupDocument)
{
    auto underlined = annotation(u"Some years ago", u"A note", 6);
    auto global = annotation(u"GLOBAL RECORD");
    global->setAnnotationType(TNAnnotationTypeGlobal);
    TNAnnotationGroupHTMLGenerator generator;
    prepare(generator, {annotation(u"Call me Ishmael.", u"first\nthought"), underlined, global});

    std::string document = utf8(generator.documentString());
    for (const std::string& part : std::initializer_list<std::string> {"NOTES FROM", "<h1 class=\"booktitle\">Moby-Dick</h1>", "<span class=\"blue\">Call me Ishmael.</span>", "first<br>\nthought",
             "<span class=\"defaultColor\"><span class=\"underline\"><span style=\"color:black;\">Some years ago</span></span></span>", "<span>Loomings</span>",
             ">All Excerpts From<", "Moby-Dick.<br>\nHerman Melville.", "Available in Pagemoor Store"})
        EXPECT_TRUE(contains(document, part)) << part;
    EXPECT_FALSE(contains(document, "GLOBAL RECORD") || contains(document, "<!-- %%"));

    // The global record counts for the tail, not as an entry.
    generator.setAnnotations({annotation(u"Call me Ishmael.")});
    EXPECT_TRUE(contains(utf8(generator.tailBody()), ">Excerpt From<"));
    generator.setAnnotations({});
    EXPECT_TRUE(contains(utf8(generator.documentString()), "\n(null)\n"));

    // Without citations only annotations with notes appear, dated in their colour.
    prepare(generator, {annotation(u"Call me Ishmael.", u"A note", 4), annotation(u"Some years ago")}, false);
    std::string entries = utf8(generator.annotationsBody());
    EXPECT_TRUE(contains(entries, "<span><span class=\"pink\">" + m_day + "</span></span>") && contains(entries, "A note"));
    EXPECT_FALSE(contains(entries, "Ishmael") || contains(entries, "Some years"));
}

// A downloaded information block stands for citation and store link, except in print.
TEST_F(TNAnnotationHTMLGeneratorsTest, TailForMailAndPrint)
{
    TNUserPublishing& service = TNUserPublishing::sharedInstance();
    service.cache()->setObject(KCValue(u"<table>INFO</table>"), TNUserPublishing::p_keyForPrefix(kEmailBodyPrefix, u"42"));
    TNAnnotationGroupHTMLGenerator generator;
    prepare(generator, {annotation(u"Call me Ishmael.")});
    std::string mail = utf8(generator.tailBody());
    EXPECT_TRUE(contains(mail, "<table>INFO</table>"));
    EXPECT_FALSE(contains(mail, "Herman Melville.") || contains(mail, "Available in Pagemoor Store"));

    generator.setForPrint(true);
    std::string print = utf8(generator.tailBody());
    EXPECT_TRUE(contains(print, "Moby-Dick.<br>\nHerman Melville."));
    EXPECT_FALSE(contains(print, "INFO") || contains(print, "Available in Pagemoor Store"));
}

TEST_F(TNAnnotationHTMLGeneratorsTest, MarkedExcerptLinksItsPlace)
{
    auto marked = annotation(u"Ishmael", std::nullopt, 1);
    marked->setAnnotationRepresentativeText(u"Call me Ishmael. Some years ago");
    marked->setAnnotationLocation(u"epubcfi(/6/4)");
    TNAnnotationGroupHTMLGenerator generator;
    prepare(generator, {marked});
    std::string link = "<a href=\"https://store.example/book/id42#epubcfi(/6/4)\" class=\"annotationrepresentativetext\">";
    EXPECT_EQ(utf8(generator.htmlAnnotatedStringForAnnotation(*marked)), link + "Call me <span class=\"green\">Ishmael</span>. Some years ago</a>");
    generator.setCitationsAllowed(false);
    EXPECT_EQ(utf8(generator.htmlAnnotatedStringForAnnotation(*marked)), link + "[\u2026]</a>");
}

} // namespace
