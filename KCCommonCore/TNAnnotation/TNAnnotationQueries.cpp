// The predicates and fetches over annotations. The format strings are kept
// exactly as they have always been written, blanks and case included.
#include "TNAnnotation.h"

#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <functional>
#include <span>

namespace {

KCValue text(std::u16string_view value)
{
    return KCValue(value);
}

TNAnnotation::Annotations annotationsOf(const std::vector<std::shared_ptr<KCManagedObject>>& objects)
{
    TNAnnotation::Annotations annotations;
    annotations.reserve(objects.size());
    for (const auto& object : objects) {
        if (auto annotation = std::dynamic_pointer_cast<TNAnnotation>(object))
            annotations.push_back(std::move(annotation));
    }
    return annotations;
}

std::shared_ptr<TNAnnotation> lastOf(const std::optional<TNAnnotation::Annotations>& annotations)
{
    return annotations && !annotations->empty() ? annotations->back() : nullptr;
}

bool hasContext(const KCManagedObjectContext* context, KCError* error)
{
    return context || KCSetStoreError(error, KCStoreErrorNoStore, "no context to fetch annotations in");
}

// Book → what `pick` takes from its row, from a distinct dictionary fetch
// grouped by the book and one more key, the last row of a book winning. The
// rows are streamed: a grouping by date makes nearly a row per annotation,
// and only the last one of each book is kept. `bookColumn` is the place of
// "annotationAssetID" among the properties. A failed fetch answers an empty
// dictionary.
KCDictionary perBook(TNAnnotation::Predicate predicate, std::string groupKey, std::vector<KCPropertyToFetch> properties, size_t bookColumn,
    KCManagedObjectContext& context, KCError* error, const std::function<KCValue(const std::vector<std::string>&, std::span<const KCValue>)>& pick)
{
    KCFetchRequest request(TNAnnotation::entityName());
    request.resultType = KCFetchRequestResultType::Dictionary;
    request.propertiesToGroupBy = {"annotationAssetID", std::move(groupKey)};
    request.propertiesToFetch = std::move(properties);
    request.returnsDistinctResults = true;
    request.predicate = std::move(predicate);
    KCDictionary books;
    // Rows come grouped by book: a book's value is set once, when the next book starts.
    std::u16string pendingBook;
    std::optional<KCValue> pendingValue;
    auto flush = [&] {
        if (pendingValue)
            books.set(KCUTF8FromUTF16(pendingBook), std::move(*pendingValue));
        pendingValue.reset();
    };
    std::vector<std::string> names;
    bool fetched = context.enumerateDictionaryResults(request, names, [&](std::span<const KCValue> values) {
        const std::u16string* book = values[bookColumn].string();
        if (!book)
            return;
        if (!pendingValue || *book != pendingBook) {
            flush();
            pendingBook = *book;
        }
        pendingValue = pick(names, values);
    }, error);
    if (!fetched)
        return {};
    flush();
    return books;
}

} // namespace

TNAnnotation::Predicate TNAnnotation::predicateForAnnotationWithUUID(std::u16string_view uuid, TextArgument assetID)
{
    if (assetID)
        return KCPredicate::predicateWithFormat("annotationAssetID == %@ AND annotationUuid == %@", text(*assetID), text(uuid));
    return KCPredicate::predicateWithFormat("annotationUuid == %@ AND annotationType != %d ", text(uuid), int(TNAnnotationTypeGlobal));
}

TNAnnotation::Predicate TNAnnotation::predicateForAnnotationsWithUUIDInList(const KCArray& uuids, TextArgument assetID)
{
    if (assetID)
        return KCPredicate::predicateWithFormat("annotationUuid IN %@ AND annotationAssetID == %@", uuids, text(*assetID));
    return KCPredicate::predicateWithFormat("annotationUuid IN %@ AND annotationType != %d", uuids, int(TNAnnotationTypeGlobal));
}

TNAnnotation::Predicate TNAnnotation::predicateForAllAnnotationsIncludingDeleted(bool includingDeleted)
{
    return KCPredicate::predicateWithFormat("(1 == %d OR annotationDeleted == 0)", int(includingDeleted));
}

