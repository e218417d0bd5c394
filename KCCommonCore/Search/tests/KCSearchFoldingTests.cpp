#include "Search/KCSearchFolding.h"
#include "Search/KCSearchRange.h"
#include "Search/KCTextFolder.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace {

std::u16string flat(std::u16string_view text)
{
    return StringCopyFlattenedForSearch(text);
}

TEST(KCSearchFolding, FoldsCaseWidthDiacriticsAndQuotes)
{
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"Don\u2019t say \u201CHello\u201D", u"don't say \"hello\""},
        {u"\uFF21\uFF22\uFF23\uFF11\uFF12\uFF13", u"abc123"},
        {u"Cre\u0300me", u"creme"},  // decomposed input too
        {u"\u05F3\u05F4", u"'\""},
        // Low and reversed quotes and guillemets are left alone.
        {u"\u201A\u201B\u201E\u201F\u00AB\u00BB", u"\u201A\u201B\u201E\u201F\u00AB\u00BB"},
        {u"", u""},
        // Root-locale rules: I lowers to dotted i, and the dot of U+0130 is a
        // mark that the diacritic strip removes; dotless i stays.
        {u"I\u0130\u0131", u"ii\u0131"},
        {u"\u039F\u0394\u039F\u03A3 \u03A3", u"\u03BF\u03B4\u03BF\u03C2 \u03C3"},  // final sigma by context
        {u"\u00DF", u"\u00DF"},  // lower-cased, not case-folded
        // Surrogate pairs stay whole; a supplementary capital lowers as a pair.
        {u"a\U0001F600\u2019b", u"a\U0001F600'b"},
        {u"\U00010400", u"\U00010428"},
        {u"x\xD800y", u"x\xD800y"},
    };
    for (const auto& [text, folded] : cases)
        EXPECT_EQ(flat(text), folded) << KCUTF8FromUTF16(text);
}

// Resource keys (0x181, whose accents, widths and final sigmas the URL
// protocol tests match): full case folding, no quote folding.
TEST(KCSearchFolding, CompareFlagsSelectTheFold)
{
    EXPECT_TRUE(KCStringsEqualWithCompareFlags(u"Stra\u00DFe", u"STRASSE", KCCaseInsensitiveCompare));
    EXPECT_FALSE(KCStringsEqualWithCompareFlags(u"\u2019", u"'", 0x181));
    EXPECT_FALSE(KCStringsEqualWithCompareFlags(u"\u03C3", u"\u03C2", 0));
    EXPECT_FALSE(KCStringsEqualWithCompareFlags(u"A", u"a", KCDiacriticInsensitiveCompare));
    EXPECT_FALSE(KCStringsEqualWithCompareFlags(u"\u00E9", u"e", KCCaseInsensitiveCompare));
    EXPECT_EQ(KCFoldForCompareFlags(u"\uFF21\u00C9", KCWidthInsensitiveCompare), u"A\u00C9");
}

TEST(KCSearchFolding, LongestWordKeepsItsLimits)
{
    EXPECT_EQ(StringCopyLongestWordInString(u"a bb ccc dd eee"), u"ccc");
    // Tokens: a, " ", b, " ", c, " ", d, " ", e, " " are ten; the long word is the eleventh.
    EXPECT_EQ(StringCopyLongestWordInString(u"a b c d e longestword"), u"a");
    EXPECT_EQ(StringCopyLongestWordInString(u"a b c d ee longestword"), u"ee");
    EXPECT_EQ(StringCopyLongestWordInString(u""), std::nullopt);
}

// Text built from pieces that exercise every step of the fold and every
// context that the ASCII fast path must not break.
std::u16string randomText(std::mt19937& random, size_t pieces)
{
    static const std::u16string_view kPieces[] = {
        u"a", u"Z", u"q", u"7", u" ", u" ", u"\n", u"\t", u"\r\n", u".", u"'", u"\u2018", u"\u2019", u"\u201C",
        u"\u201D", u"\u05F3", u"\u05F4", u"\u201E", u"\u00AB", u"\u00E9", u"\u00C9", u"e\u0301", u"\u0301", u"\u0308",
        u"\u03A3", u"\u03C3", u"\u039F", u"\u0130", u"\u0131", u"I", u"\u00DF", u"\uFB01", u"\uFF21", u"\uFF11",
        u"\uFF01", u"\u30AC", u"\uFF76\uFF9E", u"\u3131", u"\uAC00", u"\u1100\u1161", u"\u11A8", u"\U0001F600",
        u"\U00010400", u"\u0915\u093F", u"\u0B47\u0B3E", u"\u05D0\u05B8", u"\u0645\u064E", u"\u1E9E", u"\u212A",
        u"\u2126", u"\u00A0", u"\u3000", u"\uFF5E", u"\uFFE5", u"\xD800",
    };
    std::uniform_int_distribution<size_t> pick(0, std::size(kPieces) - 1);
    std::u16string text;
    for (size_t i = 0; i < pieces; ++i)
        text += kPieces[pick(random)];
    return text;
}

std::vector<std::u16string> licenceTexts()
{
    std::vector<std::u16string> texts;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/usr/share/common-licenses", error)) {
        texts.push_back(KCUTF16FromUTF8(KCReadTestFile(entry.path())));
    }
    return texts;
}

