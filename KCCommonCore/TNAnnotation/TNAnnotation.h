#pragma once
// An annotation of a book: a highlight, underline, note, page bookmark, or
// the per-book global record. Setters stamp modification dates: changes to
// what the annotation is (style, kind, deletion, underline, note) move both
// the user and the system date, every other change only the system date.
// Some properties live in the spare futureProofing slots so that the schema
// never had to change.
// Errors: fetches answer nothing (per-book maps: empty) and fill *error without a context, for a predicate whose format did not parse, or when the store fails; only the version query logs.
#include "Database/KCFetchRequest.h"
#include "Database/KCManagedObject.h"
#include "Database/KCManagedObjectContext.h"
#include "Utilities/KCGeometry.h"
#include "Utilities/KCStyledString.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum TNAnnotationType : int32_t {
    TNAnnotationTypePageBookmark = 1,
    TNAnnotationTypeRange = 2,
    TNAnnotationTypeGlobal = 3,
};

// Given to setAnnotationStyle, it means underline.
inline constexpr int32_t TNAnnotationStyleUnderline = 6;

class TNAnnotation : public KCManagedObject {
public:
    using Text = std::optional<std::u16string>;
    using TextArgument = std::optional<std::u16string_view>;
    using Annotations = std::vector<std::shared_ptr<TNAnnotation>>;

    static const char* entityName() { return "TNAnnotation"; }

    // A new annotation in the context (not saved), with a fresh UUID when none is given.
    static std::shared_ptr<TNAnnotation> insertAnnotationWithAssetID(TextArgument assetID, TextArgument creatorIdentifier, TextArgument annotationUuid, KCManagedObjectContext* context);

    // Type 2 and equal creation and modification dates, written without notifications or stamping.
    void awakeFromInsert() override;

    Text annotationUuid() const { return p_text("annotationUuid"); }
    void setAnnotationUuid(TextArgument value) { p_setText("annotationUuid", value); }
    Text annotationAssetID() const { return p_text("annotationAssetID"); }
    void setAnnotationAssetID(TextArgument value) { p_setText("annotationAssetID", value); }
    Text annotationCreatorIdentifier() const { return p_text("annotationCreatorIdentifier"); }
    void setAnnotationCreatorIdentifier(TextArgument value) { p_setText("annotationCreatorIdentifier", value); }
    std::optional<KCDate> annotationCreationDate() const { return valueForKey("annotationCreationDate").date(); }
    void setAnnotationCreationDate(std::optional<KCDate> date);
    std::optional<KCDate> annotationModificationDate() const { return valueForKey("annotationModificationDate").date(); }
    void setAnnotationModificationDate(std::optional<KCDate> date);

    // Both dates.
    int32_t annotationType() const;
    void setAnnotationType(int32_t type);
    int32_t annotationStyle() const;  // 6 whenever the annotation is an underline
    void setAnnotationStyle(int32_t style);
    bool annotationIsUnderline() const;
    void setAnnotationIsUnderline(bool underline);
    bool annotationDeleted() const;
    bool isAnnotationDeleted() const { return annotationDeleted(); }
    void setAnnotationDeleted(bool deleted);
    Text annotationNote() const { return p_text("annotationNote"); }
    void setAnnotationNote(TextArgument note);

