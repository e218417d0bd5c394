// The reader window's widgets: the header bar and its buttons, the table of
// contents, the page with its edge clicks, the status line, the search
// panel and the notes sidebar around it, and the keys that turn pages.
#include "PMReaderWindow.h"

#include "PMReaderButtons.h"
#include "PMReaderHighlightScript.h"
#include "PMReaderLayoutScript.h"
#include "PMReaderPageScript.h"
#include "PMReaderSearchScript.h"

#include <adwaita.h>
#include <webkit/webkit.h>

namespace {

constexpr double kEdgeFraction = 0.15;  // of the page's width, on either side, turns a page on a click
constexpr double kZoomStep = 1.1;

// Connects a button's click to a member call that is skipped once the window is gone.
template <typename Action> void onClicked(GtkWidget* button, Action action)
{
    auto* callback = new Action(std::move(action));
    g_signal_connect_data(button, "clicked", G_CALLBACK(+[](GtkButton*, gpointer data) { (*static_cast<Action*>(data))(); }), callback,
        [](gpointer data, GClosure*) { delete static_cast<Action*>(data); }, GConnectFlags(0));
}

} // namespace

template <void (PMReaderWindow::*receive)(const char* text)> void PMReaderWindow::onScriptMessage(const char* name)
{
    WebKitUserContentManager* scripts = webkit_web_view_get_user_content_manager(m_session.view->webView());
    webkit_user_content_manager_register_script_message_handler(scripts, name, nullptr);
    // The window is the signal's data, so that its destructor disconnects it.
    g_signal_connect(scripts, (std::string("script-message-received::") + name).c_str(),
        G_CALLBACK(+[](WebKitUserContentManager*, JSCValue* value, gpointer data) {
            char* text = jsc_value_to_string(value);
            (static_cast<PMReaderWindow*>(data)->*receive)(text);
            g_free(text);
        }), this);
}

