#pragma once
// A scratch pad of objects on one thread: objects are inserted, fetched,
// changed and deleted through it, and a save writes all its changes to the
// store in one transaction. A context is confined to the thread that made it;
// use from another thread is logged and refused.
//
// When another context saved an object that this one also changed, the save
// keeps this context's value of every property it changed and takes the
// stored value of every other property.
// Errors: fetches, counts, existingObjectWithID and save answer nothing (false) and fill *error on the wrong thread, an unknown entity, a null predicate or a store failure; none of them logs a failed fetch.
#include "KCFetchRequest.h"
#include "KCManagedObject.h"
#include "KCPersistentStoreCoordinator.h"

#include <memory>
#include <optional>
#include <thread>
#include <unordered_map>
#include <vector>

class KCManagedObjectContext {
public:
    explicit KCManagedObjectContext(std::shared_ptr<KCPersistentStoreCoordinator> coordinator);
    virtual ~KCManagedObjectContext();
    KCManagedObjectContext(const KCManagedObjectContext&) = delete;
    KCManagedObjectContext& operator=(const KCManagedObjectContext&) = delete;

    const std::shared_ptr<KCPersistentStoreCoordinator>& persistentStoreCoordinator() const { return m_coordinator; }
    std::thread::id thread() const { return m_thread; }

    std::shared_ptr<KCManagedObject> insertNewObjectForEntityForName(std::string_view entityName);
    // A new object of the class, whose entity is named by T::entityName().
    template <typename T>
    std::shared_ptr<T> newByClass() { return std::dynamic_pointer_cast<T>(insertNewObjectForEntityForName(T::entityName())); }
    void deleteObject(const std::shared_ptr<KCManagedObject>& object);

    // Objects (as object values) or row dictionaries, as the request asks.
    // Object results include this context's unsaved changes; dictionary results show the store only.
    std::optional<KCArray> executeFetchRequest(const KCFetchRequest& request, KCError* error = nullptr);
    std::optional<std::vector<std::shared_ptr<KCManagedObject>>> fetchObjects(const KCFetchRequest& request, KCError* error = nullptr);
    // A dictionary fetch read row by row (see KCPersistentStore): for large
    // groupings, where a dictionary per row costs more than the query. The
    // visitor runs under the coordinator's lock and must not use the store.
    bool enumerateDictionaryResults(const KCFetchRequest& request, std::vector<std::string>& names, const KCStoreRowVisitor& visit, KCError* error = nullptr);
    std::optional<size_t> countForFetchRequest(const KCFetchRequest& request, KCError* error = nullptr);
    // The objects of an entity matching the predicate, sorted by one key;
    // limit 0 means no limit. A null predicate fails, as in a fetch request.
    std::optional<std::vector<std::shared_ptr<KCManagedObject>>> entity(std::string_view entityName, std::shared_ptr<const KCPredicate> predicate, std::string_view sortKey, bool ascending, size_t fetchLimit, KCError* error = nullptr);
    std::shared_ptr<KCManagedObject> existingObjectWithID(const KCManagedObjectID& objectID, KCError* error = nullptr);

    bool hasChanges() const { return !m_inserted.empty() || !m_updated.empty() || !m_deleted.empty(); }
    // On failure the context keeps its unsaved changes.
    bool save(KCError* error = nullptr);

private:
    friend class KCManagedObject;

    bool p_checkThread(const char* operation) const;
    void p_objectDidChange(KCManagedObject& object);
    const KCEntityDescription* p_entity(std::string_view name, KCError* error) const;
    std::shared_ptr<KCPersistentStore> p_store(KCError* error) const;
    std::shared_ptr<KCManagedObject> p_objectForRow(const KCEntityDescription& entity, KCStoreRow&& row);
    bool p_hasPendingChanges(const KCEntityDescription& entity) const;
    void p_mergePendingChanges(const KCFetchRequest& request, const KCEntityDescription& entity, std::vector<std::shared_ptr<KCManagedObject>>& objects) const;
    void p_didSave(KCStoreChanges& changes);

    std::shared_ptr<KCPersistentStoreCoordinator> m_coordinator;
    std::thread::id m_thread;
    std::unordered_map<const KCEntityDescription*, std::unordered_map<int64_t, std::weak_ptr<KCManagedObject>>> m_registered;
    size_t m_registeredSweepSize = 1024;
    std::vector<std::shared_ptr<KCManagedObject>> m_inserted;
    std::vector<std::shared_ptr<KCManagedObject>> m_updated;
    std::vector<std::shared_ptr<KCManagedObject>> m_deleted;
    uint64_t m_nextTemporaryID = 1;
};