    // The system date only.
    Text annotationLocation() const { return p_text("annotationLocation"); }
    void setAnnotationLocation(TextArgument value) { p_setTextStampingSystemDate("annotationLocation", value); }
    Text annotationRepresentativeText() const { return p_text("annotationRepresentativeText"); }
    void setAnnotationRepresentativeText(TextArgument value) { p_setTextStampingSystemDate("annotationRepresentativeText", value); }
    Text annotationSelectedText() const { return p_text("annotationSelectedText"); }
    void setAnnotationSelectedText(TextArgument value) { p_setTextStampingSystemDate("annotationSelectedText", value); }
    std::optional<int64_t> plLocationRangeStart() const { return valueForKey("plLocationRangeStart").int64Value(); }
    void setPlLocationRangeStart(std::optional<int64_t> value);
    std::optional<int64_t> plLocationRangeEnd() const { return valueForKey("plLocationRangeEnd").int64Value(); }
    void setPlLocationRangeEnd(std::optional<int64_t> value);
    std::optional<double> plAbsolutePhysicalLocation() const { return valueForKey("plAbsolutePhysicalLocation").doubleValue(); }
    void setPlAbsolutePhysicalLocation(std::optional<double> value);
    Text plStorageUUID() const { return p_text("plStorageUUID"); }
    void setPlStorageUUID(TextArgument value) { p_setTextStampingSystemDate("plStorageUUID", value); }
    const KCValue& plUserData() const { return valueForKey("plUserData"); }
    void setPlUserData(const KCValue& value) { p_setStampingSystemDate("plUserData", value); }
    Text physicalPageNumber() const { return p_text("futureProofing1"); }
    void setPhysicalPageNumber(TextArgument value) { p_setTextStampingSystemDate("futureProofing1", value); }
    Text annotationVersion() const { return p_text("futureProofing2"); }
    void setAnnotationVersion(TextArgument value) { p_setTextStampingSystemDate("futureProofing2", value); }
    Text assetVersion() const { return p_text("futureProofing3"); }
    void setAssetVersion(TextArgument value) { p_setTextStampingSystemDate("futureProofing3", value); }
    const KCValue& attachments() const { return valueForKey("futureProofing4"); }
    void setAttachments(const KCValue& value) { p_setStampingSystemDate("futureProofing4", value); }
    Text chapterTitle() const { return p_text("futureProofing5"); }
    void setChapterTitle(TextArgument value) { p_setTextStampingSystemDate("futureProofing5", value); }
    // The spare slots 1 to 12 (4 holds any value, the others text).
    const KCValue& futureProofing(int slot) const;
    void setFutureProofing(int slot, const KCValue& value);

    // No stamping.
    std::optional<KCDate> userModificationDate() const;  // futureProofing6, "%f" seconds since 2001
    void setUserModificationDate(std::optional<KCDate> date);
    KCRange annotationSelectedTextRange() const;  // futureProofing7, "{location, length}"
    void setAnnotationSelectedTextRange(KCRange range);

    // The trimmed note's length taken as a one-byte truth value: a note of
    // exactly 256 (512, ...) units reports none. Kept so on purpose.
    bool annotationHasNote() const;

    void updateSystemModificationDate();
    void updateUserModificationDate();
    void updateAllModificationDates();
    // Raises annotationVersion to the given one when it is missing or
    // numerically smaller ("10.1" > "9.3", "2.10" > "2.1"); answers whether it changed.
    bool bumpAnnotationVersionToMinimumVersion(std::u16string_view version);

    // At most the first 5000 UTF-16 units of the text.
    static std::u16string optimizedSelectedTextForSerialization(std::u16string_view text);
    // The representative text, unless it is longer than 5000 units or repeats the selection.
    static Text optimizedRepresentativeTextForSerialization(TextArgument representativeText, TextArgument selectedText);

    // Excerpts that shares quote (TNAnnotationExcerpt.cpp). The selected text in its
    // sentence, with an ellipsis where it starts or ends inside one and the
    // sentence's last punctuation mark when only that is left out.
    static Text contextAwareSelectedTextFromAnnotation(const TNAnnotation& annotation);
    // The flattened sentence shortened before the selection so that at most
    // possibleLength units lie between its start and the selection's end, with
    // the annotation style over the selection; nothing without any text.
    static std::optional<KCStyledString> annotatedAttributedStringForAnnotation(const TNAnnotation& annotation, uint64_t possibleLength);
    std::optional<KCStyledString> annotatedAttributedString() const;  // no limit
    static KCStyledString annotatedAttributedStringWithString(std::u16string_view text, int32_t annotationStyle, KCRange range);
    // Also true when either text is missing.
    static bool isSelectedTextRepeatedInRepresentativeTextForAnnotation(const TNAnnotation& annotation);
    // The sentence from a cut before the selection's end (after a punctuation
    // mark, at a word start, or at a letter) to its end, trimmed; the range
    // becomes the raw selected text's place in it, not found when it is not there.
    static Text clauseForSelectedTextForAnnotation(const TNAnnotation& annotation, std::u16string_view sentence, uint64_t possibleLength, KCRange& highlightedRange);
    static Text wordsForSelectedTextForAnnotation(const TNAnnotation& annotation, std::u16string_view sentence, uint64_t possibleLength, KCRange& highlightedRange);
    static Text lettersForSelectedTextForAnnotation(const TNAnnotation& annotation, std::u16string_view sentence, uint64_t possibleLength, KCRange& highlightedRange);

