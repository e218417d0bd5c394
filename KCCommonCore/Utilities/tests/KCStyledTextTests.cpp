#include "Utilities/KCStringAdditions.h"
#include "Utilities/KCStyledString.h"

#include <gtest/gtest.h>

namespace {

// How overlapping attributes split the runs is the RTF writer test's.
TEST(KCStyledString, OverlappingAttributesSplitRunsThatMergeBack)
{
    KCStyledString text(u"Read the book now");
    text.setLink(u"https://example.org", {5, 8});
    text.setFont(u"Serif", 12, {9, 8});
    KCTextAttributes font;
    font.fontFamily = u"Serif";
    font.fontSize = 12;
    text.setLink(u"", {0, 17});
    text.setFont(u"", 0, {0, 17});
    EXPECT_EQ(text.runs(), (std::vector<KCStyledRun> {{{0, 17}, {}}}));
    text.append(u"!", font);
    EXPECT_EQ(text.runs().back(), (KCStyledRun {{17, 1}, font}));
    KCStyledString twice;
    twice.append(text);
    twice.append(text);
    EXPECT_EQ(twice.runs(), (std::vector<KCStyledRun> {{{0, 17}, {}}, {{17, 1}, font}, {{18, 17}, {}}, {{35, 1}, font}}));
}

TEST(KCStyledString, RangesNotWhollyInsideTheTextApplyNothing)
{
    const KCRange ranges[] = {{KCNotFound, 0}, {KCNotFound, 3}, {2, 0}, {3, 2}, {5, 1}, {1, UINT64_MAX}, {UINT64_MAX, 2}};
    for (KCRange range : ranges) {
        KCStyledString text(u"abcd");
        text.setAnnotationStyle(3, range);
        EXPECT_EQ(text.runs().size(), 1u) << range.location << "," << range.length;
        EXPECT_FALSE(text.annotationStyleRange().found());
    }
    KCStyledString text(u"abcd");
    text.setAnnotationStyle(3, {2, 2});
    EXPECT_EQ(text.annotationStyleRange(), (KCRange {2, 2}));
}

TEST(KCStringAdditions, FlatteningAndCounting)
{
    // Line breaks and control and format characters, one blank each; a format character outside the BMP too.
    EXPECT_EQ(flattenedAnnotationString(u"a\r\nb\tc\u2028d\u200Be\U000E0001f\U0001F600"), u"a  b c d e f\U0001F600");
    EXPECT_EQ(tn_occurrenceCountOfString(u"aaaaa", u"aa"), 2u);
    EXPECT_EQ(tn_occurrenceCountOfString(u"abc", u""), 0u);
    EXPECT_EQ(tn_occurrenceCountOfString(u"Caf\u00E9 cafe\u0301", u"caf\u00E9"), 0u);  // unit for unit
}

TEST(KCStringAdditions, SentencesAndWordsInUTF16Units)
{
    EXPECT_EQ(KCSentenceRanges(u"One \U0001D11E. Two!  Three"), (std::vector<KCRange> {{0, 8}, {8, 6}, {14, 5}}));
    EXPECT_EQ(KCWordRanges(u"\U00010400\U00010401 to, be"), (std::vector<KCRange> {{0, 4}, {5, 2}, {9, 2}}));
}

} // namespace
