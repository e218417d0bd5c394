#include "KCManagedObjectContext.h"

#include "Utilities/KCLogger.h"

#include <algorithm>
#include <mutex>

KCManagedObjectContext::KCManagedObjectContext(std::shared_ptr<KCPersistentStoreCoordinator> coordinator)
    : m_coordinator(std::move(coordinator)), m_thread(std::this_thread::get_id())
{
}

KCManagedObjectContext::~KCManagedObjectContext()
{
    // Objects may outlive their context; they stop being usable.
    for (auto& [entity, objects] : m_registered) {
        for (auto& [key, weak] : objects) {
            if (auto object = weak.lock())
                object->m_context = nullptr;
        }
    }
    for (auto* list : {&m_inserted, &m_updated, &m_deleted}) {
        for (auto& object : *list)
            object->m_context = nullptr;
    }
}

bool KCManagedObjectContext::p_checkThread(const char* operation) const
{
    if (std::this_thread::get_id() == m_thread)
        return true;
    KCLog("%s refused: a context is used only on the thread that made it", operation);
    return false;
}

const KCEntityDescription* KCManagedObjectContext::p_entity(std::string_view name, KCError* error) const
{
    const KCEntityDescription* entity = m_coordinator ? m_coordinator->managedObjectModel()->entityNamed(name) : nullptr;
    if (!entity) {
        KCLog("No entity named %@ in the object model", name);
        KCSetStoreError(error, KCStoreErrorUnknownEntity, "no entity named " + std::string(name));
    }
    return entity;
}

std::shared_ptr<KCPersistentStore> KCManagedObjectContext::p_store(KCError* error) const
{
    auto store = m_coordinator ? m_coordinator->persistentStore() : nullptr;
    if (!store)
        KCSetStoreError(error, KCStoreErrorNoStore, "the coordinator has no persistent store");
    return store;
}

std::shared_ptr<KCManagedObject> KCManagedObjectContext::insertNewObjectForEntityForName(std::string_view entityName)
{
    if (!p_checkThread("insertNewObjectForEntityForName"))
        return nullptr;
    const KCEntityDescription* entity = p_entity(entityName, nullptr);
    if (!entity)
        return nullptr;
    auto object = KCManagedObject::makeObjectOfClass(entity->managedObjectClassName());
    object->m_entity = entity;
    object->m_context = this;
    object->m_temporaryID = m_nextTemporaryID++;
    object->m_values.reserve(entity->attributes().size());
    for (const auto& attribute : entity->attributes())
        object->m_values.push_back(attribute.defaultValue);
    object->m_changed.assign(entity->attributes().size(), false);
    object->m_inserted = true;
    m_inserted.push_back(object);
    object->awakeFromInsert();
    return object;
}

void KCManagedObjectContext::deleteObject(const std::shared_ptr<KCManagedObject>& object)
{
    if (!object || !p_checkThread("deleteObject"))
        return;
    if (object->m_context != this) {
        KCLog("deleteObject refused: %@ belongs to another context", object->description());
        return;
    }
    if (object->m_deleted)
        return;
    object->m_deleted = true;
    if (object->m_inserted) {
        // Never saved: it simply goes away.
        std::erase(m_inserted, object);
        object->m_inserted = false;
        object->m_context = nullptr;
        return;
    }
    if (object->m_updated) {
        std::erase(m_updated, object);
        object->m_updated = false;
    }
    m_deleted.push_back(object);
}

void KCManagedObjectContext::p_objectDidChange(KCManagedObject& object)
{
    if (object.m_inserted || object.m_deleted || object.m_updated)
        return;
    object.m_updated = true;
    m_updated.push_back(object.shared_from_this());
}

std::shared_ptr<KCManagedObject> KCManagedObjectContext::p_objectForRow(const KCEntityDescription& entity, KCStoreRow&& row)
{
    auto& objects = m_registered[&entity];
    auto& slot = objects[row.primaryKey];
    if (auto existing = slot.lock()) {
        // Fresh stored values, except where this context has its own changes.
        for (size_t i = 0; i < row.values.size(); ++i) {
            if (!existing->m_changed[i])
                existing->m_values[i] = std::move(row.values[i]);
        }
        existing->m_version = row.version;
        return existing;
    }
    auto object = KCManagedObject::makeObjectOfClass(entity.managedObjectClassName());
    object->m_entity = &entity;
    object->m_context = this;
    object->m_primaryKey = row.primaryKey;
    object->m_version = row.version;
    object->m_values = std::move(row.values);
    object->m_changed.assign(entity.attributes().size(), false);
    slot = object;
    if (objects.size() > m_registeredSweepSize) {
        std::erase_if(objects, [](const auto& entry) { return entry.second.expired(); });
        m_registeredSweepSize = std::max<size_t>(1024, objects.size() * 2);
    }
    object->awakeFromFetch();
    return object;
}

bool KCManagedObjectContext::p_hasPendingChanges(const KCEntityDescription& entity) const
{
    auto ofEntity = [&](const auto& object) { return object->m_entity == &entity; };
    return std::any_of(m_inserted.begin(), m_inserted.end(), ofEntity) || std::any_of(m_updated.begin(), m_updated.end(), ofEntity)
        || std::any_of(m_deleted.begin(), m_deleted.end(), ofEntity);
}

