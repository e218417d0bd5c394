#include "Database/KCManagedObjectContext.h"
#include "KCStoreFile.h"
#include "KCStoreTestSupport.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <thread>

namespace {

using ObjectPtr = std::shared_ptr<KCManagedObject>;

std::vector<ObjectPtr> fetchAll(KCManagedObjectContext& context, std::shared_ptr<const KCPredicate> predicate = KCPredicate::predicateWithValue(true), const char* sortKey = "sortKey", size_t limit = 0)
{
    return context.entity("Item", std::move(predicate), sortKey, true, limit).value_or(std::vector<ObjectPtr>());
}

ObjectPtr insertItem(KCManagedObjectContext& context, const char16_t* title, int64_t sortKey)
{
    auto item = context.insertNewObjectForEntityForName("Item");
    item->setValue(KCValue(title), "title");
    item->setValue(KCValue(sortKey), "sortKey");
    return item;
}

// A store at version 2, open, with one context.
class KCStore : public testing::Test {
protected:
    KCScratchDirectory directory;
    std::shared_ptr<KCPersistentStoreCoordinator> coordinator = KCOpenTestStore(directory.url("Items.sqlite"));
    KCManagedObjectContext context {coordinator};
};

TEST(KCStoreFiles, ValuesSurviveCloseAndReopen)
{
    KCScratchDirectory directory;
    KCDictionary payload {{"list", KCArray {KCValue(1), KCValue(u"two")}}, {"bytes", KCData {0, 255}}, {"at", KCDate {5.25}}};
    {
        auto coordinator = KCOpenTestStore(directory.url("Items.sqlite"));
        ASSERT_TRUE(coordinator);
        KCManagedObjectContext context(coordinator);
        auto item = insertItem(context, u"Caf\u00e9 \U0001F600", 1);
        EXPECT_TRUE(item->isInserted());
        EXPECT_EQ(item->valueForKey("rating"), KCValue(3));  // the model's default
        item->setValue(KCValue(int64_t(0x100000005)), "count");  // a 32-bit attribute keeps 32 bits
        item->setValue(KCValue(true), "flag");
        item->setValue(KCValue(0.1), "score");
        item->setValue(KCValue(KCDate {723456789.123456}), "when");
        item->setValue(KCValue(payload), "payload");
        item->setValue(KCValue(u"not a number"), "count");  // refused, logged
        ASSERT_TRUE(context.save());
        EXPECT_FALSE(item->hasChanges());
        EXPECT_FALSE(item->objectID().isTemporaryID());
    }
    auto coordinator = KCOpenTestStore(directory.url("Items.sqlite"));
    ASSERT_TRUE(coordinator);
    KCManagedObjectContext context(coordinator);
    auto items = fetchAll(context);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0]->valueForKey("title"), KCValue(u"Caf\u00e9 \U0001F600"));
    EXPECT_EQ(items[0]->valueForKey("count"), KCValue(5));
    EXPECT_EQ(items[0]->valueForKey("flag").exactBoolean(), true);
    EXPECT_EQ(items[0]->valueForKey("score"), KCValue(0.1));
    EXPECT_EQ(items[0]->valueForKey("when").date(), KCDate {723456789.123456});
    EXPECT_EQ(items[0]->valueForKey("payload"), KCValue(payload));
    EXPECT_TRUE(items[0]->valueForKey("extra").isNull());
    EXPECT_TRUE(items[0]->valueForKey("nosuchkey").isNull());
}

