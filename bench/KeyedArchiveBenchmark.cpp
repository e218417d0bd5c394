// Archiving and reading back objects shaped like the search filters: raw
// specification bytes, a nested object with a large byte field, and a
// dictionary of many such objects keyed by number.
#include "Utilities/KCKeyedArchive.h"

#include <benchmark/benchmark.h>

namespace {

struct BenchFilter : KCCoding {
    KCData specification = KCData(32, 1);
    KCData bits;

    std::string classNameForCoder() const override { return "PMBenchFilter"; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override
    {
        coder.encodeBytes(specification.data(), specification.size(), "specification");
        coder.encodeBytes(bits.data(), bits.size(), "bytes");
    }
    static std::shared_ptr<KCObject> decode(KCKeyedUnarchiver& coder)
    {
        auto filter = std::make_shared<BenchFilter>();
        auto specification = coder.decodeBytes("specification");
        auto bits = coder.decodeBytes("bytes");
        if (!specification || !bits)
            return nullptr;
        filter->specification = std::move(*specification);
        filter->bits = std::move(*bits);
        return filter;
    }
};

struct BenchLibrary : KCCoding {
    KCDictionaryEntries documents;

    std::string classNameForCoder() const override { return "PMBenchLibrary"; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override { coder.encodeDictionary(documents, "documents"); }
    static std::shared_ptr<KCObject> decode(KCKeyedUnarchiver& coder)
    {
        auto library = std::make_shared<BenchLibrary>();
        auto documents = coder.decodeDictionary("documents");
        if (!documents)
            return nullptr;
        library->documents = std::move(*documents);
        return library;
    }
};

std::shared_ptr<BenchFilter> makeFilter(size_t bytes)
{
    auto filter = std::make_shared<BenchFilter>();
    filter->bits.resize(bytes);
    for (size_t index = 0; index < bytes; ++index)
        filter->bits[index] = uint8_t(index * 2654435761u >> 13);
    return filter;
}

KCValue makeLibrary(int64_t documents)
{
    auto library = std::make_shared<BenchLibrary>();
    for (int64_t index = 0; index < documents; ++index)
        library->documents.emplace_back(KCValue(index), makeFilter(2048));
    return library;
}

void registerClasses()
{
    KCKeyedUnarchiver::registerClass("PMBenchFilter", BenchFilter::decode);
    KCKeyedUnarchiver::registerClass("PMBenchLibrary", BenchLibrary::decode);
}

// One page's document filter: the byte count is the page's text length / 8.
void BM_ArchiveDocumentFilter(benchmark::State& state)
{
    KCValue filter = makeFilter(size_t(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(KCKeyedArchiver::archivedDataWithRootObject(filter));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ArchiveDocumentFilter)->Arg(64)->Arg(4096)->Arg(65536);

void BM_UnarchiveDocumentFilter(benchmark::State& state)
{
    registerClasses();
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(makeFilter(size_t(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(KCKeyedUnarchiver::unarchivedRootObject(archive));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_UnarchiveDocumentFilter)->Arg(64)->Arg(4096)->Arg(65536);

// A whole book's library filter: one 2 KB filter per document.
void BM_ArchiveLibrary(benchmark::State& state)
{
    KCValue library = makeLibrary(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(KCKeyedArchiver::archivedDataWithRootObject(library));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ArchiveLibrary)->Arg(10)->Arg(1000);

void BM_UnarchiveLibrary(benchmark::State& state)
{
    registerClasses();
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(makeLibrary(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(KCKeyedUnarchiver::unarchivedRootObject(archive));
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["archive_bytes"] = double(archive.size());
}
BENCHMARK(BM_UnarchiveLibrary)->Arg(10)->Arg(1000);

} // namespace
