#include "KCPersistentStoreCoordinator.h"

std::shared_ptr<KCPersistentStore> KCPersistentStoreCoordinator::addPersistentStore(const std::string& type, const KCURL& url, const KCPersistentStoreOptions& options, KCError* error)
{
    std::lock_guard guard(m_lock);
    if (type != KCSQLiteStoreType) {
        KCSetStoreError(error, KCStoreErrorCannotOpen, "unsupported store type " + type);
        return nullptr;
    }
    if (m_store) {
        KCSetStoreError(error, KCStoreErrorCannotOpen, "the coordinator already has a store");
        return nullptr;
    }
    m_store = KCPersistentStore::open(url, m_model, options, error);
    return m_store;
}

std::shared_ptr<KCPersistentStore> KCPersistentStoreCoordinator::persistentStore() const
{
    std::lock_guard guard(m_lock);
    return m_store;
}

KCDictionary KCPersistentStoreCoordinator::metadataForPersistentStore(const KCPersistentStore& store) const
{
    std::lock_guard guard(m_lock);
    return store.metadata();
}

void KCPersistentStoreCoordinator::setMetadata(const KCDictionary& metadata, KCPersistentStore& store)
{
    std::lock_guard guard(m_lock);
    store.setMetadata(metadata);
}