TEST_F(KCStore, FetchesSeeUnsavedChangesSortedAndLimited)
{
    for (int i = 1; i <= 5; ++i)
        insertItem(context, u"saved", i * 10);
    ASSERT_TRUE(context.save());
    auto saved = fetchAll(context);
    ASSERT_EQ(saved.size(), 5u);
    EXPECT_EQ(fetchAll(context)[2], saved[2]);  // one object per row in a context

    context.deleteObject(saved[0]);
    saved[1]->setValue(KCValue(u"changed"), "title");
    saved[2]->setValue(KCValue(int64_t(5)), "sortKey");
    insertItem(context, u"new", 1);
    auto titled = KCPredicate::predicateWithFormat("title == %@", u"saved");
    auto sortKeys = [](const std::vector<ObjectPtr>& objects) {
        std::vector<int64_t> keys;
        for (const auto& object : objects)
            keys.push_back(*object->valueForKey("sortKey").int64Value());
        return keys;
    };
    EXPECT_EQ(sortKeys(fetchAll(context)), (std::vector<int64_t> {1, 5, 20, 40, 50}));
    EXPECT_EQ(sortKeys(fetchAll(context, titled)), (std::vector<int64_t> {5, 40, 50}));
    EXPECT_EQ(sortKeys(fetchAll(context, KCPredicate::predicateWithValue(true), "sortKey", 2)), (std::vector<int64_t> {1, 5}));
    EXPECT_EQ(context.countForFetchRequest(KCFetchRequest("Item")), 5u);

    ASSERT_TRUE(context.save());
    KCManagedObjectContext fresh(coordinator);
    EXPECT_EQ(sortKeys(fetchAll(fresh)), (std::vector<int64_t> {1, 5, 20, 40, 50}));
    EXPECT_EQ(sortKeys(fetchAll(fresh, titled, "sortKey", 1)), (std::vector<int64_t> {5}));
}

TEST_F(KCStore, ChangedPropertiesWinOverStoredOnesWhenContextsCollide)
{
    insertItem(context, u"first", 1);
    ASSERT_TRUE(context.save());

    KCManagedObjectContext a(coordinator), b(coordinator);
    auto inA = fetchAll(a)[0];
    auto inB = fetchAll(b)[0];
    inA->setValue(KCValue(u"from a"), "title");
    inA->setValue(KCValue(7), "count");
    inB->setValue(KCValue(u"from b"), "title");
    inB->setValue(KCValue(2.5), "score");
    ASSERT_TRUE(a.save());
    ASSERT_TRUE(b.save());
    // b changed title and score: its values win; count came from a's save.
    EXPECT_EQ(inB->valueForKey("count"), KCValue(7));

    KCManagedObjectContext reader(coordinator);
    auto stored = fetchAll(reader)[0];
    EXPECT_EQ(stored->valueForKey("title"), KCValue(u"from b"));
    EXPECT_EQ(stored->valueForKey("count"), KCValue(7));
    EXPECT_EQ(stored->valueForKey("score"), KCValue(2.5));

    // An object deleted by another context cannot be updated; the changes stay unsaved.
    reader.deleteObject(stored);
    ASSERT_TRUE(reader.save());
    inA->setValue(KCValue(u"late"), "title");
    KCError error;
    EXPECT_FALSE(a.save(&error));
    EXPECT_EQ(error.code, KCStoreErrorObjectDeleted);
    EXPECT_TRUE(inA->hasChanges());
    KCManagedObjectContext later(coordinator);
    EXPECT_FALSE(later.existingObjectWithID(inA->objectID()));
}

