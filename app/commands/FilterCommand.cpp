// pagemoor filter: builds, tests and describes archived document fragment filters.
#include "app/PMCommand.h"
#include "SearchCommandSupport.h"

#include "Search/KCSearchFolding.h"
#include "Utilities/KCStringConversion.h"

#include <nlohmann/json.hpp>

namespace {

const char* const kUsage =
    "usage: pagemoor filter build [--window 4] [--load-factor 1.0] [--hashes 1] [--fold] [-o ARCHIVE] < TEXT\n"
    "       pagemoor filter test [--fold] [--json] ARCHIVE QUERY...\n"
    "       pagemoor filter info [--json] ARCHIVE\n"
    "build: writes the keyed archive of a document fragment filter of the UTF-8\n"
    "       text on standard input (to standard output unless -o is given).\n"
    "test:  prints yes or no per query: might the document contain it?\n"
    "info:  prints the filter's specification, index size and bit usage.\n";

int build(const PMArguments& arguments)
{
    if (auto failed = PMRejectUnknown(arguments, {"fold"}))
        return *failed;
    if (arguments.positionals().size() != 1)
        return PMFail("filter build reads the text from standard input and takes no other arguments");
    KCLibraryFilterSpecification library;
    if (auto error = PMParseLibrarySpecification(arguments, library))
        return PMFail(*error);

    std::u16string text = KCUTF16FromUTF8(PMReadAll(std::cin));
    if (arguments.flag("fold"))
        text = StringCopyFlattenedForSearch(text);
    auto specification = KCLibraryFragmentFilter::fragmentFilterSpecificationForDocumentLength(int64_t(text.size()), library);
    auto filter = std::make_shared<KCDocumentFragmentFilter>(text, specification);
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter));

    if (auto output = arguments.option("output")) {
        if (!PMWriteFileAtomically(*output, archive))
            return PMFail("cannot write " + *output);
        return 0;
    }
    std::cout.write(reinterpret_cast<const char*>(archive.data()), std::streamsize(archive.size()));
    return std::cout.flush() ? 0 : PMFail("cannot write the archive");
}

std::shared_ptr<KCDocumentFragmentFilter> load(const std::string& path)
{
    auto archive = PMReadBinaryFile(path);
    if (!archive) {
        PMFail("cannot read " + path);
        return nullptr;
    }
    auto filter = KCDocumentFragmentFilter::unarchivedFilter(*archive);
    if (!filter)
        PMFail(path + " is not an archived document fragment filter");
    return filter;
}

int test(const PMArguments& arguments)
{
    if (auto failed = PMRejectUnknown(arguments, {"fold", "json"}))
        return *failed;
    const auto& positionals = arguments.positionals();
    if (positionals.size() < 3)
        return PMFail("filter test needs an archive and at least one query");
    auto filter = load(positionals[1]);
    if (!filter)
        return 1;
    nlohmann::json answers = nlohmann::json::object();
    for (size_t i = 2; i < positionals.size(); ++i) {
        std::u16string query = KCUTF16FromUTF8(positionals[i]);
        if (arguments.flag("fold"))
            query = StringCopyFlattenedForSearch(query);
        bool answer = filter->mightContainFragment(query);
        if (arguments.flag("json"))
            answers[positionals[i]] = answer;
        else
            std::cout << (answer ? "yes" : "no") << '\n';
    }
    if (arguments.flag("json"))
        std::cout << answers.dump(2) << '\n';
    return 0;
}

int info(const PMArguments& arguments)
{
    if (auto failed = PMRejectUnknown(arguments, {"json"}))
        return *failed;
    if (arguments.positionals().size() != 2)
        return PMFail("filter info needs one archive");
    auto filter = load(arguments.positionals()[1]);
    if (!filter)
        return 1;
    const auto& specification = filter->specification();
    const auto& bloom = specification.bloomFilterSpecification;
    if (!arguments.flag("json")) {
        std::cout << "expected insertions: " << bloom.expectedNumberOfInsertions << "\n"
                  << "load factor: " << bloom.loadFactor << "\n"
                  << "hash functions: " << bloom.numberOfHashFunctions << "\n"
                  << "window width: " << specification.windowWidth << "\n"
                  << "index size: " << filter->indexSize() << " bytes\n"
                  << filter->usageDescription() << "\n";
        return 0;
    }
    nlohmann::json description = {
        {"specification", {
            {"expectedNumberOfInsertions", bloom.expectedNumberOfInsertions},
            {"loadFactor", bloom.loadFactor},
            {"numberOfHashFunctions", bloom.numberOfHashFunctions},
            {"windowWidth", specification.windowWidth},
        }},
        {"indexSize", filter->indexSize()},
        {"usageDescription", filter->usageDescription()},
    };
    std::cout << description.dump(2) << '\n';
    return 0;
}

int runFilter(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"window", "load-factor", "hashes", "output"});
    const std::string action = arguments.positionals().empty() ? "" : arguments.positionals()[0];
    if (action == "build")
        return build(arguments);
    if (action == "test")
        return test(arguments);
    if (action == "info")
        return info(arguments);
    return PMFail("filter needs build, test or info (see pagemoor filter --help)");
}

PMCommandRegistration registration({"filter", "build and query a document's search fragment filter", kUsage, runFilter});

} // namespace
