// The highlight's place as a CFI range and the sentence kept with it.
#include "reader/PMReaderHighlights.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

TEST(PMHighlightRange, WritesTheCommonStepsBeforeTheRangeAndReadsThemBack)
{
    const struct {
        PMHighlightRange range;
        std::string idref;
        std::string cfi;
    } cases[] {
        {{2, "/4/2/6/1:10", "/4/2/6/1:24"}, "s04", "epubcfi(/6/6[s04]!/4/2/6,/1:10,/1:24)"},
        {{0, "/4/2/1:5", "/4/6/3:2"}, "", "epubcfi(/6/2!/4,/2/1:5,/6/3:2)"},
        {{1, "/1:0", "/3:4"}, "c", "epubcfi(/6/4[c]!,/1:0,/3:4)"},
    };
    for (const auto& example : cases) {
        EXPECT_EQ(example.range.cfi(example.idref), example.cfi);
        auto read = PMHighlightRange::fromCFI(example.cfi);
        ASSERT_TRUE(read) << example.cfi;
        EXPECT_EQ(read->spineIndex, example.range.spineIndex);
        EXPECT_EQ(read->start, example.range.start);
        EXPECT_EQ(read->end, example.range.end);
    }
    // A point is a reading position, not a highlight.
    for (const char* other : {"epubcfi(/6/6[s04]!/4/2/1:0)", "epubcfi(/6/6!/4,/1:0,/1:2,/1:3)", "/4/2,/1:0,/1:2", ""})
        EXPECT_FALSE(PMHighlightRange::fromCFI(other)) << other;
}

TEST(PMSentenceAround, KeepsTheSentencesOfTheSelectionWithBlanksCollapsed)
{
    const std::u16string block = u"\n  First one.  The  Hans\n\tChristian tale. Last one.  ";
    const struct {
        std::u16string selected;
        std::u16string sentence;
        KCRange range;
    } cases[] {
        {u"Hans\n\tChristian", u"The Hans Christian tale.", {4, 14}},
        {u"one.  The", u"First one. The Hans Christian tale.", {6, 8}},
        {u"Last", u"Last one.", {0, 4}},
    };
    for (const auto& example : cases) {
        size_t at = block.find(example.selected);
        PMSentence sentence = PMSentenceAround(block, {at, example.selected.size()});
        EXPECT_EQ(sentence.text, example.sentence);
        EXPECT_EQ(sentence.selected, example.range);
    }
}

// Drawn in its spine item only, in the colours of its style by day or by
// night, until it is deleted.
TEST(PMReaderHighlights, DrawsTheLiveHighlightsOfTheChapterInTheirThemesColours)
{
    KCScratchDirectory scratch;
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(scratch.file("Annotations.sqlite")));
    store.loadObjectStore();
    PMReaderHighlights highlights(store, store.newManagedObjectContext(), u"urn:book");
    PMFoundText found {"/4/2/1:3", "/4/2/1:7", u"wolf", u"The wolf came.", 4, 120, "12"};
    auto made = highlights.add(found, {1, found.start, found.end}, "c1", "One", {3, false, "note"}, nullptr);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->annotationRepresentativeText(), u"The wolf came.");
    EXPECT_EQ(made->physicalPageNumber(), u"12");
    EXPECT_EQ(made->plLocationRangeStart(), (int64_t(1) << 32) + 120);
    const std::u16string uuid = *made->annotationUuid();

    auto drawn = [&](size_t spineIndex, bool night) { return nlohmann::json::parse(highlights.drawList(spineIndex, night)); };
    const struct {
        PMHighlightEdit edit;
        bool night;
        std::string colour;
        bool underline;
    } steps[] {
        {{}, false, "rgb(250 239 90 / 100%)", false},
        {{}, true, "rgb(105 81 7 / 100%)", false},
        {{1, std::nullopt, std::nullopt, false}, false, "rgb(191 240 77 / 100%)", false},
        {{std::nullopt, true, std::nullopt, false}, false, "", true},  // in the underline theme's colour
    };
    for (const auto& step : steps) {
        ASSERT_TRUE(highlights.edit(uuid, step.edit, nullptr));
        auto list = drawn(1, step.night);
        ASSERT_EQ(list.size(), 1u) << list;
        EXPECT_EQ(list[0]["start"], "/4/2/1:3");
        EXPECT_EQ(list[0]["end"], "/4/2/1:7");
        if (!step.colour.empty()) {
            EXPECT_EQ(list[0]["color"], step.colour) << list;
        }
        EXPECT_EQ(list[0]["underline"], step.underline);
        EXPECT_TRUE(drawn(0, step.night).empty());
    }
    ASSERT_TRUE(highlights.edit(uuid, {std::nullopt, std::nullopt, std::nullopt, true}, nullptr));
    EXPECT_TRUE(drawn(1, false).empty());
    EXPECT_FALSE(highlights.edit(u"no-such-uuid", {}, nullptr));
}

// Newest first by creation date, the modification date standing in for a
// missing one; equal dates by place; deleted highlights are not listed.
TEST(PMReaderHighlights, ListsTheLiveHighlightsNewestFirst)
{
    KCScratchDirectory scratch;
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(scratch.file("Annotations.sqlite")));
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    PMReaderHighlights highlights(store, context, u"urn:book");
    const struct {
        std::u16string text;
        size_t place;
        std::optional<double> created;
        double modified;
        bool deleted;
    } made[] {
        {u"a", 10, 100, 500, false},
        {u"b", 10, 300, 300, false},
        {u"c", 50, 200, 200, false},
        {u"d", 20, 200, 200, false},
        {u"e", 10, std::nullopt, 250, false},
        {u"f", 10, 400, 400, true},
    };
    for (const auto& highlight : made) {
        PMFoundText found {"/4/2/1:0", "/4/2/1:1", highlight.text, highlight.text, 0, highlight.place, std::nullopt};
        auto annotation = highlights.add(found, {1, found.start, found.end}, "c1", std::nullopt, {}, nullptr);
        ASSERT_TRUE(annotation);
        annotation->setAnnotationDeleted(highlight.deleted);
        annotation->setAnnotationCreationDate(highlight.created ? std::optional(KCDate {*highlight.created}) : std::nullopt);
        annotation->setAnnotationModificationDate(KCDate {highlight.modified});
    }
    ASSERT_TRUE(store.saveManagedObjectContext(*context));
    std::u16string order;
    for (const auto& annotation : highlights.newestFirst())
        order += annotation->annotationSelectedText().value_or(u"?");
    EXPECT_EQ(order, u"bedca");
}

} // namespace
