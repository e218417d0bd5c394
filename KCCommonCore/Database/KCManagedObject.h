#pragma once
// An object of the store: an entity's attribute values, owned by one context
// and used only on that context's thread. Setters tell observers before and
// after a change; primitive setters change silently. Either way the change
// is saved with the context.
// Errors: kc_faultIn answers nothing when the object is gone or its store fails; changes on another thread or after the context is gone are logged and refused.
#include "KCManagedObjectModel.h"
#include "KCPredicate.h"
#include "Utilities/KCValue.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class KCManagedObjectContext;

// Identifies an object across contexts: the entity and the row's key, or a
// context-local temporary number until the object is first saved.
struct KCManagedObjectID {
    const KCEntityDescription* entity = nullptr;
    int64_t primaryKey = 0;
    uint64_t temporaryID = 0;

    bool isTemporaryID() const { return primaryKey == 0; }
    friend bool operator==(const KCManagedObjectID&, const KCManagedObjectID&) = default;
};

enum class KCChangePhase { Prior, After };

class KCManagedObject : public KCObject, public KCKeyValueReading, public std::enable_shared_from_this<KCManagedObject> {
public:
    using Observer = std::function<void(KCManagedObject& object, std::string_view key, KCChangePhase phase)>;
    using Factory = std::shared_ptr<KCManagedObject> (*)();

    KCManagedObject() = default;
    ~KCManagedObject() override;
    KCManagedObject(const KCManagedObject&) = delete;
    KCManagedObject& operator=(const KCManagedObject&) = delete;

    const KCEntityDescription* entity() const { return m_entity; }
    KCManagedObjectContext* managedObjectContext() const { return m_context; }
    KCManagedObjectID objectID() const { return {m_entity, m_primaryKey, m_temporaryID}; }

    // Null for a key that the entity lacks (logged).
    const KCValue& valueForKey(std::string_view key) const override;
    void setValue(const KCValue& value, std::string_view key);
    const KCValue& primitiveValueForKey(std::string_view key) const { return valueForKey(key); }
    void setPrimitiveValue(const KCValue& value, std::string_view key);

    void willChangeValueForKey(std::string_view key);
    void didChangeValueForKey(std::string_view key);
    uint64_t addObserver(Observer observer);
    void removeObserver(uint64_t token);

    // Called once, when the object is first inserted into a context.
    virtual void awakeFromInsert() {}
    // Called when the object is made from a stored row.
    virtual void awakeFromFetch() {}

    bool isInserted() const { return m_inserted; }
    bool isUpdated() const { return m_updated; }
    bool isDeleted() const { return m_deleted; }
    bool hasChanges() const { return m_inserted || m_updated || m_deleted; }
    // The attributes changed since the last save, with their new values.
    KCDictionary changedValues() const;

    // The object as its context has it now, fetched anew when it is not in
    // memory; nothing when it no longer exists.
    std::shared_ptr<KCManagedObject> kc_faultIn() const;
    // Sets the value only when it differs from the current one, so that an
    // unchanged value does not make the object dirty. A value of a kind other
    // than the class (any number kind stands for numbers) is stored as nothing.
    void setDifferentValue(const KCValue& value, std::string_view key, KCValue::Kind klass);

    std::string description() const override;

    // The class made for entities whose class name this is; plain objects otherwise.
    static void registerClass(const std::string& className, Factory factory);
    static std::shared_ptr<KCManagedObject> makeObjectOfClass(const std::string& className);

private:
    friend class KCManagedObjectContext;

    bool p_isUsable(const char* operation) const;
    const KCAttributeDescription* p_attribute(std::string_view key, const char* operation) const;
    void p_store(const KCAttributeDescription& attribute, KCValue value);
    void p_notify(std::string_view key, KCChangePhase phase);

    const KCEntityDescription* m_entity = nullptr;
    KCManagedObjectContext* m_context = nullptr;
    int64_t m_primaryKey = 0;
    uint64_t m_temporaryID = 0;
    int64_t m_version = 0;
    std::vector<KCValue> m_values;
    std::vector<bool> m_changed;
    bool m_inserted = false;
    bool m_updated = false;
    bool m_deleted = false;
    std::vector<std::pair<uint64_t, Observer>> m_observers;
    uint64_t m_nextObserverToken = 1;
};

// Registers a class at start-up: static KCManagedObjectClassRegistration<TNAnnotation> registration("TNAnnotation");
template <typename T>
struct KCManagedObjectClassRegistration {
    explicit KCManagedObjectClassRegistration(const std::string& className)
    {
        KCManagedObject::registerClass(className, [] { return std::static_pointer_cast<KCManagedObject>(std::make_shared<T>()); });
    }
};
