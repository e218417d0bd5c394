#include "TNAnnotationTestSupport.h"
#include "Utilities/tests/KCTestLocale.h"

#include <functional>

namespace {

std::shared_ptr<TNAnnotation> insert(KCManagedObjectContext& context, const char16_t* book = u"BOOK")
{
    return TNAnnotation::insertAnnotationWithAssetID(std::u16string_view(book), u"tester", std::nullopt, &context);
}

// Under a German locale: stored numbers and dates must not take its decimal comma.
TEST(TNAnnotation, InsertionDefaultsAndPersistence)
{
    KC_IN_LOCALE(german, "de_DE.UTF-8");
    TNScratchStore scratch;
    ASSERT_TRUE(scratch.store->persistentStore());
    EXPECT_EQ(KCLastPathComponent(scratch.path()), "Annotations.sqlite");
    std::u16string uuid;
    {
        auto context = scratch.store->newManagedObjectContext();
        auto annotation = insert(*context);
        ASSERT_TRUE(annotation);
        EXPECT_EQ(annotation->annotationCreationDate(), annotation->annotationModificationDate());
        EXPECT_FALSE(annotation->userModificationDate());
        uuid = *annotation->annotationUuid();
        EXPECT_EQ(uuid.size(), 36u);
        EXPECT_NE(uuid, *insert(*context)->annotationUuid());
        EXPECT_FALSE(TNAnnotation::insertAnnotationWithAssetID(u"B", u"C", u"U", nullptr));

        annotation->setAnnotationStyle(TNAnnotationStyleUnderline);
        annotation->setUserModificationDate(KCDate {723456789.123456});
        annotation->setAnnotationSelectedTextRange({12, 34});
        annotation->setAttachments(KCValue(KCArray {KCValue(u"a.png")}));
        annotation->setPlUserData(KCValue(KCData {1, 2, 3}));
        ASSERT_TRUE(scratch.store->saveManagedObjectContext(*context));
    }
    scratch.reopen();
    auto context = scratch.store->newManagedObjectContext();
    auto annotation = TNAnnotation::annotationWithUUID(uuid, u"BOOK", context.get());
    ASSERT_TRUE(annotation);
    EXPECT_EQ(annotation->annotationStyle(), TNAnnotationStyleUnderline);
    EXPECT_EQ(annotation->valueForKey("annotationStyle"), KCValue(0));
    EXPECT_EQ(annotation->futureProofing(6), KCValue(u"723456789.123456"));
    EXPECT_EQ(annotation->userModificationDate(), KCDate {723456789.123456});
    EXPECT_EQ(annotation->futureProofing(7), KCValue(u"{12, 34}"));
    EXPECT_EQ(annotation->annotationSelectedTextRange(), (KCRange {12, 34}));
    EXPECT_EQ(annotation->attachments(), KCValue(KCArray {KCValue(u"a.png")}));
    EXPECT_EQ(annotation->plUserData(), KCValue(KCData {1, 2, 3}));
    EXPECT_EQ(annotation->annotationCreatorIdentifier(), u"tester");

    annotation->setAnnotationStyle(3);
    EXPECT_FALSE(annotation->annotationIsUnderline());
    EXPECT_EQ(annotation->annotationStyle(), 3);
    annotation->setAnnotationIsUnderline(true);
    annotation->setAnnotationStyle(0);
    EXPECT_TRUE(annotation->annotationIsUnderline());
}

TEST(TNAnnotation, SettersStampTheirDates)
{
    TNScratchStore scratch;
    auto context = scratch.store->newManagedObjectContext();
    auto annotation = insert(*context);
    enum Stamp { Both, System, None };
    const std::pair<Stamp, std::function<void(TNAnnotation&)>> setters[] = {
        {Both, [](TNAnnotation& a) { a.setAnnotationStyle(2); }},
        {Both, [](TNAnnotation& a) { a.setAnnotationType(1); }},
        {Both, [](TNAnnotation& a) { a.setAnnotationDeleted(true); }},
        {Both, [](TNAnnotation& a) { a.setAnnotationIsUnderline(true); }},
        {Both, [](TNAnnotation& a) { a.setAnnotationNote(u"note"); }},
        {System, [](TNAnnotation& a) { a.setAnnotationLocation(u"loc"); }},
        {System, [](TNAnnotation& a) { a.setAnnotationRepresentativeText(u"r"); }},
        {System, [](TNAnnotation& a) { a.setAnnotationSelectedText(u"s"); }},
        {System, [](TNAnnotation& a) { a.setPlLocationRangeStart(1); }},
        {System, [](TNAnnotation& a) { a.setPlLocationRangeEnd(2); }},
        {System, [](TNAnnotation& a) { a.setPlAbsolutePhysicalLocation(3.5); }},
        {System, [](TNAnnotation& a) { a.setPlStorageUUID(u"S"); }},
        {System, [](TNAnnotation& a) { a.setPlUserData(KCValue(1)); }},
        {System, [](TNAnnotation& a) { a.setPhysicalPageNumber(u"iv"); }},
        {System, [](TNAnnotation& a) { a.setAnnotationVersion(u"1.0"); }},
        {System, [](TNAnnotation& a) { a.setAssetVersion(u"2"); }},
        {System, [](TNAnnotation& a) { a.setAttachments(KCValue(u"x")); }},
        {System, [](TNAnnotation& a) { a.setChapterTitle(u"c"); }},
        {System, [](TNAnnotation& a) { a.setFutureProofing(12, KCValue(u"spare")); }},
        {None, [](TNAnnotation& a) { a.setAnnotationSelectedTextRange({1, 2}); }},
        {None, [](TNAnnotation& a) { a.setUserModificationDate(KCDate {5}); }},
    };
    const KCDate old {1000};
    for (size_t i = 0; i < std::size(setters); ++i) {
        annotation->setAnnotationModificationDate(old);
        annotation->setUserModificationDate(old);
        setters[i].second(*annotation);
        Stamp stamp = setters[i].first;
        EXPECT_EQ(annotation->annotationModificationDate() != old, stamp != None) << i;
        if (stamp != None) {
            EXPECT_EQ(annotation->userModificationDate() != old, stamp == Both) << i;
        }
    }
    annotation->updateAllModificationDates();
    EXPECT_NEAR(annotation->userModificationDate()->timeIntervalSinceReferenceDate, annotation->annotationModificationDate()->timeIntervalSinceReferenceDate, 1e-6);
}

TEST(TNAnnotation, NotesVersionsAndSerializationTrimming)
{
    TNScratchStore scratch;
    auto context = scratch.store->newManagedObjectContext();
    auto annotation = insert(*context);
    EXPECT_FALSE(annotation->annotationHasNote());
    annotation->setAnnotationNote(u" \n\t\u00a0\u2029 ");
    EXPECT_FALSE(annotation->annotationHasNote());
    annotation->setAnnotationNote(u"\n note \n");
    EXPECT_TRUE(annotation->annotationHasNote());
    // Only the low byte of the trimmed length counts.
    annotation->setAnnotationNote(u" " + std::u16string(256, u'x') + u" ");
    EXPECT_FALSE(annotation->annotationHasNote());
    annotation->setAnnotationNote(std::u16string(257, u'x'));
    EXPECT_TRUE(annotation->annotationHasNote());

    EXPECT_TRUE(annotation->bumpAnnotationVersionToMinimumVersion(u"2.10"));
    EXPECT_FALSE(annotation->bumpAnnotationVersionToMinimumVersion(u"2.1"));
    EXPECT_FALSE(annotation->bumpAnnotationVersionToMinimumVersion(u"2.10"));
    annotation->setAnnotationVersion(u"9.3");
    EXPECT_TRUE(annotation->bumpAnnotationVersionToMinimumVersion(u"10.1"));
    EXPECT_EQ(annotation->annotationVersion(), u"10.1");

    std::u16string text(5000, u'a');
    EXPECT_EQ(TNAnnotation::optimizedSelectedTextForSerialization(text), text);
    EXPECT_EQ(TNAnnotation::optimizedSelectedTextForSerialization(text + u"b"), text);
    EXPECT_EQ(TNAnnotation::optimizedRepresentativeTextForSerialization(u"same", u"same"), std::nullopt);
    EXPECT_EQ(TNAnnotation::optimizedRepresentativeTextForSerialization(text, u"a"), text);
    EXPECT_EQ(TNAnnotation::optimizedRepresentativeTextForSerialization(text + u"b", u"a"), std::nullopt);
}

} // namespace
