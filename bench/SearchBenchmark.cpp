// Search folding, fragment filters and, side by side on the same chapters,
// an SQLite FTS5 trigram index.
//
// The book is generated: a word-level Markov chain trained on the licence
// texts in /usr/share/common-licenses writes 60 chapters of about 20,000
// UTF-16 units each, so every chapter has prose of its own.
#include "Search/KCLibraryFragmentFilter.h"
#include "Search/KCSearchCoding.h"
#include "Search/KCSearchFolding.h"
#include "Search/KCSearchRange.h"
#include "Search/KCTextFolder.h"
#include "Utilities/KCStringConversion.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <unordered_set>
#include <unistd.h>

namespace {

constexpr size_t kChapterCount = 60;
constexpr size_t kChapterUnits = 20000;
const KCLibraryFilterSpecification kPageSpecification {1.0, 1, 4};

std::vector<std::string> licenceWords()
{
    std::vector<std::string> words;
    for (const auto& entry : std::filesystem::directory_iterator("/usr/share/common-licenses")) {
        if (entry.is_symlink())
            continue;
        std::ifstream file(entry.path());
        for (std::string word; file >> word;)
            words.push_back(word);
    }
    return words;
}

struct Book {
    std::vector<std::u16string> chapters;        // as written
    std::vector<std::u16string> foldedChapters;  // as indexed
    std::u16string text;                         // all chapters, as written
    std::u16string mixedText;                    // the same with accented and full-width words among them
    std::map<size_t, std::vector<std::u16string>> queries;  // folded queries by length
};

const Book& book()
{
    static const Book generated = [] {
        Book book;
        std::vector<std::string> words = licenceWords();
        std::map<std::pair<std::string, std::string>, std::vector<std::string>> next;
        for (size_t i = 2; i < words.size(); ++i)
            next[{words[i - 2], words[i - 1]}].push_back(words[i]);
        std::mt19937 random(1851);
        const char* sprinkles[] = {"caf\xC3\xA9", "na\xC3\xAFve", "\xC3\x89""cole", "\xEF\xBC\xA1\xEF\xBC\xA2", "\xE2\x80\x9Cquoted\xE2\x80\x9D", "r\xC3\xA9sum\xC3\xA9"};
        for (size_t c = 0; c < kChapterCount; ++c) {
            std::string chapter, mixed;
            size_t start = random() % (words.size() - 2);
            std::string a = words[start], b = words[start + 1];
            while (chapter.size() < kChapterUnits) {
                auto found = next.find({a, b});
                std::string word = found == next.end() || found->second.empty()
                    ? words[random() % words.size()]
                    : found->second[random() % found->second.size()];
                chapter += word + ' ';
                mixed += (random() % 40 == 0 ? std::string(sprinkles[random() % std::size(sprinkles)]) : word) + ' ';
                a = b;
                b = word;
            }
            book.chapters.push_back(KCUTF16FromUTF8(chapter));
            book.foldedChapters.push_back(StringCopyFlattenedForSearch(book.chapters.back()));
            book.text += book.chapters.back();
            book.mixedText += KCUTF16FromUTF8(mixed);
        }
        // Queries taken from the folded text at random places, so each occurs somewhere.
        for (size_t length : {6, 8, 12}) {
            for (int q = 0; q < 200; ++q) {
                const auto& chapter = book.foldedChapters[random() % kChapterCount];
                book.queries[length].push_back(chapter.substr(random() % (chapter.size() - length), length));
            }
        }
        return book;
    }();
    return generated;
}

void setUnitRate(benchmark::State& state, size_t unitsPerIteration)
{
    state.counters["units/s"] = benchmark::Counter(double(unitsPerIteration), benchmark::Counter::kIsIterationInvariantRate);
    state.SetBytesProcessed(int64_t(state.iterations() * unitsPerIteration * 2));
}

// MARK: - Folding

void BM_FoldICUChain(benchmark::State& state)
{
    const auto& text = book().text;
    for (auto _ : state)
        benchmark::DoNotOptimize(KCFoldTextWithICU(text, {StringCompareFlagsForSearch(), true}));
    setUnitRate(state, text.size());
}
BENCHMARK(BM_FoldICUChain)->Unit(benchmark::kMillisecond);

void BM_FoldFastPath(benchmark::State& state)
{
    const auto& text = book().text;
    for (auto _ : state)
        benchmark::DoNotOptimize(StringCopyFlattenedForSearch(text));
    setUnitRate(state, text.size());
}
BENCHMARK(BM_FoldFastPath)->Unit(benchmark::kMillisecond);

// One word in 40 is accented, full-width or curly-quoted: fast words and ICU runs alternate.
void BM_FoldMixedText(benchmark::State& state)
{
    const auto& text = book().mixedText;
    for (auto _ : state)
        benchmark::DoNotOptimize(StringCopyFlattenedForSearch(text));
    setUnitRate(state, text.size());
}
// Two threads fold through their own transliterator clones; no lock is shared.
BENCHMARK(BM_FoldMixedText)->Unit(benchmark::kMillisecond)->Threads(1)->Threads(2)->UseRealTime();

void BM_FoldMixedTextICUChain(benchmark::State& state)
{
    const auto& text = book().mixedText;
    for (auto _ : state)
        benchmark::DoNotOptimize(KCFoldTextWithICU(text, {StringCompareFlagsForSearch(), true}));
    setUnitRate(state, text.size());
}
BENCHMARK(BM_FoldMixedTextICUChain)->Unit(benchmark::kMillisecond);

// A chapter-length search whose match is near the end, on the mixed text.
void BM_RangeOfStringForSearch(benchmark::State& state)
{
    std::u16string chapter = book().mixedText.substr(0, kChapterUnits) + u" The \u00C9cole";
    for (auto _ : state)
        benchmark::DoNotOptimize(KCRangeOfStringForSearch(chapter, u"ecole"));
    setUnitRate(state, chapter.size());
}
BENCHMARK(BM_RangeOfStringForSearch)->Unit(benchmark::kMicrosecond);

// MARK: - Fragment filters

void BM_DocumentFilterBuild(benchmark::State& state)
{
    std::u16string text;
    for (const auto& chapter : book().foldedChapters)
        text += chapter;
    auto specification = KCLibraryFragmentFilter::fragmentFilterSpecificationForDocumentLength(int64_t(text.size()), kPageSpecification);
    for (auto _ : state) {
        KCDocumentFragmentFilter filter(text, specification);
        benchmark::DoNotOptimize(filter.indexSize());
    }
    state.counters["windows/s"] = benchmark::Counter(double(text.size() - 3), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_DocumentFilterBuild)->Unit(benchmark::kMillisecond);

void BM_MightContainFragment(benchmark::State& state)
{
    const auto& chapter = book().foldedChapters[0];
    KCDocumentFragmentFilter filter(chapter, KCLibraryFragmentFilter::fragmentFilterSpecificationForDocumentLength(int64_t(chapter.size()), kPageSpecification));
    std::vector<std::u16string> queries;
    for (const auto& [length, some] : book().queries)
        queries.insert(queries.end(), some.begin(), some.end());
    size_t admitted = 0;
    for (auto _ : state) {
        for (const auto& query : queries)
            admitted += filter.mightContainFragment(query);
    }
    benchmark::DoNotOptimize(admitted);
    state.counters["queries/s"] = benchmark::Counter(double(queries.size()), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_MightContainFragment);

std::shared_ptr<KCDocumentFragmentFilter> chapterFilter()
{
    const auto& chapter = book().foldedChapters[0];
    return std::make_shared<KCDocumentFragmentFilter>(chapter,
        KCLibraryFragmentFilter::fragmentFilterSpecificationForDocumentLength(int64_t(chapter.size()), kPageSpecification));
}

void BM_ArchiveEncodeChapterFilter(benchmark::State& state)
{
    auto filter = chapterFilter();
    size_t bytes = 0;
    for (auto _ : state)
        bytes = KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter)).size();
    state.counters["archive bytes"] = double(bytes);
    state.counters["index bytes"] = double(filter->indexSize());
}
BENCHMARK(BM_ArchiveEncodeChapterFilter)->Unit(benchmark::kMicrosecond);

void BM_ArchiveDecodeChapterFilter(benchmark::State& state)
{
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCValue(chapterFilter()));
    for (auto _ : state)
        benchmark::DoNotOptimize(KCDocumentFragmentFilter::unarchivedFilter(archive));
}
BENCHMARK(BM_ArchiveDecodeChapterFilter)->Unit(benchmark::kMicrosecond);