// Object fetches see this context's unsaved state: deleted objects drop out,
// changed ones are judged by their values in memory, inserted ones join.
void KCManagedObjectContext::p_mergePendingChanges(const KCFetchRequest& request, const KCEntityDescription& entity, std::vector<std::shared_ptr<KCManagedObject>>& objects) const
{
    auto matches = [&](const KCManagedObject& object) { return !request.predicate || request.predicate->evaluateWithObject(object); };
    std::erase_if(objects, [&](const auto& object) { return object->m_deleted || (object->m_updated && !matches(*object)); });
    for (const auto* list : {&m_updated, &m_inserted}) {
        for (const auto& object : *list) {
            if (object->m_entity == &entity && matches(*object) && std::find(objects.begin(), objects.end(), object) == objects.end())
                objects.push_back(object);
        }
    }
    std::stable_sort(objects.begin(), objects.end(), [&](const auto& a, const auto& b) {
        for (const auto& sort : request.sortDescriptors) {
            const KCValue& x = a->valueForKey(sort.key);
            const KCValue& y = b->valueForKey(sort.key);
            int order = x.isNull() ? (y.isNull() ? 0 : -1) : y.isNull() ? 1 : KCCompareValues(x, y).value_or(0);
            if (order)
                return sort.ascending ? order < 0 : order > 0;
        }
        // Saved objects in the order of their keys, then new ones in the order of insertion.
        if (a->m_inserted != b->m_inserted)
            return b->m_inserted;
        return a->m_inserted ? a->m_temporaryID < b->m_temporaryID : a->m_primaryKey < b->m_primaryKey;
    });
    if (request.fetchLimit && objects.size() > request.fetchLimit)
        objects.resize(request.fetchLimit);
}

std::optional<std::vector<std::shared_ptr<KCManagedObject>>> KCManagedObjectContext::fetchObjects(const KCFetchRequest& request, KCError* error)
{
    if (!p_checkThread("executeFetchRequest")) {
        KCSetStoreError(error, KCStoreErrorWrongThread, "the context was used on another thread");
        return std::nullopt;
    }
    if (request.resultType != KCFetchRequestResultType::ManagedObject) {
        KCSetStoreError(error, KCStoreErrorInvalidFetch, "the request asks for dictionaries");
        return std::nullopt;
    }
    const KCEntityDescription* entity = p_entity(request.entityName, error);
    auto store = entity ? p_store(error) : nullptr;
    if (!store)
        return std::nullopt;
    bool pending = p_hasPendingChanges(*entity);
    std::vector<KCStoreRow> rows;
    {
        std::lock_guard guard(*m_coordinator);
        if (!store->fetchRows(request, *entity, !pending, rows, error))
            return std::nullopt;
    }
    std::vector<std::shared_ptr<KCManagedObject>> objects;
    objects.reserve(rows.size());
    for (auto& row : rows)
        objects.push_back(p_objectForRow(*entity, std::move(row)));
    if (pending)
        p_mergePendingChanges(request, *entity, objects);
    return objects;
}

std::optional<KCArray> KCManagedObjectContext::executeFetchRequest(const KCFetchRequest& request, KCError* error)
{
    KCArray results;
    if (request.resultType == KCFetchRequestResultType::ManagedObject) {
        auto objects = fetchObjects(request, error);
        if (!objects)
            return std::nullopt;
        results.reserve(objects->size());
        for (auto& object : *objects)
            results.emplace_back(std::move(object));
        return results;
    }
    if (!p_checkThread("executeFetchRequest")) {
        KCSetStoreError(error, KCStoreErrorWrongThread, "the context was used on another thread");
        return std::nullopt;
    }
    const KCEntityDescription* entity = p_entity(request.entityName, error);
    auto store = entity ? p_store(error) : nullptr;
    if (!store)
        return std::nullopt;
    std::optional<std::vector<KCDictionary>> rows;
    {
        std::lock_guard guard(*m_coordinator);
        rows = store->fetchDictionaries(request, *entity, error);
    }
    if (!rows)
        return std::nullopt;
    results.reserve(rows->size());
    for (auto& row : *rows)
        results.emplace_back(std::move(row));
    return results;
}

bool KCManagedObjectContext::enumerateDictionaryResults(const KCFetchRequest& request, std::vector<std::string>& names, const KCStoreRowVisitor& visit, KCError* error)
{
    if (!p_checkThread("enumerateDictionaryResults"))
        return KCSetStoreError(error, KCStoreErrorWrongThread, "the context was used on another thread");
    const KCEntityDescription* entity = p_entity(request.entityName, error);
    auto store = entity ? p_store(error) : nullptr;
    if (!store)
        return false;
    std::lock_guard guard(*m_coordinator);
    return store->enumerateDictionaryRows(request, *entity, names, visit, error);
}

