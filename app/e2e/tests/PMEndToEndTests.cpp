// The plug-in inside the real engine: generated books loaded into a web view
// whose web process runs the extension. Needs a display (xvfb-run -a).
#include "book/PMBook.h"
#include "e2e/PMSampleBook.h"
#include "Search/KCDocumentFragmentFilter.h"
#include "Search/KCSearchFolding.h"
#include "Utilities/KCKeyedArchive.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/tests/KCTestFiles.h"
#include "host/PMReaderWebView.h"
#include "PMTestPNG.h"

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <filesystem>

namespace {

constexpr const char* kIndexKey = "PMEpubWebProcessPlugInObjectDocumentIndex";

// The page records what the plug-in does to it, for the test to read back.
const char* const kRecordingScript =
    "<script>"
    "var PMDOMCleanup = { didFinishDocumentLoad: function(info) { window.documentLoadInfo = JSON.stringify(info); },"
    "                     didFinishLoad: function(info) { window.loadInfo = JSON.stringify(info); } };"
    "function useBridge() {"
    "  if (typeof PMSearchInsensitively !== 'function') { setTimeout(useBridge, 10); return; }"
    "  window.searchResults = [PMSearchInsensitively('Un café crème', 'CAFE'), PMSearchInsensitively('abc', 'b', 2),"
    "                          PMSearchInsensitively('ＦＵＬＬ width', 'full', NaN)].join(',');"
    "  PMConsoleLog('page says hello');"
    "}"
    "window.addEventListener('load', useBridge);"
    "</script>";

class EndToEnd : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
            GTEST_SKIP() << "needs a display: run under xvfb-run -a";
    }
    void TearDown() override
    {
        m_log.reset();
        m_view.reset();
    }

    // Writes and opens the book and starts a view on it.
    void open(PMSampleBookOptions options, KCDictionary bookInfo = {{"title", u"Harrow"}, {"chapters", 3}}, bool paginationMode = false,
        bool presentWindow = true)
    {
        std::string epub = m_root + "/book.epub";
        ASSERT_FALSE(PMWriteSampleBook(options, epub).has_value());
        KCError error;
        PMBookOpenOptions openOptions;
        openOptions.cacheDirectory = m_root + "/cache";
        auto book = PMBook::open(epub, openOptions, &error);
        ASSERT_TRUE(book) << error.message;
        m_book = std::make_unique<PMBook>(std::move(*book));
        PMReaderConfiguration configuration;
        configuration.book = {m_book->contentsPath(), m_book->resourceInformation(), paginationMode};
        configuration.bookInfo = std::move(bookInfo);
        configuration.extensionDirectory = PMWebExtensionDirectory();
        configuration.placement = presentWindow ? PMReaderConfiguration::Placement::Window : PMReaderConfiguration::Placement::Offscreen;
        m_view = PMReaderWebView::create(configuration, &error);
        ASSERT_TRUE(m_view) << error.message;
        m_view->setMessageHandler([this](const std::string& name, const KCValue& body) { m_messages.push_back({name, body}); });
    }

    std::string chapterURI(size_t index) const
    {
        return "file://" + m_book->contentsPath() + "/OEBPS/text/chapter" + std::to_string(index + 1) + ".xhtml";
    }

    // Speaks the wire format by hand, as an independent check of the protocol module.
    std::optional<KCDictionary> run(KCDictionary body, size_t index, const std::string& reply)
    {
        body.set(kIndexKey, static_cast<uint64_t>(index));
        size_t seen = m_messages.size();
        std::optional<KCDictionary> result;
        auto answered = [&] {
            for (; seen < m_messages.size() && !result; ++seen) {
                const auto& [name, message] = m_messages[seen];
                if (name == reply && message.dictionary() && message[kIndexKey].uint64Value() == index)
                    result = *message.dictionary();
            }
            return result.has_value();
        };
        m_view->clearFailure();
        m_view->sendMessage("PrepareForDocumentTask", KCValue(body));
        m_view->loadDocument(chapterURI(index));
        EXPECT_TRUE(m_view->runUntil(answered, 20)) << m_view->failure().value_or("no reply");
        return result;
    }

    size_t count(const std::string& name) const
    {
        return static_cast<size_t>(std::count_if(m_messages.begin(), m_messages.end(), [&](const auto& message) { return message.first == name; }));
    }

    // The web process logs to the standard output it inherits: from here to
    // webProcessLog() it goes to a file.
    void captureWebProcessLog() { m_log = std::make_unique<KCStdoutCapture>(); }
    std::string webProcessLog()
    {
        settle(0.3);
        return m_log->finish();
    }

    // Lets late messages arrive.
    void settle(double seconds = 0.5)
    {
        m_view->runUntil([] { return false; }, seconds);
        m_view->clearFailure();
    }

    KCScratchDirectory m_scratch;
    std::string m_root = m_scratch.path();
    std::unique_ptr<KCStdoutCapture> m_log;
    std::unique_ptr<PMBook> m_book;
    std::unique_ptr<PMReaderWebView> m_view;
    std::vector<std::pair<std::string, KCValue>> m_messages;
};

