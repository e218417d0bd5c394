// The share menus and the exported notes of a book's highlights, without the window.
#include "reader/PMReaderHighlights.h"
#include "reader/PMReaderSharing.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>

namespace {

std::vector<std::string> labels(const std::optional<PMSharingMenuModel>& model)
{
    std::vector<std::string> shown = model ? PMMenuModelLabels(G_MENU_MODEL(model->menu)) : std::vector<std::string>();
    if (model) {
        g_object_unref(model->menu);
        g_object_unref(model->actions);
    }
    return shown;
}

TEST(PMReaderSharing, OffersTheSharesOfAHighlightAndOfTheNotesAndExportsThem)
{
    KCScratchDirectory scratch;
    PMBookOpenOptions options;
    options.cacheDirectory = scratch.file("cache");
    auto book = PMBook::open(std::string(PM_SOURCE_DIR) + "/app/e2e/books/childrens-literature.epub", options, nullptr);
    ASSERT_TRUE(book);
    TNAnnotationStoreDataSource store(*KCURL::fileURLWithPath(scratch.file("Annotations.sqlite")));
    store.loadObjectStore();
    auto context = store.newManagedObjectContext();
    const std::u16string asset = KCUTF16FromUTF8(book->package().uniqueIdentifier);
    PMReaderHighlights highlights(store, context, asset);
    PMReaderSharing sharing(*book, PMBookNavigation::open(*book, nullptr).value_or(PMBookNavigation()), context, asset);

    KCError error;
    EXPECT_FALSE(sharing.newestHighlight(&error));
    EXPECT_EQ(error.code, 63);
    auto nothing = sharing.notesMenu(nullptr);
    ASSERT_TRUE(nothing);
    EXPECT_FALSE(g_action_group_get_action_enabled(G_ACTION_GROUP(nothing->actions), "item-0"));
    EXPECT_EQ(labels(nothing), std::vector<std::string>{"None"});

    PMFoundText wolf {"/4/2/1:4", "/4/2/1:8", u"wolf", u"The wolf came to the door.", 4, 120, std::nullopt};
    PMFoundText pig {"/4/4/1:4", "/4/4/1:7", u"pig", u"The pig built a house of bricks.", 4, 200, std::nullopt};
    ASSERT_TRUE(highlights.add(wolf, {2, wolf.start, wolf.end}, "s04", std::nullopt, {}, nullptr));
    auto noted = highlights.add(pig, {2, pig.start, pig.end}, "s04", std::nullopt, {4, false, "bricks hold"}, nullptr);
    ASSERT_TRUE(noted);
    auto newest = sharing.newestHighlight(nullptr);
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->annotationUuid(), noted->annotationUuid());
    EXPECT_EQ(labels(sharing.highlightMenu(*noted->annotationUuid(), nullptr)), (std::vector<std::string>{"Twitter", "Sina Weibo", "Mail", "Copy"}));
    // A group with a note prints, and copies itself though its providers offer no copying.
    EXPECT_EQ(labels(sharing.notesMenu(nullptr)), (std::vector<std::string>{"Mail", "Print", "Copy"}));
    EXPECT_FALSE(sharing.highlightMenu(u"no-such-uuid", &error));
    EXPECT_EQ(error.code, 62);

    EXPECT_FALSE(sharing.exportNotes(scratch.file("notes.pdf"), &error));
    EXPECT_EQ(error.code, 64);
    EXPECT_FALSE(sharing.exportNotes(scratch.file("missing/notes.html"), &error));
    EXPECT_EQ(error.code, 65);
    // In reading order, whatever the order they were made in.
    ASSERT_TRUE(sharing.exportNotes(scratch.file("Notes.TXT"), nullptr));
    const std::string text = KCReadTestFile(scratch.file("Notes.TXT"));
    EXPECT_LT(text.find("wolf"), text.find("bricks hold")) << text;
}

} // namespace
