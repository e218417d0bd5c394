#include "PMReaderWindow.h"

#include "PMReaderHighlightPopover.h"
#include "PMReaderHighlightScript.h"
#include "PMReaderLayoutScript.h"
#include "PMReaderPageScript.h"
#include "PMReaderPopoverSnapshot.h"
#include "PMReaderSearchScript.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <adwaita.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <cmath>
#include <filesystem>
#include <numeric>

namespace {

constexpr double kWaitSeconds = 60;
constexpr double kRelayoutSeconds = 3;
constexpr double kEdgeFraction = 0.15;  // of the page's width, on either side, turns a page on a click
constexpr double kZoomStep = 1.1;

std::string pageTarget(int page)
{
    return nlohmann::json {{"page", page}}.dump();
}

std::string pathTarget(const std::string& path)
{
    return nlohmann::json {{"path", path}}.dump();
}

GtkWidget* iconButton(const char* icon, const char* tooltip)
{
    GtkWidget* button = gtk_button_new_from_icon_name(icon);
    gtk_widget_set_tooltip_text(button, tooltip);
    return button;
}

// Connects a button's click to a member call that is skipped once the window is gone.
template <typename Action> void onClicked(GtkWidget* button, Action action)
{
    auto* callback = new Action(std::move(action));
    g_signal_connect_data(button, "clicked", G_CALLBACK(+[](GtkButton*, gpointer data) { (*static_cast<Action*>(data))(); }), callback,
        [](gpointer data, GClosure*) { delete static_cast<Action*>(data); }, GConnectFlags(0));
}

} // namespace

std::unique_ptr<PMReaderWindow> PMReaderWindow::create(PMEngineSession& session, std::unique_ptr<PMReadingPositionStore> positions,
    const KCSize& size, KCError* error)
{
    if (!session.view) {
        KCSetError(error, {PMReaderErrorDomain, 20, "the engine is not running"});
        return nullptr;
    }
    std::unique_ptr<PMReaderWindow> window(new PMReaderWindow(session, std::move(positions)));
    window->build(size);
    return window;
}

PMReaderWindow::PMReaderWindow(PMEngineSession& session, std::unique_ptr<PMReadingPositionStore> positions)
    : m_session(session)
    , m_layout(session)
    , m_positions(std::move(positions))
{
    if (m_positions) {
        m_highlights = std::make_unique<PMReaderHighlights>(m_positions->store(), m_positions->context(), m_positions->assetID());
        m_sharing = std::make_unique<PMReaderSharing>(*session.book, m_positions->context(), m_positions->assetID());
    }
    // A book without a navigation document still reads; its chapters are untitled.
    m_navigation = PMBookNavigation::open(*session.book, nullptr).value_or(PMBookNavigation());
    for (const auto& path : session.documentPaths) {
        std::error_code problem;
        auto size = path.empty() ? 0 : std::filesystem::file_size(path, problem);
        m_documentSizes.push_back(problem ? 0 : static_cast<double>(size));
    }
}