// MARK: - Against FTS5

struct Database {
    sqlite3* handle = nullptr;
    std::string path;
    explicit Database(const char* detail)
    {
        path = "/tmp/pagemoor-search-bench-" + std::to_string(::getpid()) + "-" + detail + ".sqlite";
        std::filesystem::remove(path);
        sqlite3_open(path.c_str(), &handle);
        run("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;");
        run("CREATE VIRTUAL TABLE chapters USING fts5(text, tokenize='trigram', content='', columnsize=0, detail=" + std::string(detail) + ")");
    }
    ~Database()
    {
        sqlite3_close(handle);
        std::filesystem::remove(path);
    }
    void run(const std::string& sql)
    {
        char* error = nullptr;
        if (sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
            std::fprintf(stderr, "%s: %s\n", sql.c_str(), error);
            sqlite3_free(error);
        }
    }
    void insertChapters()
    {
        run("BEGIN");
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(handle, "INSERT INTO chapters(rowid, text) VALUES(?, ?)", -1, &insert, nullptr);
        for (size_t i = 0; i < kChapterCount; ++i) {
            const auto& chapter = book().foldedChapters[i];
            sqlite3_bind_int64(insert, 1, int64_t(i));
            sqlite3_bind_text16(insert, 2, chapter.data(), int(chapter.size() * 2), SQLITE_STATIC);
            sqlite3_step(insert);
            sqlite3_reset(insert);
        }
        sqlite3_finalize(insert);
        run("COMMIT");
    }
    // Merged into one segment and vacuumed: the smallest file this index makes.
    int64_t sizeOnDisk()
    {
        run("INSERT INTO chapters(chapters) VALUES('optimize')");
        run("VACUUM");
        return int64_t(std::filesystem::file_size(path));
    }
    // The index's own blocks, without page slack and schema.
    int64_t indexBytes()
    {
        sqlite3_stmt* select = nullptr;
        sqlite3_prepare_v2(handle, "SELECT sum(length(block)) FROM chapters_data", -1, &select, nullptr);
        int64_t bytes = sqlite3_step(select) == SQLITE_ROW ? sqlite3_column_int64(select, 0) : 0;
        sqlite3_finalize(select);
        return bytes;
    }
    // Candidates for a query: with detail=none the trigrams are ANDed (no
    // positions); with detail=full the query is a phrase of trigrams.
    size_t candidates(const std::u16string& query, bool phrase, std::vector<bool>& chapters)
    {
        std::string text = KCUTF8FromUTF16(query);
        auto quoted = [](std::string s) {
            std::string q = "\"";
            for (char c : s)
                q += c == '"' ? std::string("\"\"") : std::string(1, c);
            return q + "\"";
        };
        std::string match;
        if (phrase) {
            match = quoted(text);
        } else {
            std::u16string units = query;
            for (size_t i = 0; i + 3 <= units.size(); ++i)
                match += (match.empty() ? "" : " AND ") + quoted(KCUTF8FromUTF16(units.substr(i, 3)));
        }
        sqlite3_stmt* select = nullptr;
        sqlite3_prepare_v2(handle, "SELECT rowid FROM chapters WHERE chapters MATCH ?", -1, &select, nullptr);
        sqlite3_bind_text(select, 1, match.c_str(), -1, SQLITE_TRANSIENT);
        size_t count = 0;
        chapters.assign(kChapterCount, false);
        while (sqlite3_step(select) == SQLITE_ROW) {
            chapters[size_t(sqlite3_column_int64(select, 0))] = true;
            ++count;
        }
        sqlite3_finalize(select);
        return count;
    }
};

