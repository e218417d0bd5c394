#pragma once
// The plug-in's tasks over a book's spine documents: index every document,
// search the candidates of a query, snapshot one document.
// Errors: each answers nothing and fills *error when a task fails.
#include "PMEngineSession.h"

#include "Search/KCLibraryFragmentFilter.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// Every spine document loaded with task 1; with showProgress, a line per
// document on standard error.
std::shared_ptr<KCLibraryFragmentFilter> PMIndexBook(PMEngineSession& session, bool showProgress, KCError* error);

struct PMSearchContext {
    uint64_t documentIndex = 0;
    std::string href;
    uint64_t rangeLocation = 0;
    uint64_t rangeLength = 0;
    std::string context;
};

struct PMSearchResult {
    std::vector<PMSearchContext> contexts;
    size_t documentsLoaded = 0;
    size_t documentsSkipped = 0;
};

// The candidates of the folded query (every document when `library` is
// null) loaded with task 2.
std::optional<PMSearchResult> PMSearchBook(PMEngineSession& session, const KCLibraryFragmentFilter* library, const std::string& query, KCError* error);

// Task 4: PNG data of the document at the requested size.
std::optional<KCData> PMSnapshotDocument(PMEngineSession& session, size_t index, const KCSize& size, bool viewportOnly, KCError* error);
