// pagemoor annotations against a real store file.
#include "PMProgramRunner.h"
#include "Database/tests/KCStoreFile.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

namespace {

class AnnotationsCommandTest : public ::testing::Test {
protected:
    PMProgramResult run(const std::string& arguments) { return PMRunPagemoor("annotations --store '" + m_store + "' " + arguments); }
    std::string add(const std::string& arguments)
    {
        PMProgramResult added = run("add " + arguments);
        EXPECT_EQ(added.status, 0) << added.err;
        return added.out.substr(0, added.out.find('\n'));
    }

    KCScratchDirectory m_scratch;
    std::string m_store = m_scratch.file("Annotations.sqlite");
};

TEST_F(AnnotationsCommandTest, AddListChangeAndDelete)
{
    std::string highlight = add("--asset book-1 --type 2 --style 6 --selected 'It was the best of times' --note 'Opening' "
                                "--location 'epubcfi(/6/4!/4/2)' --range-start 0 --range-end 24 --chapter 'Book the First'");
    EXPECT_EQ(highlight.size(), 36u);
    std::string bookmark = add("--asset book-1 --type 1 --location 'epubcfi(/6/8)' --range-start 5");
    add("--asset book-2 --type 2 --selected 'elsewhere'");

    PMProgramResult list = run("list --asset book-1 --json");
    ASSERT_EQ(list.status, 0) << list.err;
    auto annotations = nlohmann::json::parse(list.out);
    ASSERT_EQ(annotations.size(), 2u);
    auto byUuid = [&](const std::string& uuid) {
        for (const auto& annotation : annotations) {
            if (annotation["annotationUuid"] == uuid)
                return annotation;
        }
        return nlohmann::json();
    };
    auto stored = byUuid(highlight);
    EXPECT_EQ(stored["annotationSelectedText"], "It was the best of times");
    EXPECT_EQ(stored["annotationNote"], "Opening");
    EXPECT_EQ(stored["annotationStyle"], 6);  // stored as 0 with the underline flag; answered as 6
    EXPECT_EQ(stored["annotationIsUnderline"], true);

    EXPECT_EQ(run("set --uuid " + highlight + " --field annotationNote --value Changed").status, 0);
    annotations = nlohmann::json::parse(run("list --asset book-1 --json").out);
    EXPECT_EQ(byUuid(highlight)["annotationNote"], "Changed");

    PMProgramResult bookmarks = run("bookmarks --asset book-1");
    EXPECT_NE(bookmarks.out.find(bookmark), std::string::npos);
    EXPECT_EQ(bookmarks.out.find(highlight), std::string::npos);
    PMProgramResult ranges = run("ranges --asset book-1");
    EXPECT_NE(ranges.out.find(highlight), std::string::npos);

    EXPECT_EQ(run("delete --uuid " + highlight).status, 0);
    EXPECT_EQ(nlohmann::json::parse(run("list --asset book-1 --json").out).size(), 1u);
    EXPECT_EQ(nlohmann::json::parse(run("list --asset book-1 --include-deleted --json").out).size(), 2u);

    PMProgramResult latest = run("latest");
    EXPECT_EQ(latest.status, 0);
    EXPECT_NE(latest.out.find("book-1\t"), std::string::npos);
    EXPECT_NE(latest.out.find("book-2\t"), std::string::npos);
    EXPECT_NE(latest.out.find("overall\t"), std::string::npos);
}

TEST_F(AnnotationsCommandTest, BadInputFailsClearly)
{
    for (const char* bad : {"add --type 2" /* no --asset */, "add --asset a --type 9", "set --uuid no-such-uuid --field annotationNote --value x", "frob",
             "add --asset b --selected-range 3", "add --asset b --selected-range 3,x", "add --asset b --selected-range -1,2", "excerpt --uuid no-such-uuid"}) {
        PMProgramResult failed = run(bad);
        EXPECT_NE(failed.status, 0) << bad;
        EXPECT_NE(failed.err, "") << bad;
    }
    KCWriteTestFile(m_store, "this is not a store");
    PMProgramResult foreign = run("list --asset a");
    EXPECT_NE(foreign.status, 0);
    EXPECT_EQ(KCReadTestFile(m_store), "this is not a store");
}

// A store that cannot be read must not pass for one without annotations;
// once it is found damaged, nothing more is written to it.
TEST_F(AnnotationsCommandTest, DamagedStoreFailsInsteadOfListingNothingAndRefusesWrites)
{
    std::string kept = add("--asset book-1 --type 2 --selected 'kept'");
    add("--asset book-2 --type 1");
    PMProgramResult none = run("list --asset book-3");
    EXPECT_EQ(none.status, 0) << none.err;
    EXPECT_EQ(none.out, "");

    KCDamageTablePages(m_store, "TNAnnotation");
    std::string damaged = KCReadTestFile(m_store);
    for (const char* command : {"list --asset book-1", "list --asset book-1 --json", "latest", "latest --json", "ranges --asset book-1"}) {
        PMProgramResult failed = run(command);
        EXPECT_NE(failed.status, 0) << command;
        EXPECT_NE(failed.err.find("could not read the annotation store"), std::string::npos) << command << ": " << failed.err;
        EXPECT_EQ(failed.out, "") << command;
    }
    EXPECT_NE(run("delete --uuid 00000000-0000-0000-0000-000000000000").status, 0);
    EXPECT_NE(run("add --asset book-1 --type 2 --selected 'more'").status, 0);
    EXPECT_NE(run("set --uuid " + kept + " --field annotationNote --value x").status, 0);
    EXPECT_EQ(KCReadTestFile(m_store), damaged);
}

// The global annotation (type 3) of a book is reached by its uuid too.
TEST_F(AnnotationsCommandTest, SetAndDeleteReachGlobalAnnotations)
{
    std::string global = add("--asset book-1 --type 3");
    PMProgramResult set = run("set --uuid " + global + " --field annotationNote --value 'whole book'");
    EXPECT_EQ(set.status, 0) << set.err;
    auto listed = nlohmann::json::parse(run("list --asset book-1 --json").out);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]["annotationNote"], "whole book");
    PMProgramResult deleted = run("delete --uuid " + global);
    EXPECT_EQ(deleted.status, 0) << deleted.err;
    EXPECT_EQ(nlohmann::json::parse(run("list --asset book-1 --json").out).size(), 0u);
}

