#pragma once
// Joins the object model to the store file. Contexts on any thread reach the
// store through it; its lock serialises every use of the store, and the data
// source takes it around metadata reads and writes.
// Errors: addPersistentStore answers nullptr and fills *error when the store does not open.
#include "KCManagedObjectModel.h"
#include "KCPersistentStore.h"

#include <memory>
#include <mutex>

class KCPersistentStoreCoordinator {
public:
    explicit KCPersistentStoreCoordinator(std::shared_ptr<const KCManagedObjectModel> model) : m_model(std::move(model)) {}

    const std::shared_ptr<const KCManagedObjectModel>& managedObjectModel() const { return m_model; }

    // Opens the store at the URL; one store per coordinator.
    std::shared_ptr<KCPersistentStore> addPersistentStore(const std::string& type, const KCURL& url, const KCPersistentStoreOptions& options, KCError* error);
    std::shared_ptr<KCPersistentStore> persistentStore() const;

    KCDictionary metadataForPersistentStore(const KCPersistentStore& store) const;
    // Kept in memory and written to the store with the next save.
    void setMetadata(const KCDictionary& metadata, KCPersistentStore& store);

    void lock() { m_lock.lock(); }
    void unlock() { m_lock.unlock(); }
    bool try_lock() { return m_lock.try_lock(); }

private:
    std::shared_ptr<const KCManagedObjectModel> m_model;
    std::shared_ptr<KCPersistentStore> m_store;
    mutable std::recursive_mutex m_lock;
};