void PMReaderWindow::build(const KCSize& size)
{
    adw_init();
    const std::string& title = m_session.book->package().title;
    m_window = adw_window_new();
    gtk_window_set_title(GTK_WINDOW(m_window), title.c_str());
    gtk_window_set_default_size(GTK_WINDOW(m_window), static_cast<int>(size.width), static_cast<int>(size.height));
    g_signal_connect_swapped(m_window, "close-request", G_CALLBACK(+[](PMReaderWindow* self) -> gboolean {
        self->m_closed = true;
        return FALSE;
    }), this);

    GtkWidget* header = adw_header_bar_new();
    adw_header_bar_set_title_widget(ADW_HEADER_BAR(header), adw_window_title_new(title.c_str(), m_session.book->package().creator.c_str()));
    GtkWidget* contents = gtk_menu_button_new();
    gtk_menu_button_set_icon_name(GTK_MENU_BUTTON(contents), "view-list-symbolic");
    gtk_widget_set_tooltip_text(contents, "Contents");
    gtk_menu_button_set_popover(GTK_MENU_BUTTON(contents), buildTableOfContents());
    adw_header_bar_pack_start(ADW_HEADER_BAR(header), contents);
    GtkWidget* larger = PMIconButton("zoom-in-symbolic", "Larger Text");
    GtkWidget* smaller = PMIconButton("zoom-out-symbolic", "Smaller Text");
    onClicked(larger, [this, alive = m_alive] { if (*alive) zoom(kZoomStep); });
    onClicked(smaller, [this, alive = m_alive] { if (*alive) zoom(1 / kZoomStep); });
    if (m_sharing)
        adw_header_bar_pack_end(ADW_HEADER_BAR(header), m_sharing->notesMenuButton(GTK_WINDOW(m_window)));
    adw_header_bar_pack_end(ADW_HEADER_BAR(header), larger);
    adw_header_bar_pack_end(ADW_HEADER_BAR(header), smaller);
    m_nightButton = PMIconToggleButton("weather-clear-night-symbolic", "Night");
    g_signal_connect(m_nightButton, "toggled", G_CALLBACK(+[](GtkToggleButton* button, gpointer data) {
        static_cast<PMReaderWindow*>(data)->setNight(gtk_toggle_button_get_active(button));
    }), this);
    adw_header_bar_pack_end(ADW_HEADER_BAR(header), m_nightButton);
    m_scrolledButton = gtk_toggle_button_new_with_label("Scrolled");
    g_signal_connect(m_scrolledButton, "toggled", G_CALLBACK(+[](GtkToggleButton* button, gpointer data) {
        static_cast<PMReaderWindow*>(data)->setScrolled(gtk_toggle_button_get_active(button));
    }), this);
    adw_header_bar_pack_end(ADW_HEADER_BAR(header), m_scrolledButton);

    WebKitWebView* webView = m_session.view->webView();
    PMInstallReaderLayoutScript(webView);
    PMInstallReaderPageScript(webView);
    PMInstallReaderHighlightScript(webView);
    PMInstallReaderSearchScript(webView);
    onScriptMessage<&PMReaderWindow::highlightClicked>(PMHighlightMessageHandler);
    onScriptMessage<&PMReaderWindow::selectionOffered>(PMSelectionMessageHandler);
    onScriptMessage<&PMReaderWindow::stateReported>(PMReaderStateMessageHandler);
    g_signal_connect(webView, "load-changed", G_CALLBACK(loadChanged), this);
    g_signal_connect(webView, "load-failed", G_CALLBACK(loadFailed), this);
    GtkWidget* page = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    GtkWidget* view = m_session.view->detachWidget();
    gtk_widget_set_hexpand(view, TRUE);
    gtk_widget_set_vexpand(view, TRUE);
    gtk_box_append(GTK_BOX(page), view);
    // Clicks on the page's edges turn pages; the rest reach the page.
    GtkGesture* click = gtk_gesture_click_new();
    gtk_event_controller_set_propagation_phase(GTK_EVENT_CONTROLLER(click), GTK_PHASE_CAPTURE);
    g_signal_connect(click, "pressed", G_CALLBACK(+[](GtkGestureClick* gesture, int, double x, double, gpointer data) {
        auto* self = static_cast<PMReaderWindow*>(data);
        GtkWidget* widget = gtk_event_controller_get_widget(GTK_EVENT_CONTROLLER(gesture));
        const double width = gtk_widget_get_width(widget);
        const int rightward = self->m_state.rightToLeft || self->m_layout.rightToLeft() ? -1 : 1;
        const int direction = x < width * kEdgeFraction ? -rightward : x > width * (1 - kEdgeFraction) ? rightward : 0;
        if (!direction) {
            gtk_gesture_set_state(GTK_GESTURE(gesture), GTK_EVENT_SEQUENCE_DENIED);
            return;
        }
        gtk_gesture_set_state(GTK_GESTURE(gesture), GTK_EVENT_SEQUENCE_CLAIMED);
        self->turn(direction);
    }), this);
    gtk_widget_add_controller(page, GTK_EVENT_CONTROLLER(click));

    GtkWidget* status = gtk_label_new("");
    m_statusLabel = GTK_LABEL(status);
    gtk_label_set_ellipsize(m_statusLabel, PANGO_ELLIPSIZE_MIDDLE);
    gtk_widget_add_css_class(status, "dim-label");
    gtk_widget_add_css_class(status, "caption");
    gtk_widget_set_margin_top(status, 6);
    gtk_widget_set_margin_bottom(status, 6);

    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(column), header);
    m_search = std::make_unique<PMReaderSearchPanel>(m_session, m_navigation, [this](const PMReaderSearchResult& result) {
        show(result.spineIndex, PMReaderMatchTarget(result), nullptr);
    });
    GtkWidget* body = m_search->build(header, page);
    if (m_highlights) {
        m_notes = std::make_unique<PMReaderNotesSidebar>(*m_highlights,
            [this](const PMHighlightRange& range) { show(range.spineIndex, PMReaderPathTarget(range.start), nullptr); },
            [this](const std::u16string& uuid, const PMHighlightEdit& edit) { editHighlight(uuid, edit); },
            [this](const std::u16string& uuid) { return m_sharing ? m_sharing->highlightMenu(uuid, nullptr) : std::nullopt; });
        body = m_notes->build(header, body);
    }
    gtk_box_append(GTK_BOX(column), body);
    gtk_box_append(GTK_BOX(column), status);
    adw_window_set_content(ADW_WINDOW(m_window), column);

    GtkEventController* keys = gtk_event_controller_key_new();
    gtk_event_controller_set_propagation_phase(keys, GTK_PHASE_CAPTURE);
    g_signal_connect(keys, "key-pressed", G_CALLBACK(+[](GtkEventControllerKey*, guint key, guint, GdkModifierType modifiers, gpointer data) -> gboolean {
        if (modifiers & (GDK_CONTROL_MASK | GDK_ALT_MASK))
            return FALSE;
        auto* self = static_cast<PMReaderWindow*>(data);
        // Keys typed into the search entry stay there.
        if (GtkWidget* focus = gtk_root_get_focus(GTK_ROOT(self->m_window)); focus && GTK_IS_EDITABLE(focus))
            return FALSE;
        // Right-to-left pages go on to the left.
        const int rightward = self->m_state.rightToLeft || self->m_layout.rightToLeft() ? -1 : 1;
        switch (key) {
        case GDK_KEY_Right:
        case GDK_KEY_Left:
            self->turn(key == GDK_KEY_Right ? rightward : -rightward);
            return TRUE;
        case GDK_KEY_Page_Down: case GDK_KEY_space: case GDK_KEY_KP_Page_Down:
            self->turn(modifiers & GDK_SHIFT_MASK && key == GDK_KEY_space ? -1 : 1);
            return TRUE;
        case GDK_KEY_Page_Up: case GDK_KEY_KP_Page_Up:
            self->turn(-1);
            return TRUE;
        default:
            return FALSE;
        }
    }), this);
    gtk_widget_add_controller(m_window, keys);
    gtk_window_present(GTK_WINDOW(m_window));
}

