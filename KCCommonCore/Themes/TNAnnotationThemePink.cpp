#include "TNAnnotationThemeClasses.h"
#include "TNThemeColors.h"

TNThemeColor TNAnnotationThemePink::colorBarColor() const { return TNRGB(250, 170, 210, 1.0); }
TNThemeColor TNAnnotationThemePink::highlightBaseColor() const { return dayOrNight(TNRGB(252, 199, 228, 1.0), TNRGB(135, 58, 107, 1.0)); }
TNThemeColor TNAnnotationThemePink::highlightColor() const { return dayOrNight(TNRGB(250, 170, 210, 1.0), TNRGB(110, 54, 73, 1.0)); }
TNThemeColor TNAnnotationThemePink::highlightStriationColor() const { return dayOrNight(TNRGB(250, 170, 210, 1.0), TNRGB(135, 58, 107, 1.0)); }
TNThemeColor TNAnnotationThemePink::noteBackgroundTopColor() const { return dayOrNight(TNRGB(254, 189, 230, 1.0), TNRGB(116, 49, 94, 1.0)); }
TNThemeColor TNAnnotationThemePink::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(253, 160, 207, 1.0), TNRGB(84, 30, 71, 1.0)); }
TNThemeColor TNAnnotationThemePink::noteOuterStrokeColor() const { return dayOrNight(TNRGB(65, 2, 74, 0.42), TNGrey(0, 0.4)); }
TNThemeColor TNAnnotationThemePink::noteInnerStrokeColor() const { return dayOrNight(TNWhite(1.0, 0.15), TNWhite(1.0, 0.08)); }
TNThemeColor TNAnnotationThemePink::noteColor() const { return dayOrNight(TNSRGB(255, 203, 228, 1.0), TNRGB(132, 72, 91, 1.0)); }
TNThemeColor TNAnnotationThemePink::noteBorderColor() const { return dayOrNight(TNSRGB(205, 152, 177, 1.0), TNRGB(184, 101, 127, 1.0)); }
TNThemeColor TNAnnotationThemePink::noteTextColor() const { return dayOrNight(TNRGB(50, 24, 37, 1.0), TNGrey(235, 1.0)); }

// A neutral grey bar, unlike every other desktop theme; intended.
TNThemeColor TNAnnotationThemePinkDesk::colorBarColor() const { return TNWhite(0.3, 1.0); }
TNThemeColor TNAnnotationThemePinkDesk::highlightBaseColor() const { return dayOrNight(TNRGB(250, 170, 210, 1.0), TNRGB(218, 135, 181, 0.8)); }
TNThemeColor TNAnnotationThemePinkDesk::highlightColor() const { return dayOrNight(TNDeviceRGB(250, 170, 210, 1.0), TNDeviceRGB(110, 54, 73, 1.0)); }
TNThemeColor TNAnnotationThemePinkDesk::noteBackgroundTopColor() const { return dayOrNight(TNRGB(254, 219, 235, 1.0), TNRGB(158, 87, 109, 1.0)); }
TNThemeColor TNAnnotationThemePinkDesk::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(255, 204, 228, 1.0), TNRGB(132, 72, 91, 1.0)); }
TNThemeColor TNAnnotationThemePinkDesk::noteBorderTopColor() const { return dayOrNight(TNRGB(194, 126, 158, 0.75), TNRGB(209, 115, 145, 1.0)); }
TNThemeColor TNAnnotationThemePinkDesk::noteBorderBottomColor() const { return dayOrNight(TNRGB(168, 109, 137, 0.75), TNRGB(184, 101, 127, 1.0)); }
TNThemeColor TNAnnotationThemePinkDesk::noteMarkerColor() const { return dayOrNight(TNSRGB(255, 186, 218, 1.0), TNRGB(132, 72, 91, 1.0)); }
TNThemeColor TNAnnotationThemePinkDesk::noteMarkerBorderColor() const { return dayOrNight(TNSRGB(205, 152, 177, 1.0), TNRGB(184, 101, 127, 1.0)); }
