#pragma once
// One book opened in a reader web view whose web process runs the plug-in:
// what the engine commands (and the reader) drive the plug-in's tasks through.
// Errors: open and the task calls answer nothing and fill *error (domain
// "PMEngineErrorDomain", or the book's or the web view's) when they fail.
#include "book/PMBook.h"
#include "host/PMReaderWebView.h"
#include "plugin/PMPlugInProtocol.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct PMEngineSession {
    std::unique_ptr<PMBook> book;
    std::unique_ptr<PMReaderWebView> view;
    std::vector<std::string> documentPaths;  // per spine index; empty when the item names no file

    // The book opened and its spine listed; the engine is not started, so
    // the caller can check its arguments against the book first.
    static std::unique_ptr<PMEngineSession> openBook(const std::string& epubPath, KCError* error);
    // Starts the reader web view, and with it the engine, at the size; the
    // view's window is never presented.
    bool startEngine(const KCSize& viewSize, KCError* error);
    // Starts the engine for the reader window and returns at once: the window
    // shows the view (view->detachWidget()) and is built while the web
    // process starts; view->waitUntilStarted() waits for it. Pages are laid
    // out in columns of the view's width.
    bool beginEngineForReader(const KCSize& viewSize, KCError* error);
    size_t documentCount() const { return documentPaths.size(); }
    // The spine document's path relative to the contents path.
    const std::string& href(size_t index) const { return book->package().spine[index].path; }
    // A missing spine document is an error, not an empty page.
    std::optional<std::string> documentURI(size_t index, KCError* error) const;
    // Loads the task's document and waits for the task's reply body.
    std::optional<KCValue> runTask(const PMDocumentTask& task, KCError* error);
};

KCError PMEngineError(const std::string& message);

// The library filter archive beside the unpacked book.
std::string PMDefaultLibraryPath(const PMEngineSession& session);
