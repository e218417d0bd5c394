#include "TNAnnotationThemeClasses.h"
#include "TNThemeColors.h"

TNThemeColor TNAnnotationThemeUnderline::highlightBaseColor() const { return TNOpaqueBlack(); }
TNThemeColor TNAnnotationThemeUnderline::highlightStriationColor() const { return TNOpaqueBlack(); }
TNThemeColor TNAnnotationThemeUnderline::highlightColor() const { return TNRGB(240, 40, 20, 1.0); }
TNThemeColor TNAnnotationThemeUnderline::underlineColor() const { return dayOrNight(TNRGB(240, 40, 20, 1.0), TNRGB(160, 0, 22, 1.0)); }
TNThemeColor TNAnnotationThemeUnderline::noteBackgroundTopColor() const { return dayOrNight(TNRGB(255, 255, 255, 1.0), TNRGB(87, 87, 87, 1.0)); }
TNThemeColor TNAnnotationThemeUnderline::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(236, 236, 236, 1.0), TNRGB(67, 67, 67, 1.0)); }
TNThemeColor TNAnnotationThemeUnderline::noteOuterStrokeColor() const { return dayOrNight(TNRGB(39, 39, 39, 0.4), TNGrey(0, 0.4)); }
TNThemeColor TNAnnotationThemeUnderline::noteInnerStrokeColor() const { return dayOrNight(TNWhite(1.0, 0.35), TNWhite(1.0, 0.08)); }
TNThemeColor TNAnnotationThemeUnderline::noteLinesColor() const { return dayOrNight(TNRGB(191, 210, 215, 1.0), TNWhite(1.0, 0.1)); }
TNThemeColor TNAnnotationThemeUnderline::noteColor() const { return dayOrNight(TNSRGB(255, 255, 255, 1.0), TNRGB(67, 67, 67, 1.0)); }
TNThemeColor TNAnnotationThemeUnderline::noteBorderColor() const { return dayOrNight(TNSRGB(178, 178, 178, 1.0), TNWhite(1.0, 1.0)); }
TNThemeColor TNAnnotationThemeUnderline::noteTextColor() const { return dayOrNight(TNRGB(28, 39, 62, 1.0), TNGrey(235, 1.0)); }

TNThemeColor TNAnnotationThemeUnderlineDesk::noteBackgroundTopColor() const { return dayOrNight(TNGrey(255, 1.0), TNGrey(87, 1.0)); }
TNThemeColor TNAnnotationThemeUnderlineDesk::noteBackgroundBottomColor() const { return dayOrNight(TNGrey(236, 1.0), TNGrey(67, 1.0)); }
TNThemeColor TNAnnotationThemeUnderlineDesk::noteBorderTopColor() const { return dayOrNight(TNGrey(39, 0.4), TNGrey(0, 0.4)); }
TNThemeColor TNAnnotationThemeUnderlineDesk::noteBorderBottomColor() const { return dayOrNight(TNGrey(25, 0.35), TNWhite(1.0, 0.08)); }
TNThemeColor TNAnnotationThemeUnderlineDesk::noteMarkerColor() const { return dayOrNight(TNSRGB(255, 255, 255, 1.0), TNGrey(67, 1.0)); }
TNThemeColor TNAnnotationThemeUnderlineDesk::noteMarkerBorderColor() const { return dayOrNight(TNSRGB(178, 178, 178, 1.0), TNWhite(1.0, 0.08)); }
