// pagemoor themes: every annotation theme, day and night, as text, JSON or a swatch sheet.
#include "app/PMCommand.h"
#include "PMThemeSwatch.h"

#include "Themes/TNColorContrast.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCJSON.h"

#include <iostream>

namespace {

const char* const kUsage =
    "usage: pagemoor themes [--json] [--swatch FILE.png]\n"
    "  Prints every annotation theme the factories hand out (green, blue, yellow,\n"
    "  pink, purple, underline), by day and by night.\n"
    "  --json    one object: {\"green\": {\"day\": {...}, \"night\": {...}}, ...}; each\n"
    "            holds every property by name. A colour is {\"space\": ..., \"components\":\n"
    "            [r, g, b, a]} ([w, a] in the white spaces), no colour is null. The green\n"
    "            themes have no note stroke colours: noteOuterStrokeColor and\n"
    "            noteInnerStrokeColor are left out of them. Each also holds \"contrast\":\n"
    "            {\"highlightTextColorOverHighlightColor\": n, \"noteTextColorOverNoteColor\": n}.\n"
    "  --swatch  also draws the themes into FILE.png, one row per theme\n"
    "  Contrast: the WCAG 2 ratio of the highlight text colour over highlightColor\n"
    "  and of noteTextColor over noteColor, each colour composited over white by\n"
    "  day and over black by night (RGB spaces read as sRGB).\n";

const char* spaceName(KCColorSpace space)
{
    switch (space) {
    case KCColorSpace::CalibratedRGB: return "calibratedRGB";
    case KCColorSpace::SRGB: return "sRGB";
    case KCColorSpace::CalibratedWhite: return "calibratedWhite";
    case KCColorSpace::DeviceWhite: return "deviceWhite";
    case KCColorSpace::DeviceRGB: return "deviceRGB";
    }
    return "";
}

KCJSON colorJSON(const TNThemeColor& color)
{
    if (!color)
        return nullptr;
    KCJSON components = color->isWhiteSpace() ? KCJSON::array({color->white(), color->alpha()})
                                              : KCJSON::array({color->red(), color->green(), color->blue(), color->alpha()});
    return {{"space", spaceName(color->colorSpace())}, {"components", components}};
}

struct Contrast {
    double highlightText;
    double noteText;
};

Contrast contrastOf(const TNAnnotationTheme& theme)
{
    bool night = theme.invertedContent();
    KCColor backdrop = KCColor::colorWithWhite(night ? 0.0 : 1.0, 1.0);
    KCColor clear = KCColor::colorWithWhite(0.0, 0.0);
    return {TNContrastRatio(TNAnnotationTheme::highlightTextColor(night), theme.highlightColor().value_or(clear), backdrop),
        TNContrastRatio(theme.noteTextColor().value_or(clear), theme.noteColor().value_or(clear), backdrop)};
}

// Every declared property and getter in declaration order, as JSON.
KCJSON themeJSON(const TNAnnotationTheme& theme)
{
    auto optionalText = [](const std::optional<std::string>& text) { return text ? KCJSON(*text) : KCJSON(nullptr); };
    KCJSON json = KCJSON::object();
    json["invertedContent"] = theme.invertedContent();
    json["colorBarColor"] = colorJSON(theme.colorBarColor());
    json["highlightColor"] = colorJSON(theme.highlightColor());
    json["noteColor"] = colorJSON(theme.noteColor());
    json["noteBorderColor"] = colorJSON(theme.noteBorderColor());
    json["highlightBaseColor"] = colorJSON(theme.highlightBaseColor());
    json["highlightStriationColor"] = colorJSON(theme.highlightStriationColor());
    json["underlineColor"] = colorJSON(theme.underlineColor());
    json["noteBackgroundTopColor"] = colorJSON(theme.noteBackgroundTopColor());
    json["noteBackgroundBottomColor"] = colorJSON(theme.noteBackgroundBottomColor());
    if (theme.hasNoteStrokeColors()) {
        json["noteOuterStrokeColor"] = colorJSON(theme.noteOuterStrokeColor());
        json["noteInnerStrokeColor"] = colorJSON(theme.noteInnerStrokeColor());
    }
    json["noteBorderTopColor"] = colorJSON(theme.noteBorderTopColor());
    json["noteBorderBottomColor"] = colorJSON(theme.noteBorderBottomColor());
    json["noteLinesColor"] = colorJSON(theme.noteLinesColor());
    json["noteShadowRadius"] = theme.noteShadowRadius();
    json["noteShadowOpacity"] = theme.noteShadowOpacity();
    json["noteShadowColor"] = colorJSON(theme.noteShadowColor());
    json["noteShadowOffset"] = KCJSON::array({theme.noteShadowOffset().width, theme.noteShadowOffset().height});
    json["notesSidebarTextColor"] = colorJSON(theme.notesSidebarTextColor());
    json["noteTextFontName"] = optionalText(theme.noteTextFontName());
    json["noteTextFontSize"] = theme.noteTextFontSize();
    json["noteTextColor"] = colorJSON(theme.noteTextColor());
    json["noteMarkerColor"] = colorJSON(theme.noteMarkerColor());
    json["noteMarkerBorderColor"] = colorJSON(theme.noteMarkerBorderColor());
    json["noteMarkerStrikethroughColor"] = colorJSON(theme.noteMarkerStrikethroughColor());
    json["noteMarkerTextFontName"] = optionalText(theme.noteMarkerTextFontName());
    json["noteMarkerTextFontSize"] = theme.noteMarkerTextFontSize();
    json["noteMarkerTextColor"] = colorJSON(theme.noteMarkerTextColor());
    json["annotationStyle"] = theme.annotationStyle();
    json["isUnderline"] = theme.isUnderline();
    json["noteEditorTextColor"] = colorJSON(theme.noteEditorTextColor());
    Contrast contrast = contrastOf(theme);
    json["contrast"] = {{"highlightTextColorOverHighlightColor", contrast.highlightText}, {"noteTextColorOverNoteColor", contrast.noteText}};
    return json;
}

// A JSON value as the plain table shows it; colour components in 255ths, as
// the colour tables write them.
std::string cellText(const KCJSON& value)
{
    if (value.is_object()) {
        const KCJSON& components = value["components"];
        std::string text = value["space"].get<std::string>();
        for (size_t index = 0; index + 1 < components.size(); ++index)
            text += KCStringWithFormat(" %.1f", components[index].get<double>() * 255);
        return text + KCStringWithFormat(" a %.3f", components.back().get<double>());
    }
    if (value.is_null())
        return "none";
    if (value.is_number_float())
        return KCStringWithFormat("%.3f", value.get<double>());
    if (value.is_string())
        return value.get<std::string>();
    return value.dump();
}

void printTable(const KCJSON& all)
{
    for (const auto& [name, variants] : all.items()) {
        std::cout << KCStringWithFormat("%-32s%-42s%s\n", name.c_str(), "day", "night");
        for (const auto& [property, day] : variants["day"].items()) {
            if (property == "contrast")
                continue;
            std::cout << KCStringWithFormat("  %-30s%-42s%s\n", property.c_str(), cellText(day).c_str(), cellText(variants["night"][property]).c_str());
        }
        for (const auto& [measure, day] : variants["day"]["contrast"].items()) {
            std::cout << KCStringWithFormat("  %-30s%-42s%s\n", ("contrast " + measure.substr(0, measure.find("Over"))).c_str(),
                KCStringWithFormat("%.2f:1 (over white)", day.get<double>()).c_str(),
                KCStringWithFormat("%.2f:1 (over black)", variants["night"]["contrast"][measure].get<double>()).c_str());
        }
        std::cout << '\n';
    }
}

int runThemes(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"swatch"});
    if (auto failed = PMRejectUnknown(arguments, {"json"}))
        return *failed;
    if (!arguments.positionals().empty())
        return PMFail("themes takes no arguments (see pagemoor themes --help)");

    if (auto swatch = arguments.option("swatch")) {
        std::string error;
        if (!PMWriteThemeSwatch(*swatch, &error))
            return PMFail(error);
    }
    KCJSON all = KCJSON::object();
    for (const auto& factory : kPMThemeFactories)
        all[factory.name] = {{"day", themeJSON(*factory.theme(false))}, {"night", themeJSON(*factory.theme(true))}};
    if (arguments.flag("json"))
        std::cout << all.dump(2) << '\n';
    else
        printTable(all);
    return 0;
}

PMCommandRegistration registration({"themes", "print the annotation colour themes, day and night, or draw them", kUsage, runThemes});

} // namespace