void BM_BuildChapterFilters(benchmark::State& state)
{
    size_t indexBytes = 0, archiveBytes = 0;
    for (auto _ : state) {
        KCLibraryFragmentFilter library(kPageSpecification);
        for (size_t i = 0; i < kChapterCount; ++i)
            library.addDocument(book().foldedChapters[i], KCValue(uint64_t(i)));
        state.PauseTiming();
        indexBytes = archiveBytes = 0;
        for (const auto& identifier : library.allIdentifiers()) {
            auto filter = library.filterWithIdentifier(identifier);
            indexBytes += filter->indexSize();
            archiveBytes += KCKeyedArchiver::archivedDataWithRootObject(KCValue(filter)).size();
        }
        state.ResumeTiming();
    }
    state.counters["index bytes"] = double(indexBytes);
    state.counters["archive bytes"] = double(archiveBytes);
}
BENCHMARK(BM_BuildChapterFilters)->Unit(benchmark::kMillisecond);

void BM_BuildFTS5Trigram(benchmark::State& state, const char* detail)
{
    int64_t size = 0, blocks = 0;
    for (auto _ : state) {
        state.PauseTiming();
        {
            Database database(detail);
            state.ResumeTiming();
            database.insertChapters();
            state.PauseTiming();
            size = database.sizeOnDisk();
            blocks = database.indexBytes();
        }
        state.ResumeTiming();
    }
    state.counters["bytes on disk"] = double(size);
    state.counters["index bytes"] = double(blocks);
}
BENCHMARK_CAPTURE(BM_BuildFTS5Trigram, contentless_detail_none, "none")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BuildFTS5Trigram, contentless_detail_full, "full")->Unit(benchmark::kMillisecond);