PMSampleBookOptions bookWith(std::vector<PMSampleChapter> chapters, PMFontObfuscation obfuscation = PMFontObfuscation::IDPF)
{
    PMSampleBookOptions options;
    options.chapters = std::move(chapters);
    options.obfuscation = obfuscation;
    return options;
}

// The PNG image in a snapshot reply; nothing without one.
std::optional<PMTestPNGImage> snapshotImage(const KCDictionary& reply)
{
    const KCValue* png = reply.find("PMEpubWebProcessPlugInMessageSnapshotData");
    return png && png->data() ? PMTestPNGImageOfData(*png->data()) : std::nullopt;
}

class FontObfuscation : public EndToEnd, public ::testing::WithParamInterface<PMFontObfuscation> {};

TEST_P(FontObfuscation, ServesTheClearFontAndThePageUsesIt)
{
    open(bookWith({{"Font", "<p>Heather and stone.</p>"}}, GetParam()));
    ASSERT_TRUE(run({{"task", 3}}, 0, "PMEpubWebProcessPlugInMessagePageTask"));
    std::optional<std::string> status;
    m_view->runUntil([&] {
        status = m_view->evaluateScript("Array.from(document.fonts).map(f => f.family + ':' + f.status).join(',')", 5);
        return status && status->find("loading") == std::string::npos;
    }, 10);
    ASSERT_TRUE(status);
    EXPECT_EQ(*status, "Sample Serif:loaded");

    // The bytes the book scheme serves are the clear font.
    auto served = m_view->evaluateScript(
        "fetch('pmbook://" + m_book->contentsPath() + "/OEBPS/fonts/sample-serif.ttf').then(r => r.arrayBuffer())"
        ".then(b => { window.served = Array.from(new Uint8Array(b).slice(0, 1100)).join(','); }); 0", 5);
    m_view->runUntil([&] {
        served = m_view->evaluateScript("window.served || ''", 5);
        return served && !served->empty();
    }, 10);
    std::string font = KCReadTestFile("/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf");
    std::string expected;
    for (size_t i = 0; i < 1100; ++i)
        expected += (i ? "," : "") + std::to_string(static_cast<uint8_t>(font[i]));
    EXPECT_EQ(served.value_or(""), expected);
}

INSTANTIATE_TEST_SUITE_P(BothSchemes, FontObfuscation, ::testing::Values(PMFontObfuscation::IDPF, PMFontObfuscation::Adobe));

