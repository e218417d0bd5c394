#include "TNAnnotation/TNAnnotation.h"
#include "TNAnnotation/TNAnnotationStoreDataSource.h"

#include <gtest/gtest.h>

namespace {

struct ExcerptCase {
    const char* name;
    const char16_t* representative;  // null: none
    const char16_t* selected;
    KCRange storedRange;
    uint64_t limit;
    const char16_t* contextAware;
    const char16_t* excerpt;  // the highlighted part between « and »; null: no excerpt
};

// The text with the style-carrying part marked; the style must be the annotation's (6: underline).
std::u16string marked(const KCStyledString& styled)
{
    std::u16string text = styled.string();
    KCRange range = styled.annotationStyleRange();
    if (range.found()) {
        EXPECT_EQ(styled.runs()[range.location ? 1 : 0].attributes.annotationStyle, TNAnnotationStyleUnderline);
        text.insert(range.end(), u"\u00BB");
        text.insert(range.location, u"\u00AB");
    }
    return text;
}

constexpr KCRange kNone {};
constexpr uint64_t kNoLimit = UINT64_MAX;
const char16_t* const kFar = u"Some years ago, never mind how long, I went to sea.";
const char16_t* const kPlain = u"Some years ago never mind how long I went to sea";

const ExcerptCase kCases[] = {
    {"selection is the sentence", u"It was the best of times.", u"It was the best of times.", kNone, kNoLimit, u"It was the best of times.", u"\u00ABIt was the best of times.\u00BB"},
    {"repeated, no stored range", u"The cat saw the cat.", u"cat", kNone, kNoLimit, u"cat", u"\u00ABcat\u00BB"},
    {"stored range in UTF-16 units", u"\U0001F431 The cat saw the cat.", u"cat", {19, 3}, kNoLimit, u"\u2026cat.", u"\u00ABcat\u00BB"},
    {"limit beyond the selection", kFar, u"never mind how long", kNone, 40, u"\u2026never mind how long\u2026", u"Some years ago, \u00ABnever mind how long\u00BB, I went to sea."},
    {"limit shorter than the selection", kFar, u"never mind how long", kNone, 10, u"\u2026never mind how long\u2026", u"\u00ABnever mind how long\u00BB"},
    {"word cut", kPlain, u"mind how long", kNone, 20, u"\u2026mind how long\u2026", u"\u2026never \u00ABmind how long\u00BB I went to sea"},
    {"letter cut", u"Pneumonoultramicroscopicsilicovolcanoconiosis", u"volcano", kNone, 10, u"\u2026volcano\u2026", u"\u2026ico\u00ABvolcano\u00BBconiosis"},
    {"letter cut beside a surrogate pair", u"ab\U00010428cdefgh", u"gh", kNone, 7, u"\u2026gh", u"\u2026cdef\u00ABgh\u00BB"},
    {"line break, whole sentence", u"First line\nsecond line goes on and on", u"line\nsecond", kNone, kNoLimit, u"\u2026line\nsecond\u2026", u"First \u00ABline second\u00BB line goes on and on"},
    {"line break, shortened", u"First line\nsecond line goes on and on", u"line\nsecond", kNone, 12, u"\u2026line\nsecond\u2026", u"\u00ABline second\u00BB"},
    {"trailing full stop", u"He said hello.", u"He said hello", kNone, kNoLimit, u"He said hello.", u"\u00ABHe said hello\u00BB."},
    {"two trailing marks", u"He said hello!!", u"He said hello", kNone, kNoLimit, u"He said hello\u2026", u"\u00ABHe said hello\u00BB!!"},
    {"across two sentences", u"It was late. We went home early.", u"late. We went", kNone, kNoLimit, u"\u2026late. We went\u2026", u"It was \u00ABlate. We went\u00BB home early."},
    {"selection not in the sentence", u"abc", u"xyz", kNone, kNoLimit, u"xyz", u"xyz"},
    {"empty selection", u"Line one\rline two", u"", kNone, kNoLimit, u"", u"\u00ABLine one\nline two\u00BB"},
    {"no texts", nullptr, nullptr, kNone, kNoLimit, nullptr, nullptr},
};

TEST(TNAnnotationExcerpt, ContextAwareTextAndStyledExcerpt)
{
    TNAnnotationStoreDataSource source(*KCURL::fileURLWithPath("/nonexistent/Annotations.sqlite"));
    source.loadManagedObjectModel();
    source.loadPersistentStoreCoordinator();
    auto context = source.newManagedObjectContext();
    ASSERT_TRUE(context);
    for (const ExcerptCase& c : kCases) {
        SCOPED_TRACE(c.name);
        auto annotation = TNAnnotation::insertAnnotationWithAssetID(u"BOOK", std::nullopt, std::nullopt, context.get());
        auto text = [](const char16_t* t) { return t ? TNAnnotation::TextArgument(t) : std::nullopt; };
        annotation->setAnnotationRepresentativeText(text(c.representative));
        annotation->setAnnotationSelectedText(text(c.selected));
        annotation->setAnnotationStyle(TNAnnotationStyleUnderline);
        if (c.storedRange.found())
            annotation->setAnnotationSelectedTextRange(c.storedRange);

        EXPECT_EQ(TNAnnotation::contextAwareSelectedTextFromAnnotation(*annotation), text(c.contextAware));
        auto excerpt = TNAnnotation::annotatedAttributedStringForAnnotation(*annotation, c.limit);
        ASSERT_EQ(excerpt.has_value(), c.excerpt != nullptr);
        if (excerpt) {
            EXPECT_EQ(marked(*excerpt), c.excerpt);
        }
    }
}

} // namespace