PMReaderWindow::~PMReaderWindow()
{
    *m_alive = false;
    if (m_highlightPopover)
        gtk_widget_unparent(m_highlightPopover);
    m_notes.reset();
    g_signal_handlers_disconnect_by_data(m_session.view->webView(), this);
    g_signal_handlers_disconnect_by_data(webkit_web_view_get_user_content_manager(m_session.view->webView()), this);
    if (m_window)
        gtk_window_destroy(GTK_WINDOW(m_window));
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
    GtkWidget* larger = iconButton("zoom-in-symbolic", "Larger Text");
    GtkWidget* smaller = iconButton("zoom-out-symbolic", "Smaller Text");
    onClicked(larger, [this, alive = m_alive] { if (*alive) zoom(kZoomStep); });
    onClicked(smaller, [this, alive = m_alive] { if (*alive) zoom(1 / kZoomStep); });
    if (m_sharing)
        adw_header_bar_pack_end(ADW_HEADER_BAR(header), m_sharing->notesMenuButton(GTK_WINDOW(m_window)));
    adw_header_bar_pack_end(ADW_HEADER_BAR(header), larger);
    adw_header_bar_pack_end(ADW_HEADER_BAR(header), smaller);
    m_nightButton = gtk_toggle_button_new();
    gtk_button_set_icon_name(GTK_BUTTON(m_nightButton), "weather-clear-night-symbolic");
    gtk_widget_set_tooltip_text(m_nightButton, "Night");
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
    WebKitUserContentManager* scripts = webkit_web_view_get_user_content_manager(webView);
    webkit_user_content_manager_register_script_message_handler(scripts, PMHighlightMessageHandler, nullptr);
    g_signal_connect(scripts, (std::string("script-message-received::") + PMHighlightMessageHandler).c_str(),
        G_CALLBACK(+[](WebKitUserContentManager*, JSCValue* value, gpointer data) {
            char* text = jsc_value_to_string(value);
            if (text)
                static_cast<PMReaderWindow*>(data)->highlightClicked(text);
            g_free(text);
        }), this);
    webkit_user_content_manager_register_script_message_handler(scripts, PMReaderStateMessageHandler, nullptr);
    g_signal_connect(scripts, (std::string("script-message-received::") + PMReaderStateMessageHandler).c_str(),
        G_CALLBACK(+[](WebKitUserContentManager*, JSCValue* value, gpointer data) {
            auto* self = static_cast<PMReaderWindow*>(data);
            char* text = jsc_value_to_string(value);
            ++self->m_relayouts;
            if (text && !self->m_busy)
                self->settle(text);
            g_free(text);
        }), this);
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
            [this](const PMHighlightRange& range) { show(range.spineIndex, pathTarget(range.start), nullptr); },
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
            self->show(*entries[index].spineIndex, pageTarget(0), nullptr);
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

PMReadingPosition PMReaderWindow::storedPosition() const
{
    auto cfi = m_positions ? m_positions->load() : std::nullopt;
    auto position = cfi ? PMReadingPosition::fromCFI(*cfi) : std::nullopt;
    if (!position || position->spineIndex >= m_session.documentCount())
        return {};
    return *position;
}

bool PMReaderWindow::open(const PMReadingPosition& position, KCError* error)
{
    return show(position.spineIndex, position.path.empty() ? pageTarget(0) : pathTarget(position.path), error) && waitUntilSettled(error);
}

bool PMReaderWindow::find(const std::string& query, KCError* error)
{
    const bool listedBefore = m_search->resultsShown();
    auto results = m_search->search(query, error);
    if (!results)
        return false;
    if (results->empty())
        return KCSetError(error, {PMReaderErrorDomain, 27, "\u201C" + query + "\u201D was not found"});
    // The list, shown as the search ends, narrows the page: the match's page is known once the
    // page has laid itself out again. (The search bar's own lay-outs came while the search ran.)
    const int relayouts = m_relayouts;
    // A page that keeps its width (a window too narrow to give) is shown at once.
    if (!listedBefore && !m_session.view->runUntil([&] { return m_relayouts != relayouts; }, kRelayoutSeconds)
        && !m_session.view->webProcessTerminated())
        m_session.view->clearFailure();
    return show(results->front().spineIndex, PMReaderMatchTarget(results->front()), error) && waitUntilSettled(error);
}

bool PMReaderWindow::turnPages(int count, KCError* error)
{
    for (int turned = 0; turned < std::abs(count); ++turned) {
        turn(count < 0 ? -1 : 1);
        if (!waitUntilSettled(error))
            return false;
    }
    return true;
}

bool PMReaderWindow::show(size_t spineIndex, const std::string& target, KCError* error)
{
    spineIndex = m_layout.spreadStart(spineIndex, viewSize());
    if (m_loadedSpineIndex == spineIndex && !m_pendingTarget) {
        showTarget(target);
        return true;
    }
    auto uri = m_session.documentURI(spineIndex, error);
    if (!uri)
        return false;
    m_busy = true;
    m_loadedSpineIndex = spineIndex;
    m_pendingTarget = target;
    m_session.view->clearFailure();
    m_session.view->loadDocument(*uri);
    return true;
}

void PMReaderWindow::turn(int direction)
{
    if (m_busy || !m_stateKnown)
        return;
    const int page = m_state.page + direction;
    if (page >= 0 && page < m_state.count) {
        show(m_state.spineIndex, pageTarget(page), nullptr);
        return;
    }
    // Past the chapter's end: on in the next or previous document; the book's ends stay put.
    const long spineIndex = m_layout.neighbour(m_state.spineIndex, direction, viewSize());
    if (spineIndex < 0 || spineIndex >= static_cast<long>(m_session.documentCount()))
        return;
    KCError error;
    if (!show(static_cast<size_t>(spineIndex), pageTarget(direction > 0 ? 0 : -1), &error))
        KCLog("Cannot turn to spine item %ld: %@", spineIndex, error.message);
}

void PMReaderWindow::zoom(double factor)
{
    if (m_busy || !m_stateKnown)
        return;
    WebKitWebView* view = m_session.view->webView();
    webkit_web_view_set_zoom_level(view, webkit_web_view_get_zoom_level(view) * factor);
    showTarget(pathTarget(m_state.path));
}

void PMReaderWindow::showTarget(const std::string& target)
{
    m_busy = true;
    // Fonts that are still coming would move the text after the page is chosen.
    runInPage("await document.fonts.ready; " + decorationScript() + "; return " + PMReaderShowScript(m_layout.target(target, m_loadedSpineIndex.value_or(0), viewSize(), m_night)) + ";",
        [this](const std::string& state) { settle(state); });
}

std::string PMReaderWindow::decorationScript() const
{
    const bool drawsHighlights = m_highlights && m_loadedSpineIndex;
    return PMReaderDrawScript(drawsHighlights ? m_highlights->drawList(*m_loadedSpineIndex, m_night) : "[]", m_night);
}

void PMReaderWindow::redraw(const std::string& before)
{
    ++m_redrawing;
    if (m_notes)
        m_notes->update(m_night);
    runInPage(before + decorationScript() + "; return true;", [this](const std::string&) { --m_redrawing; });
}

bool PMReaderWindow::waitForRedraw(KCError* error)
{
    if (m_session.view->runUntil([this] { return m_redrawing == 0; }, kWaitSeconds))
        return true;
    return KCSetError(error, {PMReaderErrorDomain, 24, "the page was not drawn again"});
}

void PMReaderWindow::setNight(bool night)
{
    if (night == m_night)
        return;
    m_night = night;
    adw_style_manager_set_color_scheme(adw_style_manager_get_default(), night ? ADW_COLOR_SCHEME_FORCE_DARK : ADW_COLOR_SCHEME_DEFAULT);
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_nightButton), night);
    redraw();
}

