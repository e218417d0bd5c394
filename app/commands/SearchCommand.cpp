// pagemoor search: the sentence contexts of a query, loading only the
// documents that the library filter cannot rule out.
#include "app/PMCommand.h"
#include "PMEngineCommand.h"
#include "engine/PMEngineTasks.h"
#include "SearchCommandSupport.h"

#include <nlohmann/json.hpp>

namespace {

int runSearchCommand(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"library"});
    if (auto failed = PMRejectUnknown(arguments, {"json", "all", "verbose"}))
        return *failed;
    if (arguments.positionals().size() != 2)
        return PMFail("search needs an EPUB file and a query");
    const std::string& query = arguments.positionals()[1];
    if (query.empty())
        return PMFail("the query is empty");
    int status = 0;
    auto session = PMStartEngineSession(arguments.positionals()[0], {600, 800}, arguments.flag("verbose"), &status);
    if (!session)
        return status;

    KCError error;

    // --all loads every document, as a search without a filter would.
    std::shared_ptr<KCLibraryFragmentFilter> library;
    if (!arguments.flag("all")) {
        std::string path = arguments.option("library").value_or(PMDefaultLibraryPath(*session));
        library = PMLibraryOfBook(*session, path, PMPrintIndexProgress, &error);
        if (!library)
            return PMFail(error.message);
    }

    auto result = PMSearchBook(*session, library.get(), query, &error);
    if (!result)
        return PMFail(error.message);
    PMResultWriter out;
    if (arguments.flag("json")) {
        nlohmann::json contexts = nlohmann::json::array();
        // A context is printed under the names the plug-in gives it.
        for (const auto& context : result->contexts) {
            contexts.push_back({{"documentIndex", context.documentIndex}, {"href", context.href}, {PMSearchContextRangeLocationKey, context.rangeLocation},
                {PMSearchContextRangeLengthKey, context.rangeLength}, {PMSearchContextContextKey, context.context}});
        }
        out << nlohmann::json {{"query", query}, {"documentsLoaded", result->documentsLoaded},
            {"documentsSkipped", result->documentsSkipped}, {"contexts", contexts}}.dump(2) << '\n';
        return 0;
    }
    for (const auto& context : result->contexts) {
        out << context.documentIndex << ' ' << context.href << " rangeLocation " << context.rangeLocation << " rangeLength "
                  << context.rangeLength << "\n    " << context.context << '\n';
    }
    out << result->contexts.size() << " contexts in " << result->documentsLoaded << " documents loaded; "
              << result->documentsSkipped << " documents skipped\n";
    return 0;
}

int runSearch(const std::vector<std::string>& args)
{
    PMEndEngineCommand(runSearchCommand(args));
}

PMCommandRegistration registration({"search", "find a query's sentence contexts in a book through the web engine",
    "usage: pagemoor search BOOK.epub QUERY [--library LIBRARY] [--all] [--json] [--verbose]\n"
    "Folds the query, asks the library filter (building it first when missing)\n"
    "which documents might hold it and loads only those. --all loads every one.\n",
    runSearch});

} // namespace