    static KCArray userAnnotationTypeValues();    // [1, 2]
    static KCArray globalAnnotationTypeValues();  // [3]

    // Predicates; "includingDeleted" also selects soft-deleted annotations.
    using Predicate = std::shared_ptr<const KCPredicate>;
    static Predicate predicateForAnnotationWithUUID(std::u16string_view uuid, TextArgument assetID);
    static Predicate predicateForAnnotationsWithUUIDInList(const KCArray& uuids, TextArgument assetID);
    static Predicate predicateForAllAnnotationsIncludingDeleted(bool includingDeleted);
    static Predicate predicateForAnnotationsWithAssetID(std::u16string_view assetID, bool includingDeleted);
    static Predicate predicateForAnnotationsWithAssetIDInList(const KCArray& assetIDs, bool includingDeleted);
    static Predicate predicateForGlobalAnnotationWithAssetID(std::u16string_view assetID);
    static Predicate predicateForUserAnnotationsWithAssetID(std::u16string_view assetID, bool includingDeleted);
    static Predicate predicateForUserAnnotationsWithAssetIDInList(const KCArray& assetIDs, bool includingDeleted);
    static Predicate predicateForPageBookmarksWithAssetID(std::u16string_view assetID);
    static Predicate predicateForRangeAnnotationsWithAssetID(std::u16string_view assetID);
    static Predicate predicateForAnnotationsWithLocation(std::u16string_view location, bool includingDeleted);
    static Predicate predicateForAnnotationsWithUserModificationDate();

    // Fetches; each answers nothing without a context, and nothing (the
    // per-book maps: an empty map) when the predicate is null because its
    // format did not parse or when the store fails; failures fill *error.
    static std::optional<Annotations> annotationsForPredicate(Predicate predicate, KCManagedObjectContext* context, KCError* error = nullptr);
    static std::shared_ptr<TNAnnotation> annotationWithUUID(std::u16string_view uuid, TextArgument assetID, KCManagedObjectContext* context, KCError* error = nullptr);
    static std::optional<Annotations> annotationsForAssetID(std::u16string_view assetID, bool includingDeleted, KCManagedObjectContext* context, KCError* error = nullptr);
    static std::optional<Annotations> annotationsWithAssetIDInList(const KCArray& assetIDs, bool includingDeleted, KCManagedObjectContext* context, KCError* error = nullptr);
    static std::optional<Annotations> annotationsWithUUIDInList(const KCArray& uuids, TextArgument assetID, KCManagedObjectContext* context, KCError* error = nullptr);
    static std::shared_ptr<TNAnnotation> globalAnnotationForAssetID(std::u16string_view assetID, KCManagedObjectContext* context, KCError* error = nullptr);

    // Aggregates over books.
    static const char* maxModificationDateColumnName() { return "maxModificationDate"; }
    static KCExpressionDescription maxExpressionDescriptionForProperty(const std::string& property, const std::string& expressionName);
    static KCExpressionDescription maxModificationDateExpressionDescription();
    static KCExpressionDescription maxUserModificationDateExpressionDescription();
    static std::optional<std::vector<KCDictionary>> dictionaryResultsForAssetsWithPredicate(Predicate predicate, const std::vector<KCPropertyToFetch>& properties, KCManagedObjectContext* context, KCError* error = nullptr);
    // Book → its latest annotationModificationDate.
    static std::optional<KCDictionary> maxModificationDateForAssetsWithPredicate(Predicate predicate, KCManagedObjectContext* context, KCError* error = nullptr);
    // Book → its row {annotationAssetID, futureProofing2}.
    static std::optional<KCDictionary> maxAnnotationVersionForAssetsWithPredicate(Predicate predicate, KCManagedObjectContext* context, KCError* error = nullptr);
    // Nothing for an empty store as well as on failure: *error tells them apart.
    static std::optional<KCDate> maxModificationDateForAllAnnotationsInManagedObjectContext(KCManagedObjectContext* context, KCError* error = nullptr);

private:
    Text p_text(std::string_view key) const;
    void p_setText(std::string_view key, TextArgument value);
    void p_setStampingSystemDate(std::string_view key, const KCValue& value);
    void p_setTextStampingSystemDate(std::string_view key, TextArgument value);
    void p_setStampingAllDates(std::string_view key, const KCValue& value);
};

// Compares version-like texts with their digit runs taken as numbers.
int TNCompareNumerically(std::u16string_view a, std::u16string_view b);