void PMReaderWindow::setScrolled(bool scrolled)
{
    if (scrolled == m_layout.scrolled())
        return;
    m_layout.setScrolled(scrolled);
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(m_scrolledButton), scrolled);
    if (m_stateKnown && !m_pendingTarget)
        showTarget(pathTarget(m_state.path));
}

bool PMReaderWindow::switchScrolled(bool scrolled, KCError* error)
{
    setScrolled(scrolled);
    return waitUntilSettled(error);
}

KCSize PMReaderWindow::viewSize() const
{
    GtkWidget* view = GTK_WIDGET(m_session.view->webView());
    return {static_cast<double>(gtk_widget_get_width(view)), static_cast<double>(gtk_widget_get_height(view))};
}

bool PMReaderWindow::switchNight(bool night, KCError* error)
{
    setNight(night);
    return waitForRedraw(error);
}

bool PMReaderWindow::highlight(const std::string& text, const PMHighlightStyle& style, KCError* error)
{
    if (!m_highlights || !m_stateKnown || !m_loadedSpineIndex)
        return KCSetError(error, {PMReaderErrorDomain, 25, "no chapter is shown to highlight in"});
    auto answer = std::make_shared<std::optional<std::string>>();
    runInPage("return " + PMReaderFindScript(text) + ";", [answer](const std::string& result) { *answer = result; });
    if (!m_session.view->runUntil([&] { return answer->has_value(); }, kWaitSeconds))
        return KCSetError(error, {PMReaderErrorDomain, 24, "the page did not answer"});
    auto found = PMFoundText::fromJSON(**answer);
    if (!found)
        return KCSetError(error, {PMReaderErrorDomain, 26, "there is no \u201C" + text + "\u201D in this chapter"});
    // Printed pages count only in a book that lists them.
    if (m_navigation.pageList().empty())
        found->page.reset();
    const size_t spineIndex = *m_loadedSpineIndex;
    PMHighlightRange range {spineIndex, found->start, found->end};
    const std::string& idref = m_session.book->package().spine[spineIndex].idref;
    if (!m_highlights->add(*found, range, idref, m_navigation.chapterTitleForLocation(range.cfi(idref)), style, error))
        return false;
    // The new highlight shows instead of the selection.
    redraw("window.getSelection().removeAllRanges(); ");
    return waitForRedraw(error);
}