TNAnnotation::Predicate TNAnnotation::predicateForAnnotationsWithAssetID(std::u16string_view assetID, bool includingDeleted)
{
    return KCPredicate::predicateWithFormat("annotationAssetID == %@ AND (1 == %d OR annotationDeleted == 0)", text(assetID), int(includingDeleted));
}

TNAnnotation::Predicate TNAnnotation::predicateForAnnotationsWithAssetIDInList(const KCArray& assetIDs, bool includingDeleted)
{
    return KCPredicate::predicateWithFormat("annotationAssetID IN %@ AND (1 == %d OR annotationDeleted == 0)", assetIDs, int(includingDeleted));
}

TNAnnotation::Predicate TNAnnotation::predicateForGlobalAnnotationWithAssetID(std::u16string_view assetID)
{
    return KCPredicate::predicateWithFormat("annotationAssetID == %@ AND annotationType == %d AND annotationDeleted == 0", text(assetID), int(TNAnnotationTypeGlobal));
}

TNAnnotation::Predicate TNAnnotation::predicateForUserAnnotationsWithAssetID(std::u16string_view assetID, bool includingDeleted)
{
    return KCPredicate::predicateWithFormat("annotationAssetID == %@ AND annotationType IN %@ AND (1 == %d OR annotationDeleted == 0)",
        text(assetID), userAnnotationTypeValues(), int(includingDeleted));
}

TNAnnotation::Predicate TNAnnotation::predicateForUserAnnotationsWithAssetIDInList(const KCArray& assetIDs, bool includingDeleted)
{
    return KCPredicate::predicateWithFormat("annotationAssetID IN (%@) AND annotationType IN (%@) and (1 == %d OR annotationDeleted == 0)",
        assetIDs, userAnnotationTypeValues(), int(includingDeleted));
}

TNAnnotation::Predicate TNAnnotation::predicateForPageBookmarksWithAssetID(std::u16string_view assetID)
{
    return KCPredicate::predicateWithFormat("annotationAssetID ==[n] %@ AND annotationType == %d AND annotationDeleted == 0 AND plLocationRangeStart >= 0",
        text(assetID), int(TNAnnotationTypePageBookmark));
}

TNAnnotation::Predicate TNAnnotation::predicateForRangeAnnotationsWithAssetID(std::u16string_view assetID)
{
    return KCPredicate::predicateWithFormat("annotationAssetID ==[n] %@ AND annotationType == %d AND annotationDeleted == 0 AND plLocationRangeStart >= 0",
        text(assetID), int(TNAnnotationTypeRange));
}

TNAnnotation::Predicate TNAnnotation::predicateForAnnotationsWithLocation(std::u16string_view location, bool includingDeleted)
{
    return KCPredicate::predicateWithFormat("annotationLocation = %@ AND (1 == %d OR annotationDeleted == 0)", text(location), int(includingDeleted));
}

TNAnnotation::Predicate TNAnnotation::predicateForAnnotationsWithUserModificationDate()
{
    return KCPredicate::predicateWithFormat("%K != NULL", KCValue(u"futureProofing6"));
}

std::optional<TNAnnotation::Annotations> TNAnnotation::annotationsForPredicate(Predicate predicate, KCManagedObjectContext* context, KCError* error)
{
    if (!hasContext(context, error))
        return std::nullopt;
    auto objects = context->entity(entityName(), std::move(predicate), "annotationCreationDate", true, 0, error);
    if (!objects)
        return std::nullopt;
    return annotationsOf(*objects);
}

std::shared_ptr<TNAnnotation> TNAnnotation::annotationWithUUID(std::u16string_view uuid, TextArgument assetID, KCManagedObjectContext* context, KCError* error)
{
    return lastOf(annotationsForPredicate(predicateForAnnotationWithUUID(uuid, assetID), context, error));
}

std::optional<TNAnnotation::Annotations> TNAnnotation::annotationsForAssetID(std::u16string_view assetID, bool includingDeleted, KCManagedObjectContext* context, KCError* error)
{
    return annotationsForPredicate(predicateForAnnotationsWithAssetID(assetID, includingDeleted), context, error);
}

std::optional<TNAnnotation::Annotations> TNAnnotation::annotationsWithAssetIDInList(const KCArray& assetIDs, bool includingDeleted, KCManagedObjectContext* context, KCError* error)
{
    return annotationsForPredicate(predicateForAnnotationsWithAssetIDInList(assetIDs, includingDeleted), context, error);
}

