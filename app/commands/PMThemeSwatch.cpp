#include "PMThemeSwatch.h"

#include "Utilities/KCStretchableImage.h"

#include <cairo.h>

#include <memory>
#include <numbers>

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kCellWidth = 480;
constexpr double kCellHeight = 150;
constexpr double kHeaderHeight = 28;

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

// Colours are handed to cairo as they are, whatever their space; a grey as equal parts.
void setColor(cairo_t* cr, const KCColor& color, double opacity = 1.0)
{
    double red = 0, green = 0, blue = 0, alpha = 0;
    color.getRed(&red, &green, &blue, &alpha);
    cairo_set_source_rgba(cr, red, green, blue, alpha * opacity);
}

void addColorStop(cairo_pattern_t* pattern, double offset, const TNThemeColor& color)
{
    double red = 0, green = 0, blue = 0, alpha = 0;
    if (color)
        color->getRed(&red, &green, &blue, &alpha);
    cairo_pattern_add_color_stop_rgba(pattern, offset, red, green, blue, alpha);
}

void roundedRectangle(cairo_t* cr, double x, double y, double width, double height, double radius)
{
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + width - radius, y + radius, radius, -kPi / 2, 0);
    cairo_arc(cr, x + width - radius, y + height - radius, radius, 0, kPi / 2);
    cairo_arc(cr, x + radius, y + height - radius, radius, kPi / 2, kPi);
    cairo_arc(cr, x + radius, y + radius, radius, kPi, 3 * kPi / 2);
    cairo_close_path(cr);
}

void fillRectangle(cairo_t* cr, const TNThemeColor& color, double x, double y, double width, double height)
{
    if (!color)
        return;
    setColor(cr, *color);
    cairo_rectangle(cr, x, y, width, height);
    cairo_fill(cr);
}

void strokeRectangle(cairo_t* cr, const TNThemeColor& color, double x, double y, double width, double height)
{
    if (!color)
        return;
    setColor(cr, *color);
    cairo_set_line_width(cr, 1);
    cairo_rectangle(cr, x, y, width, height);
    cairo_stroke(cr);
}

void text(cairo_t* cr, const KCColor& color, double size, double x, double y, const char* words)
{
    cairo_select_font_face(cr, "Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
    setColor(cr, color);
    cairo_move_to(cr, x, y);
    cairo_show_text(cr, words);
}

// The sample text on the highlight (or over the underline), with chips of
// the highlight's base and striation colours below it.
void drawHighlight(cairo_t* cr, const TNAnnotationTheme& theme, double x, double y)
{
    const char* sample = "Highlighted sample text";
    cairo_select_font_face(cr, "Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, 18);
    cairo_text_extents_t extents;
    cairo_text_extents(cr, sample, &extents);
    if (theme.isUnderline())
        fillRectangle(cr, theme.underlineColor(), x, y + 4, extents.x_advance, 2);
    else
        fillRectangle(cr, theme.highlightColor(), x - 3, y - 18, extents.x_advance + 6, 24);
    KCColor ink = TNAnnotationTheme::highlightTextColor(theme.invertedContent());
    text(cr, ink, 18, x, y, sample);

    // Outlined, so that a chip as dark as the page still shows.
    KCColor outline = KCColor::colorWithWhite(ink.white(), 0.4);
    fillRectangle(cr, theme.highlightBaseColor(), x, y + 16, 36, 14);
    strokeRectangle(cr, outline, x + 0.5, y + 16.5, 35, 13);
    text(cr, ink, 10, x + 42, y + 27, "base");
    fillRectangle(cr, theme.highlightStriationColor(), x + 80, y + 16, 36, 14);
    strokeRectangle(cr, outline, x + 80.5, y + 16.5, 35, 13);
    text(cr, ink, 10, x + 122, y + 27, "striation");
}

// The note marker as a small stretchable image: a rounded square whose
// corners keep their size when it is drawn larger.
constexpr int kMarkerImageSide = 11;
constexpr double kMarkerCap = 5;

KCBitmapRef markerImage(const TNAnnotationTheme& theme)
{
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kMarkerImageSide, kMarkerImageSide), cairo_surface_destroy);
    Context cr(cairo_create(surface.get()), cairo_destroy);
    roundedRectangle(cr.get(), 0.75, 0.75, kMarkerImageSide - 1.5, kMarkerImageSide - 1.5, 4);
    if (auto fill = theme.noteMarkerColor()) {
        setColor(cr.get(), *fill);
        cairo_fill_preserve(cr.get());
    }
    if (auto border = theme.noteMarkerBorderColor()) {
        setColor(cr.get(), *border);
        cairo_set_line_width(cr.get(), 1.5);
        cairo_stroke(cr.get());
    }
    cairo_surface_flush(surface.get());
    return KCBitmap::createWithSurface(surface.get());
}

// The marker beside a note in the text, and the note as the sidebar shows it.
void drawMarkerAndNote(cairo_t* cr, const TNAnnotationTheme& theme, double x, double y)
{
    if (KCBitmapRef marker = markerImage(theme))
        ContextDrawStretchableImage(cr, marker, KCRect {x, y, 20, 20}, kMarkerCap, kMarkerCap);
    fillRectangle(cr, theme.noteColor(), x + 32, y - 4, 150, 28);
    strokeRectangle(cr, theme.noteBorderColor(), x + 32.5, y - 3.5, 149, 27);
    if (auto ink = theme.noteTextColor())
        text(cr, *ink, 13, x + 40, y + 15, "Note text");
}

