#pragma once
// The themes the factories hand out, by name, and a sheet that shows them.
// Errors: PMWriteThemeSwatch answers false (and says why) when the image
// cannot be drawn or written.
#include "Themes/TNAnnotationTheme.h"

#include <string>

struct PMThemeFactory {
    const char* name;
    std::shared_ptr<const TNAnnotationTheme> (*theme)(bool inverted);
};

inline constexpr PMThemeFactory kPMThemeFactories[] = {
    {"green", TNAnnotationTheme::greenTheme},
    {"blue", TNAnnotationTheme::blueTheme},
    {"yellow", TNAnnotationTheme::yellowTheme},
    {"pink", TNAnnotationTheme::pinkTheme},
    {"purple", TNAnnotationTheme::purpleTheme},
    {"underline", TNAnnotationTheme::underlineTheme},
};

// One row per theme, day on the left and night on the right, as a PNG.
bool PMWriteThemeSwatch(const std::string& path, std::string* error);
