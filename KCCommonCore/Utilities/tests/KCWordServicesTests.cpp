#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"
#include "Utilities/tests/KCTestLocale.h"

#include <gtest/gtest.h>

namespace {

TEST(KCWordServices, CountsWordsAndTheLengthThatHoldsThem)
{
    struct Case {
        const char16_t* text;
        uint64_t max;
        uint64_t count;
        uint64_t limit;
    } cases[] = {
        {u"Hello, world! How are you?", 0, 5, 26},
        {u"Hello, world! How are you?", 2, 2, 12},
        {u"Hello, world!", 2, 2, 13},  // nothing beyond the maximum: all of it
        {u"\U00010400\U00010401 to, be", 1, 1, 4},
        {u" \u2014 ... !", 0, 0, 8},
    };
    for (const Case& c : cases) {
        uint64_t limit = 0;
        EXPECT_EQ(tokenCountWithEnumerationOptions(c.text, KCStringEnumerationByWords, c.max, &limit), c.count) << KCUTF8FromUTF16(c.text);
        EXPECT_EQ(limit, c.limit) << KCUTF8FromUTF16(c.text);
    }
}

TEST(KCWordServices, TruncatesAtAWordEndOrUnchanged)
{
    struct Case {
        const char16_t* text;
        uint64_t length;
        const char16_t* truncated;
    } cases[] = {
        {u"The quick brown fox", 12, u"The quick[\u2026]"},
        {u"The quick brown fox", 19, u"The quick brown fox"},
        {u"Pneumonoultra", 4, u"Pneu[\u2026]"},
        {u"\U00010400\U00010400", 3, u"\U00010400[\u2026]"},  // not inside the pair
        {u"Anything", 0, u"[\u2026]"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(stringByTruncatingToLength(c.text, c.length, KCStringEnumerationByWords, u"[\u2026]"), c.truncated) << KCUTF8FromUTF16(c.text);
}

TEST(KCWordServices, QuotationMarksOfTheUsersLocale)
{
    EXPECT_EQ(KCQuotationMarks::forLocale("en_US").enclose(u"x"), u"\u201Cx\u201D");
    {
        KC_IN_LOCALE(german, "de_DE.UTF-8");
        EXPECT_EQ(stringByEnclosingInQuotes(u"x"), u"\u201Ex\u201C");
    }
    const std::pair<const char16_t*, const char16_t*> removals[] = {
        {u"\u201CMoby-Dick\u201D", u"Moby-Dick"}, {u"\"x\"", u"x"}, {u"\u201Ex\u201C", u"x"}, {u"\u00AB\u00BB", u""},
        {u"x\u201D", u"x\u201D"}, {u"\u201D", u"\u201D"}, {u"'\U00010400", u"'\U00010400"},
    };
    for (const auto& [text, removed] : removals)
        EXPECT_EQ(stringByRemovingEnclosingQuotations(text), removed) << KCUTF8FromUTF16(text);
}

TEST(KCWordServices, LongDatesAndUpperCaseByLocale)
{
    KCDate date = KCDate::fromTimeIntervalSince1970(1772704800);  // 2026-03-05 10:00 UTC: the same day in most zones
    EXPECT_EQ(KCLongDateFormatter("en_US").stringFromDate(date), u"March 5, 2026");
    {
        KC_IN_LOCALE(german, "de_DE.UTF-8");
        EXPECT_EQ(KCLongDateFormatter().stringFromDate(date), u"5. M\u00E4rz 2026");
    }
    EXPECT_EQ(KCUppercaseString(u"istanbul stra\u00DFe", "en"), u"ISTANBUL STRASSE");
    EXPECT_EQ(KCUppercaseString(u"istanbul", "tr"), u"\u0130STANBUL");
}

} // namespace
