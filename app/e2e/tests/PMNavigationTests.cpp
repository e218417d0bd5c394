// Moving around a book as the reader does: a link clicked in a page is handed
// to the reader, which loads it through the host; history steps load pages
// the host did not ask for. The plug-in must see every one of those loads.
// And a page drawn whole, several views long, with a bar fixed to the view.
#include "e2e/PMSampleBook.h"
#include "engine/PMEngineTasks.h"
#include "PMTestPNG.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>
#include <webkit/webkit.h>

#include <cstdlib>

namespace {

constexpr const char* kBatch = "PMEpubWebProcessPlugInMessageResourceLoadTask";
constexpr const char* kPageReply = "PMEpubWebProcessPlugInMessagePageTask";

class Navigation : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
            GTEST_SKIP() << "needs a display: run under xvfb-run -a";
        setenv("PAGEMOOR_CACHE_DIR", (m_root + "/cache").c_str(), 1);
        PMSampleBookOptions options;
        options.chapters = {{"One", "<p>First page, <a id=\"on\" href=\"chapter2.xhtml#end\">read on</a>.</p>"},
            {"Two", "<p>Second page.</p><p id=\"end\">The end.</p>"},
            {"Fixed", "<div style=\"position: fixed; top: 0; width: 100%; height: 50px; background: #d02020\"></div>"
                      "<div style=\"height: 2400px; background: #2040d0\"></div>",
                "<style>html, body { margin: 0 !important; padding: 0 !important; }</style>"}};
        ASSERT_FALSE(PMWriteSampleBook(options, m_root + "/book.epub"));
        KCError error;
        m_session = PMEngineSession::openBook(m_root + "/book.epub", &error);
        ASSERT_TRUE(m_session) << error.message;
        ASSERT_TRUE(m_session->startEngine({600, 800}, &error)) << error.message;
        view().setMessageHandler([this](const std::string& name, const KCValue& body) { m_messages.push_back({name, body}); });
    }

    PMReaderWebView& view() { return *m_session->view; }
    std::string uri(size_t index) { return m_session->documentURI(index, nullptr).value_or(""); }
    size_t batches() const { return static_cast<size_t>(std::count_if(m_messages.begin(), m_messages.end(), [](const auto& message) { return message.first == kBatch; })); }
    std::string location() { return view().evaluateScript("location.href", 5).value_or(""); }

    // The page task's reply for `index` after `step` started a load.
    bool pageTaskAnswers(size_t index, const std::function<void()>& step)
    {
        size_t seen = m_messages.size();
        view().clearFailure();
        view().prepareForDocumentTask(PMDocumentTask::page(index));
        step();
        return view().runUntil([&] {
            for (; seen < m_messages.size(); ++seen) {
                if (m_messages[seen].first == kPageReply && PMDecodeReplyDocumentIndex(m_messages[seen].second) == index)
                    return true;
            }
            return false;
        }, 20);
    }
    // Lets a batch that is still due arrive.
    void settle()
    {
        view().runUntil([] { return false; }, 1);
        view().clearFailure();
    }

    KCScratchDirectory m_scratch;
    std::string m_root = m_scratch.path();
    std::unique_ptr<PMEngineSession> m_session;
    std::vector<std::pair<std::string, KCValue>> m_messages;
};

TEST_F(Navigation, AFollowedLinkIsTheReadersToLoadAndThePlugInSeesIt)
{
    ASSERT_TRUE(m_session->runTask(PMDocumentTask::page(0), nullptr));
    settle();
    ASSERT_EQ(batches(), 1u);
    std::string followed;
    view().setNavigationHandler([&](const std::string& target) { followed = target; });
    view().evaluateScript("document.getElementById('on').click(); 0", 5);
    ASSERT_TRUE(view().runUntil([&] { return !followed.empty(); }, 5));
    EXPECT_EQ(followed, uri(1) + "#end");
    // Not loaded by the page: the reader loads it.
    EXPECT_EQ(location(), uri(0));
    ASSERT_TRUE(pageTaskAnswers(1, [&] { view().loadDocument(followed); }));
    settle();
    EXPECT_EQ(batches(), 2u);
    EXPECT_EQ(location(), followed);
}

TEST_F(Navigation, HistoryStepsReachThePlugIn)
{
    for (size_t index : {0, 1}) {
        ASSERT_TRUE(m_session->runTask(PMDocumentTask::page(index), nullptr));
        settle();
    }
    ASSERT_EQ(batches(), 2u);
    ASSERT_TRUE(pageTaskAnswers(0, [&] { webkit_web_view_go_back(view().webView()); }));
    EXPECT_EQ(location(), uri(0));
    ASSERT_TRUE(pageTaskAnswers(1, [&] { webkit_web_view_go_forward(view().webView()); }));
    EXPECT_EQ(location(), uri(1));
    settle();
    // A step is at most one batch: a page kept whole may load nothing again.
    EXPECT_LE(batches(), 4u);
}

TEST_F(Navigation, AnElementFixedToTheViewIsDrawnOnceInAWholePage)
{
    auto png = PMSnapshotDocument(*m_session, 2, {600, 800}, false, nullptr);
    ASSERT_TRUE(png);
    auto image = PMTestPNGImageOfData(*png);
    ASSERT_TRUE(image);
    ASSERT_EQ(image->height, 2400);
    const std::array<int, 3> red {208, 32, 32}, blue {32, 64, 208};
    EXPECT_EQ(image->at(300, 25), red);
    // The tops of the second and third view.
    EXPECT_EQ(image->at(300, 825), blue);
    EXPECT_EQ(image->at(300, 1625), blue);
    // The page is as it was.
    EXPECT_EQ(view().evaluateScript("getComputedStyle(document.body.firstElementChild).position", 5), "fixed");
}

} // namespace
