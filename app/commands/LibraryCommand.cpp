// pagemoor library: a library fragment filter kept in an archive file.
#include "app/PMCommand.h"
#include "SearchCommandSupport.h"

#include "Search/KCSearchFolding.h"
#include "Utilities/KCStringConversion.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>

namespace {

const char* const kUsage =
    "usage: pagemoor library add [--window 4] [--load-factor 1.0] [--hashes 1] [--fold] LIBRARY ID < TEXT\n"
    "       pagemoor library query [--fold] [--json] LIBRARY QUERY\n"
    "add:   indexes the UTF-8 text on standard input under ID, replacing any\n"
    "       document of that ID; creates LIBRARY with the given sizing if needed.\n"
    "query: prints the IDs of the documents that might contain QUERY.\n";

std::shared_ptr<KCLibraryFragmentFilter> load(const std::string& path)
{
    auto archive = PMReadBinaryFile(path);
    if (!archive) {
        PMFail("cannot read " + path);
        return nullptr;
    }
    auto library = KCLibraryFragmentFilter::unarchivedFilter(*archive);
    if (!library)
        PMFail(path + " is not an archived library fragment filter");
    return library;
}

int add(const PMArguments& arguments)
{
    if (auto failed = PMRejectUnknown(arguments, {"fold"}))
        return *failed;
    if (arguments.positionals().size() != 3)
        return PMFail("library add needs a library file and a document ID");
    const std::string& path = arguments.positionals()[1];
    KCLibraryFilterSpecification specification;
    if (auto error = PMParseLibrarySpecification(arguments, specification))
        return PMFail(*error);

    std::shared_ptr<KCLibraryFragmentFilter> library;
    if (std::filesystem::exists(path)) {
        if (arguments.option("window") || arguments.option("load-factor") || arguments.option("hashes"))
            return PMFail("the sizing options only apply when the library is created");
        library = load(path);
        if (!library)
            return 1;
    } else {
        library = std::make_shared<KCLibraryFragmentFilter>(specification);
    }

    std::u16string text = KCUTF16FromUTF8(PMReadAll(std::cin));
    if (arguments.flag("fold"))
        text = StringCopyFlattenedForSearch(text);
    library->addDocument(text, KCValue::fromUTF8(arguments.positionals()[2]));
    if (!PMWriteFileAtomically(path, KCKeyedArchiver::archivedDataWithRootObject(KCValue(library))))
        return PMFail("cannot write " + path);
    return 0;
}

int query(const PMArguments& arguments)
{
    if (auto failed = PMRejectUnknown(arguments, {"fold", "json"}))
        return *failed;
    if (arguments.positionals().size() != 3)
        return PMFail("library query needs a library file and one query");
    auto library = load(arguments.positionals()[1]);
    if (!library)
        return 1;
    std::u16string text = KCUTF16FromUTF8(arguments.positionals()[2]);
    if (arguments.flag("fold"))
        text = StringCopyFlattenedForSearch(text);

    std::vector<std::string> identifiers;
    for (const auto& identifier : library->candidateIdentifiersForQuery(text))
        identifiers.push_back(identifier.string() ? identifier.utf8String() : identifier.description());
    std::sort(identifiers.begin(), identifiers.end());
    if (arguments.flag("json")) {
        std::cout << nlohmann::json(identifiers).dump(2) << '\n';
    } else {
        for (const auto& identifier : identifiers)
            std::cout << identifier << '\n';
    }
    return 0;
}

int runLibrary(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"window", "load-factor", "hashes"});
    const std::string action = arguments.positionals().empty() ? "" : arguments.positionals()[0];
    if (action == "add")
        return add(arguments);
    if (action == "query")
        return query(arguments);
    return PMFail("library needs add or query (see pagemoor library --help)");
}

PMCommandRegistration registration({"library", "pre-select the documents of a library that might contain a query", kUsage, runLibrary});

} // namespace
