#include "PMPlugInTestSupport.h"
#include "Search/KCDocumentFragmentFilter.h"
#include "testing/PMFakeDOM.h"

namespace {

class PMPageTextTest : public PMPlugInTest {
protected:
    void SetUp() override
    {
        PMPlugInTest::SetUp();
        frame()->setDocument(document);
    }
    // Runs a task at load finished and answers its reply body.
    KCValue runTask(int64_t task, KCDictionary extra = {})
    {
        size_t before = connection().sentMessages().size();
        prepare(task, 21, std::move(extra));
        page()->play(PMFakeLoadStep::loadFinished());
        auto replies = connection().sentMessages();
        EXPECT_EQ(replies.size(), before + 1);
        return replies.size() == before + 1 ? replies.back().body : KCValue();
    }
    KCArray contextsFor(std::u16string_view search)
    {
        KCValue body = runTask(PMPlugInTaskSearchContext, {{PMEpubWebProcessPlugInObjectSearchString, search}});
        EXPECT_EQ(body[PMEpubWebProcessPlugInObjectDocumentIndex], KCValue(21u));
        const KCArray* contexts = body[PMEpubWebProcessPlugInObjectContextArray].array();
        return contexts ? *contexts : KCArray {};
    }
    static KCValue context(uint64_t location, uint64_t length, std::u16string_view sentence)
    {
        return KCDictionary {{"rangeLocation", location}, {"rangeLength", length}, {"context", sentence}};
    }

    std::shared_ptr<PMFakeDocument> document = std::make_shared<PMFakeDocument>();
    std::shared_ptr<PMFakeDOMNode> body = PMFakeDOMNode::element(u"BODY");
};

TEST_F(PMPageTextTest, RubyTextIsLeftOutOfThePageText)
{
    auto ruby = PMFakeDOMNode::element(u"ruby", PMFakeDOMNode::element(u"p", body));
    document->appendRun(u"Kanji ", body);
    document->appendRun(u"漢", ruby);
    document->appendRun(u"かん", PMFakeDOMNode::element(u"rt", ruby));
    document->appendRun(u"字", ruby);
    document->appendRun(u"じ", PMFakeDOMNode::element(u"span", PMFakeDOMNode::element(u"rt", ruby)));
    document->appendRun(u"[RT]", PMFakeDOMNode::element(u"RT", ruby));  // not ruby text: the name is compared exactly
    EXPECT_EQ(plugIn->iteratedText(), u"Kanji 漢字[RT]");
}

// The filter of a page with text is checked against the real engine's text in app/e2e.
TEST_F(PMPageTextTest, AnEmptyBodyGivesAnEmptyFilterAndNoContexts)
{
    KCValue reply = runTask(PMPlugInTaskBloomFilter);
    EXPECT_EQ(reply[PMEpubWebProcessPlugInObjectDocumentIndex], KCValue(21u));
    auto decoded = KCDocumentFragmentFilter::unarchivedFilter(*reply[PMEpubWebProcessPlugInObjectBloomFilter].data());
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->specification().bloomFilterSpecification.expectedNumberOfInsertions, 0);
    EXPECT_TRUE(contextsFor(u"whale").empty());
}

TEST_F(PMPageTextTest, SearchContextsArePerSentence)
{
    document->appendRun(u"The whale, the WHALE! ", body);
    document->appendRun(u"ホエール", PMFakeDOMNode::element(u"rt", body));
    document->appendRun(u"Where is the wha", body);
    document->appendRun(u"le? A white wha. Le whale.", body);
    KCArray contexts = contextsFor(u"Whale");
    const std::u16string first = u"The whale, the WHALE! ";
    const std::u16string second = u"Where is the whale? ";
    const std::u16string fourth = u"Le whale.";
    EXPECT_EQ(contexts, (KCArray {context(4, 5, first), context(15, 5, first), context(13, 5, second), context(3, 5, fourth)}));

    EXPECT_TRUE(contextsFor(u"ホエール").empty());
    EXPECT_TRUE(contextsFor(u"wha. le").empty());  // crosses a sentence boundary
    EXPECT_TRUE(contextsFor(u"").empty());
}

