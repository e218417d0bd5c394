// pagemoor demo: the bundled sample book indexed, searched and drawn
// through the web engine.
#include "app/PMCommand.h"
#include "PMEngineCommand.h"
#include "engine/PMEngineTasks.h"
#include "SearchCommandSupport.h"

#include "book/PMBookCache.h"

#include <filesystem>
#include <iostream>

namespace {

// Ruby readings ("とうだい") are left out of the index and the contexts.
const char* const kQueries[] = {"lantern", "café", "Zoë", "fog lifted", "とうだい", "lighthouse keeper"};

void printSearch(const PMSearchResult& result)
{
    PMResultWriter out;
    for (const auto& context : result.contexts) {
        std::string sentence = context.context;
        while (!sentence.empty() && (sentence.back() == '\n' || sentence.back() == ' '))
            sentence.pop_back();
        out << "    [" << context.documentIndex << " " << context.href << " @" << context.rangeLocation << "+" << context.rangeLength << "] "
                  << sentence << '\n';
    }
    out << "    " << result.contexts.size() << " contexts; " << result.documentsLoaded << " documents loaded, "
              << result.documentsSkipped << " skipped by the filter\n";
}

int runDemoCommand(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"output"});
    if (auto failed = PMRejectUnknown(arguments, {"verbose"}))
        return *failed;
    if (!arguments.positionals().empty())
        return PMFail("demo takes no arguments");
    if (!std::filesystem::exists(PM_SAMPLE_BOOK))
        return PMFail(std::string("the sample book is missing: ") + PM_SAMPLE_BOOK + " (build the pagemoor target)");
    int status = 0;
    auto session = PMStartEngineSession(PM_SAMPLE_BOOK, {600, 800}, arguments.flag("verbose"), &status);
    if (!session)
        return status;

    PMResultWriter out;
    out << "Pagemoor reading engine demo\n\nBook: " << PM_SAMPLE_BOOK << '\n';
    KCError error;
    out << "Title: " << session->book->package().title << " (" << session->documentCount() << " spine documents, unpacked in "
              << session->book->contentsPath() << ")\n\n";

    out << "Indexing every document with the plug-in's filter task...\n";
    auto library = PMIndexBook(*session, {}, &error);
    if (!library)
        return PMFail(error.message);
    std::string libraryPath = PMDefaultLibraryPath(*session);
    if (!PMWriteFileAtomically(libraryPath, KCKeyedArchiver::archivedDataWithRootObject(KCValue(library))))
        return PMFail("cannot write " + libraryPath);
    out << "    " << library->documentCount() << " document filters written to " << libraryPath << "\n\n";

    for (const char* query : kQueries) {
        out << "Search \"" << query << "\":\n";
        auto result = PMSearchBook(*session, library.get(), query, &error);
        if (!result)
            return PMFail(error.message);
        printSearch(*result);
    }

    std::string snapshotPath = arguments.option("output").value_or(
        (std::filesystem::path(PMBookCacheDirectory(std::nullopt)).parent_path() / "pagemoor-demo-snapshot.png").string());
    out << "\nDrawing document 0 at 600x800 with the snapshot task...\n";
    auto png = PMSnapshotDocument(*session, 0, {600, 800}, false, &error);
    if (!png)
        return PMFail(error.message);
    if (!PMWriteFileAtomically(snapshotPath, *png))
        return PMFail("cannot write " + snapshotPath);
    out << "    snapshot written to " << snapshotPath << '\n';
    return 0;
}

int runDemo(const std::vector<std::string>& args)
{
    PMEndEngineCommand(runDemoCommand(args));
}

PMCommandRegistration registration({"demo", "index, search and draw the bundled sample book through the web engine",
    "usage: pagemoor demo [-o SNAPSHOT.png] [--verbose]\n", runDemo});

} // namespace
