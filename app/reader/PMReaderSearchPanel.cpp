#include "PMReaderSearchPanel.h"

#include "PMReaderButtons.h"
#include "Utilities/KCLogger.h"

#include <adwaita.h>

namespace {

constexpr int kResultsWidth = 320;
constexpr const char* kResultKey = "pagemoor-result";  // a result row's index in the list, plus 1

std::string escaped(std::string_view text)
{
    char* markup = g_markup_escape_text(text.data(), static_cast<gssize>(text.size()));
    std::string result = markup;
    g_free(markup);
    return result;
}

// The sentence without its surrounding blanks, the match in bold.
std::string resultMarkup(const PMReaderSearchResult& result)
{
    std::string_view sentence = result.sentence;
    std::string_view before = sentence.substr(0, result.matchStart);
    std::string_view after = sentence.substr(result.matchStart + result.matchLength);
    before.remove_prefix(std::min(before.size(), before.find_first_not_of(" \t\r\n")));
    after = after.substr(0, after.find_last_not_of(" \t\r\n") + 1);
    return escaped(before) + "<b>" + escaped(result.match()) + "</b>" + escaped(after);
}

GtkWidget* resultLabel(const std::string& markup, bool heading)
{
    GtkWidget* label = gtk_label_new(nullptr);
    gtk_label_set_markup(GTK_LABEL(label), markup.c_str());
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    if (heading) {
        gtk_widget_add_css_class(label, "heading");
        gtk_widget_set_margin_top(label, 6);
    }
    return label;
}

} // namespace

PMReaderSearchPanel::PMReaderSearchPanel(const PMEngineSession& reader, const PMBookNavigation& navigation, OpenResult open)
    : m_search(reader, navigation)
    , m_open(std::move(open))
{
}

PMReaderSearchPanel::~PMReaderSearchPanel() = default;

GtkWidget* PMReaderSearchPanel::build(GtkWidget* header, GtkWidget* page)
{
    GtkWidget* button = PMIconToggleButton("system-search-symbolic", "Search");
    adw_header_bar_pack_end(ADW_HEADER_BAR(header), button);

    m_entry = gtk_search_entry_new();
    gtk_widget_set_hexpand(m_entry, TRUE);
    g_object_set(m_entry, "placeholder-text", "Search the book", nullptr);
    GtkWidget* status = gtk_label_new("");
    m_status = GTK_LABEL(status);
    gtk_widget_add_css_class(status, "dim-label");
    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12);
    gtk_widget_set_size_request(row, 420, -1);
    gtk_box_append(GTK_BOX(row), m_entry);
    gtk_box_append(GTK_BOX(row), status);
    m_bar = gtk_search_bar_new();
    gtk_search_bar_set_child(GTK_SEARCH_BAR(m_bar), row);
    gtk_search_bar_connect_entry(GTK_SEARCH_BAR(m_bar), GTK_EDITABLE(m_entry));
    gtk_search_bar_set_show_close_button(GTK_SEARCH_BAR(m_bar), TRUE);
    g_object_bind_property(button, "active", m_bar, "search-mode-enabled", GBindingFlags(G_BINDING_BIDIRECTIONAL | G_BINDING_SYNC_CREATE));
    g_signal_connect_swapped(m_entry, "search-changed", G_CALLBACK(+[](PMReaderSearchPanel* self) { self->entryChanged(); }), this);
    g_signal_connect_swapped(m_bar, "notify::search-mode-enabled", G_CALLBACK(+[](PMReaderSearchPanel* self) {
        gtk_widget_set_visible(self->m_results, gtk_search_bar_get_search_mode(GTK_SEARCH_BAR(self->m_bar)) && !self->m_shown.empty());
    }), this);

    m_list = gtk_list_box_new();
    gtk_list_box_set_selection_mode(GTK_LIST_BOX(m_list), GTK_SELECTION_NONE);
    gtk_widget_add_css_class(m_list, "navigation-sidebar");
    g_signal_connect(m_list, "row-activated", G_CALLBACK(+[](GtkListBox*, GtkListBoxRow* row, gpointer data) {
        auto* self = static_cast<PMReaderSearchPanel*>(data);
        auto index = GPOINTER_TO_SIZE(g_object_get_data(G_OBJECT(row), kResultKey));
        if (index && index <= self->m_shown.size())
            self->m_open(self->m_shown[index - 1]);
    }), this);
    m_results = gtk_scrolled_window_new();
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(m_results), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(m_results), m_list);
    gtk_widget_set_size_request(m_results, kResultsWidth, -1);
    gtk_widget_add_css_class(m_results, "background");
    gtk_widget_set_visible(m_results, FALSE);

    // The results beside the page: the page narrows and lays itself out again.
    GtkWidget* body = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_vexpand(body, TRUE);
    gtk_widget_set_hexpand(page, TRUE);
    gtk_box_append(GTK_BOX(body), page);
    gtk_box_append(GTK_BOX(body), m_results);
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(column), m_bar);
    gtk_box_append(GTK_BOX(column), body);

    GtkEventController* shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(shortcuts), GTK_SHORTCUT_SCOPE_GLOBAL);
    GtkShortcutAction* reveal = gtk_callback_action_new([](GtkWidget*, GVariant*, gpointer data) -> gboolean {
        auto* self = static_cast<PMReaderSearchPanel*>(data);
        gtk_search_bar_set_search_mode(GTK_SEARCH_BAR(self->m_bar), TRUE);
        gtk_widget_grab_focus(self->m_entry);
        return TRUE;
    }, this, nullptr);
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
        gtk_shortcut_new(gtk_shortcut_trigger_parse_string("<Control>f"), reveal));
    gtk_widget_add_controller(column, shortcuts);
    return column;
}