void PMReaderWindow::highlightClicked(const std::string& clickJSON)
{
    auto click = nlohmann::json::parse(clickJSON, nullptr, false);
    if (!m_highlights || !click.is_object() || !click["uuid"].is_string())
        return;
    std::u16string uuid = KCUTF16FromUTF8(click["uuid"].get<std::string>());
    auto style = m_highlights->styleOf(uuid);
    if (!style)
        return;
    // The page's coordinates are the view's divided by its zoom.
    const double zoom = webkit_web_view_get_zoom_level(m_session.view->webView());
    auto scaled = [&](const char* key) { return click[key].is_number() ? static_cast<int>(std::lround(click[key].get<double>() * zoom)) : 0; };
    GdkRectangle line {scaled("x"), scaled("y"), std::max(1, scaled("width")), std::max(1, scaled("height"))};
    if (m_highlightPopover) {
        g_object_remove_weak_pointer(G_OBJECT(m_highlightPopover), reinterpret_cast<gpointer*>(&m_highlightPopover));
        gtk_popover_popdown(GTK_POPOVER(m_highlightPopover));
    }
    m_highlightPopover = PMPresentHighlightPopover(GTK_WIDGET(m_session.view->webView()), line, *style, [this, uuid, alive = m_alive](const PMHighlightEdit& edit) {
        if (*alive)
            editHighlight(uuid, edit);
    }, m_sharing ? m_sharing->highlightMenu(uuid, nullptr) : std::nullopt);
    g_object_add_weak_pointer(G_OBJECT(m_highlightPopover), reinterpret_cast<gpointer*>(&m_highlightPopover));
}

void PMReaderWindow::editHighlight(const std::u16string& uuid, const PMHighlightEdit& edit)
{
    KCError error;
    if (m_highlights->edit(uuid, edit, &error))
        redraw();
    else
        KCLog("Cannot change the highlight: %@", error.message);
}

bool PMReaderWindow::showNotes(bool shown, KCError* error)
{
    if (!m_notes)
        return KCSetError(error, {PMReaderErrorDomain, 55, "there are no notes without an annotation store"});
    if (!m_notes->reveal(shown))
        return true;
    if (!m_session.view->runUntil([this] { return m_notes->settled(); }, kWaitSeconds))
        return KCSetError(error, {PMReaderErrorDomain, 56, "the notes sidebar did not come to stand"});
    // The page lays itself out again at its new width a moment after the last change;
    // a page that kept its width says nothing.
    const int relayouts = m_relayouts;
    if (!m_session.view->runUntil([&] { return m_relayouts != relayouts; }, kRelayoutSeconds) && !m_session.view->webProcessTerminated())
        m_session.view->clearFailure();
    return waitUntilSettled(error);
}

std::optional<std::vector<std::string>> PMReaderWindow::openShareMenu(KCError* error)
{
    if (!m_sharing || !m_stateKnown) {
        KCSetError(error, {PMReaderErrorDomain, 25, "no chapter is shown to share from"});
        return std::nullopt;
    }
    auto newest = m_sharing->newestHighlight(error);
    if (!newest)
        return std::nullopt;
    // The highlight is clicked where its text lies on the page.
    auto line = std::make_shared<std::optional<std::string>>();
    runInPage("return " + PMReaderTextLineScript(KCUTF8FromUTF16(newest->annotationSelectedText().value_or(u""))) + ";",
        [line](const std::string& result) { *line = result; });
    if (!m_session.view->runUntil([&] { return line->has_value(); }, kWaitSeconds)) {
        KCSetError(error, {PMReaderErrorDomain, 24, "the page did not answer"});
        return std::nullopt;
    }
    auto click = nlohmann::json::parse(**line, nullptr, false);
    if (!click.is_object()) {
        KCSetError(error, {PMReaderErrorDomain, 66, "the newest highlight is not on the page shown"});
        return std::nullopt;
    }
    click["uuid"] = KCUTF8FromUTF16(newest->annotationUuid().value_or(u""));
    highlightClicked(click.dump());
    GtkMenuButton* share = m_highlightPopover ? PMHighlightPopoverShareButton(m_highlightPopover) : nullptr;
    if (!share) {
        KCSetError(error, {PMReaderErrorDomain, 67, "the highlight's popover has no share menu"});
        return std::nullopt;
    }
    gtk_menu_button_popup(share);
    return PMMenuModelLabels(gtk_menu_button_get_menu_model(share));
}

