#pragma once
// The plug-in's tasks over a book's spine documents: index every document,
// search the candidates of a query, snapshot one document.
// Errors: each answers nothing and fills *error when a task fails, or when
// the library filter cannot be read or written.
#include "PMEngineSession.h"

#include "Search/KCLibraryFragmentFilter.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Told before each document is indexed: how many are done, of how many.
using PMIndexProgress = std::function<void(size_t done, size_t total, const std::string& href)>;
// A line per document on standard error.
void PMPrintIndexProgress(size_t done, size_t total, const std::string& href);

// Every spine document loaded with task 1.
std::shared_ptr<KCLibraryFragmentFilter> PMIndexBook(PMEngineSession& session, const PMIndexProgress& progress, KCError* error);
// The archived library filter at `path`; when there is none yet, the book
// indexed and its filter archived there.
std::shared_ptr<KCLibraryFragmentFilter> PMLibraryOfBook(PMEngineSession& session, const std::string& path, const PMIndexProgress& progress, KCError* error);

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