void expectFastPathMatchesICU(std::u16string_view text)
{
    for (KCFoldOptions options : {KCFoldOptions {385, true}, KCFoldOptions {0x181, false}, KCFoldOptions {1, false},
             KCFoldOptions {128, false}, KCFoldOptions {256, true}}) {
        std::u16string reference = KCFoldTextWithICU(text, options);
        std::u16string fast;
        KCFoldText(text, options, fast);
        ASSERT_EQ(fast, reference) << KCUTF8FromUTF16(text) << " flags " << options.flags;

        std::u16string mapped;
        std::vector<KCFoldSource> sources;
        KCFoldText(text, options, mapped, &sources);
        ASSERT_EQ(mapped, reference) << KCUTF8FromUTF16(text) << " flags " << options.flags;
        ASSERT_EQ(sources.size(), mapped.size());
        for (size_t i = 0; i < sources.size(); ++i) {
            ASSERT_LE(sources[i].start, sources[i].end);
            ASSERT_LE(sources[i].end, text.size());
            if (i > 0) {
                ASSERT_LE(sources[i - 1].start, sources[i].start);
            }
        }
    }
}

TEST(KCSearchFolding, FastPathIsIdenticalToTheICUChain)
{
    std::mt19937 random(20240611);
    for (int i = 0; i < 3000; ++i)
        expectFastPathMatchesICU(randomText(random, 1 + i % 40));

    std::vector<std::u16string> licences = licenceTexts();
    ASSERT_FALSE(licences.empty());
    for (const auto& text : licences) {
        expectFastPathMatchesICU(text);
        // The same prose with non-ASCII words spliced in at random places.
        std::u16string mixed = text.substr(0, 4000);
        for (int i = 0; i < 30; ++i)
            mixed.insert(random() % mixed.size(), randomText(random, 3));
        expectFastPathMatchesICU(mixed);
    }
}

TEST(KCSearchFolding, FoldsAlikeOnManyThreads)
{
    const std::u16string text = u"\u00C9cole \uFF21\uFF22\uFF23 \u201Cquoted\u201D \u0130stanbul ";
    const std::u16string expected = flat(text);
    std::vector<std::thread> threads;
    std::atomic<int> mismatches {0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i)
                mismatches += flat(text) != expected;
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(KCSearchRange, FindsThroughTheFoldInOriginalIndices)
{
    EXPECT_EQ(KCRangeOfStringForSearch(u"\u00C9cole", u"ecole"), (KCRange {0, 5}));
    EXPECT_EQ(KCRangeOfStringForSearch(u"x \uFF21\uFF22\uFF23", u"abc"), (KCRange {2, 3}));
    EXPECT_EQ(KCRangeOfStringForSearch(u"abc", u"\uFF21\uFF22\uFF23"), (KCRange {0, 3}));
    // Decomposed accents and U+0130 shrink when folded; the answer still
    // counts units of the original text, match length included.
    std::u16string text = u"Cafe\u0301 \u0130i e\u0301le\u0300ve \u201Cgo\u201D";
    EXPECT_EQ(KCRangeOfStringForSearch(text, u"eleve"), (KCRange {9, 7}));
    EXPECT_EQ(KCRangeOfStringForSearch(text, u"\"GO\""), (KCRange {17, 4}));
    EXPECT_EQ(KCRangeOfStringForSearch(text, u"ii"), (KCRange {6, 2}));
    // Lower-casing that grows the text before the match.
    EXPECT_EQ(KCRangeOfStringForSearch(u"\u0130\u0130\u0130 x\u00E9y", u"XEY"), (KCRange {4, 3}));
}

TEST(KCSearchRange, HonoursTheRangeAndRejectsBadInput)
{
    std::u16string text = u"abc abc";
    EXPECT_EQ(KCRangeOfStringForSearch(text, u"ABC", {1, 6}), (KCRange {4, 3}));
    EXPECT_FALSE(KCRangeOfStringForSearch(text, u"abc", {1, 5}).found());  // match would leave the range
    EXPECT_FALSE(KCRangeOfStringForSearch(text, u"abc", {7, 0}).found());
    EXPECT_FALSE(KCRangeOfStringForSearch(text, u"abc", {8, 0}).found());
    EXPECT_FALSE(KCRangeOfStringForSearch(text, u"abc", {KCNotFound, 1}).found());
    EXPECT_FALSE(KCRangeOfStringForSearch(text, u"").found());
    EXPECT_FALSE(KCRangeOfStringForSearch(text, u"\u0301").found());  // folds to nothing
    EXPECT_FALSE(KCRangeOfStringForSearch(u"", u"a").found());
}

TEST(KCSearchRange, FindsWhateverTheFoldMakesEqual)
{
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        std::u16string haystack = randomText(random, 30);
        std::u16string needle = randomText(random, 1 + i % 3);
        std::u16string foldedNeedle = flat(needle);
        KCRange found = KCRangeOfStringForSearch(haystack, needle);
        bool contained = !foldedNeedle.empty() && flat(haystack).find(foldedNeedle) != std::u16string::npos;
        ASSERT_EQ(found.found(), contained) << KCUTF8FromUTF16(haystack) << " / " << KCUTF8FromUTF16(needle);
        if (found.found()) {
            ASSERT_LE(found.end(), haystack.size());
            // The original units of the match fold to text that holds the needle.
            EXPECT_NE(flat(haystack.substr(found.location, found.length)).find(foldedNeedle), std::u16string::npos);
        }
    }
}

} // namespace
