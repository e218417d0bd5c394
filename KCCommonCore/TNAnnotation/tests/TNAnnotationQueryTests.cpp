#include "TNAnnotationTestSupport.h"
#include "Database/tests/KCStoreFile.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCLogger.h"

#include <nlohmann/json.hpp>

#include <algorithm>

#include <set>

namespace {

using Annotations = TNAnnotation::Annotations;

std::set<std::u16string> uuidsOf(const std::optional<Annotations>& annotations)
{
    std::set<std::u16string> uuids;
    for (const auto& annotation : annotations.value_or(Annotations()))
        uuids.insert(*annotation->annotationUuid());
    return uuids;
}

// Two books: A with a highlight, a deleted highlight, a bookmark, a bookmark
// without a location, a global record; B with a highlight and a global record
// that shares a UUID with A's highlight.
struct Library : TNScratchStore {
    std::shared_ptr<KCManagedObjectContext> context;

    Library()
    {
        context = store->newManagedObjectContext();
        add(u"A", u"H1", TNAnnotationTypeRange, 0, false, u"loc1");
        add(u"A", u"H2", TNAnnotationTypeRange, 10, true, u"loc1");
        add(u"A", u"B1", TNAnnotationTypePageBookmark, 5, false, u"loc2");
        add(u"A", u"B2", TNAnnotationTypePageBookmark, -1, false, u"loc3");
        add(u"A", u"GA", TNAnnotationTypeGlobal, 0, false, nullptr);
        add(u"B", u"H3", TNAnnotationTypeRange, 3, false, u"loc1");
        add(u"B", u"H1", TNAnnotationTypeGlobal, 0, false, nullptr);
        EXPECT_TRUE(store->saveManagedObjectContext(*context));
        context = store->newManagedObjectContext();
    }

    void add(const char16_t* book, const char16_t* uuid, int32_t type, int64_t start, bool deleted, const char16_t* location)
    {
        auto annotation = TNAnnotation::insertAnnotationWithAssetID(std::u16string_view(book), u"me", std::u16string_view(uuid), context.get());
        annotation->setAnnotationType(type);
        annotation->setPlLocationRangeStart(start);
        annotation->setAnnotationDeleted(deleted);
        if (location)
            annotation->setAnnotationLocation(std::u16string_view(location));
    }
};

TEST(TNAnnotationQueries, LookUpsByIdentityBookKindAndLocation)
{
    Library library;
    KCManagedObjectContext* context = library.context.get();
    using S = std::set<std::u16string>;

    EXPECT_EQ(TNAnnotation::annotationWithUUID(u"H1", u"B", context)->annotationType(), TNAnnotationTypeGlobal);
    auto anywhere = TNAnnotation::annotationWithUUID(u"H1", std::nullopt, context);
    ASSERT_TRUE(anywhere);
    EXPECT_EQ(anywhere->annotationAssetID(), u"A");  // never the global record
    EXPECT_FALSE(TNAnnotation::annotationWithUUID(u"GA", std::nullopt, context));
    EXPECT_FALSE(TNAnnotation::annotationWithUUID(u"H3", u"A", context));

    EXPECT_EQ(uuidsOf(TNAnnotation::annotationsForAssetID(u"A", false, context)), (S {u"H1", u"B1", u"B2", u"GA"}));
    EXPECT_EQ(uuidsOf(TNAnnotation::annotationsForAssetID(u"A", true, context)).size(), 5u);
    KCArray books {KCValue(u"A"), KCValue(u"B")};
    EXPECT_EQ(TNAnnotation::annotationsWithAssetIDInList(books, false, context)->size(), 6u);
    KCArray uuids {KCValue(u"H1"), KCValue(u"H3"), KCValue(u"GA")};
    EXPECT_EQ(TNAnnotation::annotationsWithUUIDInList(uuids, std::nullopt, context)->size(), 2u);
    EXPECT_EQ(uuidsOf(TNAnnotation::annotationsWithUUIDInList(uuids, u"B", context)), (S {u"H1", u"H3"}));
    EXPECT_EQ(*TNAnnotation::globalAnnotationForAssetID(u"A", context)->annotationUuid(), u"GA");
    EXPECT_FALSE(TNAnnotation::globalAnnotationForAssetID(u"C", context));

    auto fetch = [&](TNAnnotation::Predicate predicate) { return uuidsOf(TNAnnotation::annotationsForPredicate(predicate, context)); };
    EXPECT_EQ(fetch(TNAnnotation::predicateForUserAnnotationsWithAssetID(u"A", false)), (S {u"H1", u"B1", u"B2"}));
    EXPECT_EQ(fetch(TNAnnotation::predicateForUserAnnotationsWithAssetIDInList(books, true)), (S {u"H1", u"H2", u"B1", u"B2", u"H3"}));
    EXPECT_EQ(fetch(TNAnnotation::predicateForPageBookmarksWithAssetID(u"A")), (S {u"B1"}));
    EXPECT_EQ(fetch(TNAnnotation::predicateForRangeAnnotationsWithAssetID(u"A")), (S {u"H1"}));
    EXPECT_EQ(fetch(TNAnnotation::predicateForAnnotationsWithLocation(u"loc1", false)), (S {u"H1", u"H3"}));
    EXPECT_EQ(fetch(TNAnnotation::predicateForAnnotationsWithLocation(u"loc1", true)), (S {u"H1", u"H2", u"H3"}));
    EXPECT_EQ(TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForAllAnnotationsIncludingDeleted(false), context)->size(), 6u);
    EXPECT_EQ(TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForAllAnnotationsIncludingDeleted(true), context)->size(), 7u);
}