std::optional<size_t> KCManagedObjectContext::countForFetchRequest(const KCFetchRequest& request, KCError* error)
{
    if (!p_checkThread("countForFetchRequest")) {
        KCSetStoreError(error, KCStoreErrorWrongThread, "the context was used on another thread");
        return std::nullopt;
    }
    const KCEntityDescription* entity = p_entity(request.entityName, error);
    if (!entity)
        return std::nullopt;
    if (p_hasPendingChanges(*entity)) {
        auto objects = fetchObjects(request, error);
        return objects ? std::optional<size_t>(objects->size()) : std::nullopt;
    }
    auto store = p_store(error);
    if (!store)
        return std::nullopt;
    std::lock_guard guard(*m_coordinator);
    return store->count(request, *entity, error);
}

std::optional<std::vector<std::shared_ptr<KCManagedObject>>> KCManagedObjectContext::entity(std::string_view entityName, std::shared_ptr<const KCPredicate> predicate, std::string_view sortKey, bool ascending, size_t fetchLimit, KCError* error)
{
    KCFetchRequest request {std::string(entityName)};
    request.predicate = std::move(predicate);
    if (!sortKey.empty())
        request.sortDescriptors.push_back({std::string(sortKey), ascending});
    request.fetchLimit = fetchLimit;
    // Not logged: the callers decide which failed fetches are worth a line.
    return fetchObjects(request, error);
}

std::shared_ptr<KCManagedObject> KCManagedObjectContext::existingObjectWithID(const KCManagedObjectID& objectID, KCError* error)
{
    if (!p_checkThread("existingObjectWithID")) {
        KCSetStoreError(error, KCStoreErrorWrongThread, "the context was used on another thread");
        return nullptr;
    }
    if (!objectID.entity) {
        KCSetStoreError(error, KCStoreErrorUnknownEntity, "the object identifier names no entity");
        return nullptr;
    }
    if (objectID.isTemporaryID()) {
        for (const auto& object : m_inserted) {
            if (object->m_temporaryID == objectID.temporaryID && object->m_entity == objectID.entity)
                return object;
        }
        KCSetStoreError(error, KCStoreErrorObjectDeleted, "no such unsaved object in this context");
        return nullptr;
    }
    auto& objects = m_registered[objectID.entity];
    if (auto found = objects.find(objectID.primaryKey); found != objects.end()) {
        if (auto object = found->second.lock()) {
            if (!object->m_deleted)
                return object;
            KCSetStoreError(error, KCStoreErrorObjectDeleted, "the object was deleted");
            return nullptr;
        }
    }
    auto store = p_store(error);
    if (!store)
        return nullptr;
    std::optional<KCStoreRow> row;
    {
        std::lock_guard guard(*m_coordinator);
        row = store->fetchRow(*objectID.entity, objectID.primaryKey, error);
    }
    return row ? p_objectForRow(*objectID.entity, std::move(*row)) : nullptr;
}

bool KCManagedObjectContext::save(KCError* error)
{
    if (!p_checkThread("save"))
        return KCSetStoreError(error, KCStoreErrorWrongThread, "the context was used on another thread");
    auto store = p_store(error);
    if (!store)
        return false;
    KCStoreChanges changes;
    for (const auto& object : m_deleted)
        changes.deletes.push_back({object->m_entity, object->m_primaryKey});
    for (const auto& object : m_inserted)
        changes.inserts.push_back({object->m_entity, &object->m_values, 0});
    for (const auto& object : m_updated) {
        KCStoreChanges::Update update {object->m_entity, object->m_primaryKey, object->m_version, &object->m_values, {}, 0, std::nullopt};
        for (size_t i = 0; i < object->m_changed.size(); ++i) {
            if (object->m_changed[i])
                update.changedAttributes.push_back(i);
        }
        changes.updates.push_back(std::move(update));
    }
    {
        std::lock_guard guard(*m_coordinator);
        if (!store->save(changes, error))
            return false;
    }
    p_didSave(changes);
    return true;
}

void KCManagedObjectContext::p_didSave(KCStoreChanges& changes)
{
    for (size_t i = 0; i < m_inserted.size(); ++i) {
        auto& object = m_inserted[i];
        object->m_primaryKey = changes.inserts[i].primaryKey;
        object->m_version = 1;
        object->m_inserted = false;
        std::fill(object->m_changed.begin(), object->m_changed.end(), false);
        m_registered[object->m_entity][object->m_primaryKey] = object;
    }
    for (size_t i = 0; i < m_updated.size(); ++i) {
        auto& object = m_updated[i];
        auto& update = changes.updates[i];
        object->m_version = update.newVersion;
        if (update.storedRow) {
            for (size_t column = 0; column < object->m_values.size(); ++column) {
                if (!object->m_changed[column])
                    object->m_values[column] = std::move(update.storedRow->values[column]);
            }
        }
        object->m_updated = false;
        std::fill(object->m_changed.begin(), object->m_changed.end(), false);
    }
    for (auto& object : m_deleted) {
        m_registered[object->m_entity].erase(object->m_primaryKey);
        object->m_context = nullptr;
    }
    m_inserted.clear();
    m_updated.clear();
    m_deleted.clear();
}
