#include "TNAnnotationThemeClasses.h"
#include "TNThemeColors.h"

TNThemeColor TNAnnotationThemeBlue::colorBarColor() const { return TNRGB(174, 204, 252, 1.0); }
// The green theme's base, kept on purpose: only the Desk class carries the blue one.
TNThemeColor TNAnnotationThemeBlue::highlightBaseColor() const { return dayOrNight(TNRGB(191, 240, 77, 1.0), TNRGB(150, 214, 0, 0.8)); }
TNThemeColor TNAnnotationThemeBlue::highlightColor() const { return dayOrNight(TNRGB(174, 204, 252, 1.0), TNRGB(47, 50, 120, 1.0)); }
TNThemeColor TNAnnotationThemeBlue::highlightStriationColor() const { return dayOrNight(TNRGB(174, 204, 252, 1.0), TNRGB(58, 56, 128, 1.0)); }
TNThemeColor TNAnnotationThemeBlue::noteBackgroundTopColor() const { return dayOrNight(TNRGB(170, 210, 252, 1.0), TNRGB(53, 53, 139, 1.0)); }
TNThemeColor TNAnnotationThemeBlue::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(143, 192, 241, 1.0), TNRGB(44, 43, 107, 1.0)); }
TNThemeColor TNAnnotationThemeBlue::noteOuterStrokeColor() const { return dayOrNight(TNRGB(15, 35, 124, 0.45), TNGrey(0, 0.4)); }
TNThemeColor TNAnnotationThemeBlue::noteInnerStrokeColor() const { return dayOrNight(TNWhite(1.0, 0.029), TNWhite(1.0, 0.08)); }
TNThemeColor TNAnnotationThemeBlue::noteColor() const { return dayOrNight(TNSRGB(200, 219, 251, 1.0), TNRGB(69, 72, 149, 1.0)); }
TNThemeColor TNAnnotationThemeBlue::noteBorderColor() const { return dayOrNight(TNSRGB(142, 174, 224, 1.0), TNRGB(85, 91, 186, 1.0)); }
TNThemeColor TNAnnotationThemeBlue::noteTextColor() const { return dayOrNight(TNRGB(28, 39, 62, 1.0), TNGrey(235, 1.0)); }

TNThemeColor TNAnnotationThemeBlueDesk::highlightBaseColor() const { return dayOrNight(TNRGB(174, 204, 252, 1.0), TNRGB(119, 147, 210, 0.9)); }
TNThemeColor TNAnnotationThemeBlueDesk::highlightColor() const { return dayOrNight(TNDeviceRGB(174, 204, 252, 1.0), TNDeviceRGB(47, 50, 120, 1.0)); }
TNThemeColor TNAnnotationThemeBlueDesk::noteBackgroundTopColor() const { return dayOrNight(TNRGB(218, 233, 253, 1.0), TNRGB(79, 84, 173, 1.0)); }
TNThemeColor TNAnnotationThemeBlueDesk::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(200, 221, 250, 1.0), TNRGB(69, 72, 149, 1.0)); }
TNThemeColor TNAnnotationThemeBlueDesk::noteBorderTopColor() const { return dayOrNight(TNRGB(108, 154, 217, 0.75), TNRGB(97, 103, 212, 1.0)); }
TNThemeColor TNAnnotationThemeBlueDesk::noteBorderBottomColor() const { return dayOrNight(TNRGB(95, 135, 191, 0.75), TNRGB(85, 91, 186, 1.0)); }
TNThemeColor TNAnnotationThemeBlueDesk::noteMarkerColor() const { return dayOrNight(TNSRGB(187, 213, 252, 1.0), TNRGB(69, 72, 149, 1.0)); }
TNThemeColor TNAnnotationThemeBlueDesk::noteMarkerBorderColor() const { return dayOrNight(TNSRGB(142, 174, 224, 1.0), TNRGB(85, 91, 186, 1.0)); }
