#include "TNAnnotationThemeClasses.h"
#include "TNThemeColors.h"

TNThemeColor TNAnnotationThemeYellow::colorBarColor() const { return TNRGB(255, 226, 125, 1.0); }
TNThemeColor TNAnnotationThemeYellow::highlightBaseColor() const { return dayOrNight(TNRGB(255, 242, 168, 1.0), TNRGB(128, 108, 0, 1.0)); }
TNThemeColor TNAnnotationThemeYellow::highlightColor() const { return dayOrNight(TNRGB(250, 239, 90, 1.0), TNRGB(105, 81, 7, 1.0)); }
TNThemeColor TNAnnotationThemeYellow::highlightStriationColor() const { return dayOrNight(TNRGB(250, 239, 99, 1.0), TNRGB(125, 108, 10, 1.0)); }
TNThemeColor TNAnnotationThemeYellow::noteBackgroundTopColor() const { return dayOrNight(TNRGB(254, 250, 195, 1.0), TNRGB(124, 86, 14, 1.0)); }
TNThemeColor TNAnnotationThemeYellow::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(249, 238, 141, 1.0), TNRGB(108, 81, 8, 1.0)); }
TNThemeColor TNAnnotationThemeYellow::noteOuterStrokeColor() const { return dayOrNight(TNRGB(54, 36, 4, 0.4), TNGrey(0, 0.4)); }
TNThemeColor TNAnnotationThemeYellow::noteInnerStrokeColor() const { return dayOrNight(TNWhite(1.0, 0.35), TNWhite(1.0, 0.08)); }
TNThemeColor TNAnnotationThemeYellow::noteColor() const { return dayOrNight(TNSRGB(249, 245, 145, 1.0), TNRGB(125, 100, 15, 1.0)); }
TNThemeColor TNAnnotationThemeYellow::noteBorderColor() const { return dayOrNight(TNSRGB(207, 177, 84, 1.0), TNRGB(176, 130, 21, 1.0)); }
TNThemeColor TNAnnotationThemeYellow::noteTextColor() const { return dayOrNight(TNRGB(42, 31, 10, 1.0), TNGrey(235, 1.0)); }

TNThemeColor TNAnnotationThemeYellowDesk::highlightBaseColor() const { return dayOrNight(TNRGB(250, 239, 90, 1.0), TNRGB(193, 179, 0, 0.9)); }
TNThemeColor TNAnnotationThemeYellowDesk::highlightColor() const { return dayOrNight(TNDeviceRGB(250, 239, 90, 1.0), TNDeviceRGB(105, 81, 7, 1.0)); }
TNThemeColor TNAnnotationThemeYellowDesk::noteBackgroundTopColor() const { return dayOrNight(TNRGB(250, 246, 198, 1.0), TNRGB(151, 120, 18, 1.0)); }
TNThemeColor TNAnnotationThemeYellowDesk::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(250, 242, 153, 1.0), TNRGB(125, 100, 15, 1.0)); }
TNThemeColor TNAnnotationThemeYellowDesk::noteBorderTopColor() const { return dayOrNight(TNRGB(204, 161, 40, 0.75), TNRGB(202, 160, 24, 1.0)); }
TNThemeColor TNAnnotationThemeYellowDesk::noteBorderBottomColor() const { return dayOrNight(TNRGB(179, 140, 35, 0.75), TNRGB(176, 130, 21, 1.0)); }
TNThemeColor TNAnnotationThemeYellowDesk::noteMarkerColor() const { return dayOrNight(TNSRGB(249, 243, 119, 1.0), TNRGB(125, 100, 15, 1.0)); }
TNThemeColor TNAnnotationThemeYellowDesk::noteMarkerBorderColor() const { return dayOrNight(TNSRGB(207, 177, 84, 1.0), TNRGB(176, 130, 21, 1.0)); }
