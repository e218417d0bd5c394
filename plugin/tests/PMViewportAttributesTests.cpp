#include "PMPlugInTestSupport.h"
#include "plugin/PMScriptBridge.h"
#include "plugin/PMViewportAttributes.h"
#include "Utilities/KCStringConversion.h"

namespace {

class PMViewportAttributesTest : public PMPlugInTest {
protected:
    std::optional<PMViewportAttributes> attributesForContent(std::u16string_view content)
    {
        context = declareViewport(content);
        return PMViewportAttributes::viewportAttributesWithJavaScriptResult(executeJavaScriptInPage(PMViewportAttributes::javaScript(), *page()));
    }
    std::u16string rootStyle(std::u16string_view property)
    {
        return *context->toString(context->evaluate(u"rootStyle." + std::u16string(property)));
    }
    std::shared_ptr<PMJSCScriptContext> context;
};

// Declared sizes pin the root element; device sizes give the outer size.
TEST_F(PMViewportAttributesTest, DeclaredSizesAreReadAndPinTheRootElement)
{
    const struct {
        const char16_t* content;
        KCSize size;      // width and height as read
        KCSize viewport;  // for an outer size of 300 x 400
        const char16_t *width, *height;  // of the root element's style; not looked at when null
    } cases[] = {
        {u"width=768, height=1024, initial-scale=1", {768, 1024}, {768, 1024}, u"768px", u"1024px"},
        {u"width = 12345, height=600.5", {10000, 600.5}, {10000, 600.5}, nullptr, nullptr},
        {u"width=device-width, height=device-height", {kPMViewportAttributesDevice, kPMViewportAttributesDevice}, {300, 400}, u"NaNpx", u"NaNpx"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(KCUTF8FromUTF16(test.content));
        auto attributes = attributesForContent(test.content);
        ASSERT_TRUE(attributes);
        EXPECT_EQ((KCSize {attributes->width(), attributes->height()}), test.size);
        EXPECT_EQ(attributes->viewportSizeForOuterSize({300, 400}), test.viewport);
        if (test.width) {
            EXPECT_EQ(rootStyle(u"width"), test.width);
            EXPECT_EQ(rootStyle(u"height"), test.height);
        }
    }
}

TEST_F(PMViewportAttributesTest, ADeclarationTheScriptCannotReadBuildsNothing)
{
    PMLogCapture log;
    // The width pattern needs at least two digits.
    EXPECT_FALSE(attributesForContent(u"width=7, height=600"));
    EXPECT_TRUE(log.contains("JavaScript exception: TypeError"));
    EXPECT_FALSE(attributesForContent(u"width=768"));
    EXPECT_EQ(context->exception(), nullptr);
}

// Sizes are clamped to 1 to 10000 and a negative height means none; hexadecimal
// and infinity read as no digits, so as 0, then 1.
TEST(PMViewportAttributesJSONTest, OnlyAnObjectOfDecimalNumbersCountsAndIsClamped)
{
    auto read = [](std::u16string_view json) { return PMViewportAttributes::viewportAttributesWithJavaScriptResult(std::u16string(json)); };
    const struct {
        const char16_t* json;
        KCSize size;  // width and height as read
    } cases[] = {
        {uR"({"width":"0","height":"-5"})", {1, kPMViewportAttributesNoValue}},
        {uR"({"width":800,"height":0.25,"depth":"9"})", {800, 1}},
        {uR"({"width":"abc","height":"1e9"})", {1, 10000}},
        {uR"({"width":"0x50","height":"inf"})", {1, 1}},
        {uR"({"width":" 768.5px","height":"1024"})", {768.5, 1024}},
    };
    for (const auto& [json, size] : cases) {
        auto attributes = read(json);
        ASSERT_TRUE(attributes) << KCUTF8FromUTF16(json);
        EXPECT_EQ((KCSize {attributes->width(), attributes->height()}), size) << KCUTF8FromUTF16(json);
    }
    EXPECT_EQ(read(cases[0].json)->viewportSizeForOuterSize({300, 400}), (KCSize {1, 400}));
    for (const char16_t* json : {u"", u"undefined", u"[800, 600]", u"\"800\"", u"800", u"null"})
        EXPECT_FALSE(read(json)) << KCUTF8FromUTF16(json);
    EXPECT_FALSE(PMViewportAttributes::viewportAttributesWithJavaScriptResult(std::nullopt));
}

} // namespace
