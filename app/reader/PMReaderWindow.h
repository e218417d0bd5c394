#pragma once
// The reader window: a header bar with the book's title, the table of
// contents in a popover, the book in pages in the engine's web view, a
// status line (the chapter's title, the page in the chapter, the place in
// the book), font size larger and smaller. Pages turn with Left/Right,
// Page Up/Down and space, and by clicking the page's left or right edge
// (the other way round on right-to-left pages); a turn past a chapter's end
// goes on in the next or previous spine item. A new window size lays the
// chapter out again at the text that was shown. A header-bar switch scrolls
// the chapter instead; fixed-layout books show their pages or spreads
// scaled into the view (PMReaderLayout.h).
// Ctrl+F and the search button search the book (PMReaderSearchPanel.h); a
// result opens its chapter at the match and selects it.
// Ctrl+B and the notes button show the book's highlights and notes beside
// the page (PMReaderNotesSidebar.h); a row opens its chapter at the highlight.
// Every page that comes to stand is kept as the book's reading position.
// Highlights of the book are drawn whenever a chapter is shown; a click on
// one opens its popover, whose Share menu shares it. A header-bar switch
// reads at night: the page light on dark, highlights in their night colours.
// The header bar's notes menu shares all the book's notes or exports them
// (PMReaderSharing.h).
// Text selected with the mouse opens a popover that offers it as a highlight:
// the first choice of colour, underline or note makes it.
// The waiting calls (open, turnPages, find, highlight, selectText, switchNight,
// showNotes, openShareMenu, exportNotes, writeScreenshot) let scripts drive it.
// Errors: create answers nullptr and the waiting calls false, filling *error
// (PMReaderErrorDomain, or the engine's) when a document cannot be shown,
// the engine stops answering, a search finds nothing or a file cannot be
// written.
#include "PMReaderHighlights.h"
#include "PMReaderLayout.h"
#include "PMReaderNotesSidebar.h"
#include "PMReaderPosition.h"
#include "PMReaderSearchPanel.h"
#include "PMReaderSharing.h"
#include "book/PMBookNavigation.h"
#include "engine/PMEngineSession.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

typedef struct _GtkWidget GtkWidget;
typedef struct _GtkLabel GtkLabel;

class PMReaderWindow {
public:
    // `session`'s engine runs paginated; the window takes its view.
    static std::unique_ptr<PMReaderWindow> create(PMEngineSession& session, std::unique_ptr<PMReadingPositionStore> positions,
        const KCSize& size, KCError* error);
    ~PMReaderWindow();
    PMReaderWindow(const PMReaderWindow&) = delete;
    PMReaderWindow& operator=(const PMReaderWindow&) = delete;

    // Where the store left the reader, else the book's start.
    PMReadingPosition storedPosition() const;
    // Shows the position's page and waits until it stands.
    bool open(const PMReadingPosition& position, KCError* error);
    // Turns `count` pages (back when negative), one at a time; stops at the book's ends.
    bool turnPages(int count, KCError* error);
    // Searches the book, lists the results and shows the first one selected.
    bool find(const std::string& query, KCError* error);
    // Highlights the first occurrence of the text in the chapter shown and keeps it.
    bool highlight(const std::string& text, const PMHighlightStyle& style, KCError* error);
    // Selects the text's first occurrence in the chapter shown as the mouse
    // would, which opens the popover that offers a highlight; with a choice,
    // makes it there as the popover would (colour, underline, note).
    bool selectText(const std::string& text, const std::optional<PMHighlightEdit>& choice, KCError* error);
    // Reads by night or by day; waits until the page is drawn again.
    bool switchNight(bool night, KCError* error);
    // Shows or hides the notes sidebar; waits until the page is laid out beside it.
    bool showNotes(bool shown, KCError* error);
    // Opens the popover of the book's newest highlight on the page shown with
    // its Share menu open; answers the menu's titles.
    std::optional<std::vector<std::string>> openShareMenu(KCError* error);
    // The book's notes into the file, as HTML or RTF by its extension.
    bool exportNotes(const std::string& path, KCError* error);
    // Scrolls the chapter in one column, or shows it in pages; waits until the page stands.
    bool switchScrolled(bool scrolled, KCError* error);
    // The window as drawn, at its size.
    bool writeScreenshot(const std::string& path, KCError* error);
    // Turns the main loop until the window is closed.
    void runUntilClosed();

