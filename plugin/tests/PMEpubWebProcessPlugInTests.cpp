#include "PMPlugInTestSupport.h"
#include "plugin/PMSizeString.h"

namespace {

class PMPlugInInitialisationTest : public PMPlugInTest {
protected:
    KCValue initializationObject() override
    {
        return KCDictionary {
            {"SandboxExtensions", KCArray {KCData {1, 2}, KCValue(u"not data"), KCData {3}}},
            {"BookContentsPath", u"/books/moby"},
            {"BookResourceData", KCDictionary {{"/ch1.xhtml", KCDictionary {{"mimeType", u"application/xhtml+xml"}}}}},
            {"PaginationMode", true},
            {"BookInfo", KCDictionary {{"title", u"Moby-Dick"}}},
        };
    }
};

// The rest of the book configuration is seen at work in app/e2e.
TEST_F(PMPlugInInitialisationTest, ConfiguresTheProtocolAndHandsOverTheSandboxTokensInOrder)
{
    EXPECT_EQ(sandbox.consumedTokens(), (std::vector<std::vector<uint8_t>> {{1, 2}, {3}}));
    EXPECT_EQ(PMURLProtocol::connection(), controller->connection());
    EXPECT_EQ(PMURLProtocol::bookContentsPath(), "/books/moby");
    EXPECT_TRUE(PMURLProtocol::paginationMode());
    EXPECT_EQ(connection().delegate(), plugIn.get());
    EXPECT_EQ(plugIn->plugInTask(), PMPlugInTaskNone);
}

TEST_F(PMPlugInTest, AnInitialisationObjectThatIsNotADictionaryStillRegistersTheProtocol)
{
    auto other = PMEpubWebProcessPlugIn::create({&runLoop, &runLoop, &process, &sandbox});
    PMURLProtocol::setPaginationMode(true);
    other->initializeWithObject(controller, KCValue(u"junk"));
    EXPECT_TRUE(PMURLProtocol::isRegistered());
    EXPECT_EQ(PMURLProtocol::connection(), controller->connection());
    EXPECT_TRUE(PMURLProtocol::paginationMode());  // the book configuration was skipped
    EXPECT_EQ(other->bookInfo(), KCValue(KCDictionary()));
    EXPECT_TRUE(sandbox.consumedTokens().empty());
}

TEST_F(PMPlugInTest, NavigationPolicyByURLAndNavigationType)
{
    struct Case {
        const char* url;
        PMNavigationType type;
        PMNavigationPolicy expected;
    };
    using enum PMNavigationType;
    const PMNavigationPolicy use = PMNavigationPolicy::Use, pass = PMNavigationPolicy::PassThrough;
    const Case cases[] = {
        {"about:blank", LinkClicked, use},
        {"https://example.com/", FormSubmitted, pass},
        {"mailto:reader@example.com", LinkClicked, pass},
        {"qvst-books://store/book/1", Other, pass},
        {"urn:isbn:0-306-40615-2", LinkClicked, pass},
        {"readaloud://start", Reload, pass},
        {"warn://x", BackForward, pass},
        {"file:///books/ch2.xhtml", LinkClicked, pass},
        {"file:///books/ch2.xhtml", Other, pass},
        {"file:///books/ch2.xhtml", FormSubmitted, use},
        {"file:///books/ch2.xhtml", Reload, use},
        {"ftp://example.com/a", LinkClicked, use},
        {"data:text/plain,hello", LinkClicked, use},
    };
    for (const auto& c : cases) {
        PMNavigationAction action {KCURL::URLWithString(c.url), static_cast<int64_t>(c.type)};
        ASSERT_TRUE(action.requestURL) << c.url;
        EXPECT_EQ(page()->decidePolicy(action), c.expected) << c.url << " type " << static_cast<int>(c.type);
    }
    EXPECT_EQ(page()->decidePolicy({std::nullopt, 0}), use);
}

TEST_F(PMPlugInTest, AResourceThatStartsWhileTheBatchCompletionIsPendingCancelsIt)
{
    page()->play({
        PMFakeLoadStep::provisionalLoadStarted(),
        PMFakeLoadStep::resourceInitiated(1),
        PMFakeLoadStep::resourceInitiated(2),
        PMFakeLoadStep::resourceFinished(1),
        PMFakeLoadStep::resourceFailed(2),  // the batch is empty: completion pending
        PMFakeLoadStep::resourceInitiated(3),  // same turn: cancels it
    });
    runLoop.runCurrentTurn();
    EXPECT_TRUE(sent(PMEpubWebProcessPlugInMessageResourceLoadTask).empty());

    page()->play(PMFakeLoadStep::resourceFinished(3));
    runLoop.runCurrentTurn();
    auto messages = sent(PMEpubWebProcessPlugInMessageResourceLoadTask);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_TRUE(messages[0].body.isNull());
    // Reported once: the callbacks are gone until the next provisional load.
    EXPECT_EQ(page()->resourceLoadClient(), nullptr);
    page()->play({PMFakeLoadStep::resourceInitiated(4), PMFakeLoadStep::resourceFinished(4)});
    runLoop.advanceBy(1);
    EXPECT_EQ(sent(PMEpubWebProcessPlugInMessageResourceLoadTask).size(), 1u);

    page()->play({PMFakeLoadStep::provisionalLoadStarted(), PMFakeLoadStep::resourceInitiated(5), PMFakeLoadStep::resourceFinished(5)});
    runLoop.runCurrentTurn();
    EXPECT_EQ(sent(PMEpubWebProcessPlugInMessageResourceLoadTask).size(), 2u);
}

TEST_F(PMPlugInTest, ASecondCompletionOfTheSameBatchIsLoggedNotSent)
{
    PMLogCapture log;
    page()->play({
        PMFakeLoadStep::provisionalLoadStarted(),
        PMFakeLoadStep::resourceInitiated(1),
        PMFakeLoadStep::resourceFinished(1),
        PMFakeLoadStep::resourceFailed(99),  // unknown: the set stays empty and a second completion is scheduled
    });
    runLoop.runCurrentTurn();
    EXPECT_EQ(sent(PMEpubWebProcessPlugInMessageResourceLoadTask).size(), 1u);
    char expected[64];
    std::snprintf(expected, sizeof expected, "Error: Expected resources for pageRef: %p", static_cast<void*>(page().get()));
    EXPECT_TRUE(log.contains(expected)) << log.text();
}

TEST_F(PMPlugInTest, ResourceLoadsOfADestroyedBrowserContextAreIgnored)
{
    page()->play({PMFakeLoadStep::provisionalLoadStarted(), PMFakeLoadStep::resourceInitiated(1)});
    plugIn->didDestroyBrowserContextController(*controller, browserContext);
    EXPECT_TRUE(plugIn->activeBrowserContexts().empty());
    page()->play(PMFakeLoadStep::resourceFinished(1));
    runLoop.advanceBy(1);
    EXPECT_TRUE(connection().sentMessages().empty());
}

TEST_F(PMPlugInTest, SnapshotComesOnce100msAfterTheSecondStage)
{
    frame()->setContentBounds({{0, 0}, {800, 1000}});
    prepare(PMPlugInTaskSnapshot, 9, {{PMEpubWebProcessPlugInMessageSnapshotSize, u"{200, 300}"}});
    page()->play(PMFakeLoadStep::firstLayout());
    runLoop.advanceBy(1);
    EXPECT_EQ(runLoop.pendingCount(), 0u);  // one stage is not enough

    page()->play(PMFakeLoadStep::loadFinished());
    runLoop.advanceBy(0.099);
    EXPECT_TRUE(sent(PMEpubWebProcessPlugInMessageSnapshotTask).empty());
    runLoop.advanceBy(0.001);
    ASSERT_EQ(sent(PMEpubWebProcessPlugInMessageSnapshotTask).size(), 1u);

    page()->play({PMFakeLoadStep::firstLayout(), PMFakeLoadStep::loadFinished()});
    runLoop.advanceBy(1);
    EXPECT_EQ(sent(PMEpubWebProcessPlugInMessageSnapshotTask).size(), 1u);
    EXPECT_EQ(frame()->snapshotRequests().size(), 1u);

    // A new document clears the stages, so the snapshot may come again.
    prepare(PMPlugInTaskSnapshot, 10, {{PMEpubWebProcessPlugInMessageSnapshotSize, u"{200, 300}"}});
    page()->play({PMFakeLoadStep::loadFinished(), PMFakeLoadStep::firstLayout()});
    runLoop.advanceBy(0.1);
    auto snapshots = sent(PMEpubWebProcessPlugInMessageSnapshotTask);
    ASSERT_EQ(snapshots.size(), 2u);
    EXPECT_EQ(snapshots[1].body[PMEpubWebProcessPlugInObjectDocumentIndex], KCValue(10u));
}

TEST_F(PMPlugInTest, BodiesOfTheWrongKindAndUnknownMessagesAreIgnored)
{
    prepare(PMPlugInTaskPage, 8);
    page()->play(PMFakeLoadStep::firstLayout());
    receive(PMPrepareForDocumentTaskMessage, KCValue(u"task 4"));
    receive(PMPrepareForDocumentTaskMessage, KCValue());
    receive("prepareForDocumentTask", KCDictionary {{"task", 4}});
    receive("SomethingElse", KCDictionary {{"task", 4}});
    EXPECT_EQ(plugIn->plugInTask(), PMPlugInTaskPage);
    EXPECT_EQ(plugIn->documentIndex(), 8u);
    EXPECT_NE(plugIn->completedLayoutStages(), 0u);
    EXPECT_TRUE(connection().sentMessages().empty());
    EXPECT_FALSE(process.exitStatus());

    receive(PMEpubWebProcessPlugInMessageUpdateBookInfo, KCDictionary {{"title", u"Emma"}});
    EXPECT_EQ(plugIn->bookInfo()["title"], KCValue(u"Emma"));
    receive(PMEpubWebProcessPlugInMessageUpdateBookInfo, KCValue(u"Emma"));
    EXPECT_TRUE(plugIn->bookInfo().isNull());

    receive(PMHardStopAndExitMessage, KCValue());
    EXPECT_EQ(process.exitStatus(), 0);
}

TEST_F(PMPlugInTest, PageTaskRepliesAtEveryLoadFinished)
{
    prepare(PMPlugInTaskPage, 12);
    page()->play({PMFakeLoadStep::provisionalLoadStarted(), PMFakeLoadStep::documentLoadFinished(), PMFakeLoadStep::loadFinished()});
    page()->play(PMFakeLoadStep::loadFinished());  // a reload runs the task again
    auto replies = sent(PMEpubWebProcessPlugInMessagePageTask);
    ASSERT_EQ(replies.size(), 2u);
    EXPECT_EQ(replies[0].body, KCValue(KCDictionary {{PMEpubWebProcessPlugInObjectDocumentIndex, 12u}}));
}

TEST(PMSizeStringTest, WritesAndReadsSizesAsThePlatformDoes)
{
    EXPECT_EQ(PMStringFromSize({200, 300}), "{200, 300}");
    EXPECT_EQ(PMStringFromSize({0.1, -2.5}), "{0.1, -2.5}");  // round trips of any size are the fuzz target's
    EXPECT_EQ(PMSizeFromString("{7,8}"), (KCSize {7, 8}));
    EXPECT_EQ(PMSizeFromString("{7}"), (KCSize {7, 0}));
    EXPECT_EQ(PMSizeFromString("size"), (KCSize {0, 0}));
    EXPECT_EQ(PMSizeFromString(""), (KCSize {0, 0}));
}

} // namespace
