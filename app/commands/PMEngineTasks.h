#pragma once
// The engine commands' shared work: open a book in a reader web view and run
// the plug-in's tasks over its spine documents.
#include "book/PMBook.h"
#include "Search/KCLibraryFragmentFilter.h"
#include "host/PMReaderWebView.h"

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

// Starts the program again under xvfb-run when there is no display. Answers
// only when no re-start was needed (nothing) or it failed (the exit status).
std::optional<int> PMEnsureDisplay();

// The engine's processes log to standard output; while an engine command
// runs, standard output goes to standard error and only the command's
// results reach the real standard output, through PMPrintResult.
void PMSeparateResultsFromLogs();

// Ends an engine command once its session is gone. The engine's libraries
// keep process-long allocations, some made by modules unloaded by exit time,
// that a leak checker cannot attribute; the process ends without exit handlers.
[[noreturn]] void PMEndEngineCommand(int status);
void PMPrintResult(const std::string& text);

// `out << a << b` for results; each piece is written at once.
struct PMResultWriter {
    template <typename T> PMResultWriter& operator<<(const T& value)
    {
        std::ostringstream text;
        text << value;
        PMPrintResult(text.str());
        return *this;
    }
};

struct PMEngineSession {
    std::unique_ptr<PMBook> book;
    std::unique_ptr<PMReaderWebView> view;
    std::vector<std::string> documentPaths;  // per spine index; empty when the item names no file

    static std::unique_ptr<PMEngineSession> open(const std::string& epubPath, const KCSize& viewSize, KCError* error);
    size_t documentCount() const { return documentPaths.size(); }
    // The spine document's path relative to the contents path.
    const std::string& href(size_t index) const { return book->package().spine[index].path; }
    // A missing spine document is an error, not an empty page.
    std::optional<std::string> documentURI(size_t index, KCError* error) const;
    std::optional<KCValue> runTask(const PMDocumentTask& task, KCError* error);
};

// The library filter archive beside the unpacked book.
std::string PMDefaultLibraryPath(const PMEngineSession& session);

// Every spine document loaded with task 1; `progress` is told each index.
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

// "600x800" -> {600, 800}; nothing for anything else.
std::optional<KCSize> PMParseSize(const std::string& text);
