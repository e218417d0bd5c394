// pagemoor snapshot: a PNG of one spine document, drawn by the web engine.
#include "app/PMCommand.h"
#include "PMEngineCommand.h"
#include "engine/PMEngineTasks.h"
#include "SearchCommandSupport.h"

namespace {

int runSnapshotCommand(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"size", "output"});
    if (auto failed = PMRejectUnknown(arguments, {"viewport-only", "verbose"}))
        return *failed;
    if (arguments.positionals().size() != 2)
        return PMFail("snapshot needs an EPUB file and a spine index");
    auto index = PMParseInteger(arguments.positionals()[1]);
    if (!index || *index < 0)
        return PMFail("the spine index must be a whole number from 0");
    auto size = PMParseSize(arguments.option("size").value_or(""));
    if (!size)
        return PMFail("--size must be WIDTHxHEIGHT, each from 1 to 8192");
    auto output = arguments.option("output");
    if (!output)
        return PMFail("snapshot needs -o FILE.png");
    int status = 0;
    auto documentIndex = static_cast<size_t>(*index);
    // A missing or absent document is reported before the engine starts.
    auto session = PMStartEngineSession(arguments.positionals()[0], *size, arguments.flag("verbose"), &status,
        [&](const PMEngineSession& opened) -> std::optional<std::string> {
            KCError problem;
            return opened.documentURI(documentIndex, &problem) ? std::nullopt : std::optional(problem.message);
        });
    if (!session)
        return status;
    KCError error;
    auto png = PMSnapshotDocument(*session, documentIndex, *size, arguments.flag("viewport-only"), &error);
    if (!png)
        return PMFail(error.message);
    if (!PMWriteFileAtomically(*output, *png))
        return PMFail("cannot write " + *output);
    PMResultWriter out;
    out << *output << '\n';
    return 0;
}

int runSnapshot(const std::vector<std::string>& args)
{
    PMEndEngineCommand(runSnapshotCommand(args));
}

PMCommandRegistration registration({"snapshot", "draw one spine document into a PNG through the web engine",
    "usage: pagemoor snapshot BOOK.epub INDEX --size WxH [--viewport-only] [--verbose] -o FILE.png\n",
    runSnapshot});

} // namespace
