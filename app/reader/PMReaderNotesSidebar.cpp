#include "PMReaderNotesSidebar.h"

#include "PMReaderButtons.h"
#include "PMReaderHighlightPopover.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCWordServices.h"

#include <adwaita.h>

namespace {

constexpr int kSidebarWidth = 300;
constexpr int kSwatchWidth = 6;
constexpr const char* kRowKey = "pagemoor-note";  // a row's index in the list, plus 1

GtkWidget* textLabel(const std::string& text, int lines)
{
    GtkWidget* label = gtk_label_new(text.c_str());
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_lines(GTK_LABEL(label), lines);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    return label;
}

// The children of the type; a list box's rows go through the list box.
void removeChildren(GtkWidget* parent, GType type)
{
    for (GtkWidget* child = gtk_widget_get_first_child(parent); child;) {
        GtkWidget* next = gtk_widget_get_next_sibling(child);
        if (G_TYPE_CHECK_INSTANCE_TYPE(child, type)) {
            if (GTK_IS_LIST_BOX(parent))
                gtk_list_box_remove(GTK_LIST_BOX(parent), child);
            else
                gtk_widget_unparent(child);
        }
        child = next;
    }
}

// A bar of the highlight's colour along the row.
GtkWidget* swatch(const TNThemeColor& color)
{
    GtkWidget* area = gtk_drawing_area_new();
    gtk_widget_set_size_request(area, kSwatchWidth, -1);
    gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(area), [](GtkDrawingArea*, cairo_t* cairo, int width, int height, gpointer data) {
        const auto& color = *static_cast<const KCColor*>(data);
        const double radius = width / 2.0;
        cairo_new_sub_path(cairo);
        cairo_arc(cairo, radius, radius, radius, G_PI, 1.5 * G_PI);
        cairo_arc(cairo, width - radius, radius, radius, 1.5 * G_PI, 2 * G_PI);
        cairo_arc(cairo, width - radius, height - radius, radius, 0, 0.5 * G_PI);
        cairo_arc(cairo, radius, height - radius, radius, 0.5 * G_PI, G_PI);
        cairo_close_path(cairo);
        cairo_set_source_rgba(cairo, color.red(), color.green(), color.blue(), color.alpha());
        cairo_fill(cairo);
    }, new KCColor(color.value_or(KCColor(0, 0, 0, 0))), [](gpointer data) { delete static_cast<KCColor*>(data); });
    return area;
}

} // namespace

PMReaderNotesSidebar::PMReaderNotesSidebar(const PMReaderHighlights& highlights, Open open, Edit edit, ShareMenu share)
    : m_highlights(highlights)
    , m_open(std::move(open))
    , m_edit(std::move(edit))
    , m_share(std::move(share))
    , m_dates(std::make_unique<KCLongDateFormatter>())
{
}

PMReaderNotesSidebar::~PMReaderNotesSidebar()
{
    if (m_listing)
        g_source_remove(m_listing);
    if (m_popover) {
        g_signal_handlers_disconnect_by_data(m_popover, this);
        g_object_remove_weak_pointer(G_OBJECT(m_popover), reinterpret_cast<gpointer*>(&m_popover));
    }
}

