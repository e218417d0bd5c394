// pagemoor info: what a book holds, as the reader sees it after opening it.
#include "BookCommandSupport.h"

#include "book/PMBookJSON.h"

#include <iostream>

namespace {

const char* const kUsage =
    "usage: pagemoor info BOOK.epub [--json] [--cache-dir DIR]\n"
    "  Opens the book (unpacking it into the cache) and prints its package\n"
    "  metadata, spine and resource information.\n"
    "  --json       print everything as one JSON object\n"
    "  --cache-dir  where books are unpacked (default: $PAGEMOOR_CACHE_DIR,\n"
    "               else $XDG_CACHE_HOME/pagemoor/books, else ~/.cache/pagemoor/books)\n";

int runInfo(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"cache-dir"});
    if (auto failed = PMRejectUnknown(arguments, {"json"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("info needs exactly one book (see pagemoor info --help)");

    PMSendLogToStandardError();

    auto book = PMOpenBookArgument(arguments.positionals()[0], arguments);
    if (!book)
        return 1;

    if (arguments.flag("json")) {
        std::cout << PMJSONText(PMBookInfoJSON(*book)) << '\n';
        return 0;
    }
    const PMPackage& package = book->package();
    std::cout << "Title:       " << package.title << '\n'
              << "Creator:     " << package.creator << '\n'
              << "Language:    " << package.language << '\n'
              << "Identifier:  " << package.uniqueIdentifier << '\n'
              << "Contents:    " << book->contentsPath() << '\n'
              << "Package:     " << book->packagePath() << '\n'
              << "Spine:\n";
    for (const auto& item : package.spine)
        std::cout << "  " << (item.path.empty() ? "(missing " + item.idref + ")" : item.path) << (item.linear ? "" : " (not linear)") << '\n';
    std::cout << "Resources:\n";
    for (const auto& [path, information] : book->resourceInformation()) {
        std::cout << "  " << path << "  " << information["mimeType"].utf8String();
        if (const auto& algorithm = information["encryptionAlgorithm"]; !algorithm.isNull())
            std::cout << "  obfuscated: " << algorithm.utf8String();
        std::cout << '\n';
    }
    return 0;
}

PMCommandRegistration registration({"info", "print a book's metadata, spine and resource information", kUsage, runInfo});

} // namespace
