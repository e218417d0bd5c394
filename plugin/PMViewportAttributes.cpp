#include "PMViewportAttributes.h"

#include "Utilities/KCFormat.h"
#include "Utilities/KCJSON.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <algorithm>
#include <cmath>

const char* const kPMViewportAttributesWidthKey = "width";
const char* const kPMViewportAttributesHeightKey = "height";

namespace {

// The doubled backslashes reach the script as single ones, so the patterns
// see \b, \s and \d; the dot's single backslash is dropped by the script's
// string literal, so that dot matches any character.
constexpr const char* kViewportScriptFormat =
    R"PM(JSON.stringify(              function() {              var result = {};              var viewportElements = document.querySelectorAll('meta[name=viewport]');              if (viewportElements.length != 0)              {                  var content = viewportElements[0].getAttribute('content');                  result.%@ = content.match('\\bwidth\\s*=\\s*(\\d+\.?\\d+|device-width)')[1];                  result.%@ = content.match('\\bheight\\s*=\\s*(\\d+\.?\\d+|device-height)')[1];              }              /* this is kinda skanky - force the page size to match the viewport size to work around a HE2 bug that causes wrap to change when the zoom scale changes */               document.getElementsByTagName('html')[0].style.width=parseInt(result.width) + 'px';              document.getElementsByTagName('html')[0].style.height=parseInt(result.height) + 'px';              return result;          }() ))PM";

// A number read in single precision, as the declaration is; nothing for a
// value without a numeric reading.
std::optional<float> numericReading(const KCValue& value)
{
    if (value.isNumber())
        return static_cast<float>(*value.doubleValue());
    const std::u16string* text = value.string();
    if (!text)
        return std::nullopt;
    // Leading digits count, as in "768px"; text without any reads as 0, and
    // so do "0x50" and "inf", which no page means as a size.
    return static_cast<float>(KCLeadingDoubleValue(KCUTF8FromUTF16(*text)));
}

double attributeValue(const KCValue& value, std::u16string_view deviceWord)
{
    if (const std::u16string* text = value.string(); text && *text == deviceWord)
        return kPMViewportAttributesDevice;
    std::optional<float> number = numericReading(value);
    if (!number)
        return kPMViewportAttributesNoValue;
    double size = *number;
    if (size < 0)
        return kPMViewportAttributesNoValue;
    if (!(size >= 1.0))  // NaN included
        size = 1.0;
    return std::min(size, 10000.0);
}

} // namespace

std::u16string PMViewportAttributes::javaScript()
{
    return KCUTF16FromUTF8(KCStringWithFormat(kViewportScriptFormat, kPMViewportAttributesWidthKey, kPMViewportAttributesHeightKey));
}

std::optional<PMViewportAttributes> PMViewportAttributes::viewportAttributesWithJavaScriptResult(const std::optional<std::u16string>& result)
{
    if (!result || result->empty())
        return std::nullopt;
    KCJSON json = KCJSON::parse(KCUTF8FromUTF16(*result), nullptr, false);
    if (json.is_discarded()) {
        KCLog("Viewport attributes are not JSON: %@", *result);
        return std::nullopt;
    }
    if (!json.is_object())
        return std::nullopt;
    KCDictionary attributes;
    // Only scalars count; a nested array or object reads as no value.
    for (const auto& [key, value] : json.items())
        attributes.set(key, value.is_primitive() ? KCValueFromJSON(value).value_or(KCValue()) : KCValue());
    return PMViewportAttributes(attributes);
}

PMViewportAttributes::PMViewportAttributes(const KCDictionary& attributes)
{
    for (const auto& [key, value] : attributes) {
        if (key == kPMViewportAttributesWidthKey)
            m_width = attributeValue(value, u"device-width");
        else if (key == kPMViewportAttributesHeightKey)
            m_height = attributeValue(value, u"device-height");
    }
}

KCSize PMViewportAttributes::viewportSizeForOuterSize(const KCSize& outerSize) const
{
    auto declared = [](double value) { return value != kPMViewportAttributesNoValue && value != kPMViewportAttributesDevice; };
    return {declared(m_width) ? m_width : outerSize.width, declared(m_height) ? m_height : outerSize.height};
}
