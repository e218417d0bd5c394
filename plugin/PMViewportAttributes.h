#pragma once
// The page size that a fixed-layout page declares in its viewport meta
// element, read from the loaded page by a script. Each of width and height
// is a size in CSS pixels from 1 to 10000, or one of the two markers below.
// Errors: a script result that is not the expected JSON gives no attributes.
#include "Utilities/KCGeometry.h"
#include "Utilities/KCValue.h"

#include <optional>
#include <string>
#include <string_view>

class PMPage;

inline constexpr double kPMViewportAttributesNoValue = -1.0;
inline constexpr double kPMViewportAttributesDevice = -2.0;
extern const char* const kPMViewportAttributesWidthKey;   // "width"
extern const char* const kPMViewportAttributesHeightKey;  // "height"

class PMViewportAttributes {
public:
    // The script that reads the declaration. It answers JSON text such as
    // {"width":"768","height":"1024"}, pins the root element to that size,
    // and throws when the page declares no width or height.
    static std::u16string javaScript();
    // Nothing for a missing or empty result, or one that is not JSON.
    static std::optional<PMViewportAttributes> viewportAttributesWithJavaScriptResult(const std::optional<std::u16string>& result);

    explicit PMViewportAttributes(const KCDictionary& attributes);

    // The declared size; the outer size's component where nothing usable or
    // the device's size was declared.
    KCSize viewportSizeForOuterSize(const KCSize& outerSize) const;

    double width() const { return m_width; }
    double height() const { return m_height; }

private:
    double m_width = kPMViewportAttributesNoValue;
    double m_height = kPMViewportAttributesNoValue;
};
