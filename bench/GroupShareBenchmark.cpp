// The group shares of 10,000 annotations: the HTML document, and the RTF
// (styled text, RTF bytes, both together); the goal is half a second each.
// With PM_BENCH_GROUP_HTML set to a path, first writes the HTML document
// there, for timing another converter on the same input (bench/group_share.sh).
#include "Annotations/TNAnnotationGroupHTMLGenerator.h"
#include "Annotations/TNAnnotationGroupRTFGenerator.h"
#include "TNAnnotation/TNAnnotationStoreDataSource.h"
#include "Utilities/KCRTFWriter.h"
#include "Utilities/KCStringConversion.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace {

constexpr int kAnnotations = 10000;

std::u16string words(int seed, int count)
{
    static const char16_t* const vocabulary[] = {u"the", u"sea", u"whale", u"caf\u00E9", u"na\u00EFve", u"Z\u00FCrich", u"\u6771\u4EAC", u"ship,",
        u"harpoon", u"captain", u"{brace}", u"back\\slash", u"long", u"voyage.", u"\u201Cquoted\u201D", u"wind"};
    std::u16string text;
    for (int i = 0; i < count; ++i) {
        if (i)
            text += u' ';
        text += vocabulary[(seed * 7 + i * 13) % 16];
    }
    return text;
}

struct Library {
    TNAnnotationStoreDataSource source {*KCURL::fileURLWithPath("/nonexistent/Annotations.sqlite")};
    std::shared_ptr<KCManagedObjectContext> context;
    TNAnnotationGroupRTFGenerator generator;
    TNAnnotationGroupHTMLGenerator htmlGenerator;
    TNAssetHTMLGeneratorDataSource htmlDataSource;

    Library()
    {
        source.loadManagedObjectModel();
        source.loadPersistentStoreCoordinator();
        context = source.newManagedObjectContext();
        TNAnnotation::Annotations annotations;
        for (int i = 0; i < kAnnotations; ++i) {
            auto annotation = TNAnnotation::insertAnnotationWithAssetID(u"BOOK", std::nullopt, std::nullopt, context.get());
            annotation->setAnnotationCreationDate(KCDate::fromTimeIntervalSince1970(1772704800 + 60.0 * i));
            annotation->setAnnotationSelectedText(words(i, 30 + i % 31));
            annotation->setPhysicalPageNumber(KCUTF16FromUTF8(std::to_string(1 + i / 30)));
            if (i % 3 == 0)
                annotation->setAnnotationNote(words(i + 5, 12));
            annotations.push_back(annotation);
        }
        htmlGenerator.setAnnotations(annotations);
        htmlGenerator.setCitationsAllowed(true);
        htmlGenerator.setTitle(u"Moby-Dick");
        htmlGenerator.setAuthor(u"Herman Melville");
        htmlGenerator.setReadingDirection(u"auto");
        htmlDataSource.storeURLForHTMLGenerator = [](const TNAssetHTMLGenerator&) { return KCURL::URLWithString("https://store.example/book/id42"); };
        htmlDataSource.citationForStoreURL = [](const TNAssetHTMLGenerator&, std::optional<std::u16string_view>) {
            return std::optional<std::u16string>(u"Herman Melville. \u201CMoby-Dick.\u201D Pagemoor. ");
        };
        htmlGenerator.setDataSource(&htmlDataSource);
        generator.setAnnotations(std::move(annotations));
        generator.setCitationsAllowed(true);
        generator.setBookCitationString(u"Moby-Dick. Herman Melville. ");
        generator.setBookURLPrefix(u"Check out this book on the Pagemoor Store: ");
        generator.setBookURL(KCURL::URLWithString("https://store.example/book/id42"));
    }
};

Library& library()
{
    static Library made;
    return made;
}

void writeHTMLForComparison()
{
    static bool written = false;
    const char* path = std::getenv("PM_BENCH_GROUP_HTML");
    if (written || !path)
        return;
    written = true;
    std::ofstream(path) << KCUTF8FromUTF16(library().htmlGenerator.documentString().value_or(u""));
}

void BM_GroupHTML(benchmark::State& state)
{
    writeHTMLForComparison();
    size_t bytes = 0;
    for (auto _ : state) {
        auto html = library().htmlGenerator.documentString();
        bytes = html ? html->size() * 2 : 0;
        benchmark::DoNotOptimize(html);
    }
    state.counters["utf16_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_GroupHTML)->Unit(benchmark::kMillisecond);

void BM_GroupStyledText(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(library().generator.attributedString());
}
BENCHMARK(BM_GroupStyledText)->Unit(benchmark::kMillisecond);

void BM_RTFWriter(benchmark::State& state)
{
    KCStyledString styled = library().generator.attributedString();
    size_t bytes = 0;
    for (auto _ : state) {
        std::string rtf = KCRTFFromStyledString(styled);
        bytes = rtf.size();
        benchmark::DoNotOptimize(rtf);
    }
    state.counters["rtf_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_RTFWriter)->Unit(benchmark::kMillisecond);

void BM_GroupRTF(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(KCRTFFromStyledString(library().generator.attributedString()));
}
BENCHMARK(BM_GroupRTF)->Unit(benchmark::kMillisecond);

} // namespace