bool PMReaderWindow::exportNotes(const std::string& path, KCError* error)
{
    if (!m_sharing)
        return KCSetError(error, {PMReaderErrorDomain, 68, "the reader has no annotation store"});
    return m_sharing->exportNotes(path, error);
}

void PMReaderWindow::runInPage(const std::string& body, std::function<void(const std::string& result)> done)
{
    struct Call {
        std::function<void(const std::string&)> done;
        std::shared_ptr<bool> alive;
    };
    webkit_web_view_call_async_javascript_function(m_session.view->webView(), body.c_str(), -1, nullptr, nullptr, nullptr, nullptr,
        [](GObject* view, GAsyncResult* result, gpointer data) {
            std::unique_ptr<Call> call(static_cast<Call*>(data));
            GError* error = nullptr;
            JSCValue* value = webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(view), result, &error);
            std::string text;
            if (value) {
                char* string = jsc_value_to_string(value);
                text = string ? string : "";
                g_free(string);
                g_object_unref(value);
            } else {
                KCLog("The reader's page script failed: %s", error ? error->message : "");
                g_clear_error(&error);
            }
            if (*call->alive)
                call->done(text);
        }, new Call {std::move(done), m_alive});
}

void PMReaderWindow::settle(const std::string& stateJSON)
{
    m_busy = false;
    auto state = nlohmann::json::parse(stateJSON, nullptr, false);
    if (!state.is_object()) {
        KCLog("The page did not say where it stands: %@", stateJSON);
        return;
    }
    m_state.spineIndex = m_loadedSpineIndex.value_or(m_state.spineIndex);
    m_state.page = state.value("page", 0);
    m_state.count = std::max(1, state.value("count", 1));
    m_state.path = state.value("path", std::string());
    m_state.rightToLeft = state.value("rightToLeft", false);
    m_stateKnown = true;
    updateStatus();
    if (!m_positions)
        return;
    const auto& spine = m_session.book->package().spine;
    std::string cfi = PMReadingPosition {m_state.spineIndex, m_state.path}.cfi(spine[m_state.spineIndex].idref);
    if (cfi == m_savedCFI)
        return;
    KCError error;
    if (m_positions->save(cfi, &error)) {
        m_savedCFI = cfi;
        m_positionError.reset();
    } else {
        m_positionError = error;
    }
}

double PMReaderWindow::bookFraction() const
{
    const double total = std::accumulate(m_documentSizes.begin(), m_documentSizes.end(), 0.0);
    if (total <= 0)
        return static_cast<double>(m_state.spineIndex + 1) / static_cast<double>(m_session.documentCount());
    const double before = std::accumulate(m_documentSizes.begin(), m_documentSizes.begin() + static_cast<long>(m_state.spineIndex), 0.0);
    return (before + m_documentSizes[m_state.spineIndex] * (m_state.page + 1) / m_state.count) / total;
}

void PMReaderWindow::updateStatus()
{
    const auto& spine = m_session.book->package().spine;
    auto chapter = m_navigation.chapterTitleForLocation(PMReadingPosition {m_state.spineIndex, {}}.cfi(spine[m_state.spineIndex].idref));
    // Scrolled, the place in the chapter: 0% at its top, 100% scrolled to its end.
    const std::string place = !m_layout.scrolled() ? KCStringWithFormat("Page %d of %d", m_state.page + 1, m_state.count)
        : KCStringWithFormat("%d%% of the chapter", m_state.count > 1 ? static_cast<int>(std::lround(m_state.page * 100.0 / (m_state.count - 1))) : 100);
    m_status = KCStringWithFormat("%s \u2014 %s \u2014 %d%%", chapter.value_or(m_session.book->package().title).c_str(), place.c_str(),
        static_cast<int>(std::lround(bookFraction() * 100)));
    gtk_label_set_text(m_statusLabel, m_status.c_str());
}