TEST(TNAnnotationQueries, LatestModificationsAndVersions)
{
    Library library;
    KCManagedObjectContext* context = library.context.get();
    EXPECT_FALSE(TNAnnotation::maxModificationDateForAllAnnotationsInManagedObjectContext(nullptr));
    EXPECT_FALSE(TNAnnotation::maxModificationDateForAssetsWithPredicate(nullptr, nullptr));
    EXPECT_FALSE(TNAnnotation::annotationsForAssetID(u"A", true, nullptr));
    EXPECT_FALSE(TNAnnotation::annotationWithUUID(u"H1", u"A", nullptr));

    auto h3 = TNAnnotation::annotationWithUUID(u"H3", u"B", context);
    h3->setAnnotationVersion(u"3.2");
    h3->updateUserModificationDate();
    h3->setAnnotationModificationDate(KCDate {2e9});
    ASSERT_TRUE(library.store->saveManagedObjectContext(*context));

    EXPECT_EQ(TNAnnotation::maxModificationDateForAllAnnotationsInManagedObjectContext(context), KCDate {2e9});

    auto versions = TNAnnotation::maxAnnotationVersionForAssetsWithPredicate(TNAnnotation::predicateForAllAnnotationsIncludingDeleted(true), context);
    ASSERT_TRUE(versions);
    EXPECT_EQ(*versions->find("B"), KCValue(KCDictionary {{"annotationAssetID", u"B"}, {"futureProofing2", u"3.2"}}));

    auto changed = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForAnnotationsWithUserModificationDate(), context);
    EXPECT_EQ(changed->size(), 7u);  // setting the type stamped every user date
    auto users = TNAnnotation::dictionaryResultsForAssetsWithPredicate(TNAnnotation::predicateForAnnotationsWithAssetID(u"B", true),
        {TNAnnotation::maxUserModificationDateExpressionDescription()}, context);
    ASSERT_TRUE(users && users->size() == 1);
    EXPECT_EQ(KCValue(users->front())["maxModificationDate"].date(), h3->userModificationDate());
}

// A typo in a format must not widen a query to every book of the store.
// Only the version query writes a line when the fetch fails.
TEST(TNAnnotationQueries, FormatThatDoesNotParseFailsTheFetch)
{
    Library library;
    KCManagedObjectContext* context = library.context.get();
    KCScratchDirectory logs;
    KCLogger& logger = *KCLogger::sharedLogger();
    logger.setAuxPath(logs.file("queries.log"));
    logger.setLogToFileOnly(true);
    auto typo = KCPredicate::predicateWithFormat("annotationAssetID == %@ AND (1 == %d OR annotationDeleted == 0", KCValue(u"A"), 0);
    ASSERT_FALSE(typo);
    std::string parseLine = KCReadTestFile(logs.file("queries.log"));

    KCError error;
    EXPECT_FALSE(TNAnnotation::annotationsForPredicate(typo, context, &error));
    EXPECT_EQ(error.code, KCStoreErrorInvalidPredicate);
    KCError perBook;
    EXPECT_TRUE(TNAnnotation::maxModificationDateForAssetsWithPredicate(typo, context, &perBook)->empty());
    EXPECT_EQ(perBook.code, KCStoreErrorInvalidPredicate);
    EXPECT_FALSE(TNAnnotation::dictionaryResultsForAssetsWithPredicate(typo, {std::string("annotationUuid")}, context));
    EXPECT_EQ(KCReadTestFile(logs.file("queries.log")), parseLine);
    KCError versions;
    EXPECT_TRUE(TNAnnotation::maxAnnotationVersionForAssetsWithPredicate(typo, context, &versions)->empty());
    EXPECT_EQ(versions.code, KCStoreErrorInvalidPredicate);
    std::string log = KCReadTestFile(logs.file("queries.log")).substr(parseLine.size());
    logger.setAuxPath(std::nullopt);
    logger.setLogToFileOnly(false);
    EXPECT_NE(log.find("[TNAnnotation:347] Failed to fetch annotations {"), std::string::npos) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;

    // Requests too, also when unsaved changes are merged into the results.
    KCFetchRequest request(TNAnnotation::entityName());
    EXPECT_EQ(context->countForFetchRequest(request), 7u);  // no predicate given: every annotation
    request.predicate = typo;
    EXPECT_FALSE(context->executeFetchRequest(request));
    TNAnnotation::insertAnnotationWithAssetID(u"A", u"me", std::nullopt, context);
    EXPECT_FALSE(context->countForFetchRequest(request));
    EXPECT_FALSE(context->fetchObjects(request));
}