bool PMReaderSearchPanel::resultsShown() const
{
    return gtk_widget_get_visible(m_results);
}

void PMReaderSearchPanel::entryChanged()
{
    if (m_running) {
        m_changedWhileRunning = true;
        return;
    }
    do {
        m_changedWhileRunning = false;
        const std::string query = gtk_editable_get_text(GTK_EDITABLE(m_entry));
        if (query.empty()) {
            m_query.clear();
            list({});
            setStatus("");
        } else if (query != m_query) {
            KCError error;
            if (!search(query, &error))
                setStatus(error.message);
        }
    } while (m_changedWhileRunning);
}

std::optional<std::vector<PMReaderSearchResult>> PMReaderSearchPanel::search(const std::string& query, KCError* error)
{
    gtk_search_bar_set_search_mode(GTK_SEARCH_BAR(m_bar), TRUE);
    KCLog("Searching the book for \u201C%@\u201D", query);
    m_query = query;
    // A query given from outside is shown in the entry, without being taken
    // for one typed there (emptying the entry on the way would be).
    if (gtk_editable_get_text(GTK_EDITABLE(m_entry)) != query) {
        g_signal_handlers_block_matched(m_entry, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
        gtk_editable_set_text(GTK_EDITABLE(m_entry), query.c_str());
        g_signal_handlers_unblock_matched(m_entry, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this);
    }
    // The engine's tasks turn the main loop: what is typed meanwhile waits its turn.
    m_running = true;
    setStatus(m_search.ready() ? "Searching\u2026" : "Preparing the search\u2026");
    const bool prepared = m_search.prepare([this](size_t done, size_t total, const std::string&) {
        setStatus("Indexing chapter " + std::to_string(done + 1) + " of " + std::to_string(total) + "\u2026");
    }, error);
    if (prepared)
        setStatus("Searching\u2026");
    auto results = prepared ? m_search.find(query, error) : std::nullopt;
    m_running = false;
    if (!results)
        return std::nullopt;
    list(*results);
    setStatus(results->empty() ? "Not found" : results->size() == 1 ? "1 result" : std::to_string(results->size()) + " results");
    return results;
}

void PMReaderSearchPanel::list(const std::vector<PMReaderSearchResult>& results)
{
    while (GtkWidget* child = gtk_widget_get_first_child(m_list))
        gtk_list_box_remove(GTK_LIST_BOX(m_list), child);
    m_shown = results;
    for (size_t index = 0; index < results.size(); ++index) {
        const auto& result = results[index];
        if (index == 0 || results[index - 1].spineIndex != result.spineIndex) {
            GtkWidget* heading = resultLabel(escaped(result.chapterTitle), true);
            gtk_list_box_append(GTK_LIST_BOX(m_list), heading);
            gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(gtk_widget_get_parent(heading)), FALSE);
        }
        GtkWidget* label = resultLabel(resultMarkup(result), false);
        gtk_list_box_append(GTK_LIST_BOX(m_list), label);
        g_object_set_data(G_OBJECT(gtk_widget_get_parent(label)), kResultKey, GSIZE_TO_POINTER(index + 1));
    }
    gtk_widget_set_visible(m_results, !results.empty());
}

void PMReaderSearchPanel::setStatus(const std::string& text)
{
    gtk_label_set_text(m_status, text.c_str());
}