// The page's text is the engine's (its innerText) without the ruby readings.
TEST_F(EndToEnd, TextTasksReadTheEnginesTextWithoutRuby)
{
    open(bookWith({{"Text",
        "<p>Alpha Café ＦＵＬＬ lantern.</p><p>A lantern is a lantern. <ruby>灯<rt>とう</rt></ruby> end.</p>"
        "<p>Seen <span style=\"visibility: hidden\">unseen <b style=\"visibility: visible\">shown</b></span> and"
        " <span style=\"display: none\">absent</span> kept.</p>"
        "<table><tr><td>North</td><td>South</td></tr><tr><td>East</td><td>West</td></tr></table>"
        "<p>They <span style=\"text-transform: uppercase\">shouted</span> once.<br/>Then  quiet\n again.</p>"
        "<div>Block <div>inside</div> block.</div>"}}));

    auto filterReply = run({{"task", 1}}, 0, "PMEpubWebProcessPlugInMessageBloomFilterTask");
    ASSERT_TRUE(filterReply);
    auto innerText = m_view->evaluateScript("document.body.innerText", 5);
    ASSERT_TRUE(innerText);
    std::u16string pageText = KCUTF16FromUTF8(*innerText);
    size_t reading = pageText.find(u"とう");
    ASSERT_NE(reading, std::u16string::npos);
    pageText.erase(reading, 2);
    // What the engine itself makes of the page, as the checks below rely on.
    ASSERT_EQ(pageText.find(u"unseen"), std::u16string::npos);
    ASSERT_NE(pageText.find(u"North\tSouth"), std::u16string::npos);
    ASSERT_NE(pageText.find(u"SHOUTED"), std::u16string::npos);

    const KCData* archive = filterReply->find("PMEpubWebProcessPlugInObjectBloomFilter")->data();
    ASSERT_NE(archive, nullptr);
    std::u16string folded = StringCopyFlattenedForSearch(pageText);
    auto expected = std::make_shared<KCDocumentFragmentFilter>(folded,
        KCFragmentFilterSpecification {{static_cast<int64_t>(folded.size()), 1.0, 1}, 4});
    EXPECT_EQ(*archive, KCKeyedArchiver::archivedDataWithRootObject(KCValue(expected)));
    auto filter = KCDocumentFragmentFilter::unarchivedFilter(*archive);
    ASSERT_TRUE(filter);
    EXPECT_TRUE(filter->mightContainFragment(StringCopyFlattenedForSearch(u"café full")));

    auto contextsFor = [&](const std::u16string& search) {
        auto reply = run({{"task", 2}, {"PMEpubWebProcessPlugInObjectSearchString", search}}, 0, "PMEpubWebProcessPlugInMessageSearchContextTask");
        const KCValue* array = reply ? reply->find("PMEpubWebProcessPlugInObjectContextArray") : nullptr;
        return array && array->array() ? *array->array() : KCArray();
    };
    // As many contexts as the page's text has matches, each a piece of it
    // around the search string (exact sentences and ranges are plugin/tests').
    auto occurrences = [&](const std::u16string& search) {
        std::u16string text = StringCopyFlattenedForSearch(pageText), needle = StringCopyFlattenedForSearch(search);
        size_t found = 0;
        for (size_t at = text.find(needle); at != std::u16string::npos; at = text.find(needle, at + needle.size()))
            ++found;
        return found;
    };
    for (const std::u16string search : {u"LANTERN", u"shouted", u"North\tSouth", u"shown", u"quiet", u"inside", u"unseen", u"absent", u"とう"}) {
        auto contexts = contextsFor(search);
        EXPECT_EQ(contexts.size(), occurrences(search)) << KCUTF8FromUTF16(search);
        for (const auto& context : contexts) {
            std::u16string sentence = context["context"].string() ? *context["context"].string() : u"";
            EXPECT_NE(pageText.find(sentence), std::u16string::npos) << context["context"].utf8String();
            std::u16string match = sentence.substr(context["rangeLocation"].uint64Value().value_or(0), search.size());
            EXPECT_EQ(StringCopyFlattenedForSearch(match), StringCopyFlattenedForSearch(search));
        }
    }
}

// Document, style sheet and font end as one batch, also for loads the host did not start.
TEST_F(EndToEnd, PageTaskAndResourceBatches)
{
    open(bookWith({{"One", "<p>First page.</p>"}, {"Two", "<p>Second page.</p>"}}));
    const std::string batch = "PMEpubWebProcessPlugInMessageResourceLoadTask";
    ASSERT_TRUE(run({{"task", 3}}, 1, "PMEpubWebProcessPlugInMessagePageTask"));
    settle();
    ASSERT_EQ(count(batch), 1u);

    // The page reloads itself, then the view reloads it.
    m_view->evaluateScript("location.reload(); 0", 5);
    m_view->runUntil([&] { return count(batch) == 2; }, 10);
    settle();
    EXPECT_EQ(count(batch), 2u);
    webkit_web_view_reload_bypass_cache(m_view->webView());
    m_view->runUntil([&] { return count(batch) == 3; }, 10);
    settle();
    EXPECT_EQ(count(batch), 3u);
    EXPECT_EQ(m_view->evaluateScript("location.href", 5), chapterURI(1));
}

TEST_F(EndToEnd, AFailedLoadEndsItsBatchOnce)
{
    captureWebProcessLog();
    PMSampleBookOptions options = bookWith({{"Plain", "<p>Its style sheet is missing.</p>"}});
    options.missingStyleSheet = true;
    open(options);
    // The style sheet is the batch's last load, and it fails.
    ASSERT_TRUE(run({{"task", 3}}, 0, "PMEpubWebProcessPlugInMessagePageTask"));
    settle();
    std::string log = webProcessLog();
    EXPECT_EQ(count("PMEpubWebProcessPlugInMessageResourceLoadTask"), 1u);
    EXPECT_EQ(log.find("Expected resources"), std::string::npos) << log;
}