// A store written before the spare slots 8 to 12 and the index that serves
// the latest dates existed opens with its rows and gains both.
TEST(TNAnnotationQueries, OlderModelVersionMigrates)
{
    const std::string index = "TNAnnotation_index_annotationAssetID_annotationModificationDate_annotationDeleted";
    auto hasIndex = [&](const std::string& path) { return !KCQueryStoreFile(path, "SELECT 1 FROM sqlite_master WHERE type = 'index' AND name = '" + index + "'").empty(); };
    TNScratchStore scratch;
    EXPECT_TRUE(hasIndex(scratch.path()));
    scratch.store.reset();
    std::filesystem::remove(scratch.path());
    auto json = nlohmann::json::parse(*KCCommonCoreBundle().resourceData("Annotations", "json"));
    json["version"] = json["version"].get<int>() - 1;
    auto& attributes = json["entities"][0]["attributes"];
    attributes.erase(attributes.end() - 5, attributes.end());
    json["entities"][0]["indexes"].erase(json["entities"][0]["indexes"].end() - 1);
    {
        auto coordinator = KCOpenStoreWithModel(scratch.url(), json.dump());
        ASSERT_TRUE(coordinator);
        KCManagedObjectContext context(coordinator);
        for (const char16_t* uuid : {u"U1", u"U2"})
            TNAnnotation::insertAnnotationWithAssetID(u"OLD", u"me", std::u16string_view(uuid), &context)->setAnnotationNote(u"kept");
        ASSERT_TRUE(context.save());
    }
    ASSERT_FALSE(hasIndex(scratch.path()));
    scratch.reopen();
    ASSERT_TRUE(scratch.store->persistentStore());
    EXPECT_TRUE(hasIndex(scratch.path()));
    auto context = scratch.store->newManagedObjectContext();
    auto annotations = TNAnnotation::annotationsForAssetID(u"OLD", false, context.get());
    ASSERT_EQ(annotations->size(), 2u);
    EXPECT_EQ((*annotations)[1]->annotationNote(), u"kept");
    (*annotations)[1]->setFutureProofing(12, KCValue(u"new slot"));
    EXPECT_TRUE(scratch.store->saveManagedObjectContext(*context));
}

// The per-book latest date is read row by row; it must stay what the
// grouping by book and date answers when every row is a dictionary.
TEST(TNAnnotationQueries, LatestDatePerBookMatchesTheFullGrouping)
{
    TNScratchStore scratch;
    auto context = scratch.store->newManagedObjectContext();
    EXPECT_FALSE(TNAnnotation::maxModificationDateForAllAnnotationsInManagedObjectContext(context.get()));
    EXPECT_TRUE(TNAnnotation::maxModificationDateForAssetsWithPredicate(KCPredicate::predicateWithValue(true), context.get())->empty());
    const char16_t* books[] = {u"Z", u"A", u"M"};
    for (int i = 0; i < 60; ++i) {
        auto annotation = TNAnnotation::insertAnnotationWithAssetID(std::u16string_view(books[i % 3]), u"me", std::nullopt, context.get());
        annotation->setAnnotationDeleted(i % 7 == 0);
        annotation->setAnnotationModificationDate(KCDate {1e9 + (i * 37 % 23)});  // repeated dates, out of order
    }
    TNAnnotation::insertAnnotationWithAssetID(u"B", u"me", std::nullopt, context.get())->setAnnotationModificationDate(KCDate {5e9});
    ASSERT_TRUE(scratch.store->saveManagedObjectContext(*context));

    for (bool deleted : {false, true}) {
        auto predicate = TNAnnotation::predicateForAllAnnotationsIncludingDeleted(deleted);
        KCFetchRequest request(TNAnnotation::entityName());
        request.resultType = KCFetchRequestResultType::Dictionary;
        request.propertiesToGroupBy = {"annotationAssetID", "annotationModificationDate"};
        request.propertiesToFetch = {TNAnnotation::maxModificationDateExpressionDescription(), std::string("annotationAssetID")};
        request.returnsDistinctResults = true;
        request.predicate = predicate;
        auto rows = context->executeFetchRequest(request);
        ASSERT_TRUE(rows);
        KCDictionary expected;
        for (const KCValue& row : *rows)
            expected.set(row["annotationAssetID"].utf8String(), row["maxModificationDate"]);
        auto latest = TNAnnotation::maxModificationDateForAssetsWithPredicate(predicate, context.get());
        ASSERT_TRUE(latest);
        EXPECT_EQ(*latest, expected);
        EXPECT_EQ(KCValue(*latest).description(), KCValue(expected).description());  // the same key order
        EXPECT_EQ(latest->size(), 4u);
    }
}

} // namespace