TEST_F(KCStore, NotificationsFaultingAndDifferentValues)
{
    auto item = insertItem(context, u"t", 1);
    ASSERT_TRUE(context.save());

    std::vector<std::string> seen;
    uint64_t token = item->addObserver([&](KCManagedObject& object, std::string_view key, KCChangePhase phase) {
        seen.push_back(std::string(phase == KCChangePhase::Prior ? "will " : "did ") + std::string(key) + "=" + object.valueForKey(key).description());
    });
    item->setValue(KCValue(u"u"), "title");
    item->setPrimitiveValue(KCValue(u"v"), "title");
    EXPECT_EQ(seen, (std::vector<std::string> {"will title=t", "did title=u"}));
    item->removeObserver(token);
    ASSERT_TRUE(context.save());

    item->setDifferentValue(KCValue(u"v"), "title", KCValue::Kind::String);
    EXPECT_FALSE(item->hasChanges());
    item->setDifferentValue(KCValue(4), "title", KCValue::Kind::String);
    EXPECT_TRUE(item->valueForKey("title").isNull());
    item->setDifferentValue(KCValue(true), "count", KCValue::Kind::Integer);
    EXPECT_EQ(item->valueForKey("count"), KCValue(1));
    EXPECT_EQ(item->kc_faultIn(), item);

    KCManagedObjectContext other(coordinator);
    auto elsewhere = other.existingObjectWithID(item->objectID());
    ASSERT_TRUE(elsewhere);
    EXPECT_EQ(elsewhere->valueForKey("title"), KCValue(u"v"));
}

TEST_F(KCStore, ContextRefusesOtherThreads)
{
    auto item = insertItem(context, u"mine", 1);
    std::thread([&] {
        KCError error;
        EXPECT_FALSE(context.save(&error));
        EXPECT_EQ(error.code, KCStoreErrorWrongThread);
        EXPECT_FALSE(context.insertNewObjectForEntityForName("Item"));
        EXPECT_FALSE(context.entity("Item", KCPredicate::predicateWithValue(true), "", true, 0));
        item->setValue(KCValue(u"theirs"), "title");
    }).join();
    EXPECT_EQ(item->valueForKey("title"), KCValue(u"mine"));
    EXPECT_TRUE(context.save());
}

// Distinct grouped rows: those that hide a group key can repeat and are
// merged; those that show every key are one per group.
TEST_F(KCStore, DictionaryResultsGroupAndAggregate)
{
    const std::pair<const char16_t*, double> rows[] = {{u"b", 3}, {u"a", 1}, {u"b", 9}, {u"a", 4}, {u"b", 9}, {u"c", 9}};
    for (const auto& [title, when] : rows)
        insertItem(context, title, 0)->setValue(KCValue(KCDate {when}), "when");
    ASSERT_TRUE(context.save());

    KCFetchRequest request("Item");
    request.resultType = KCFetchRequestResultType::Dictionary;
    request.propertiesToFetch = {KCExpressionDescription("latest", "max:", "when", KCAttributeType::Date), std::string("title")};
    request.propertiesToGroupBy = {"title"};
    request.returnsDistinctResults = true;
    auto results = context.executeFetchRequest(request);
    ASSERT_TRUE(results);
    ASSERT_EQ(results->size(), 3u);
    EXPECT_EQ((*results)[0], KCValue(KCDictionary {{"latest", KCDate {4}}, {"title", u"a"}}));
    EXPECT_EQ((*results)[1], KCValue(KCDictionary {{"latest", KCDate {9}}, {"title", u"b"}}));
    request.propertiesToFetch = {KCExpressionDescription("latest", "max:", "when", KCAttributeType::Date)};
    EXPECT_EQ(context.executeFetchRequest(request)->size(), 2u);
    request.propertiesToFetch = {KCExpressionDescription("first", "min:", "title", KCAttributeType::String), KCExpressionDescription("latest", "max:", "when", KCAttributeType::Date)};
    EXPECT_EQ(context.executeFetchRequest(request)->size(), 3u);

    request.propertiesToFetch = {std::string("nosuchkey")};
    KCError error;
    EXPECT_FALSE(context.executeFetchRequest(request, &error));
    EXPECT_EQ(error.code, KCStoreErrorUnknownKey);
}

