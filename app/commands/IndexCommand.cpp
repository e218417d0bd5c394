// pagemoor index: every spine document of a book indexed by the plug-in.
#include "app/PMCommand.h"
#include "PMEngineCommand.h"
#include "engine/PMEngineTasks.h"
#include "SearchCommandSupport.h"

#include <nlohmann/json.hpp>

#include <chrono>

namespace {

int runIndexCommand(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"output"});
    if (auto failed = PMRejectUnknown(arguments, {"json", "verbose"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("index needs one EPUB file");
    auto start = std::chrono::steady_clock::now();
    int status = 0;
    auto session = PMStartEngineSession(arguments.positionals()[0], {600, 800}, arguments.flag("verbose"), &status);
    if (!session)
        return status;
    KCError error;
    auto library = PMIndexBook(*session, PMPrintIndexProgress, &error);
    if (!library)
        return PMFail(error.message);
    std::string path = arguments.option("output").value_or(PMDefaultLibraryPath(*session));
    if (!PMWriteFileAtomically(path, KCKeyedArchiver::archivedDataWithRootObject(KCValue(library))))
        return PMFail("cannot write " + path);

    PMResultWriter out;
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (arguments.flag("json")) {
        out << nlohmann::json {{"library", path}, {"documents", library->documentCount()}, {"seconds", seconds}}.dump(2) << '\n';
    } else {
        out << "indexed " << library->documentCount() << " documents into " << path << '\n';
    }
    return 0;
}

int runIndex(const std::vector<std::string>& args)
{
    PMEndEngineCommand(runIndexCommand(args));
}

PMCommandRegistration registration({"index", "index every spine document of a book through the web engine",
    "usage: pagemoor index BOOK.epub [-o LIBRARY] [--json] [--verbose]\n"
    "Loads each spine document with the plug-in's filter task and writes the\n"
    "library fragment filter (default: beside the unpacked book in the cache).\n",
    runIndex});

} // namespace
