#pragma once
// The reading position: a place in a spine document as an EPUB CFI
// ("epubcfi(/6/8[chap03]!/4/2/1:10)"), kept as the location of the book's
// global annotation (type 3) in the annotation store.
// Errors: save answers false, fills *error (PMReaderErrorDomain) and logs
// when the store cannot be written; a location that is not such a CFI reads
// as no position.
#include "TNAnnotation/TNAnnotationStoreDataSource.h"
#include "Utilities/KCError.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct PMReadingPosition {
    size_t spineIndex = 0;
    std::string path;  // after the "!": "/4/2/1:10"; empty for the document's start

    std::string cfi(std::string_view idref) const;
    static std::optional<PMReadingPosition> fromCFI(std::string_view cfi);
};

class PMReadingPositionStore {
public:
    PMReadingPositionStore(TNAnnotationStoreDataSource& store, std::shared_ptr<KCManagedObjectContext> context, std::u16string assetID);

    std::optional<std::string> load() const;
    bool save(const std::string& cfi, KCError* error);

    TNAnnotationStoreDataSource& store() const { return m_store; }
    const std::shared_ptr<KCManagedObjectContext>& context() const { return m_context; }
    const std::u16string& assetID() const { return m_assetID; }

private:
    TNAnnotationStoreDataSource& m_store;
    std::shared_ptr<KCManagedObjectContext> m_context;
    std::u16string m_assetID;
};