GtkWidget* PMReaderNotesSidebar::build(GtkWidget* header, GtkWidget* content)
{
    GtkWidget* button = PMIconToggleButton("sidebar-show-symbolic", "Notes");
    adw_header_bar_pack_start(ADW_HEADER_BAR(header), button);

    m_list = gtk_list_box_new();
    gtk_list_box_set_selection_mode(GTK_LIST_BOX(m_list), GTK_SELECTION_NONE);
    gtk_widget_add_css_class(m_list, "navigation-sidebar");
    GtkWidget* empty = gtk_label_new("No highlights or notes");
    gtk_widget_add_css_class(empty, "dim-label");
    gtk_widget_set_margin_top(empty, 24);
    gtk_list_box_set_placeholder(GTK_LIST_BOX(m_list), empty);
    g_signal_connect(m_list, "row-activated", G_CALLBACK(+[](GtkListBox*, GtkListBoxRow* row, gpointer data) {
        auto* self = static_cast<PMReaderNotesSidebar*>(data);
        auto index = GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(row), kRowKey));
        auto range = index && index <= self->m_rows.size() ? PMHighlightRange::fromCFI(self->m_rows[index - 1].location) : std::nullopt;
        if (range)
            self->m_open(*range);
    }), this);
    GtkWidget* scrolled = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), m_list);
    gtk_widget_set_size_request(scrolled, kSidebarWidth, -1);
    gtk_widget_add_css_class(scrolled, "background");

    // Beside the content, which narrows and lays itself out again.
    m_flap = adw_flap_new();
    adw_flap_set_fold_policy(ADW_FLAP(m_flap), ADW_FLAP_FOLD_POLICY_NEVER);
    adw_flap_set_transition_type(ADW_FLAP(m_flap), ADW_FLAP_TRANSITION_TYPE_SLIDE);
    adw_flap_set_swipe_to_open(ADW_FLAP(m_flap), FALSE);
    adw_flap_set_swipe_to_close(ADW_FLAP(m_flap), FALSE);
    adw_flap_set_reveal_flap(ADW_FLAP(m_flap), FALSE);
    adw_flap_set_flap(ADW_FLAP(m_flap), scrolled);
    adw_flap_set_separator(ADW_FLAP(m_flap), gtk_separator_new(GTK_ORIENTATION_VERTICAL));
    adw_flap_set_content(ADW_FLAP(m_flap), content);
    gtk_widget_set_vexpand(m_flap, TRUE);
    g_object_bind_property(button, "active", m_flap, "reveal-flap", GBindingFlags(G_BINDING_BIDIRECTIONAL | G_BINDING_SYNC_CREATE));

    GtkEventController* shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(shortcuts), GTK_SHORTCUT_SCOPE_GLOBAL);
    GtkShortcutAction* toggle = gtk_callback_action_new([](GtkWidget*, GVariant*, gpointer data) -> gboolean {
        auto* self = static_cast<PMReaderNotesSidebar*>(data);
        self->reveal(!adw_flap_get_reveal_flap(ADW_FLAP(self->m_flap)));
        return TRUE;
    }, this, nullptr);
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
        gtk_shortcut_new(gtk_shortcut_trigger_parse_string("<Control>b"), toggle));
    gtk_widget_add_controller(m_flap, shortcuts);
    list();
    return m_flap;
}

bool PMReaderNotesSidebar::reveal(bool revealed)
{
    if (adw_flap_get_reveal_flap(ADW_FLAP(m_flap)) == revealed)
        return false;
    adw_flap_set_reveal_flap(ADW_FLAP(m_flap), revealed);
    return true;
}

bool PMReaderNotesSidebar::settled() const
{
    const double shown = adw_flap_get_reveal_flap(ADW_FLAP(m_flap)) ? 1 : 0;
    return !m_listing && !m_waiting && adw_flap_get_reveal_progress(ADW_FLAP(m_flap)) == shown;
}

void PMReaderNotesSidebar::update(bool night)
{
    m_night = night;
    if (m_listing)
        return;
    m_listing = g_idle_add([](gpointer data) -> gboolean {
        auto* self = static_cast<PMReaderNotesSidebar*>(data);
        self->m_listing = 0;
        self->list();
        return G_SOURCE_REMOVE;
    }, this);
}

void PMReaderNotesSidebar::list()
{
    // An open popover keeps its row until it closes.
    m_waiting = m_popover && gtk_widget_get_visible(m_popover);
    if (m_waiting)
        return;
    removeChildren(m_list, GTK_TYPE_LIST_BOX_ROW);  // not the placeholder
    m_rows.clear();
    for (const auto& annotation : m_highlights.newestFirst()) {
        m_rows.push_back({annotation->annotationUuid().value_or(u""), KCUTF8FromUTF16(annotation->annotationLocation().value_or(u""))});
        gtk_list_box_append(GTK_LIST_BOX(m_list), row(*annotation, m_rows.size()));
    }
}

