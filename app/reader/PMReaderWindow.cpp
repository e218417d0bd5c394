#include "PMReaderWindow.h"

#include "PMReaderHighlightPopover.h"
#include "PMReaderHighlightScript.h"
#include "PMReaderPageScript.h"
#include "PMReaderScreenshot.h"
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
    // A book without a navigation document still reads; its chapters are untitled.
    m_navigation = PMBookNavigation::open(*session.book, nullptr).value_or(PMBookNavigation());
    if (m_positions) {
        m_highlights = std::make_unique<PMReaderHighlights>(m_positions->store(), m_positions->context(), m_positions->assetID());
        m_sharing = std::make_unique<PMReaderSharing>(*session.book, m_navigation, m_positions->context(), m_positions->assetID());
    }
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
    return show(position.spineIndex, position.path.empty() ? PMReaderPageTarget(0) : PMReaderPathTarget(position.path), error) && waitUntilSettled(error);
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
        show(m_state.spineIndex, PMReaderPageTarget(page), nullptr);
        return;
    }
    // Past the chapter's end: on in the next or previous document; the book's ends stay put.
    const long spineIndex = m_layout.neighbour(m_state.spineIndex, direction, viewSize());
    if (spineIndex < 0 || spineIndex >= static_cast<long>(m_session.documentCount()))
        return;
    KCError error;
    if (!show(static_cast<size_t>(spineIndex), PMReaderPageTarget(direction > 0 ? 0 : -1), &error))
        KCLog("Cannot turn to spine item %ld: %@", spineIndex, error.message);
}

void PMReaderWindow::zoom(double factor)
{
    if (m_busy || !m_stateKnown)
        return;
    WebKitWebView* view = m_session.view->webView();
    webkit_web_view_set_zoom_level(view, webkit_web_view_get_zoom_level(view) * factor);
    showTarget(PMReaderPathTarget(m_state.path));
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
        showTarget(PMReaderPathTarget(m_state.path));
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
    return addHighlight(*found, style, error) && waitForRedraw(error);
}

std::optional<std::u16string> PMReaderWindow::addHighlight(PMFoundText found, const PMHighlightStyle& style, KCError* error)
{
    // Printed pages count only in a book that lists them.
    if (m_navigation.pageList().empty())
        found.page.reset();
    const size_t spineIndex = *m_loadedSpineIndex;
    PMHighlightRange range {spineIndex, found.start, found.end};
    const std::string& idref = m_session.book->package().spine[spineIndex].idref;
    auto added = m_highlights->add(found, range, idref, m_navigation.chapterTitleForLocation(range.cfi(idref)), style, error);
    if (!added)
        return std::nullopt;
    // The new highlight shows instead of the selection.
    redraw("window.getSelection().removeAllRanges(); ");
    return added->annotationUuid().value_or(u"");
}

bool PMReaderWindow::selectText(const std::string& text, const std::optional<PMHighlightEdit>& choice, KCError* error)
{
    if (!m_highlights || !m_stateKnown || !m_loadedSpineIndex)
        return KCSetError(error, {PMReaderErrorDomain, 25, "no chapter is shown to highlight in"});
    m_selectionChoice = nullptr;
    auto answer = std::make_shared<std::optional<std::string>>();
    runInPage("return " + PMReaderSelectTextScript(text) + ";", [answer](const std::string& result) { *answer = result; });
    if (!m_session.view->runUntil([&] { return answer->has_value() && (**answer != "true" || m_selectionChoice); }, kWaitSeconds))
        return KCSetError(error, {PMReaderErrorDomain, 24, "the page did not answer"});
    if (**answer != "true")
        return KCSetError(error, {PMReaderErrorDomain, 26, "there is no \u201C" + text + "\u201D in this chapter"});
    if (!choice)
        return true;
    m_selectionChoice(*choice);
    if (m_highlightPopover)
        gtk_popover_popdown(GTK_POPOVER(m_highlightPopover));
    return waitForRedraw(error);
}

