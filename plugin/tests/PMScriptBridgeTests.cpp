#include "plugin/PMColorAdditions.h"
#include "PMPlugInTestSupport.h"
#include "plugin/PMScriptBridge.h"

#include <cmath>

namespace {

class PMScriptBridgeTest : public PMPlugInTest {
protected:
    void SetUp() override
    {
        PMPlugInTest::SetUp();
        context = giveScriptContext();
    }
    std::u16string run(std::u16string_view script) { return executeJavaScriptInPage(script, *page()).value_or(u"<nothing>"); }
    std::string pendingException() { return context->exception() ? context->exception()->description() : ""; }

    std::shared_ptr<PMJSCScriptContext> context;
};

TEST_F(PMScriptBridgeTest, APendingExceptionSurvivesEvaluationAndIsLoggedAgain)
{
    PMLogCapture log;
    context->evaluate(u"throw new Error('from the page')");
    ASSERT_EQ(pendingException(), "Error: from the page");

    EXPECT_EQ(run(u"6 * 7"), u"42");
    EXPECT_EQ(pendingException(), "Error: from the page");
    EXPECT_TRUE(log.contains("JavaScript exception: Error: from the page"));

    // An exception of the bridge's own script is logged and then replaced by the saved one.
    EXPECT_EQ(run(u"null.x"), u"<nothing>");
    EXPECT_TRUE(log.contains("JavaScript exception: TypeError"));
    EXPECT_EQ(pendingException(), "Error: from the page");
}

TEST_F(PMScriptBridgeTest, EvaluationResultsAndErrorsAsStrings)
{
    PMLogCapture log;
    EXPECT_EQ(run(u"'Ahab' + ' ' + 1851"), u"Ahab 1851");
    EXPECT_EQ(run(u"undefined"), u"undefined");
    EXPECT_EQ(run(u"({toString() { throw new Error('no text') }})"), u"<nothing>");
    EXPECT_EQ(run(u"this is not a script"), u"<nothing>");
    EXPECT_TRUE(log.contains("JavaScript exception: SyntaxError"));
    EXPECT_EQ(pendingException(), "");

    frame()->setScriptContext(nullptr);
    EXPECT_EQ(run(u"1"), u"<nothing>");
}

TEST_F(PMScriptBridgeTest, FunctionCallsRunWithoutTheirObjectAndRestoreTheException)
{
    PMLogCapture log;
    context->evaluate(uR"(
        var PMDOMCleanup = {
            didFinishLoad: function(info) {
                PMDOMCleanup.sawObject = (this === PMDOMCleanup);
                PMDOMCleanup.info = info;
                return info.title + ' / ' + info.chapters.length;
            },
            fails: function() { throw new TypeError('clean-up failed'); }
        };)");
    context->evaluate(u"throw 'earlier'");

    KCValue bookInfo = KCDictionary {{"title", u"Emma"}, {"chapters", KCArray {1, 2, 3}}};
    EXPECT_EQ(executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.didFinishLoad", {bookInfo}, *page()), u"Emma / 3");
    // The earlier exception was cleared for the call and is back afterwards, not logged by it.
    EXPECT_FALSE(log.contains("JavaScript exception: earlier"));
    EXPECT_EQ(pendingException(), "earlier");
    EXPECT_EQ(context->toKCValue(context->evaluate(u"[PMDOMCleanup.sawObject, PMDOMCleanup.info]")), KCValue(KCArray {false, bookInfo}));

    EXPECT_EQ(executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.fails", {}, *page()), std::nullopt);
    EXPECT_TRUE(log.contains("JavaScript exception: TypeError: clean-up failed"));
    EXPECT_EQ(executeJavaScriptFuncWithArgsInPage(u"Missing.didFinishLoad", {}, *page()), std::nullopt);
    EXPECT_TRUE(log.contains("JavaScript exception: ReferenceError"));
    EXPECT_EQ(executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.absent", {}, *page()), std::nullopt);
    EXPECT_EQ(pendingException(), "earlier");
}

TEST_F(PMScriptBridgeTest, AMissingCleanUpMemberIsSkippedWithoutALogLine)
{
    context->evaluate(u"var PMDOMCleanup = { didFinishDocumentLoad: function() { return 'ran'; }, notAFunction: 5 };");
    PMLogCapture log;
    EXPECT_EQ(executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.didFinishLoad", {}, *page()), std::nullopt);
    EXPECT_EQ(executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.notAFunction", {}, *page()), std::nullopt);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(executeJavaScriptFuncWithArgsInPage(u"PMDOMCleanup.didFinishDocumentLoad", {}, *page()), u"ran");
}

TEST_F(PMScriptBridgeTest, LoadStagesCallTheCleanUpFunctionsWithTheBookInfo)
{
    context->evaluate(uR"(
        var calls = [];
        var PMDOMCleanup = {
            didFinishDocumentLoad: function(info) { calls.push('document ' + info.title); },
            didFinishLoad: function(info) { calls.push('load ' + info.title + ' ' + typeof PMSearchInsensitively); }
        };)");
    receive(PMEpubWebProcessPlugInMessageUpdateBookInfo, KCDictionary {{"title", u"Persuasion"}});
    page()->play({PMFakeLoadStep::documentLoadFinished(), PMFakeLoadStep::loadFinished()});
    EXPECT_EQ(run(u"calls.join('; ')"), u"document Persuasion; load Persuasion undefined");
    EXPECT_EQ(run(u"typeof PMSearchInsensitively + ' ' + typeof PMConsoleLog"), u"function function");
}

TEST_F(PMScriptBridgeTest, SearchInsensitivelyAndConsoleLogFromThePage)
{
    PMLogCapture log;
    setNativeBridgingFunctionsInPage(*plugIn, *page());
    context->evaluate(u"var text = 'L\u2019École de Paris, l\u2019école de Lyon';");
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'ecole')"), u"2");
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'ECOLE', 3)"), u"20");
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'ecole', NaN)"), u"2");
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'ecole', '20')"), u"2");  // not a number: whole text
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'l\\'ecole')"), u"0");   // quote marks fold too
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'lyon', text.length)"), u"-1");
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'madrid')"), u"-1");

    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'lyon', text.length + 5)"), u"-1");
    EXPECT_TRUE(log.contains("outside a text of 33 units")) << log.text();
    EXPECT_EQ(run(u"PMSearchInsensitively(text, 'lyon', -1)"), u"-1");
    EXPECT_EQ(run(u"PMSearchInsensitively()"), u"-1");
    EXPECT_EQ(pendingException(), "");

    // A page's string reaches the log in the end-to-end tests; here what is not a string.
    EXPECT_EQ(run(u"PMConsoleLog({toString() { return 'an object' }})"), u"undefined");
    EXPECT_TRUE(log.contains("an object"));
}

TEST(PMColorAdditionsTest, ColorWithHexValue)
{
    KCColor color = colorWithHexValue(0xFF8000);
    EXPECT_EQ(color, KCColor(1.0, static_cast<double>(128.0f / 255.0f), 0.0, 1.0, KCColorSpace::DeviceRGB));
}

} // namespace
