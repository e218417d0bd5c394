#include "TNAnnotationTheme.h"

#include "TNAnnotationThemeClasses.h"
#include "TNThemeColors.h"

#include "Utilities/KCAssertionHandler.h"

namespace {

// One shared instance per flag, each made on its own first request; the
// function-local statics make concurrent first calls wait for one another.
template <typename Theme>
std::shared_ptr<const TNAnnotationTheme> sharedTheme(bool inverted)
{
    if (inverted) {
        static const std::shared_ptr<const TNAnnotationTheme> night = TNAnnotationTheme::theme<Theme>(true);
        return night;
    }
    static const std::shared_ptr<const TNAnnotationTheme> day = TNAnnotationTheme::theme<Theme>(false);
    return day;
}

} // namespace

std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::greenTheme(bool inverted) { return sharedTheme<TNAnnotationThemeGreenDesk>(inverted); }
std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::blueTheme(bool inverted) { return sharedTheme<TNAnnotationThemeBlueDesk>(inverted); }
std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::yellowTheme(bool inverted) { return sharedTheme<TNAnnotationThemeYellowDesk>(inverted); }
std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::pinkTheme(bool inverted) { return sharedTheme<TNAnnotationThemePinkDesk>(inverted); }
std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::purpleTheme(bool inverted) { return sharedTheme<TNAnnotationThemePurpleDesk>(inverted); }
std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::underlineTheme(bool inverted) { return sharedTheme<TNAnnotationThemeUnderlineDesk>(inverted); }

std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::themeForAnnotationStyle(int64_t style, bool inverted)
{
    switch (style) {
    case 1: return greenTheme(inverted);
    case 2: return blueTheme(inverted);
    case 3: return yellowTheme(inverted);
    case 4: return pinkTheme(inverted);
    case 5: return purpleTheme(inverted);
    default: return nullptr;
    }
}

std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::themeForAnnotationStyle(int64_t style, bool inverted, bool isUnderline)
{
    auto theme = themeForAnnotationStyle(style, inverted);
    if (!theme && isUnderline)
        return underlineTheme(inverted);
    return theme;
}

std::shared_ptr<const TNAnnotationTheme> TNAnnotationTheme::themeForColor(const KCColor& color, bool inverted)
{
    for (auto factory : {greenTheme, blueTheme, yellowTheme, pinkTheme, purpleTheme}) {
        auto theme = factory(inverted);
        if (theme->highlightBaseColor() == color)
            return theme;
    }
    return nullptr;
}

KCColor TNAnnotationTheme::highlightTextColor(bool inverted)
{
    return TNGrey(inverted ? 235 : 26, 1.0);
}

TNThemeColor TNAnnotationTheme::underlineColor() const { return TNOpaqueBlack(); }
TNThemeColor TNAnnotationTheme::noteBorderTopColor() const { return TNOpaqueBlack(); }
TNThemeColor TNAnnotationTheme::noteBorderBottomColor() const { return TNOpaqueBlack(); }
TNThemeColor TNAnnotationTheme::noteShadowColor() const { return TNOpaqueBlack(); }
TNThemeColor TNAnnotationTheme::noteLinesColor() const { return dayOrNight(TNGrey(0, 0.1), TNWhite(1.0, 0.08)); }
TNThemeColor TNAnnotationTheme::notesSidebarTextColor() const { return KCColor::colorWithRed(0.337, 0.506, 0.612, 1.0); }
TNThemeColor TNAnnotationTheme::noteEditorTextColor() const { return dayOrNight(TNOpaqueBlack(), TNWhite(1.0, 1.0)); }
TNThemeColor TNAnnotationTheme::noteMarkerStrikethroughColor() const { return TNRGB(217, 11, 0, 1.0); }

TNThemeColor TNAnnotationTheme::noteOuterStrokeColor() const
{
    KCAssert(false, "A theme of style %lld has no note stroke colours", static_cast<long long>(annotationStyle()));
    return std::nullopt;
}

TNThemeColor TNAnnotationTheme::noteInnerStrokeColor() const
{
    KCAssert(false, "A theme of style %lld has no note stroke colours", static_cast<long long>(annotationStyle()));
    return std::nullopt;
}
