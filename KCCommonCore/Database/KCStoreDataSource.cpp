#include "KCStoreDataSource.h"

#include "Utilities/KCBundle.h"
#include "Utilities/KCLogger.h"

#include <mutex>

int64_t kKCStoreDataSourceSortOrderInitialGap = 10000;
const char* const kKCStoreDataSourceMetadataKey = "PMDatabase-Metadata";

KCStoreDataSource::KCStoreDataSource(KCURL persistentStoreURL)
    : m_persistentStoreURL(std::move(persistentStoreURL))
{
}

KCStoreDataSource::~KCStoreDataSource() = default;

std::string KCStoreDataSource::persistentStoreName() const
{
    std::string name = managedObjectModelName();
    if (std::string version = persistentStoreVersion(); !version.empty())
        name += KCStringWithFormat("-%@", version);
    if (std::string seed = persistentStoreNameSeed(); !seed.empty())
        name.append(1, '-').append(seed);
    if (auto extension = persistentStoreExtension())
        name.append(1, '.').append(*extension);
    return name;
}

void KCStoreDataSource::loadObjectStore()
{
    loadManagedObjectModel();
    loadPersistentStoreCoordinator();
    loadPersistentStore();
}

void KCStoreDataSource::loadManagedObjectModel()
{
    std::string name = managedObjectModelName();
    auto json = KCCommonCoreBundle().resourceData(name, "json");
    if (!json) {
        KCLog("No object model resource named %@", name);
        return;
    }
    m_managedObjectModel = KCManagedObjectModel::modelWithJSON(*json);
}

void KCStoreDataSource::loadPersistentStoreCoordinator()
{
    if (m_persistentStoreCoordinator || !m_managedObjectModel)
        return;
    m_persistentStoreCoordinator = std::make_shared<KCPersistentStoreCoordinator>(m_managedObjectModel);
}

void KCStoreDataSource::loadPersistentStore()
{
    KCError error {KCStoreErrorDomain, KCStoreErrorInvalidModel, "no object model"};
    if (m_persistentStoreCoordinator) {
        KCPersistentStoreOptions options;
        options.migratePersistentStoresAutomatically = true;
        options.inferMappingModelAutomatically = true;
        m_persistentStore = m_persistentStoreCoordinator->addPersistentStore(KCSQLiteStoreType, m_persistentStoreURL, options, &error);
    }
    if (!m_persistentStore)
        KCLogger::sharedLogger()->logFile("KCStoreDataSource", 176, "Failed to add persistentStore {%@} error {%@}", m_persistentStoreURL, error.description());
}

bool KCStoreDataSource::p_canMakeContext() const
{
    if (m_persistentStoreCoordinator)
        return true;
    KCLog("No context without a persistent store coordinator for %@", m_persistentStoreURL);
    return false;
}

std::shared_ptr<KCManagedObjectContext> KCStoreDataSource::newManagedObjectContext()
{
    return newManagedObjectContextWithClass<KCManagedObjectContext>();
}

bool KCStoreDataSource::saveManagedObjectContext(KCManagedObjectContext& context)
{
    if (m_metadataDictionaryDirty && m_persistentStoreCoordinator) {
        std::lock_guard guard(*m_persistentStoreCoordinator);
        if (m_persistentStore && m_metadataDictionary && context.persistentStoreCoordinator() == m_persistentStoreCoordinator) {
            KCDictionary metadata = m_persistentStoreCoordinator->metadataForPersistentStore(*m_persistentStore);
            metadata.set(kKCStoreDataSourceMetadataKey, KCValue(*m_metadataDictionary));
            m_persistentStoreCoordinator->setMetadata(metadata, *m_persistentStore);
            m_metadataDictionaryDirty = false;
        }
    }
    KCError error;
    if (!context.save(&error)) {
        KCLogger::sharedLogger()->logFile("KCStoreDataSource", 134, "Failed to save syncMOC with error: %@", error.description());
        return false;
    }
    return true;
}

KCValue KCStoreDataSource::copyMaxSortValue(KCManagedObjectContext& context, std::string_view entityName)
{
    auto objects = context.entity(entityName, KCPredicate::predicateWithValue(true), "sortKey", false, 1);
    if (!objects || objects->empty())
        return KCValue(0);
    return objects->front()->valueForKey("sortKey");
}

KCValue KCStoreDataSource::copyNextSortValue(KCManagedObjectContext& context, std::string_view key, std::string_view entityName)
{
    auto maxPlusGap = [&] { return KCValue(copyMaxSortValue(context, entityName).int64Value().value_or(0) + kKCStoreDataSourceSortOrderInitialGap); };
    if (!m_persistentStore)
        return maxPlusGap();
    KCValue value = metadataObjectForKey(key);
    if (value.isNull())
        value = maxPlusGap();
    setMetadataObject(KCValue(value.int64Value().value_or(0) + kKCStoreDataSourceSortOrderInitialGap), key);
    return value;
}

void KCStoreDataSource::cacheMetadataDictionary()
{
    if (m_metadataDictionary || !m_persistentStore)
        return;
    KCDictionary metadata = m_persistentStoreCoordinator->metadataForPersistentStore(*m_persistentStore);
    const KCValue* value = metadata.find(kKCStoreDataSourceMetadataKey);
    const KCDictionary* stored = value ? value->dictionary() : nullptr;
    m_metadataDictionary = stored ? *stored : KCDictionary();
}

void KCStoreDataSource::setMetadataObject(const KCValue& object, std::string_view key)
{
    if (!m_persistentStore)
        return;
    std::lock_guard guard(*m_persistentStoreCoordinator);
    cacheMetadataDictionary();
    m_metadataDictionary->set(std::string(key), object);
    m_metadataDictionaryDirty = true;
}

KCValue KCStoreDataSource::metadataObjectForKey(std::string_view key)
{
    if (!m_persistentStore)
        return KCValue();
    std::lock_guard guard(*m_persistentStoreCoordinator);
    cacheMetadataDictionary();
    const KCValue* value = m_metadataDictionary->find(key);
    return value ? *value : KCValue();
}

void KCStoreDataSource::setGenerationValue(const KCValue& value, std::string_view key)
{
    setMetadataObject(value, key);
}

KCValue KCStoreDataSource::generationValue(std::string_view key)
{
    KCValue value = metadataObjectForKey(key);
    return value.isNull() ? KCValue(uint64_t(0)) : value;
}

void KCStoreDataSource::incrementGeneration(std::string_view key)
{
    uint64_t generation = generationValue(key).uint64Value().value_or(0);
    setGenerationValue(KCValue(generation + 1), key);
}