TEST_F(PMPageTextTest, SearchContextsIgnoreOnlyCase)
{
    document->appendRun(u"Crème brûlée. CRÈME BRÛLÉE. Creme brulee.", body);
    EXPECT_EQ(contextsFor(u"crème"), (KCArray {context(0, 5, u"Crème brûlée. "), context(0, 5, u"CRÈME BRÛLÉE. ")}));
}

TEST(PMPageTextConversionTest, NewlinesBecomeBlanks)
{
    EXPECT_EQ(PMEpubWebProcessPlugIn::convertNewlineCharacterSetToSpaceInString(u"a\nb\r\nc\u2028d\u0085e\tf"), u"a b  c d e\tf");
    EXPECT_EQ(PMEpubWebProcessPlugIn::convertNewlineCharacterSetToSpaceInString(u"plain"), u"plain");
}

// MARK: Snapshots

class PMSnapshotTest : public PMPlugInTest {
protected:
    // Asks for a snapshot and answers the reply body.
    KCValue snapshot(KCDictionary extra)
    {
        extra.set(PMEpubWebProcessPlugInMessageSnapshotSize, u"{200, 300}");
        prepare(PMPlugInTaskSnapshot, 5, std::move(extra));
        page()->play({PMFakeLoadStep::loadFinished(), PMFakeLoadStep::firstLayout()});
        runLoop.advanceBy(0.1);
        auto replies = sent(PMEpubWebProcessPlugInMessageSnapshotTask);
        EXPECT_FALSE(replies.empty());
        return replies.empty() ? KCValue() : replies.back().body;
    }
};

TEST_F(PMSnapshotTest, TheImageCoversTheRequestedSize)
{
    frame()->setContentBounds({{0, 0}, {800, 1000}});
    KCImage image {240, 300, 240 * 4, KCData(240 * 4 * 300, 0x66)};
    frame()->setSnapshotImage(image);
    KCValue body = snapshot({});
    ASSERT_EQ(frame()->snapshotRequests().size(), 1u);
    EXPECT_EQ(frame()->snapshotRequests()[0].rect, (KCRect {{0, 0}, {800, 1000}}));
    EXPECT_DOUBLE_EQ(frame()->snapshotRequests()[0].scale, 0.3);
    EXPECT_EQ(body[PMEpubWebProcessPlugInObjectDocumentIndex], KCValue(5u));

    // The frame's image, encoded as it is.
    const KCData* png = body[PMEpubWebProcessPlugInMessageSnapshotData].data();
    ASSERT_TRUE(png);
    EXPECT_TRUE(*png == image.PNGData());
}

TEST_F(PMSnapshotTest, TheDeclaredViewportReplacesTheBounds)
{
    frame()->setContentBounds({{0, 0}, {800, 1000}});
    declareViewport(u"width=600, height=800");
    snapshot({{PMEpubWebProcessPlugInMessageSnapshotViewportOnly, true}});
    EXPECT_EQ(frame()->snapshotRequests().back().rect, (KCRect {{0, 0}, {600, 800}}));
    EXPECT_DOUBLE_EQ(frame()->snapshotRequests().back().scale, 300.0 / 800);

    // The device's width is the requested width.
    declareViewport(u"width=device-width, height=800");
    snapshot({});
    EXPECT_EQ(frame()->snapshotRequests().back().rect, (KCRect {{0, 0}, {200, 800}}));

    // Nothing declared: the content bounds stay.
    declareViewport(u"initial-scale=1");
    snapshot({});
    EXPECT_EQ(frame()->snapshotRequests().back().rect, (KCRect {{0, 0}, {800, 1000}}));
}

TEST_F(PMSnapshotTest, WithoutAnImageTheReplyStillCarriesTheIndex)
{
    frame()->setContentBounds({{0, 0}, {800, 1000}});
    EXPECT_EQ(snapshot({}), KCValue(KCDictionary {{PMEpubWebProcessPlugInObjectDocumentIndex, 5u}}));

    // Degenerate bounds make no snapshot request at all.
    frame()->setContentBounds({{0, 0}, {0, 0}});
    EXPECT_EQ(snapshot({}), KCValue(KCDictionary {{PMEpubWebProcessPlugInObjectDocumentIndex, 5u}}));
    EXPECT_EQ(frame()->snapshotRequests().size(), 1u);
}

} // namespace
