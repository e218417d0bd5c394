// The group RTF share of 10,000 annotations: the styled text, the RTF bytes,
// and both together (the goal is half a second). With PM_BENCH_GROUP_HTML set
// to a path, first writes the same blocks as a plain HTML page there, for
// timing another converter on comparable input (bench/group_rtf.sh).
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

std::string escapedHTML(std::u16string_view text)
{
    std::string html;
    for (char c : KCUTF8FromUTF16(text)) {
        switch (c) {
        case '<': html += "&lt;"; break;
        case '>': html += "&gt;"; break;
        case '&': html += "&amp;"; break;
        case '\n': html += "<br>\n"; break;
        default: html += c;
        }
    }
    return html;
}

// The styled text as HTML, bold runs in <b>, links as <a>; once, when asked.
void writeComparableHTML()
{
    static bool written = false;
    const char* path = std::getenv("PM_BENCH_GROUP_HTML");
    if (written || !path)
        return;
    written = true;
    KCStyledString styled = library().generator.attributedString();
    std::string html = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Notes</title></head><body><p>";
    for (const auto& run : styled.runs()) {
        std::u16string_view text = std::u16string_view(styled.string()).substr(run.range.location, run.range.length);
        bool bold = run.attributes.fontFamily.ends_with(u"-Bold");
        html += !run.attributes.link.empty() ? "<a href=\"" + KCUTF8FromUTF16(run.attributes.link) + "\">" : bold ? "<b>" : "";
        html += escapedHTML(text);
        html += !run.attributes.link.empty() ? "</a>" : bold ? "</b>" : "";
    }
    html += "</p></body></html>\n";
    std::ofstream(path) << html;
}

void BM_GroupStyledText(benchmark::State& state)
{
    writeComparableHTML();
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
