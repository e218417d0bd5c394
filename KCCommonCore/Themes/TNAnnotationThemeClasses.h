#pragma once
// The colour families and their desktop (Desk) classes. The factories of
// TNAnnotationTheme hand out the Desk classes; a family class only serves as
// the base of its Desk class, and some of its values (the blue family's green
// highlight base) are kept only for that.
#include "TNAnnotationTheme.h"

// Green has no note stroke colours.
class TNAnnotationThemeGreen : public TNAnnotationTheme {
public:
    TNThemeColor colorBarColor() const override;
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteBorderTopColor() const override;
    TNThemeColor noteBorderBottomColor() const override;
    TNThemeColor noteMarkerColor() const override;
    TNThemeColor noteMarkerBorderColor() const override;
    TNThemeColor noteColor() const override;
    TNThemeColor noteBorderColor() const override;
    TNThemeColor noteTextColor() const override;
};

class TNAnnotationThemeGreenDesk : public TNAnnotationThemeGreen {
public:
    TNThemeColor highlightColor() const override;
};

class TNAnnotationThemeBlue : public TNAnnotationTheme {
public:
    int64_t annotationStyle() const override { return 2; }
    bool hasNoteStrokeColors() const override { return true; }
    TNThemeColor colorBarColor() const override;
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor highlightStriationColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteOuterStrokeColor() const override;
    TNThemeColor noteInnerStrokeColor() const override;
    TNThemeColor noteColor() const override;
    TNThemeColor noteBorderColor() const override;
    TNThemeColor noteTextColor() const override;
};

class TNAnnotationThemeBlueDesk : public TNAnnotationThemeBlue {
public:
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteBorderTopColor() const override;
    TNThemeColor noteBorderBottomColor() const override;
    TNThemeColor noteMarkerColor() const override;
    TNThemeColor noteMarkerBorderColor() const override;
};

class TNAnnotationThemeYellow : public TNAnnotationTheme {
public:
    int64_t annotationStyle() const override { return 3; }
    bool hasNoteStrokeColors() const override { return true; }
    TNThemeColor colorBarColor() const override;
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor highlightStriationColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteOuterStrokeColor() const override;
    TNThemeColor noteInnerStrokeColor() const override;
    TNThemeColor noteColor() const override;
    TNThemeColor noteBorderColor() const override;
    TNThemeColor noteTextColor() const override;
};

class TNAnnotationThemeYellowDesk : public TNAnnotationThemeYellow {
public:
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteBorderTopColor() const override;
    TNThemeColor noteBorderBottomColor() const override;
    TNThemeColor noteMarkerColor() const override;
    TNThemeColor noteMarkerBorderColor() const override;
};

class TNAnnotationThemePink : public TNAnnotationTheme {
public:
    int64_t annotationStyle() const override { return 4; }
    bool hasNoteStrokeColors() const override { return true; }
    TNThemeColor colorBarColor() const override;
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor highlightStriationColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteOuterStrokeColor() const override;
    TNThemeColor noteInnerStrokeColor() const override;
    TNThemeColor noteColor() const override;
    TNThemeColor noteBorderColor() const override;
    TNThemeColor noteTextColor() const override;
};

// The one desktop theme whose colour bar is a neutral grey.
class TNAnnotationThemePinkDesk : public TNAnnotationThemePink {
public:
    TNThemeColor colorBarColor() const override;
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteBorderTopColor() const override;
    TNThemeColor noteBorderBottomColor() const override;
    TNThemeColor noteMarkerColor() const override;
    TNThemeColor noteMarkerBorderColor() const override;
};

class TNAnnotationThemePurple : public TNAnnotationTheme {
public:
    int64_t annotationStyle() const override { return 5; }
    bool hasNoteStrokeColors() const override { return true; }
    TNThemeColor colorBarColor() const override;
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor highlightStriationColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteOuterStrokeColor() const override;
    TNThemeColor noteInnerStrokeColor() const override;
    TNThemeColor noteColor() const override;
    TNThemeColor noteBorderColor() const override;
    TNThemeColor noteTextColor() const override;
};

class TNAnnotationThemePurpleDesk : public TNAnnotationThemePurple {
public:
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteBorderTopColor() const override;
    TNThemeColor noteBorderBottomColor() const override;
    TNThemeColor noteMarkerColor() const override;
    TNThemeColor noteMarkerBorderColor() const override;
};

// Style 0 with the underline flag; no colour bar (the stored value stays null).
class TNAnnotationThemeUnderline : public TNAnnotationTheme {
public:
    int64_t annotationStyle() const override { return 0; }
    bool isUnderline() const override { return true; }
    bool hasNoteStrokeColors() const override { return true; }
    TNThemeColor highlightBaseColor() const override;
    TNThemeColor highlightStriationColor() const override;
    TNThemeColor highlightColor() const override;
    TNThemeColor underlineColor() const override;
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteOuterStrokeColor() const override;
    TNThemeColor noteInnerStrokeColor() const override;
    TNThemeColor noteLinesColor() const override;
    TNThemeColor noteColor() const override;
    TNThemeColor noteBorderColor() const override;
    TNThemeColor noteTextColor() const override;
};

class TNAnnotationThemeUnderlineDesk : public TNAnnotationThemeUnderline {
public:
    TNThemeColor noteBackgroundTopColor() const override;
    TNThemeColor noteBackgroundBottomColor() const override;
    TNThemeColor noteBorderTopColor() const override;
    TNThemeColor noteBorderBottomColor() const override;
    TNThemeColor noteMarkerColor() const override;
    TNThemeColor noteMarkerBorderColor() const override;
};
