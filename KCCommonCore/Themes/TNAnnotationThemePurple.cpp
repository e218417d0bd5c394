#include "TNAnnotationThemeClasses.h"
#include "TNThemeColors.h"

TNThemeColor TNAnnotationThemePurple::colorBarColor() const { return TNRGB(217, 171, 238, 1.0); }
TNThemeColor TNAnnotationThemePurple::highlightBaseColor() const { return dayOrNight(TNRGB(236, 205, 250, 1.0), TNRGB(87, 49, 97, 1.0)); }
TNThemeColor TNAnnotationThemePurple::highlightColor() const { return dayOrNight(TNRGB(217, 171, 238, 1.0), TNRGB(80, 45, 110, 1.0)); }
TNThemeColor TNAnnotationThemePurple::highlightStriationColor() const { return dayOrNight(TNRGB(217, 171, 238, 1.0), TNRGB(103, 54, 115, 1.0)); }
TNThemeColor TNAnnotationThemePurple::noteBackgroundTopColor() const { return dayOrNight(TNRGB(220, 188, 253, 1.0), TNRGB(99, 49, 111, 1.0)); }
TNThemeColor TNAnnotationThemePurple::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(204, 153, 249, 1.0), TNRGB(76, 36, 84, 1.0)); }
TNThemeColor TNAnnotationThemePurple::noteOuterStrokeColor() const { return dayOrNight(TNRGB(28, 1, 49, 0.45), TNGrey(0, 0.4)); }
TNThemeColor TNAnnotationThemePurple::noteInnerStrokeColor() const { return dayOrNight(TNWhite(1.0, 0.09), TNWhite(1.0, 0.08)); }
TNThemeColor TNAnnotationThemePurple::noteColor() const { return dayOrNight(TNSRGB(230, 196, 241, 1.0), TNRGB(101, 62, 128, 1.0)); }
TNThemeColor TNAnnotationThemePurple::noteBorderColor() const { return dayOrNight(TNSRGB(182, 149, 192, 1.0), TNRGB(140, 86, 179, 1.0)); }
TNThemeColor TNAnnotationThemePurple::noteTextColor() const { return dayOrNight(TNRGB(39, 23, 44, 1.0), TNGrey(235, 1.0)); }

TNThemeColor TNAnnotationThemePurpleDesk::highlightBaseColor() const { return dayOrNight(TNRGB(217, 171, 238, 1.0), TNRGB(211, 168, 229, 0.8)); }
TNThemeColor TNAnnotationThemePurpleDesk::highlightColor() const { return dayOrNight(TNDeviceRGB(217, 171, 238, 1.0), TNDeviceRGB(80, 45, 110, 1.0)); }
TNThemeColor TNAnnotationThemePurpleDesk::noteBackgroundTopColor() const { return dayOrNight(TNRGB(240, 218, 247, 1.0), TNRGB(120, 73, 153, 1.0)); }
TNThemeColor TNAnnotationThemePurpleDesk::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(229, 197, 240, 1.0), TNRGB(101, 62, 128, 1.0)); }
TNThemeColor TNAnnotationThemePurpleDesk::noteBorderTopColor() const { return dayOrNight(TNRGB(165, 123, 179, 0.75), TNRGB(160, 98, 204, 1.0)); }
TNThemeColor TNAnnotationThemePurpleDesk::noteBorderBottomColor() const { return dayOrNight(TNRGB(141, 105, 153, 0.75), TNRGB(140, 86, 179, 1.0)); }
TNThemeColor TNAnnotationThemePurpleDesk::noteMarkerColor() const { return dayOrNight(TNSRGB(228, 185, 241, 1.0), TNRGB(101, 62, 128, 1.0)); }
TNThemeColor TNAnnotationThemePurpleDesk::noteMarkerBorderColor() const { return dayOrNight(TNSRGB(182, 149, 192, 1.0), TNRGB(140, 86, 179, 1.0)); }
