#include "PMEngineTasks.h"

#include "Search/KCSearchFolding.h"
#include "Utilities/KCKeyedArchive.h"
#include "Utilities/KCStringConversion.h"
#include "resources/PMFileReading.h"

#include <glib.h>

#include <algorithm>
#include <filesystem>
#include <iostream>

void PMPrintIndexProgress(size_t done, size_t total, const std::string& href)
{
    std::cerr << "indexing " << done + 1 << "/" << total << " " << href << '\n';
}

std::shared_ptr<KCLibraryFragmentFilter> PMIndexBook(PMEngineSession& session, const PMIndexProgress& progress, KCError* error)
{
    // The sizing that the plug-in uses for each document.
    auto library = std::make_shared<KCLibraryFragmentFilter>(KCLibraryFilterSpecification {1.0, 1, 4});
    for (size_t index = 0; index < session.documentCount(); ++index) {
        if (progress)
            progress(index, session.documentCount(), session.href(index));
        auto reply = session.runTask(PMDocumentTask::bloomFilter(index), error);
        if (!reply)
            return nullptr;
        auto archive = PMDecodeBloomFilterReply(*reply);
        auto filter = archive ? KCDocumentFragmentFilter::unarchivedFilter(*archive) : nullptr;
        if (!filter) {
            KCSetError(error, PMEngineError("document " + std::to_string(index) + " came back without a filter"));
            return nullptr;
        }
        library->addFilter(filter, KCValue(static_cast<uint64_t>(index)));
    }
    return library;
}

std::shared_ptr<KCLibraryFragmentFilter> PMLibraryOfBook(PMEngineSession& session, const std::string& path, const PMIndexProgress& progress, KCError* error)
{
    if (std::filesystem::exists(path)) {
        auto archive = PMReadWholeFile(path, error);
        auto library = archive ? KCLibraryFragmentFilter::unarchivedFilter(*archive) : nullptr;
        if (!library)
            KCSetError(error, PMEngineError(path + " is not an archived library fragment filter"));
        return library;
    }
    auto library = PMIndexBook(session, progress, error);
    if (!library)
        return nullptr;
    // GLib writes through a temporary file and a rename: a failed write leaves no torn archive.
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCValue(library));
    GError* failure = nullptr;
    if (!g_file_set_contents(path.c_str(), reinterpret_cast<const char*>(archive.data()), static_cast<gssize>(archive.size()), &failure)) {
        KCSetError(error, PMEngineError("cannot write " + path + ": " + (failure ? failure->message : "")));
        g_clear_error(&failure);
        return nullptr;
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
        KCSetError(error, PMEngineError("the page could not be drawn"));
    return png;
}
