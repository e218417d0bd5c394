#include "PMEngineSession.h"

#include "host/PMDocumentTaskRunner.h"
#include "Utilities/KCFormat.h"

#include <glib.h>

namespace {

constexpr double kTaskTimeoutSeconds = 60;

} // namespace

KCError PMEngineError(const std::string& message)
{
    return {"PMEngineErrorDomain", 1, message};
}

std::unique_ptr<PMEngineSession> PMEngineSession::openBook(const std::string& epubPath, KCError* error)
{
    auto book = PMBook::open(epubPath, {}, error);
    if (!book)
        return nullptr;
    auto session = std::make_unique<PMEngineSession>();
    session->book = std::make_unique<PMBook>(std::move(*book));
    for (const auto& item : session->book->package().spine)
        session->documentPaths.push_back(item.path.empty() ? std::string() : session->book->contentsPath() + "/" + item.path);
    if (session->documentPaths.empty()) {
        KCSetError(error, PMEngineError(epubPath + ": the book has no spine documents"));
        return nullptr;
    }
    return session;
}

namespace {

PMReaderConfiguration engineConfiguration(const PMBook& book, const KCSize& viewSize, bool paginated, PMReaderConfiguration::Placement placement)
{
    PMReaderConfiguration configuration;
    configuration.book = {book.contentsPath(), book.resourceInformation(), paginated};
    configuration.bookInfo = {{"title", KCValue::fromUTF8(book.package().title)},
        {"creator", KCValue::fromUTF8(book.package().creator)},
        {"language", KCValue::fromUTF8(book.package().language)}};
    configuration.extensionDirectory = PMWebExtensionDirectory();
    configuration.viewSize = viewSize;
    configuration.placement = placement;
    return configuration;
}

} // namespace

bool PMEngineSession::startEngine(const KCSize& viewSize, KCError* error)
{
    // Nothing of a command is on screen: the page is laid out and drawn all
    // the same, without a window flashing up.
    view = PMReaderWebView::create(engineConfiguration(*book, viewSize, false, PMReaderConfiguration::Placement::Offscreen), error);
    return view != nullptr;
}

bool PMEngineSession::beginEngineForReader(const KCSize& viewSize, KCError* error)
{
    view = PMReaderWebView::begin(engineConfiguration(*book, viewSize, true, PMReaderConfiguration::Placement::Hosted), error);
    return view != nullptr;
}

std::optional<std::string> PMEngineSession::documentURI(size_t index, KCError* error) const
{
    if (index >= documentPaths.size()) {
        KCSetError(error, PMEngineError(KCStringWithFormat("there is no spine document %lu (the book has %lu)", static_cast<unsigned long>(index), static_cast<unsigned long>(documentPaths.size()))));
        return std::nullopt;
    }
    const std::string& path = documentPaths[index];
    if (path.empty() || !g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR)) {
        KCSetError(error, PMEngineError(KCStringWithFormat("spine document %lu (%s) is missing from the book", static_cast<unsigned long>(index), href(index).c_str())));
        return std::nullopt;
    }
    char* uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
    std::string result = uri ? uri : "";
    g_free(uri);
    return result;
}

std::optional<KCValue> PMEngineSession::runTask(const PMDocumentTask& task, KCError* error)
{
    auto uri = documentURI(task.documentIndex, error);
    if (!uri)
        return std::nullopt;
    return PMRunDocumentTask(*view, task, *uri, kTaskTimeoutSeconds, error);
}

std::string PMDefaultLibraryPath(const PMEngineSession& session)
{
    return session.book->contentsPath() + ".library";
}