GtkWidget* PMReaderNotesSidebar::row(const TNAnnotation& annotation, size_t index) const
{
    GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
    gtk_widget_set_hexpand(texts, TRUE);
    if (auto excerpt = TNAnnotation::contextAwareSelectedTextFromAnnotation(annotation); excerpt && !excerpt->empty())
        gtk_box_append(GTK_BOX(texts), textLabel(KCUTF8FromUTF16(stringByEnclosingInQuotes(*excerpt)), 4));
    if (auto note = annotation.annotationNote(); note && !note->empty()) {
        GtkWidget* label = textLabel(KCUTF8FromUTF16(*note), 6);
        PangoAttrList* italic = pango_attr_list_new();
        pango_attr_list_insert(italic, pango_attr_style_new(PANGO_STYLE_ITALIC));
        gtk_label_set_attributes(GTK_LABEL(label), italic);
        pango_attr_list_unref(italic);
        gtk_box_append(GTK_BOX(texts), label);
    }
    // The chapter, cut short when it must be, and the day.
    GtkWidget* caption = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    GtkWidget* chapter = textLabel(KCUTF8FromUTF16(annotation.chapterTitle().value_or(u"")), 1);
    gtk_widget_set_hexpand(chapter, TRUE);
    gtk_box_append(GTK_BOX(caption), chapter);
    if (auto date = annotation.annotationCreationDate() ? annotation.annotationCreationDate() : annotation.annotationModificationDate())
        gtk_box_append(GTK_BOX(caption), gtk_label_new(KCUTF8FromUTF16(m_dates->stringFromDate(*date)).c_str()));
    gtk_widget_add_css_class(caption, "dim-label");
    gtk_widget_add_css_class(caption, "caption");
    gtk_box_append(GTK_BOX(texts), caption);

    GtkWidget* edit = gtk_button_new_from_icon_name("document-edit-symbolic");
    gtk_widget_set_tooltip_text(edit, "Edit");
    gtk_widget_add_css_class(edit, "flat");
    gtk_widget_set_valign(edit, GTK_ALIGN_START);
    g_object_set_data(G_OBJECT(edit), kRowKey, GSIZE_TO_POINTER(index));
    g_signal_connect(edit, "clicked", G_CALLBACK(+[](GtkButton* button, gpointer data) {
        static_cast<PMReaderNotesSidebar*>(data)->presentPopover(GTK_WIDGET(button), GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(button), kRowKey)));
    }), const_cast<PMReaderNotesSidebar*>(this));
    // A popover still on the button leaves with it.
    g_signal_connect(edit, "destroy", G_CALLBACK(+[](GtkWidget* button, gpointer) { removeChildren(button, GTK_TYPE_POPOVER); }), nullptr);

    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    gtk_widget_set_margin_top(box, 6);
    gtk_widget_set_margin_bottom(box, 6);
    gtk_box_append(GTK_BOX(box), swatch(PMHighlightColor(annotation.annotationStyle(), annotation.annotationIsUnderline(), m_night)));
    gtk_box_append(GTK_BOX(box), texts);
    gtk_box_append(GTK_BOX(box), edit);
    GtkWidget* row = gtk_list_box_row_new();
    gtk_list_box_row_set_child(GTK_LIST_BOX_ROW(row), box);
    g_object_set_data(G_OBJECT(row), kRowKey, GSIZE_TO_POINTER(index));
    return row;
}

void PMReaderNotesSidebar::presentPopover(GtkWidget* button, size_t index)
{
    if (!index || index > m_rows.size())
        return;
    const std::u16string uuid = m_rows[index - 1].uuid;
    auto style = m_highlights.styleOf(uuid);
    if (!style)
        return;
    if (m_popover) {
        g_signal_handlers_disconnect_by_data(m_popover, this);
        g_object_remove_weak_pointer(G_OBJECT(m_popover), reinterpret_cast<gpointer*>(&m_popover));
        gtk_popover_popdown(GTK_POPOVER(m_popover));
    }
    GdkRectangle bounds {0, 0, gtk_widget_get_width(button), gtk_widget_get_height(button)};
    m_popover = PMPresentHighlightPopover(button, bounds, *style, [this, uuid](const PMHighlightEdit& edit) { m_edit(uuid, edit); }, m_share(uuid));
    g_object_add_weak_pointer(G_OBJECT(m_popover), reinterpret_cast<gpointer*>(&m_popover));
    g_signal_connect_swapped(m_popover, "closed", G_CALLBACK(+[](PMReaderNotesSidebar* self) {
        if (self->m_waiting)
            self->update(self->m_night);
    }), this);
}
