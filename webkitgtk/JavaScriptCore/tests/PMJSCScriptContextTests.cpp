#include "JavaScriptCore/PMJSCScriptContext.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class PMJSCScriptContextTest : public testing::Test {
protected:
    KCValue evaluate(std::u16string_view script) { return context->toKCValue(context->evaluate(script)); }
    std::shared_ptr<PMJSCScriptContext> context = PMJSCScriptContext::create();
};

// Exceptions and calls are seen at work through the script bridge in plugin/tests.
TEST_F(PMJSCScriptContextTest, ValuesRoundTripThroughTheContext)
{
    KCValue value = KCDictionary {
        {"title", u"Ünïcödé “quoted” 漢字 😀"},
        {"count", 3.0},
        {"ratio", 0.25},
        {"flag", true},
        {"nothing", KCValue()},
        {"list", KCArray {1.0, u"two", KCArray {}, KCDictionary {{"deep", false}}}},
        {"bytes", KCData {0, 1, 254, 255}},
        {"when", KCDate {123456789.5}},
    };
    EXPECT_EQ(context->toKCValue(context->valueFromKCValue(value)), value);

    // Integers of either sign arrive as script numbers.
    EXPECT_EQ(context->toKCValue(context->valueFromKCValue(KCValue(-7))), KCValue(-7.0));
    EXPECT_EQ(context->toKCValue(context->valueFromKCValue(KCValue(7u))), KCValue(7.0));
}

TEST_F(PMJSCScriptContextTest, ScriptValuesConvertToKCValues)
{
    EXPECT_TRUE(evaluate(u"undefined").isNull());
    EXPECT_TRUE(evaluate(u"(function() {})").isNull());
    EXPECT_EQ(evaluate(u"({a: [1, 'b', null], c: {d: true}})"),
        KCValue(KCDictionary {{"a", KCArray {1.0, u"b", KCValue()}}, {"c", KCDictionary {{"d", true}}}}));
    EXPECT_EQ(evaluate(u"new Uint8Array([5, 6]).buffer"), KCValue(KCData {5, 6}));
    EXPECT_TRUE(std::isnan(*evaluate(u"NaN").doubleValue()));

    // A cycle is cut off instead of recursing forever.
    KCValue cyclic = evaluate(u"var o = {name: 'loop'}; o.self = o; o");
    ASSERT_TRUE(cyclic.dictionary());
    EXPECT_EQ(cyclic["self"]["self"]["name"], KCValue(u"loop"));
}

} // namespace
