#include "Annotations/TNAnnotationGroupRTFGenerator.h"
#include "Annotations/tests/TNAnnotationShareTestSupport.h"

namespace {

class TNAnnotationGroupRTFGeneratorTest : public TNAnnotationShareTest {
protected:
    std::shared_ptr<TNAnnotation> annotation(TNAnnotation::TextArgument selected, TNAnnotation::TextArgument page, TNAnnotation::TextArgument note, int32_t type = TNAnnotationTypeRange)
    {
        auto made = insertAnnotation(selected, note);
        made->setAnnotationType(type);
        made->setPhysicalPageNumber(page);
        return made;
    }

    static KCTextAttributes font(std::u16string_view family)
    {
        KCTextAttributes attributes;
        attributes.fontFamily = family;
        attributes.fontSize = 12;
        return attributes;
    }

    std::u16string m_day = KCLongDateFormatter().stringFromDate(m_date);
    KCQuotationMarks m_quotes = KCQuotationMarks::forUserLocale();
    KCTextAttributes m_plain = font(u"Helvetica");
    KCTextAttributes m_bold = font(u"Helvetica-Bold");
};

TEST_F(TNAnnotationGroupRTFGeneratorTest, BlocksCitationAndStoreLink)
{
    TNAnnotationGroupRTFGenerator generator;
    // The book's global record is rendered like any other annotation.
    generator.setAnnotations({annotation(u"Call me Ishmael.", u"12", u"A bold note"), annotation(u"Loomings", std::nullopt, std::nullopt, TNAnnotationTypeGlobal)});
    generator.setCitationsAllowed(true);
    generator.setBookCitationString(u"Moby-Dick. Herman Melville. ");
    generator.setBookURLPrefix(u"Check out this book: ");
    generator.setBookURL(KCURL::URLWithString("https://store.example/book/id42"));
    KCStyledString styled = generator.attributedString();

    std::u16string first = m_day + u" (page 12)\n\n" + m_quotes.enclose(u"Call me Ishmael.") + u"\n\n";
    std::u16string second = u"\n\n\n" + m_day + u" \n\n" + m_quotes.enclose(u"Loomings")
        + u"\n\n\nNotes From: Moby-Dick. Herman Melville. \n\nCheck out this book: ";
    std::u16string url = u"https://store.example/book/id42";
    EXPECT_EQ(styled.string(), first + u"A bold note" + second + url);
    KCTextAttributes link = m_plain;
    link.link = url;
    uint64_t noteEnd = first.size() + 11;
    EXPECT_EQ(styled.runs(), (std::vector<KCStyledRun> {{{0, first.size()}, m_plain}, {{first.size(), 11}, m_bold},
                                 {{noteEnd, second.size()}, m_plain}, {{noteEnd + second.size(), url.size()}, link}}));
}

TEST_F(TNAnnotationGroupRTFGeneratorTest, WithoutCitationsAndWithEmptyPieces)
{
    TNAnnotationGroupRTFGenerator generator;
    generator.setAnnotations({annotation(u"Quoted nowhere", u"3", std::nullopt), annotation(u"Nor here", u"", u"")});
    generator.setBookURL(KCURL::URLWithString("https://store.example/book/id42"));  // no prefix: no link
    // An empty page still gives its parenthesis; an empty note still its line feeds.
    EXPECT_EQ(generator.attributedString().string(), m_day + u" (page 3)\n\n\n" + m_day + u" (page )\n\n");

    TNAnnotationGroupRTFGenerator empty;
    EXPECT_EQ(empty.attributedString().string(), u"");
    empty.setBookCitationString(u"Citation");
    EXPECT_EQ(empty.attributedString().string(), u"\n\n\nNotes From: Citation");
}

TEST_F(TNAnnotationGroupRTFGeneratorTest, ExcerptsStopAfterTwoHundredWords)
{
    TNAnnotationGroupRTFGenerator generator;
    generator.setCitationsAllowed(true);
    EXPECT_EQ(generator.p_highlightStringForAnnotation(*annotation(words(150), std::nullopt, std::nullopt)), m_quotes.enclose(words(150)));
    std::u16string cut = words(200);
    cut.pop_back();  // the last word's full stop is cut too
    EXPECT_EQ(generator.p_highlightStringForAnnotation(*annotation(words(300), std::nullopt, std::nullopt)), m_quotes.enclose(cut + u"[\u2026]"));
}

} // namespace
