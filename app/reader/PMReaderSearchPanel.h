#pragma once
// The reader's search bar and results: a search button in the header bar
// and Ctrl+F reveal a search entry under it; a query's results are listed
// beside the page, on its right, grouped under their chapters' titles, each
// its sentence with the match in bold. The first search reads or builds the
// book's filter and says how far the building has come. Activating a result
// hands it to the window.
// Errors: search answers nothing and fills *error as PMReaderSearch::find does.
#include "PMReaderSearch.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

typedef struct _GtkWidget GtkWidget;
typedef struct _GtkLabel GtkLabel;

class PMReaderSearchPanel {
public:
    using OpenResult = std::function<void(const PMReaderSearchResult&)>;

    PMReaderSearchPanel(const PMEngineSession& reader, const PMBookNavigation& navigation, OpenResult open);
    ~PMReaderSearchPanel();
    PMReaderSearchPanel(const PMReaderSearchPanel&) = delete;
    PMReaderSearchPanel& operator=(const PMReaderSearchPanel&) = delete;

    // Puts the search button in `header` and answers what takes the page's
    // place in the window: the search bar above the page, the results beside it.
    GtkWidget* build(GtkWidget* header, GtkWidget* page);
    bool resultsShown() const;
    // Shows the query in the bar and lists its results.
    std::optional<std::vector<PMReaderSearchResult>> search(const std::string& query, KCError* error);

private:
    // The entry's query; what is typed while a search runs is taken up when it ends.
    void entryChanged();
    void list(const std::vector<PMReaderSearchResult>& results);
    void setStatus(const std::string& text);

    PMReaderSearch m_search;
    OpenResult m_open;
    GtkWidget* m_bar = nullptr;
    GtkWidget* m_entry = nullptr;
    GtkLabel* m_status = nullptr;
    GtkWidget* m_list = nullptr;
    GtkWidget* m_results = nullptr;
    std::vector<PMReaderSearchResult> m_shown;
    std::string m_query;  // the last one run
    bool m_running = false;
    bool m_changedWhileRunning = false;
};
