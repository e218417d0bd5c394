// pagemoor read: the reader window on a book, or a scripted run of it.
#include "app/PMCommand.h"
#include "PMEngineCommand.h"
#include "StoreCommandSupport.h"

#include "reader/PMReaderActions.h"
#include "reader/PMReaderWindow.h"
#include "resources/PMFileReading.h"
#include "Utilities/KCLogger.h"

#include <glib.h>

#include <filesystem>

namespace {

constexpr KCSize kDefaultSize {900, 720};

std::string defaultStorePath()
{
    return (std::filesystem::path(g_get_user_data_dir()) / "pagemoor" / "Annotations.sqlite").string();
}

int runReadCommand(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"store", "actions", "size"});
    if (auto failed = PMRejectUnknown(arguments, {"verbose"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("read needs one EPUB file");
    auto size = arguments.option("size") ? PMParseSize(*arguments.option("size")) : std::optional(kDefaultSize);
    if (!size)
        return PMFail("--size must be WIDTHxHEIGHT, each from 1 to 8192");
    std::optional<std::vector<PMReaderAction>> actions;
    if (auto actionsPath = arguments.option("actions")) {
        KCError error;
        auto text = PMReadWholeFile(*actionsPath, &error);
        if (!text)
            return PMFail("cannot read the actions " + *actionsPath + ": " + error.message);
        actions = PMParseReaderActions(std::string_view(reinterpret_cast<const char*>(text->data()), text->size()), &error);
        if (!actions)
            return PMFail(*actionsPath + ": " + error.message);
    }
    std::string storePath = arguments.option("store").value_or(defaultStorePath());
    std::error_code problem;
    if (auto parent = std::filesystem::path(storePath).parent_path(); !parent.empty())
        std::filesystem::create_directories(parent, problem);
    if (problem)
        return PMFail("cannot make the folder of the store " + storePath + ": " + problem.message());

    int status = 0;
    auto session = PMStartEngineSession(arguments.positionals()[0], *size, arguments.flag("verbose"), &status, {}, true);
    if (!session)
        return status;
    auto store = PMOpenStore(storePath);
    if (!store)
        return PMFail("cannot open the annotation store " + storePath);
    auto positions = std::make_unique<PMReadingPositionStore>(*store->store, store->context,
        KCUTF16FromUTF8(session->book->package().uniqueIdentifier));
    KCError error;
    auto window = PMReaderWindow::create(*session, std::move(positions), *size, &error);
    if (!window || !session->view->waitUntilStarted(&error) || !window->open(window->storedPosition(), &error))
        return PMFail(error.message);
    KCLog("Open at %@", window->statusText());
    if (!actions)
        window->runUntilClosed();
    else if (!PMPlayReaderActions(*window, *actions, &error, PMPrintResult))
        return PMFail(error.message);
    if (window->positionError())
        return PMFail(window->positionError()->message);
    return 0;
}

int runRead(const std::vector<std::string>& args)
{
    PMEndEngineCommand(runReadCommand(args));
}

PMCommandRegistration registration({"read", "open a book in the reader window",
    "usage: pagemoor read BOOK.epub [--store FILE] [--size WxH] [--actions FILE.json] [--verbose]\n"
    "  Pages turn with the arrow keys, Page Up/Down and space, and by clicking the page's edges.\n"
    "  The reading position is kept in the annotation store (--store; by default\n"
    "  $XDG_DATA_HOME/pagemoor/Annotations.sqlite) and restored on the next open.\n"
    "  --actions plays a JSON list of actions and exits: {\"open\": N} (spine index from 0),\n"
    "  {\"next\": K} (back when negative), {\"find\": \"TEXT\"} (the first result shown selected),\n"
    "  {\"screenshot\": \"FILE.png\"}, {\"quit\": true},\n"
    "  {\"highlight\": \"TEXT\", \"style\": 1-5, \"underline\": BOOL, \"note\": \"NOTE\"} (in the chapter shown),\n"
    "  {\"select\": \"TEXT\"} (selected as with the mouse: the popover that offers a highlight; with style,\n"
    "  underline or note, chosen there),\n"
    "  {\"night\": BOOL}, {\"scrolled\": BOOL} (one scrolling column instead of pages),\n"
    "  {\"sidebar\": BOOL} (the notes beside the page),\n"
    "  {\"share\": \"menu\"} (the newest highlight's share menu, its titles printed),\n"
    "  {\"export\": \"FILE.html|rtf\"} (the book's notes). Ctrl+F searches the book, Ctrl+B shows the notes.\n",
    runRead});

} // namespace
