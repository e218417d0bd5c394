#include "Database/KCStoreDataSource.h"
#include "KCStoreTestSupport.h"

#include <gtest/gtest.h>

namespace {

class ItemStore : public KCStoreDataSource {
public:
    using KCStoreDataSource::KCStoreDataSource;
    std::string version, seed;
    std::optional<std::string> extension = std::string("sqlite");

    std::string managedObjectModelName() const override { return "Items"; }
    std::string persistentStoreVersion() const override { return version; }
    std::string persistentStoreNameSeed() const override { return seed; }
    std::optional<std::string> persistentStoreExtension() const override { return extension; }
    void loadManagedObjectModel() override { setManagedObjectModel(KCTestModel()); }
};

TEST(KCStoreDataSource, PersistentStoreName)
{
    ItemStore store(*KCURL::fileURLWithPath("/tmp/x"));
    EXPECT_EQ(store.persistentStoreName(), "Items.sqlite");
    store.version = "2";
    store.seed = "A";
    EXPECT_EQ(store.persistentStoreName(), "Items-2-A.sqlite");
    store.version.clear();
    store.extension.reset();
    EXPECT_EQ(store.persistentStoreName(), "Items-A");
}

TEST(KCStoreDataSource, SortValuesAndMetadataSurviveReopen)
{
    KCScratchDirectory directory;
    {
        ItemStore store(directory.url("Items.sqlite"));
        store.loadObjectStore();
        ASSERT_TRUE(store.persistentStore());
        auto context = store.newManagedObjectContext();
        EXPECT_EQ(store.copyMaxSortValue(*context, "Item"), KCValue(0));
        for (int key : {5, 25, 15})
            context->insertNewObjectForEntityForName("Item")->setValue(KCValue(key), "sortKey");
        ASSERT_TRUE(store.saveManagedObjectContext(*context));
        EXPECT_EQ(store.copyMaxSortValue(*context, "Item"), KCValue(25));

        EXPECT_EQ(store.copyNextSortValue(*context, "ItemSort", "Item"), KCValue(10025));
        EXPECT_EQ(store.copyNextSortValue(*context, "ItemSort", "Item"), KCValue(20025));
        store.incrementGeneration("Generation");
        store.incrementGeneration("Generation");
        EXPECT_TRUE(store.metadataDictionaryDirty());
        ASSERT_TRUE(store.saveManagedObjectContext(*context));
        EXPECT_FALSE(store.metadataDictionaryDirty());
        EXPECT_FALSE(store.persistentStore()->hasMetadataToWrite());
        // Saving with clean metadata leaves the store's metadata alone.
        ASSERT_TRUE(store.saveManagedObjectContext(*context));
        EXPECT_FALSE(store.persistentStore()->hasMetadataToWrite());
    }
    ItemStore store(directory.url("Items.sqlite"));
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    EXPECT_EQ(store.generationValue("Generation"), KCValue(2));
    EXPECT_EQ(store.copyNextSortValue(*context, "ItemSort", "Item"), KCValue(30025));
    EXPECT_EQ(store.generationValue("Unset"), KCValue(uint64_t(0)));
    store.setGenerationValue(KCValue(UINT64_MAX), "Wrap");
    store.incrementGeneration("Wrap");
    EXPECT_EQ(store.generationValue("Wrap"), KCValue(0));
}

TEST(KCStoreDataSource, WithoutAStoreNothingIsRemembered)
{
    KCScratchDirectory directory;
    std::ofstream(directory.file("Items.sqlite")) << "not a store at all, but long enough to have a header";
    ItemStore store(directory.url("Items.sqlite"));
    store.loadObjectStore();
    EXPECT_FALSE(store.persistentStore());
    auto context = store.newManagedObjectContext();
    ASSERT_TRUE(context);
    store.incrementGeneration("Generation");
    EXPECT_EQ(store.generationValue("Generation"), KCValue(uint64_t(0)));
    EXPECT_EQ(store.copyNextSortValue(*context, "ItemSort", "Item"), KCValue(10000));
    EXPECT_EQ(store.copyNextSortValue(*context, "ItemSort", "Item"), KCValue(10000));
    EXPECT_FALSE(store.saveManagedObjectContext(*context));
}

} // namespace
