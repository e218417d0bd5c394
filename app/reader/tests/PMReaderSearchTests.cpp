// The engine's search contexts as the reader lists them.
#include "reader/PMReaderSearch.h"

#include <gtest/gtest.h>

namespace {

// Ranges come in UTF-16 units of the sentence and go out in bytes of its UTF-8;
// matches are numbered within their chapter.
TEST(PMReaderSearchResults, MatchesInUTF8NumberedByChapter)
{
    PMPackage package;
    package.title = "Book";
    package.spine = {{"a", "a.xhtml"}, {"b", "b.xhtml"}};
    const std::vector<PMSearchContext> contexts {
        {0, "a.xhtml", 11, 5, "\u00C9t\u00E9 \U0001F33F and Moors."},
        {1, "b.xhtml", 0, 5, "moors here, moors there."},
        {1, "b.xhtml", 12, 5, "moors here, moors there."},
        {1, "b.xhtml", 40, 9, "Past the end."},
    };
    const struct {
        std::string match;
        size_t occurrence;
    } expected[] {{"Moors", 0}, {"moors", 0}, {"moors", 1}, {"", 2}};
    auto results = PMReaderSearchResults(contexts, package, PMBookNavigation());
    ASSERT_EQ(results.size(), std::size(expected));
    for (size_t index = 0; index < results.size(); ++index) {
        EXPECT_EQ(results[index].match(), expected[index].match) << index;
        EXPECT_EQ(results[index].occurrence, expected[index].occurrence) << index;
        EXPECT_EQ(results[index].chapterTitle, "Book");
    }
}

} // namespace