GtkWidget* PMReaderWindow::buildTableOfContents()
{
    GtkWidget* popover = gtk_popover_new();
    GtkWidget* list = gtk_list_box_new();
    gtk_list_box_set_selection_mode(GTK_LIST_BOX(list), GTK_SELECTION_NONE);
    gtk_widget_add_css_class(list, "navigation-sidebar");
    for (const auto& entry : m_navigation.tableOfContents()) {
        GtkWidget* label = gtk_label_new(entry.title.c_str());
        gtk_label_set_xalign(GTK_LABEL(label), 0);
        gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
        gtk_widget_set_sensitive(label, entry.spineIndex.has_value());
        gtk_list_box_append(GTK_LIST_BOX(list), label);
    }
    g_object_set_data(G_OBJECT(list), "popover", popover);
    g_signal_connect(list, "row-activated", G_CALLBACK(+[](GtkListBox* box, GtkListBoxRow* row, gpointer data) {
        auto* self = static_cast<PMReaderWindow*>(data);
        const auto& entries = self->m_navigation.tableOfContents();
        auto index = static_cast<size_t>(gtk_list_box_row_get_index(row));
        gtk_popover_popdown(GTK_POPOVER(g_object_get_data(G_OBJECT(box), "popover")));
        if (index < entries.size() && entries[index].spineIndex)
            self->show(*entries[index].spineIndex, PMReaderPageTarget(0), nullptr);
    }), this);
    GtkWidget* scrolled = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scrolled), TRUE);
    gtk_scrolled_window_set_max_content_height(GTK_SCROLLED_WINDOW(scrolled), 480);
    gtk_widget_set_size_request(scrolled, 280, -1);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), list);
    gtk_popover_set_child(GTK_POPOVER(popover), scrolled);
    return popover;
}