TEST(KCStoreFiles, OlderStoresMigrateKeepingRows)
{
    KCScratchDirectory directory;
    {
        auto coordinator = KCOpenTestStore(directory.url("Items.sqlite"), 1);
        ASSERT_TRUE(coordinator);
        KCManagedObjectContext context(coordinator);
        for (int i = 0; i < 3; ++i)
            insertItem(context, u"old", i);
        ASSERT_TRUE(context.save());
    }
    // Without automatic migration the store is refused.
    KCError error;
    auto coordinator = std::make_shared<KCPersistentStoreCoordinator>(KCTestModel(2));
    EXPECT_FALSE(coordinator->addPersistentStore("SQLite", directory.url("Items.sqlite"), {}, &error));
    EXPECT_EQ(error.code, KCStoreErrorMigrationRequired);

    coordinator = KCOpenTestStore(directory.url("Items.sqlite"), 2, &error);
    ASSERT_TRUE(coordinator) << error.description();
    EXPECT_EQ(KCValue(coordinator->metadataForPersistentStore(*coordinator->persistentStore()))["KCStoreModelVersion"], KCValue(2));
    KCManagedObjectContext context(coordinator);
    auto items = fetchAll(context);
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[2]->valueForKey("title"), KCValue(u"old"));
    EXPECT_EQ(items[2]->valueForKey("rating"), KCValue(3));
    items[2]->setValue(KCValue(u"new column"), "extra");
    EXPECT_TRUE(context.save());
}

TEST(KCStoreFiles, NewerAndForeignFilesAreRefusedUntouched)
{
    KCScratchDirectory directory;
    {
        auto coordinator = KCOpenTestStore(directory.url("Newer.sqlite"), 3);
        KCManagedObjectContext context(coordinator);
        insertItem(context, u"from the future", 1);
        ASSERT_TRUE(context.save());
    }
    {
        std::ofstream(directory.file("Text.sqlite")) << "just some text, long enough to look like a header of something";
        KCQueryStoreFile(directory.file("Other.sqlite"), "CREATE TABLE notes (body TEXT)");
        KCQueryStoreFile(directory.file("Other.sqlite"), "INSERT INTO notes VALUES ('hello')");
    }
    const std::pair<const char*, KCStoreErrorCode> files[] = {
        {"Newer.sqlite", KCStoreErrorIncompatibleVersion}, {"Text.sqlite", KCStoreErrorNotAStore}, {"Other.sqlite", KCStoreErrorNotAStore}};
    for (const auto& [name, code] : files) {
        std::string before = KCReadTestFile(directory.file(name));
        KCError error;
        EXPECT_FALSE(KCOpenTestStore(directory.url(name), 2, &error)) << name;
        EXPECT_EQ(error.code, code) << name;
        EXPECT_EQ(KCReadTestFile(directory.file(name)), before) << name;
    }
}

// A damaged file may still open and even accept a write into pages that are
// intact; after the first statement that finds damage, nothing is written.
TEST(KCStoreFiles, DamagedStoreIsNeverWrittenAgain)
{
    KCScratchDirectory directory;
    const std::string path = directory.file("Items.sqlite");
    {
        auto coordinator = KCOpenTestStore(directory.url("Items.sqlite"));
        KCManagedObjectContext context(coordinator);
        insertItem(context, u"kept", 1);
        ASSERT_TRUE(context.save());
    }
    KCDamageTablePages(path, "Item");
    const std::string damaged = KCReadTestFile(path);
    auto coordinator = KCOpenTestStore(directory.url("Items.sqlite"));
    ASSERT_TRUE(coordinator);
    KCManagedObjectContext context(coordinator);
    KCError error;
    EXPECT_FALSE(context.entity("Item", KCPredicate::predicateWithValue(true), "sortKey", true, 0, &error));
    EXPECT_EQ(error.domain, KCSQLiteErrorDomain);
    EXPECT_EQ(error.code & 0xFF, SQLITE_CORRUPT);

    insertItem(context, u"more", 2);
    KCError refused;
    EXPECT_FALSE(context.save(&refused));
    EXPECT_EQ(refused.domain, KCStoreErrorDomain);
    EXPECT_EQ(refused.code, KCStoreErrorDamaged);
    EXPECT_EQ(KCReadTestFile(path), damaged);
}

} // namespace
