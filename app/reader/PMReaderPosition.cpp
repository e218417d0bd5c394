#include "PMReaderPosition.h"

#include "TNAnnotation/TNAnnotation.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"
#include "book/PMBookNavigation.h"
#include "host/PMReaderWebView.h"

std::string PMReadingPosition::cfi(std::string_view idref) const
{
    std::string assertion = idref.empty() ? std::string() : "[" + std::string(idref) + "]";
    return "epubcfi(/6/" + std::to_string(2 * (spineIndex + 1)) + assertion + "!" + path + ")";
}

std::optional<PMReadingPosition> PMReadingPosition::fromCFI(std::string_view cfi)
{
    auto index = PMSpineIndexFromCFI(cfi);
    if (!index)
        return std::nullopt;
    PMReadingPosition position {*index, {}};
    size_t bang = cfi.find('!');
    if (bang != std::string_view::npos)
        position.path = std::string(cfi.substr(bang + 1, cfi.size() - bang - 2));
    return position;
}

PMReadingPositionStore::PMReadingPositionStore(TNAnnotationStoreDataSource& store, std::shared_ptr<KCManagedObjectContext> context, std::u16string assetID)
    : m_store(store)
    , m_context(std::move(context))
    , m_assetID(std::move(assetID))
{
}

std::optional<std::string> PMReadingPositionStore::load() const
{
    auto global = TNAnnotation::globalAnnotationForAssetID(m_assetID, m_context.get());
    if (!global || !global->annotationLocation())
        return std::nullopt;
    return KCUTF8FromUTF16(*global->annotationLocation());
}

bool PMReadingPositionStore::save(const std::string& cfi, KCError* error)
{
    auto global = TNAnnotation::globalAnnotationForAssetID(m_assetID, m_context.get());
    if (!global) {
        global = TNAnnotation::insertAnnotationWithAssetID(m_assetID, std::nullopt, std::nullopt, m_context.get());
        global->setAnnotationType(TNAnnotationTypeGlobal);
    }
    global->setAnnotationLocation(KCUTF16FromUTF8(cfi));
    if (m_store.saveManagedObjectContext(*m_context))
        return true;
    KCLog("Could not keep the reading position %@", cfi);
    KCSetError(error, {PMReaderErrorDomain, 10, "could not save the reading position in the annotation store"});
    return false;
}