bool PMReaderWindow::waitUntilSettled(KCError* error)
{
    if (m_session.view->runUntil([this] { return !m_busy; }, kWaitSeconds) && m_stateKnown && !m_session.view->failure())
        return true;
    KCSetError(error, {PMReaderErrorDomain, 21, m_session.view->failure().value_or("the page did not come to stand")});
    return false;
}

void PMReaderWindow::loadChanged(WebKitWebView*, int event, gpointer data)
{
    auto* self = static_cast<PMReaderWindow*>(data);
    if (event != WEBKIT_LOAD_FINISHED || !self->m_pendingTarget)
        return;
    std::string target = *std::exchange(self->m_pendingTarget, std::nullopt);
    self->showTarget(target);
}

gboolean PMReaderWindow::loadFailed(WebKitWebView*, int, const char*, GError*, gpointer data)
{
    // The view tells a failed load from one that a newer load replaced. The
    // page that was shown stays the reader's place; a turn loads it again.
    auto* self = static_cast<PMReaderWindow*>(data);
    if (self->m_pendingTarget && self->m_session.view->failure()) {
        KCLog("Cannot show the document: %@", *self->m_session.view->failure());
        self->m_pendingTarget.reset();
        self->m_loadedSpineIndex.reset();
        self->m_busy = false;
    }
    return FALSE;
}

bool PMReaderWindow::writeScreenshot(const std::string& path, KCError* error)
{
    // The engine draws a turned page on a later frame: the page's next two
    // frames, then a few of the window's and a moment pass first.
    auto pageDrawn = std::make_shared<bool>(false);
    runInPage("await new Promise(function(done) { requestAnimationFrame(function() { requestAnimationFrame(done); }); }); return true;",
        [pageDrawn](const std::string&) { *pageDrawn = true; });
    if (!m_session.view->runUntil([&] { return *pageDrawn; }, kWaitSeconds))
        return KCSetError(error, {PMReaderErrorDomain, 23, "the page was not drawn: " + m_session.view->failure().value_or("")});
    int frames = 0;
    guint tick = gtk_widget_add_tick_callback(m_window, [](GtkWidget*, GdkFrameClock*, gpointer data) -> gboolean {
        ++*static_cast<int*>(data);
        return G_SOURCE_CONTINUE;
    }, &frames, nullptr);
    const gint64 start = g_get_monotonic_time();
    m_session.view->runUntil([&] { return frames >= 4 && g_get_monotonic_time() - start > G_USEC_PER_SEC / 5; }, 10);
    gtk_widget_remove_tick_callback(m_window, tick);

    // The window's contents, not the window: a window's paintable takes in
    // the frame's shadow and would be drawn scaled into the window's size.
    GdkPaintable* paintable = gtk_widget_paintable_new(adw_window_get_content(ADW_WINDOW(m_window)));
    const int width = gdk_paintable_get_intrinsic_width(paintable);
    const int height = gdk_paintable_get_intrinsic_height(paintable);
    GtkSnapshot* snapshot = gtk_snapshot_new();
    // Under the contents, the window's background, as on screen.
    gtk_snapshot_render_background(snapshot, gtk_widget_get_style_context(m_window), 0, 0, width, height);
    gdk_paintable_snapshot(paintable, snapshot, width, height);
    PMSnapshotOpenPopovers(m_window, snapshot);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    g_object_unref(paintable);
    bool written = false;
    if (node) {
        graphene_rect_t bounds = GRAPHENE_RECT_INIT(0, 0, static_cast<float>(width), static_cast<float>(height));
        GdkTexture* texture = gsk_renderer_render_texture(gtk_native_get_renderer(GTK_NATIVE(m_window)), node, &bounds);
        written = gdk_texture_save_to_png(texture, path.c_str());
        g_object_unref(texture);
        gsk_render_node_unref(node);
    }
    if (!written)
        KCSetError(error, {PMReaderErrorDomain, 22, "cannot write the screenshot " + path});
    return written;
}

void PMReaderWindow::runUntilClosed()
{
    while (!m_closed)
        g_main_context_iteration(nullptr, TRUE);
    m_window = nullptr;
}