TEST_F(EndToEnd, ReadersCleanupPreparesThePage)
{
    captureWebProcessLog();
    open(bookWith({{"Columns", "<p>سلام and a page in columns.</p>"}}), {{"title", u"Harrow"}, {"language", u"ar"}}, true);
    ASSERT_TRUE(run({{"task", 3}}, 0, "PMEpubWebProcessPlugInMessagePageTask"));
    auto page = m_view->evaluateScript("var root = document.documentElement;"
        "[root.getAttribute('lang'), root.getAttribute('dir'), getComputedStyle(root).columnWidth, PMDOMCleanup.bookInfo.title].join('|')", 5);
    std::string log = webProcessLog();
    EXPECT_EQ(page.value_or(""), "ar|rtl|600px|Harrow");
    EXPECT_EQ(log.find("JavaScript exception"), std::string::npos) << log;
}

TEST_F(EndToEnd, ViewNeverOnScreenLaysOutAndSnapshots)
{
    // Red over blue, each half of the 600 x 800 view.
    open(bookWith({{"Hidden", "<div style=\"height: 400px; background: #d02020\"></div><div style=\"height: 400px; background: #2040d0\"></div>",
        "<style>html, body { margin: 0 !important; padding: 0 !important; }</style>"}}), {{"title", u"Harrow"}}, false, false);
    EXPECT_FALSE(gtk_widget_get_mapped(GTK_WIDGET(m_view->webView())));
    auto snapshot = run({{"task", 4}, {"PMEpubWebProcessPlugInMessageSnapshotSize", u"{300, 400}"}}, 0, "PMEpubWebProcessPlugInMessageSnapshotTask");
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(m_view->evaluateScript("innerWidth + 'x' + innerHeight", 5), "600x800");
    // The 600 x 800 page drawn at max(400/800, 300/600) = 0.5.
    auto image = snapshotImage(*snapshot);
    ASSERT_TRUE(image);
    ASSERT_EQ(std::to_string(image->width) + "x" + std::to_string(image->height), "300x400");
    EXPECT_TRUE(image->opaque());
    for (int x : {2, 150, 297}) {
        EXPECT_EQ(image->at(x, 100), (std::array<int, 3> {208, 32, 32})) << x;
        EXPECT_EQ(image->at(x, 300), (std::array<int, 3> {32, 64, 208})) << x;
    }
}

TEST_F(EndToEnd, PageScriptsMeetTheBridge)
{
    captureWebProcessLog();
    open(bookWith({{"Script", "<p>Scripted page.</p>", kRecordingScript}}));
    bool answered = run({{"task", 3}}, 0, "PMEpubWebProcessPlugInMessagePageTask").has_value();
    std::optional<std::string> results;
    m_view->runUntil([&] {
        results = m_view->evaluateScript("window.searchResults || ''", 5);
        return results && !results->empty();
    }, 10);
    auto loadInfo = m_view->evaluateScript("window.loadInfo", 5);
    auto documentLoadInfo = m_view->evaluateScript("window.documentLoadInfo", 5);
    std::string logText = webProcessLog();
    ASSERT_TRUE(answered);

    EXPECT_EQ(results.value_or(""), "3,-1,0");
    EXPECT_EQ(loadInfo.value_or(""), "{\"title\":\"Harrow\",\"chapters\":3}");
    EXPECT_EQ(documentLoadInfo, loadInfo);
    EXPECT_NE(logText.find("page says hello"), std::string::npos) << logText;
}

TEST_F(EndToEnd, UnreadableBookFileIsReported)
{
    open(bookWith({{"Broken", "<p>Picture: <img src=\"../images/broken.png\"/></p>"}}));
    // Present but unreadable as a file: the protocol claims it and the read fails.
    std::filesystem::create_directories(m_book->contentsPath() + "/OEBPS/images/broken.png");
    ASSERT_TRUE(run({{"task", 3}}, 0, "PMEpubWebProcessPlugInMessagePageTask"));
    m_view->runUntil([&] { return count("PluginError") > 0; }, 5);
    ASSERT_EQ(count("PluginError"), 1u);
    auto error = std::find_if(m_messages.begin(), m_messages.end(), [](const auto& message) { return message.first == "PluginError"; });
    EXPECT_NE(error->second.string(), nullptr);
}

TEST_F(EndToEnd, HardStopEndsTheWebProcess)
{
    open(bookWith({{"Stop", "<p>Stop.</p>"}}));
    m_view->sendMessage("HardStopAndExit", KCValue());
    EXPECT_TRUE(m_view->runUntil([&] { return m_view->webProcessTerminated(); }, 10));
    // The next load starts a new web process, with the plug-in in it.
    m_view->clearFailure();
    EXPECT_TRUE(run({{"task", 3}}, 0, "PMEpubWebProcessPlugInMessagePageTask"));
}

} // namespace
