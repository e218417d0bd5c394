// The annotation store at library scale: 100,000 annotations over 100 books.
#include "TNAnnotation/TNAnnotation.h"
#include "TNAnnotation/TNAnnotationStoreDataSource.h"
#include "Utilities/KCStringConversion.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>

namespace {

constexpr int kBooks = 100;
constexpr int kPerBook = 1000;
constexpr int kBatch = 1000;

std::u16string book(int n)
{
    return KCUTF16FromUTF8("BOOK-" + std::to_string(n));
}

std::string scratchPath(const char* name)
{
    return (std::filesystem::temp_directory_path() / (std::string("pm-bench-") + std::to_string(getpid()) + "-" + name)).string();
}

void removeStore(const std::string& path)
{
    for (const char* suffix : {"", "-wal", "-shm"})
        std::filesystem::remove(path + suffix);
}

// Inserts the library in batches, one save (one transaction) per batch.
void fillStore(const std::string& path)
{
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(path));
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    for (int i = 0; i < kBooks * kPerBook; ++i) {
        // Books interleave, so one book's rows are spread over the whole file.
        auto annotation = TNAnnotation::insertAnnotationWithAssetID(book(i % kBooks), u"bench", std::nullopt, context.get());
        annotation->setAnnotationSelectedText(u"It was the best of times, it was the worst of times");
        annotation->setAnnotationLocation(KCUTF16FromUTF8("epubcfi(/6/4!/4/2/" + std::to_string(i) + ")"));
        annotation->setPlLocationRangeStart(i);
        annotation->setAnnotationStyle(1 + i % 5);
        if (i % kBatch == kBatch - 1)
            store.saveManagedObjectContext(*context);
    }
    store.saveManagedObjectContext(*context);
}

const std::string& libraryPath()
{
    static const std::string path = [] {
        std::string file = scratchPath("library.sqlite");
        removeStore(file);
        fillStore(file);
        std::atexit([] { removeStore(libraryPath()); });
        return file;
    }();
    return path;
}

void BM_Insert100000InBatches(benchmark::State& state)
{
    std::string path = scratchPath("insert.sqlite");
    for (auto _ : state) {
        removeStore(path);
        fillStore(path);
    }
    removeStore(path);
    state.SetItemsProcessed(state.iterations() * kBooks * kPerBook);
}
BENCHMARK(BM_Insert100000InBatches)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_FetchOneBookByQuery(benchmark::State& state)
{
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(libraryPath()));
    store.loadObjectStore();
    size_t fetched = 0;
    for (auto _ : state) {
        auto context = store.newManagedObjectContext();
        auto annotations = TNAnnotation::annotationsForAssetID(book(42), false, context.get());
        fetched = annotations->size();
        benchmark::DoNotOptimize(annotations);
    }
    state.counters["annotations"] = static_cast<double>(fetched);
}
BENCHMARK(BM_FetchOneBookByQuery)->Unit(benchmark::kMicrosecond);

// The same rows read by hand-written SQL over the same index, every column into plain values.
void BM_FetchOneBookByHandWrittenSQL(benchmark::State& state)
{
    sqlite3* database = nullptr;
    sqlite3_open_v2(libraryPath().c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database, "SELECT * FROM TNAnnotation WHERE annotationAssetID = ? AND annotationDeleted = 0 ORDER BY annotationCreationDate", -1, &statement, nullptr);
    std::string bookID = KCUTF8FromUTF16(book(42));
    size_t fetched = 0;
    for (auto _ : state) {
        struct Row {
            std::vector<std::string> texts;
            std::vector<double> numbers;
        };
        std::vector<Row> rows;
        sqlite3_bind_text(statement, 1, bookID.c_str(), -1, SQLITE_STATIC);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            Row row;
            int columns = sqlite3_column_count(statement);
            for (int c = 0; c < columns; ++c) {
                if (sqlite3_column_type(statement, c) == SQLITE_TEXT)
                    row.texts.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, c)));
                else
                    row.numbers.push_back(sqlite3_column_double(statement, c));
            }
            rows.push_back(std::move(row));
        }
        sqlite3_reset(statement);
        fetched = rows.size();
        benchmark::DoNotOptimize(rows);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    state.counters["annotations"] = static_cast<double>(fetched);
}
BENCHMARK(BM_FetchOneBookByHandWrittenSQL)->Unit(benchmark::kMicrosecond);

void BM_MaxModificationDateForAssets(benchmark::State& state)
{
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(libraryPath()));
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    size_t books = 0;
    for (auto _ : state) {
        auto latest = TNAnnotation::maxModificationDateForAssetsWithPredicate(TNAnnotation::predicateForAllAnnotationsIncludingDeleted(false), context.get());
        books = latest->size();
        benchmark::DoNotOptimize(latest);
    }
    state.counters["books"] = static_cast<double>(books);
}
BENCHMARK(BM_MaxModificationDateForAssets)->Unit(benchmark::kMillisecond);

// The baseline of the query above: the same grouping in hand-written SQL,
// each row read straight into the map, the last row of a book winning.
void BM_MaxModificationDateForAssetsByHandWrittenSQL(benchmark::State& state)
{
    {
        // The store's own index, made as the store makes it when it is opened.
        TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(libraryPath()));
        store.loadObjectStore();
    }
    sqlite3* database = nullptr;
    sqlite3_open_v2(libraryPath().c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(database,
        "SELECT MAX(annotationModificationDate), annotationAssetID FROM TNAnnotation WHERE annotationDeleted = 0 "
        "GROUP BY annotationAssetID, annotationModificationDate",
        -1, &statement, nullptr);
    size_t books = 0;
    for (auto _ : state) {
        std::map<std::string, double> latest;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            const char* bookID = reinterpret_cast<const char*>(sqlite3_column_text(statement, 1));
            if (bookID)
                latest[bookID] = sqlite3_column_double(statement, 0);
        }
        sqlite3_reset(statement);
        books = latest.size();
        benchmark::DoNotOptimize(latest);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    state.counters["books"] = static_cast<double>(books);
}
BENCHMARK(BM_MaxModificationDateForAssetsByHandWrittenSQL)->Unit(benchmark::kMillisecond);

void BM_MaxModificationDateForAllAnnotations(benchmark::State& state)
{
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(libraryPath()));
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    for (auto _ : state)
        benchmark::DoNotOptimize(TNAnnotation::maxModificationDateForAllAnnotationsInManagedObjectContext(context.get()));
}
BENCHMARK(BM_MaxModificationDateForAllAnnotations)->Unit(benchmark::kMillisecond);

} // namespace
