#include "Sharing/TNAssetCitation.h"

#include <gtest/gtest.h>

TEST(TNAssetCitation, PiecesInTheirOrderWithTheirOwnRules)
{
    EXPECT_EQ(TNAssetCitation({u"Ann Lee", u"Tides.", u"Harbor", u"2010"}), u"Ann Lee. \u201CTides.\u201D Harbor, 2010. Pagemoor. ");
    // The author's own full stop is kept, not doubled; line breaks at the ends go.
    EXPECT_EQ(TNAssetCitation({u"\nA. B. Smith.\n", u"", u"", u""}), u"A. B. Smith. Pagemoor. ");
    // A quoted title loses its own marks; a linked title keeps the link inside the marks.
    EXPECT_EQ(TNAssetCitation({u"", u" \u201CHome\u201D ", u"Press", u""}), u"\u201CHome.\u201D Press. Pagemoor. ");
    EXPECT_EQ(TNAssetCitation({u"", u"Home.", u"", u""}, u"https://s.test/1"),
        u"\u201C<a href=\"https://s.test/1\">Home</a>.\u201D Pagemoor. ");
    EXPECT_EQ(TNAssetCitation({u"Ann Lee", u"", u"", u""}, std::nullopt, {123, 5}), u"Ann Lee. 123ll-8ll. Pagemoor. ");
}

TEST(TNAssetCitation, PageRangesKeepOnlyTheDifferingTail)
{
    const std::pair<KCRange, const char16_t*> cases[] = {{{123, 5}, u"123ll-8ll"}, {{7, 0}, u"7ll"}, {{98, 3}, u"98ll-101ll"}, {{10, 10}, u"10ll-20ll"}};
    for (const auto& [range, text] : cases)
        EXPECT_EQ(TNAssetCitationPageRange(range), text) << range.location;
}
