#include "PMEngineTasks.h"

#include "app/PMCommand.h"

#include "book/PMBookCache.h"
#include "Search/KCSearchFolding.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

namespace {

constexpr double kTaskTimeoutSeconds = 60;

KCError engineError(const std::string& text)
{
    return {"PMEngineErrorDomain", 1, text};
}

int resultDescriptor = STDOUT_FILENO;

} // namespace

void PMSeparateResultsFromLogs()
{
    if (resultDescriptor != STDOUT_FILENO)
        return;
    std::cout.flush();
    fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    if (saved < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return;
    resultDescriptor = saved;
}

void PMPrintResult(const std::string& text)
{
    size_t written = 0;
    while (written < text.size()) {
        ssize_t count = write(resultDescriptor, text.data() + written, text.size() - written);
        if (count <= 0)
            return;
        written += static_cast<size_t>(count);
    }
}

std::optional<int> PMEnsureDisplay()
{
    if (std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY") || std::getenv("PAGEMOOR_UNDER_XVFB"))
        return std::nullopt;
    std::ifstream commandLine("/proc/self/cmdline", std::ios::binary);
    std::string raw((std::istreambuf_iterator<char>(commandLine)), std::istreambuf_iterator<char>());
    std::vector<std::string> arguments {"xvfb-run", "-a", "-s", "-screen 0 1280x1024x24"};
    char executable[4096];
    ssize_t length = readlink("/proc/self/exe", executable, sizeof(executable) - 1);
    if (length <= 0)
        return PMFail("there is no display, and the program cannot find itself to start under xvfb-run");
    arguments.push_back(std::string(executable, static_cast<size_t>(length)));
    size_t start = raw.find('\0');  // the program name is replaced by its full path
    while (start != std::string::npos && start + 1 < raw.size()) {
        size_t end = raw.find('\0', start + 1);
        arguments.push_back(raw.substr(start + 1, end - start - 1));
        start = end;
    }
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    setenv("PAGEMOOR_UNDER_XVFB", "1", 1);
    execvp("xvfb-run", argv.data());
    return PMFail("there is no display and xvfb-run could not be started");
}

std::unique_ptr<PMEngineSession> PMEngineSession::open(const std::string& epubPath, const KCSize& viewSize, KCError* error)
{
    auto book = PMBook::open(epubPath, {}, error);
    if (!book)
        return nullptr;
    auto session = std::make_unique<PMEngineSession>();
    session->book = std::make_unique<PMBook>(std::move(*book));
    for (const auto& item : session->book->package().spine)
        session->documentPaths.push_back(item.path.empty() ? std::string() : session->book->contentsPath() + "/" + item.path);
    if (session->documentPaths.empty()) {
        KCSetError(error, engineError(epubPath + ": the book has no spine documents"));
        return nullptr;
    }

    PMReaderConfiguration configuration;
    configuration.book = {session->book->contentsPath(), session->book->resourceInformation(), false};
    configuration.bookInfo = {{"title", KCValue::fromUTF8(session->book->package().title)},
        {"creator", KCValue::fromUTF8(session->book->package().creator)},
        {"language", KCValue::fromUTF8(session->book->package().language)}};
    configuration.extensionDirectory = PMWebExtensionDirectory();
    configuration.viewSize = viewSize;
    session->view = PMReaderWebView::create(configuration, error);
    if (!session->view)
        return nullptr;
    return session;
}

std::optional<std::string> PMEngineSession::documentURI(size_t index, KCError* error) const
{
    if (index >= documentPaths.size()) {
        KCSetError(error, engineError(KCStringWithFormat("there is no spine document %lu (the book has %lu)", static_cast<unsigned long>(index), static_cast<unsigned long>(documentPaths.size()))));
        return std::nullopt;
    }
    const std::string& path = documentPaths[index];
    if (path.empty() || !g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR)) {
        KCSetError(error, engineError(KCStringWithFormat("spine document %lu (%s) is missing from the book", static_cast<unsigned long>(index), href(index).c_str())));
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
    return view->runTask(task, *uri, kTaskTimeoutSeconds, error);
}

std::string PMDefaultLibraryPath(const PMEngineSession& session)
{
    return session.book->contentsPath() + ".library";
}

std::shared_ptr<KCLibraryFragmentFilter> PMIndexBook(PMEngineSession& session, bool showProgress, KCError* error)
{
    // The sizing that the plug-in uses for each document.
    auto library = std::make_shared<KCLibraryFragmentFilter>(KCLibraryFilterSpecification {1.0, 1, 4});
    for (size_t index = 0; index < session.documentCount(); ++index) {
        if (showProgress)
            std::cerr << "indexing " << index + 1 << "/" << session.documentCount() << " " << session.href(index) << '\n';
        auto reply = session.runTask(PMDocumentTask::bloomFilter(index), error);
        if (!reply)
            return nullptr;
        auto archive = PMDecodeBloomFilterReply(*reply);
        auto filter = archive ? KCDocumentFragmentFilter::unarchivedFilter(*archive) : nullptr;
        if (!filter) {
            KCSetError(error, engineError("document " + std::to_string(index) + " came back without a filter"));
            return nullptr;
        }
        library->addFilter(filter, KCValue(static_cast<uint64_t>(index)));
    }
    return library;
}

std::optional<PMSearchResult> PMSearchBook(PMEngineSession& session, const KCLibraryFragmentFilter* library, const std::string& query, KCError* error)
{
    std::vector<uint64_t> candidates;
    if (library) {
        for (const auto& identifier : library->candidateIdentifiersForQuery(StringCopyFlattenedForSearch(KCUTF16FromUTF8(query)))) {
            if (auto index = identifier.uint64Value())
                candidates.push_back(*index);
        }
        std::sort(candidates.begin(), candidates.end());
    } else {
        for (size_t index = 0; index < session.documentCount(); ++index)
            candidates.push_back(index);
    }

    PMSearchResult result;
    result.documentsLoaded = candidates.size();
    result.documentsSkipped = session.documentCount() - std::min(candidates.size(), session.documentCount());
    for (uint64_t index : candidates) {
        auto reply = session.runTask(PMDocumentTask::searchContext(index, KCUTF16FromUTF8(query)), error);
        if (!reply)
            return std::nullopt;
        for (const auto& context : PMDecodeSearchContextReply(*reply).value_or(std::vector<PMSearchContextEntry> {}))
            result.contexts.push_back({index, session.href(index), context.rangeLocation, context.rangeLength, KCUTF8FromUTF16(context.context)});
    }
    return result;
}

std::optional<KCData> PMSnapshotDocument(PMEngineSession& session, size_t index, const KCSize& size, bool viewportOnly, KCError* error)
{
    auto reply = session.runTask(PMDocumentTask::snapshot(index, size, viewportOnly), error);
    if (!reply)
        return std::nullopt;
    auto png = PMDecodeSnapshotReply(*reply);
    if (!png)
        KCSetError(error, engineError("the page could not be drawn"));
    return png;
}

std::optional<KCSize> PMParseSize(const std::string& text)
{
    size_t separator = text.find('x');
    if (separator == std::string::npos)
        return std::nullopt;
    char* end = nullptr;
    double width = std::strtod(text.c_str(), &end);
    if (end != text.c_str() + separator)
        return std::nullopt;
    double height = std::strtod(text.c_str() + separator + 1, &end);
    if (*end || !(width >= 1 && width <= 8192) || !(height >= 1 && height <= 8192))
        return std::nullopt;
    return KCSize {width, height};
}

void PMEndEngineCommand(int status)
{
    std::cout.flush();
    std::cerr.flush();
    fflush(nullptr);
    _exit(status);
}