    const std::string& statusText() const { return m_status; }
    // Why the position could not be kept, when it could not.
    const std::optional<KCError>& positionError() const { return m_positionError; }

private:
    struct PageState {
        size_t spineIndex = 0;
        int page = 0;
        int count = 1;
        std::string path;
        bool rightToLeft = false;
    };

    PMReaderWindow(PMEngineSession& session, std::unique_ptr<PMReadingPositionStore> positions);
    void build(const KCSize& size);
    GtkWidget* buildTableOfContents();
    // Shows a page of the spine document without waiting; `target` is the
    // page script's JSON target.
    bool show(size_t spineIndex, const std::string& target, KCError* error);
    void turn(int direction);
    void zoom(double factor);
    void showTarget(const std::string& target);
    // Runs an async function body in the page; `done` gets its result as text
    // (empty when it threw) unless the window is gone by then.
    void runInPage(const std::string& body, std::function<void(const std::string& result)> done);
    void settle(const std::string& stateJSON);
    // The page script that draws the loaded chapter's highlights, day or night.
    std::string decorationScript() const;
    // Draws the highlights again after running `before` in the page.
    void redraw(const std::string& before = {});
    bool waitForRedraw(KCError* error);
    void setNight(bool night);
    void setScrolled(bool scrolled);
    KCSize viewSize() const;
    // The page's script messages, their text null when it could not be read.
    template <void (PMReaderWindow::*receive)(const char* text)> void onScriptMessage(const char* name);
    void highlightClicked(const char* clickJSON);
    void selectionOffered(const char* offerJSON);
    void stateReported(const char* stateJSON);
    // Keeps the found text as a highlight and draws it; answers its UUID.
    std::optional<std::u16string> addHighlight(PMFoundText found, const PMHighlightStyle& style, KCError* error);
    GdkRectangle viewBox(const nlohmann::json& box) const;
    void presentPopover(GtkWidget* popover);
    void editHighlight(const std::u16string& uuid, const PMHighlightEdit& edit);
    void updateStatus();
    bool waitUntilSettled(KCError* error);
    double bookFraction() const;

    static void loadChanged(struct _WebKitWebView* view, int event, gpointer self);
    static gboolean loadFailed(struct _WebKitWebView* view, int event, const char* URI, GError* error, gpointer self);

    PMEngineSession& m_session;
    PMReaderLayout m_layout;
    std::unique_ptr<PMReadingPositionStore> m_positions;
    std::unique_ptr<PMReaderHighlights> m_highlights;  // with the position's store
    std::unique_ptr<PMReaderSharing> m_sharing;        // with the position's store
    PMBookNavigation m_navigation;
    std::vector<double> m_documentSizes;  // bytes of each spine document, for the place in the book
    GtkWidget* m_window = nullptr;
    GtkLabel* m_statusLabel = nullptr;
    std::string m_status;
    PageState m_state;
    bool m_stateKnown = false;
    std::optional<size_t> m_loadedSpineIndex;  // the document in the view
    std::optional<std::string> m_pendingTarget;  // shown once the document has loaded
    bool m_busy = false;
    bool m_night = false;
    GtkWidget* m_nightButton = nullptr;
    GtkWidget* m_scrolledButton = nullptr;
    GtkWidget* m_highlightPopover = nullptr;  // weak; the view is its parent while it is open
    std::function<void(const PMHighlightEdit&)> m_selectionChoice;  // what the selection's popover does with a choice
    int m_redrawing = 0;
    int m_relayouts = 0;  // the page's own lay-outs after a new size
    bool m_closed = false;
    std::string m_savedCFI;
    std::optional<KCError> m_positionError;
    std::unique_ptr<PMReaderSearchPanel> m_search;
    std::unique_ptr<PMReaderNotesSidebar> m_notes;  // with the highlights
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};
