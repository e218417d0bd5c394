// The highlight's place as a CFI range and the sentence kept with it.
#include "reader/PMReaderHighlights.h"

#include <gtest/gtest.h>

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

} // namespace