// The note card: shadow, gradient, ruled lines, border and strokes.
void drawNoteCard(cairo_t* cr, const TNAnnotationTheme& theme, double x, double y, double width, double height)
{
    // A soft shadow from widening, faint copies of the card.
    if (auto shadow = theme.noteShadowColor()) {
        KCSize offset = theme.noteShadowOffset();
        constexpr int kSteps = 8;
        for (int step = kSteps; step > 0; --step) {
            double spread = theme.noteShadowRadius() * step / kSteps / 2;
            setColor(cr, *shadow, theme.noteShadowOpacity() / kSteps);
            roundedRectangle(cr, x - spread + offset.width, y - spread + offset.height, width + 2 * spread, height + 2 * spread, 4 + spread);
            cairo_fill(cr);
        }
    }
    cairo_pattern_t* gradient = cairo_pattern_create_linear(0, y, 0, y + height);
    addColorStop(gradient, 0, theme.noteBackgroundTopColor());
    addColorStop(gradient, 1, theme.noteBackgroundBottomColor());
    roundedRectangle(cr, x, y, width, height, 4);
    cairo_set_source(cr, gradient);
    cairo_fill(cr);
    cairo_pattern_destroy(gradient);

    for (double line = y + 34; line < y + height - 6; line += 18)
        fillRectangle(cr, theme.noteLinesColor(), x + 10, line, width - 20, 1);
    if (auto ink = theme.noteTextColor())
        text(cr, *ink, 13, x + 12, y + 30, "A note on the card");

    cairo_pattern_t* border = cairo_pattern_create_linear(0, y, 0, y + height);
    addColorStop(border, 0, theme.noteBorderTopColor());
    addColorStop(border, 1, theme.noteBorderBottomColor());
    roundedRectangle(cr, x + 0.5, y + 0.5, width - 1, height - 1, 4);
    cairo_set_source(cr, border);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
    cairo_pattern_destroy(border);

    // The green themes have no strokes; asking them would be a programming error.
    if (!theme.hasNoteStrokeColors())
        return;
    if (auto outer = theme.noteOuterStrokeColor()) {
        setColor(cr, *outer);
        roundedRectangle(cr, x - 0.5, y - 0.5, width + 1, height + 1, 4.5);
        cairo_stroke(cr);
    }
    if (auto inner = theme.noteInnerStrokeColor()) {
        setColor(cr, *inner);
        roundedRectangle(cr, x + 1.5, y + 1.5, width - 3, height - 3, 3);
        cairo_stroke(cr);
    }
}

void drawCell(cairo_t* cr, const char* name, const TNAnnotationTheme& theme, double x, double y)
{
    bool night = theme.invertedContent();
    fillRectangle(cr, KCColor::colorWithWhite(night ? 0.0 : 1.0, 1.0), x, y, kCellWidth, kCellHeight);
    fillRectangle(cr, theme.colorBarColor(), x + 8, y + 10, 6, kCellHeight - 20);
    KCColor ink = TNAnnotationTheme::highlightTextColor(night);
    text(cr, ink, 12, x + 24, y + 22, (std::string(name) + (night ? " night" : " day") + (theme.colorBarColor() ? "" : " (no colour bar)")).c_str());
    drawHighlight(cr, theme, x + 24, y + 56);
    drawMarkerAndNote(cr, theme, x + 24, y + 112);
    drawNoteCard(cr, theme, x + 262, y + 18, 200, 110);
}

} // namespace

bool PMWriteThemeSwatch(const std::string& path, std::string* error)
{
    int width = static_cast<int>(2 * kCellWidth);
    int height = static_cast<int>(kHeaderHeight + std::size(kPMThemeFactories) * kCellHeight);
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height), cairo_surface_destroy);
    Context cr(cairo_create(surface.get()), cairo_destroy);
    fillRectangle(cr.get(), KCColor::colorWithWhite(0.5, 1.0), 0, 0, width, kHeaderHeight);
    text(cr.get(), KCColor::colorWithWhite(1.0, 1.0), 14, 12, 19, "day (over white)");
    text(cr.get(), KCColor::colorWithWhite(1.0, 1.0), 14, kCellWidth + 12, 19, "night (over black)");
    double y = kHeaderHeight;
    for (const auto& factory : kPMThemeFactories) {
        drawCell(cr.get(), factory.name, *factory.theme(false), 0, y);
        drawCell(cr.get(), factory.name, *factory.theme(true), kCellWidth, y);
        y += kCellHeight;
    }
    cairo_surface_flush(surface.get());
    cairo_status_t status = cairo_status(cr.get());
    if (status == CAIRO_STATUS_SUCCESS)
        status = cairo_surface_write_to_png(surface.get(), path.c_str());
    if (status != CAIRO_STATUS_SUCCESS && error)
        *error = "cannot write the swatch to " + path + ": " + cairo_status_to_string(status);
    return status == CAIRO_STATUS_SUCCESS;
}