// Per query length: chapters that hold the query, and the mean number of
// chapters each index admits without holding it (false candidates).
void BM_Preselection(benchmark::State& state)
{
    const size_t length = size_t(state.range(0));
    const auto& queries = book().queries.at(length);
    KCLibraryFragmentFilter library(kPageSpecification);
    for (size_t i = 0; i < kChapterCount; ++i)
        library.addDocument(book().foldedChapters[i], KCValue(uint64_t(i)));
    Database none("none"), full("full");
    none.insertChapters();
    full.insertChapters();
    // The exact sets of 4-unit windows: what a filter without false positives would admit.
    auto pack = [](const char16_t* units) {
        return uint64_t(units[0]) | uint64_t(units[1]) << 16 | uint64_t(units[2]) << 32 | uint64_t(units[3]) << 48;
    };
    std::vector<std::unordered_set<uint64_t>> windows(kChapterCount);
    for (size_t i = 0; i < kChapterCount; ++i) {
        const auto& chapter = book().foldedChapters[i];
        for (size_t p = 0; p + 4 <= chapter.size(); ++p)
            windows[i].insert(pack(chapter.data() + p));
    }

    double holding = 0, filterFalse = 0, exactFalse = 0, noneFalse = 0, fullFalse = 0;
    for (auto _ : state) {
        holding = filterFalse = exactFalse = noneFalse = fullFalse = 0;
        for (const auto& query : queries) {
            std::vector<bool> contains(kChapterCount), admitted;
            for (size_t i = 0; i < kChapterCount; ++i) {
                contains[i] = book().foldedChapters[i].find(query) != std::u16string::npos;
                holding += contains[i];
                bool allWindows = true;
                for (size_t p = 0; p + 4 <= query.size() && allWindows; ++p)
                    allWindows = windows[i].contains(pack(query.data() + p));
                exactFalse += allWindows && !contains[i];
            }
            for (const auto& identifier : library.candidateIdentifiersForQuery(query))
                filterFalse += !contains[size_t(*identifier.uint64Value())];
            none.candidates(query, false, admitted);
            for (size_t i = 0; i < kChapterCount; ++i)
                noneFalse += admitted[i] && !contains[i];
            full.candidates(query, true, admitted);
            for (size_t i = 0; i < kChapterCount; ++i)
                fullFalse += admitted[i] && !contains[i];
        }
    }
    double n = double(queries.size());
    state.counters["chapters holding"] = holding / n;
    state.counters["false: filters"] = filterFalse / n;
    state.counters["false: exact 4-grams"] = exactFalse / n;
    state.counters["false: fts5 none"] = noneFalse / n;
    state.counters["false: fts5 full"] = fullFalse / n;
}
BENCHMARK(BM_Preselection)->Arg(6)->Arg(8)->Arg(12)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