// The stored selected range decides between repeats; the limit cuts the sentence before the selection.
TEST_F(AnnotationsCommandTest, ExcerptsOfStoredAnnotations)
{
    std::string repeated = add("--asset b --style 2 --representative 'The cat saw the cat.' --selected cat --selected-range 16,3");
    EXPECT_EQ(nlohmann::json::parse(run("list --asset b --json").out)[0]["futureProofing7"], "{16, 3}");
    PMProgramResult json = run("excerpt --json --uuid " + repeated);
    ASSERT_EQ(json.status, 0) << json.err;
    EXPECT_EQ(nlohmann::json::parse(json.out),
        nlohmann::json::parse(R"({"contextAware": "\u2026cat.", "excerpt": "cat", "highlightedRange": [0, 3], "style": 2})"));

    std::string far = add("--asset b --representative 'Some years ago, never mind how long, I went to sea.' --selected 'never mind how long'");
    auto cut = nlohmann::json::parse(run("excerpt --limit 25 --json --uuid " + far).out);
    EXPECT_EQ(cut["excerpt"], "\u2026never mind how long, I went to sea.");
    EXPECT_EQ(cut["highlightedRange"], nlohmann::json::parse("[1, 19]"));
    EXPECT_EQ(run("excerpt --uuid " + far).out,
        "context\t\u2026never mind how long\u2026\nexcerpt\tSome years ago, \u00ABnever mind how long\u00BB, I went to sea.\n");

    EXPECT_NE(run("excerpt --limit -1 --uuid " + far).status, 0);
}

// Reproducible dates, read the same under any locale, and the asset ID of a real book.
TEST_F(AnnotationsCommandTest, AddTakesACreationDateAndTheBooksAssetID)
{
    std::string book = "--book '" + std::string(PM_SOURCE_DIR) + "/app/e2e/books/georgia-cfi.epub' --cache-dir '" + m_scratch.file("cache") + "'";
    add(book + " --style 3 --created 2024-03-05T11:20:30+01:00");
    PMProgramResult german = PMRunPagemoor("annotations --store '" + m_store + "' add " + book + " --asset code.google.com.epub-samples.georgia-cfi"
            " --created 2024-03-05T10:20:30.5Z", {.environment = "LC_ALL=de_DE.UTF-8"});
    EXPECT_EQ(german.status, 0) << german.err;
    auto listed = nlohmann::json::parse(run("list --asset code.google.com.epub-samples.georgia-cfi --json").out);
    ASSERT_EQ(listed.size(), 2u);
    std::multiset<double> created;
    for (const auto& annotation : listed) {
        EXPECT_EQ(annotation["annotationModificationDate"], annotation["annotationCreationDate"]);
        created.insert(annotation["annotationCreationDate"].get<double>());
        if (annotation["annotationStyle"] == 3) {
            EXPECT_EQ(annotation["futureProofing6"], "731326830.000000");  // the style change's user date too
        }
    }
    EXPECT_EQ(created, (std::multiset<double> {731326830.0, 731326830.5}));  // seconds since 2001

    EXPECT_NE(run("add " + book + " --asset another-book").status, 0);
    for (const char* date : {"2024-03-05", "2024-03-05T10:20:30", "2024-03-05 10:20:30Z", "2024-02-30T10:20:30Z", "2024-03-05T10:20:30+0100", "2024-03-05T10:20:30.Z"}) {
        PMProgramResult failed = run(std::string("add --asset a --created '") + date + "'");
        EXPECT_NE(failed.status, 0) << date;
        EXPECT_NE(failed.err.find("--created needs an ISO 8601 date"), std::string::npos) << date << ": " << failed.err;
    }
}

} // namespace
