#include "TNAnnotationThemeClasses.h"
#include "TNThemeColors.h"

TNThemeColor TNAnnotationThemeGreen::colorBarColor() const { return TNRGB(178, 233, 46, 1.0); }
TNThemeColor TNAnnotationThemeGreen::highlightBaseColor() const { return dayOrNight(TNRGB(191, 240, 77, 1.0), TNRGB(150, 214, 0, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::highlightColor() const { return dayOrNight(TNRGB(191, 240, 77, 1.0), TNRGB(44, 83, 13, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteBackgroundTopColor() const { return dayOrNight(TNRGB(224, 247, 174, 1.0), TNRGB(77, 125, 47, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteBackgroundBottomColor() const { return dayOrNight(TNRGB(204, 230, 147, 1.0), TNRGB(62, 100, 37, 1.0)); }
// The blue component stays 65 by night.
TNThemeColor TNAnnotationThemeGreen::noteBorderTopColor() const { return dayOrNight(TNRGB(137, 171, 65, 0.75), TNRGB(103, 163, 65, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteBorderBottomColor() const { return dayOrNight(TNRGB(117, 145, 55, 0.75), TNRGB(82, 130, 52, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteMarkerColor() const { return dayOrNight(TNSRGB(196, 243, 97, 1.0), TNRGB(62, 100, 37, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteMarkerBorderColor() const { return dayOrNight(TNSRGB(165, 193, 109, 1.0), TNRGB(82, 130, 52, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteColor() const { return dayOrNight(TNSRGB(203, 244, 120, 1.0), TNRGB(62, 100, 37, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteBorderColor() const { return dayOrNight(TNSRGB(165, 193, 109, 1.0), TNRGB(82, 130, 52, 1.0)); }
TNThemeColor TNAnnotationThemeGreen::noteTextColor() const { return dayOrNight(TNRGB(31, 43, 13, 1.0), TNGrey(235, 1.0)); }

TNThemeColor TNAnnotationThemeGreenDesk::highlightColor() const { return dayOrNight(TNDeviceRGB(191, 240, 77, 1.0), TNDeviceRGB(44, 83, 13, 1.0)); }