// The page's coordinates are the view's divided by its zoom.
GdkRectangle PMReaderWindow::viewBox(const nlohmann::json& box) const
{
    const double zoom = webkit_web_view_get_zoom_level(m_session.view->webView());
    auto scaled = [&](const char* key) {
        auto value = box.find(key);
        return value != box.end() && value->is_number() ? static_cast<int>(std::lround(value->get<double>() * zoom)) : 0;
    };
    return {scaled("x"), scaled("y"), std::max(1, scaled("width")), std::max(1, scaled("height"))};
}

void PMReaderWindow::presentPopover(GtkWidget* popover)
{
    if (m_highlightPopover) {
        g_object_remove_weak_pointer(G_OBJECT(m_highlightPopover), reinterpret_cast<gpointer*>(&m_highlightPopover));
        gtk_popover_popdown(GTK_POPOVER(m_highlightPopover));
    }
    m_highlightPopover = popover;
    g_object_add_weak_pointer(G_OBJECT(m_highlightPopover), reinterpret_cast<gpointer*>(&m_highlightPopover));
}

void PMReaderWindow::selectionOffered(const char* offerJSON)
{
    if (!offerJSON)
        return;
    auto offer = nlohmann::json::parse(offerJSON, nullptr, false);
    auto found = PMFoundText::fromJSONObject(offer);
    if (!m_highlights || !m_loadedSpineIndex || !found)
        return;
    // The first choice makes the highlight; later ones change it.
    auto made = std::make_shared<std::optional<std::u16string>>();
    m_selectionChoice = [this, found = *found, made, alive = m_alive](const PMHighlightEdit& edit) {
        if (!*alive)
            return;
        if (*made) {
            editHighlight(**made, edit);
            return;
        }
        if (edit.remove) {
            runInPage("window.getSelection().removeAllRanges(); return true;", [](const std::string&) {});
            return;
        }
        PMHighlightStyle style;
        style.style = edit.style.value_or(style.style);
        style.underline = edit.underline.value_or(style.underline);
        style.note = edit.note;
        KCError error;
        *made = addHighlight(found, style, &error);
        if (!*made)
            KCLog("Cannot keep the highlight: %@", error.message);
    };
    presentPopover(PMPresentHighlightPopover(GTK_WIDGET(m_session.view->webView()), viewBox(offer), PMHighlightStyle {}, m_selectionChoice));
}

void PMReaderWindow::highlightClicked(const char* clickJSON)
{
    if (!clickJSON)
        return;
    auto click = nlohmann::json::parse(clickJSON, nullptr, false);
    if (!m_highlights || !click.is_object() || !click["uuid"].is_string())
        return;
    std::u16string uuid = KCUTF16FromUTF8(click["uuid"].get<std::string>());
    auto style = m_highlights->styleOf(uuid);
    if (!style)
        return;
    presentPopover(PMPresentHighlightPopover(GTK_WIDGET(m_session.view->webView()), viewBox(click), *style,
        [this, uuid, alive = m_alive](const PMHighlightEdit& edit) {
            if (*alive)
                editHighlight(uuid, edit);
        },
        m_sharing ? m_sharing->highlightMenu(uuid, nullptr) : std::nullopt));
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
    highlightClicked(click.dump().c_str());
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

void PMReaderWindow::stateReported(const char* stateJSON)
{
    ++m_relayouts;
    if (stateJSON && !m_busy)
        settle(stateJSON);
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

    if (!PMWriteWindowScreenshot(m_window, path))
        return KCSetError(error, {PMReaderErrorDomain, 22, "cannot write the screenshot " + path});
    return true;
}

void PMReaderWindow::runUntilClosed()
{
    while (!m_closed)
        g_main_context_iteration(nullptr, TRUE);
    m_window = nullptr;
}
