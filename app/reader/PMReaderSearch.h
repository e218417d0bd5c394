#pragma once
// Search in the reader: the book's library fragment filter, kept beside the
// unpacked book (where `pagemoor index` puts it) and built the first time it
// is wanted by indexing every spine document; a query then loads only the
// chapters the filter admits, with the plug-in's context task. The tasks run
// in a web view of their own that is never shown, so the reader's page stays
// as it is; its main loop turns while they run, so the window keeps drawing.
// Errors: prepare and find answer false / nothing and fill *error (the
// engine's domain) when the engine cannot start, a task fails or the filter
// cannot be read or written.
#include "book/PMBookNavigation.h"
#include "engine/PMEngineTasks.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct PMReaderSearchResult {
    size_t spineIndex = 0;
    std::string chapterTitle;
    std::string sentence;
    // The match in the sentence, in bytes of its UTF-8.
    size_t matchStart = 0;
    size_t matchLength = 0;
    // The match's place among the query's matches in its chapter, from 0.
    size_t occurrence = 0;

    std::string match() const { return sentence.substr(matchStart, matchLength); }
};

// The engine's contexts (in spine order) as results: chapter titles from the
// navigation (the book's title without one), match ranges in UTF-8, matches
// numbered within their chapter.
std::vector<PMReaderSearchResult> PMReaderSearchResults(const std::vector<PMSearchContext>& contexts, const PMPackage& package,
    const PMBookNavigation& navigation);

class PMReaderSearch {
public:
    // `reader` is the reader's session: its book is opened again for the search's own view.
    PMReaderSearch(const PMEngineSession& reader, const PMBookNavigation& navigation);
    ~PMReaderSearch();

    bool ready() const { return m_library != nullptr; }
    // Reads the book's filter, or builds it (telling `progress` before each chapter).
    bool prepare(const PMIndexProgress& progress, KCError* error);
    // The query's matches in spine order; prepares first when it has not been.
    std::optional<std::vector<PMReaderSearchResult>> find(const std::string& query, KCError* error);

private:
    const PMEngineSession& m_reader;
    const PMBookNavigation& m_navigation;
    std::unique_ptr<PMEngineSession> m_engine;
    std::shared_ptr<KCLibraryFragmentFilter> m_library;
};
