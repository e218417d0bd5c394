// The reading position as a CFI, and its one global annotation per book.
#include "reader/PMReaderPosition.h"

#include "TNAnnotation/TNAnnotation.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>

namespace {

TEST(PMReadingPosition, ReadsBackTheCFIItWrites)
{
    const struct {
        PMReadingPosition position;
        std::string idref;
        std::string cfi;
    } cases[] {
        {{0, ""}, "", "epubcfi(/6/2!)"},
        {{2, "/4/2/6/1:17"}, "s04", "epubcfi(/6/6[s04]!/4/2/6/1:17)"},
        {{143, "/4/8"}, "c143", "epubcfi(/6/288[c143]!/4/8)"},
    };
    for (const auto& written : cases) {
        EXPECT_EQ(written.position.cfi(written.idref), written.cfi);
        auto read = PMReadingPosition::fromCFI(written.cfi);
        ASSERT_TRUE(read) << written.cfi;
        EXPECT_EQ(read->spineIndex, written.position.spineIndex);
        EXPECT_EQ(read->path, written.position.path);
    }
    EXPECT_FALSE(PMReadingPosition::fromCFI("/6/4!/2"));
}

TEST(PMReadingPositionStore, KeepsOneGlobalAnnotationPerBook)
{
    KCScratchDirectory scratch;
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(scratch.file("Annotations.sqlite")));
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    PMReadingPositionStore book(store, context, u"urn:book"), other(store, context, u"urn:other");
    EXPECT_FALSE(book.load());
    ASSERT_TRUE(book.save("epubcfi(/6/4!/4/2/1:0)", nullptr));
    ASSERT_TRUE(other.save("epubcfi(/6/2!)", nullptr));
    ASSERT_TRUE(book.save("epubcfi(/6/8!/4/10/1:42)", nullptr));
    EXPECT_EQ(book.load(), "epubcfi(/6/8!/4/10/1:42)");
    EXPECT_EQ(other.load(), "epubcfi(/6/2!)");
    auto annotations = TNAnnotation::annotationsForAssetID(u"urn:book", true, context.get());
    ASSERT_TRUE(annotations);
    ASSERT_EQ(annotations->size(), 1u);
    EXPECT_EQ(annotations->front()->annotationType(), TNAnnotationTypeGlobal);
}

} // namespace