std::optional<TNAnnotation::Annotations> TNAnnotation::annotationsWithUUIDInList(const KCArray& uuids, TextArgument assetID, KCManagedObjectContext* context, KCError* error)
{
    return annotationsForPredicate(predicateForAnnotationsWithUUIDInList(uuids, assetID), context, error);
}

std::shared_ptr<TNAnnotation> TNAnnotation::globalAnnotationForAssetID(std::u16string_view assetID, KCManagedObjectContext* context, KCError* error)
{
    return lastOf(annotationsForPredicate(predicateForGlobalAnnotationWithAssetID(assetID), context, error));
}

KCExpressionDescription TNAnnotation::maxExpressionDescriptionForProperty(const std::string& property, const std::string& expressionName)
{
    return KCExpressionDescription(expressionName, "max:", property);
}

KCExpressionDescription TNAnnotation::maxModificationDateExpressionDescription()
{
    auto description = maxExpressionDescriptionForProperty("annotationModificationDate", maxModificationDateColumnName());
    description.setExpressionResultType(KCAttributeType::Date);
    return description;
}

KCExpressionDescription TNAnnotation::maxUserModificationDateExpressionDescription()
{
    auto description = maxExpressionDescriptionForProperty("futureProofing6", maxModificationDateColumnName());
    description.setExpressionResultType(KCAttributeType::Date);
    return description;
}

std::optional<std::vector<KCDictionary>> TNAnnotation::dictionaryResultsForAssetsWithPredicate(Predicate predicate, const std::vector<KCPropertyToFetch>& properties, KCManagedObjectContext* context, KCError* error)
{
    if (!hasContext(context, error))
        return std::nullopt;
    KCFetchRequest request(entityName());
    request.resultType = KCFetchRequestResultType::Dictionary;
    request.propertiesToFetch = properties;
    request.returnsDistinctResults = true;
    request.predicate = std::move(predicate);
    auto rows = context->executeFetchRequest(request, error);
    if (!rows)
        return std::nullopt;
    std::vector<KCDictionary> dictionaries;
    dictionaries.reserve(rows->size());
    for (const KCValue& row : *rows)
        dictionaries.push_back(*row.dictionary());
    return dictionaries;
}

std::optional<KCDictionary> TNAnnotation::maxModificationDateForAssetsWithPredicate(Predicate predicate, KCManagedObjectContext* context, KCError* error)
{
    if (!hasContext(context, error))
        return std::nullopt;
    // Grouped by the date as well as the book: a book may yield several rows, and the last one read wins.
    return perBook(std::move(predicate), "annotationModificationDate", {maxModificationDateExpressionDescription(), std::string("annotationAssetID")}, 1,
        *context, error, [](const std::vector<std::string>&, std::span<const KCValue> values) { return values[0]; });
}

std::optional<KCDictionary> TNAnnotation::maxAnnotationVersionForAssetsWithPredicate(Predicate predicate, KCManagedObjectContext* context, KCError* error)
{
    if (!hasContext(context, error))
        return std::nullopt;
    KCError failure;
    KCDictionary books = perBook(std::move(predicate), "futureProofing2", {std::string("annotationAssetID"), std::string("futureProofing2")}, 0,
        *context, &failure, [](const std::vector<std::string>& names, std::span<const KCValue> values) { return KCValue(KCDictionaryFromRow(names, values)); });
    if (!failure.domain.empty()) {
        KCLogger::sharedLogger()->logFile("TNAnnotation", 347, "Failed to fetch annotations {%@}", failure.description());
        KCSetError(error, std::move(failure));
    }
    return books;
}

std::optional<KCDate> TNAnnotation::maxModificationDateForAllAnnotationsInManagedObjectContext(KCManagedObjectContext* context, KCError* error)
{
    auto rows = dictionaryResultsForAssetsWithPredicate(KCPredicate::predicateWithValue(true), {maxModificationDateExpressionDescription()}, context, error);
    if (!rows || rows->empty())
        return std::nullopt;
    return KCValue(rows->back())[maxModificationDateColumnName()].date();
}
