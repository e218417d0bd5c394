#pragma once
// The colours, fonts and shadow with which one kind of annotation is drawn,
// by day or by night (`invertedContent`, for pages drawn light on dark).
// Every getter is virtual and computes its value on each call: a family class
// (TNAnnotationThemeGreen, ...) overrides what it defines, its Desk class
// overrides a few of those again, and the rest comes from here. A null colour
// means "no colour": stored values that no class ever sets stay null or 0.
// The factories hand out shared Desk themes, created once even under
// concurrent first calls; callers must not change their `invertedContent`.
// Errors: asking a theme without stroke colours (the green ones, see
// hasNoteStrokeColors) for them is an assertion failure and answers null.
#include "Utilities/KCColor.h"
#include "Utilities/KCGeometry.h"

#include <memory>
#include <optional>
#include <string>

using TNThemeColor = std::optional<KCColor>;

class TNAnnotationTheme {
public:
    virtual ~TNAnnotationTheme() = default;

    // A new instance of the given class.
    template <typename Theme = TNAnnotationTheme>
    static std::shared_ptr<Theme> theme(bool inverted)
    {
        auto made = std::make_shared<Theme>();
        made->setInvertedContent(inverted);
        return made;
    }
    // The shared Desk themes, one per flag and colour.
    static std::shared_ptr<const TNAnnotationTheme> greenTheme(bool inverted);
    static std::shared_ptr<const TNAnnotationTheme> blueTheme(bool inverted);
    static std::shared_ptr<const TNAnnotationTheme> yellowTheme(bool inverted);
    static std::shared_ptr<const TNAnnotationTheme> pinkTheme(bool inverted);
    static std::shared_ptr<const TNAnnotationTheme> purpleTheme(bool inverted);
    static std::shared_ptr<const TNAnnotationTheme> underlineTheme(bool inverted);
    // Style 1 to 5 (green, blue, yellow, pink, purple); null for any other.
    static std::shared_ptr<const TNAnnotationTheme> themeForAnnotationStyle(int64_t style, bool inverted);
    // As above; the underline theme only when that is null and isUnderline is set.
    static std::shared_ptr<const TNAnnotationTheme> themeForAnnotationStyle(int64_t style, bool inverted, bool isUnderline);
    // The first coloured theme (never the underline one) whose highlightBaseColor
    // equals the colour exactly, space included.
    static std::shared_ptr<const TNAnnotationTheme> themeForColor(const KCColor& color, bool inverted);
    // The text drawn over any highlight.
    static KCColor highlightTextColor(bool inverted);

    bool invertedContent() const { return m_invertedContent; }
    void setInvertedContent(bool inverted) { m_invertedContent = inverted; }

    virtual int64_t annotationStyle() const { return 1; }
    virtual bool isUnderline() const { return false; }
    // False for themes that define no note strokes; drawing code asks this
    // before noteOuterStrokeColor and noteInnerStrokeColor.
    virtual bool hasNoteStrokeColors() const { return false; }

    virtual TNThemeColor colorBarColor() const { return std::nullopt; }
    virtual TNThemeColor highlightColor() const { return std::nullopt; }
    virtual TNThemeColor noteColor() const { return std::nullopt; }
    virtual TNThemeColor noteBorderColor() const { return std::nullopt; }
    virtual TNThemeColor highlightBaseColor() const { return std::nullopt; }
    virtual TNThemeColor highlightStriationColor() const { return highlightBaseColor(); }
    virtual TNThemeColor underlineColor() const;
    virtual TNThemeColor noteBackgroundTopColor() const { return std::nullopt; }
    virtual TNThemeColor noteBackgroundBottomColor() const { return std::nullopt; }
    virtual TNThemeColor noteOuterStrokeColor() const;
    virtual TNThemeColor noteInnerStrokeColor() const;
    virtual TNThemeColor noteBorderTopColor() const;
    virtual TNThemeColor noteBorderBottomColor() const;
    virtual TNThemeColor noteLinesColor() const;
    virtual double noteShadowRadius() const { return 23.0; }
    virtual double noteShadowOpacity() const { return 0.3; }
    virtual TNThemeColor noteShadowColor() const;
    virtual KCSize noteShadowOffset() const { return {0.0, 6.0}; }
    virtual TNThemeColor notesSidebarTextColor() const;
    virtual std::optional<std::string> noteTextFontName() const { return std::nullopt; }
    virtual double noteTextFontSize() const { return 0.0; }
    virtual TNThemeColor noteTextColor() const { return std::nullopt; }
    virtual TNThemeColor noteMarkerColor() const { return std::nullopt; }
    virtual TNThemeColor noteMarkerBorderColor() const { return std::nullopt; }
    virtual TNThemeColor noteMarkerStrikethroughColor() const;
    virtual std::optional<std::string> noteMarkerTextFontName() const { return "Helvetica"; }
    virtual double noteMarkerTextFontSize() const { return 13.0; }
    virtual TNThemeColor noteMarkerTextColor() const { return std::nullopt; }
    virtual TNThemeColor noteEditorTextColor() const;

protected:
    // The day or the night value, by invertedContent.
    TNThemeColor dayOrNight(const KCColor& day, const KCColor& night) const { return m_invertedContent ? night : day; }

private:
    bool m_invertedContent = false;
};
