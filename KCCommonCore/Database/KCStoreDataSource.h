#pragma once
// Owns the store stack of one database: the object model, the coordinator,
// the SQLite store file and a metadata dictionary kept inside the store. It
// hands out contexts, saves them (metadata first) and issues increasing sort
// values for ordered entities. Subclasses choose the model and the file name.
// Errors: loading logs and leaves no store when the model or file cannot be opened; saveManagedObjectContext logs and answers false.
#include "KCManagedObjectContext.h"
#include "KCManagedObjectModel.h"
#include "KCPersistentStoreCoordinator.h"
#include "Utilities/KCURL.h"
#include "Utilities/KCValue.h"

#include <memory>
#include <optional>
#include <string>

// The step between sort values; may be changed before use.
extern int64_t kKCStoreDataSourceSortOrderInitialGap;
extern const char* const kKCStoreDataSourceMetadataKey;  // "PMDatabase-Metadata"

class KCStoreDataSource {
public:
    explicit KCStoreDataSource(KCURL persistentStoreURL);
    virtual ~KCStoreDataSource();
    KCStoreDataSource(const KCStoreDataSource&) = delete;
    KCStoreDataSource& operator=(const KCStoreDataSource&) = delete;

    // What subclasses choose.
    virtual std::string managedObjectModelName() const = 0;
    virtual std::string persistentStoreVersion() const { return {}; }
    virtual std::string persistentStoreNameSeed() const { return {}; }
    virtual std::optional<std::string> persistentStoreExtension() const { return std::string("sqlite"); }
    // "<model>[-<version>][-<seed>][.<extension>]"
    std::string persistentStoreName() const;

    const KCURL& persistentStoreURL() const { return m_persistentStoreURL; }
    const std::shared_ptr<const KCManagedObjectModel>& managedObjectModel() const { return m_managedObjectModel; }
    const std::shared_ptr<KCPersistentStoreCoordinator>& persistentStoreCoordinator() const { return m_persistentStoreCoordinator; }
    const std::shared_ptr<KCPersistentStore>& persistentStore() const { return m_persistentStore; }
    const std::optional<KCDictionary>& metadataDictionary() const { return m_metadataDictionary; }
    bool metadataDictionaryDirty() const { return m_metadataDictionaryDirty; }

    void loadObjectStore();
    // Reads the model resource named managedObjectModelName() of type "json" from the common library's bundle.
    virtual void loadManagedObjectModel();
    void loadPersistentStoreCoordinator();
    void loadPersistentStore();

    // A context on the calling thread, owned by the caller; nothing without a coordinator.
    std::shared_ptr<KCManagedObjectContext> newManagedObjectContext();
    template <typename Context>
    std::shared_ptr<Context> newManagedObjectContextWithClass()
    {
        if (!p_canMakeContext())
            return nullptr;
        return std::make_shared<Context>(m_persistentStoreCoordinator);
    }

    // Writes dirty metadata into the store's metadata, then saves the context.
    bool saveManagedObjectContext(KCManagedObjectContext& context);

    KCValue copyMaxSortValue(KCManagedObjectContext& context, std::string_view entityName);
    KCValue copyNextSortValue(KCManagedObjectContext& context, std::string_view key, std::string_view entityName);

    void setMetadataObject(const KCValue& object, std::string_view key);
    KCValue metadataObjectForKey(std::string_view key);
    void cacheMetadataDictionary();

    void setGenerationValue(const KCValue& value, std::string_view key);
    KCValue generationValue(std::string_view key);
    void incrementGeneration(std::string_view key);

protected:
    void setManagedObjectModel(std::shared_ptr<const KCManagedObjectModel> model) { m_managedObjectModel = std::move(model); }

private:
    bool p_canMakeContext() const;

    KCURL m_persistentStoreURL;
    std::shared_ptr<const KCManagedObjectModel> m_managedObjectModel;
    std::shared_ptr<KCPersistentStoreCoordinator> m_persistentStoreCoordinator;
    std::shared_ptr<KCPersistentStore> m_persistentStore;
    std::optional<KCDictionary> m_metadataDictionary;
    bool m_metadataDictionaryDirty = false;
};
