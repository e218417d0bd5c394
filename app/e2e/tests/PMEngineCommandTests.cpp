// The engine commands of the pagemoor program, run as a person runs them.
#include "e2e/PMSampleBook.h"
#include "PMTestPNG.h"
#include "PMTestProgram.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>


namespace {

using EngineCommands = PMProgramTest;

// Real books: the index lets a search skip the documents without the phrase,
// and the context is the sentence as the book's page shows it.
TEST_F(EngineCommands, RealBooksAreIndexedAndSearched)
{
    struct Case {
        const char* book;
        const char* phrase;
        const char* href;
    };
    for (const Case& sample : {Case {"childrens-literature", "difficulties of classification", "EPUB/s04.xhtml"},
             Case {"georgia-cfi", "Georgia", nullptr}}) {
        std::string book = std::string(PM_SOURCE_DIR) + "/app/e2e/books/" + sample.book + ".epub";
        std::string library = m_root + "/" + sample.book + ".library";
        PMTestProgramResult index = PMRunPagemoor("index " + book + " -o " + library + " --json");
        ASSERT_EQ(index.status, 0) << sample.book << ": " << index.errors;
        int documents = nlohmann::json::parse(index.output)["documents"];
        PMTestProgramResult search = PMRunPagemoor("search " + book + " '" + sample.phrase + "' --library " + library + " --json");
        ASSERT_EQ(search.status, 0) << sample.book << ": " << search.errors;
        auto json = nlohmann::json::parse(search.output);
        ASSERT_FALSE(json["contexts"].empty()) << sample.book;
        EXPECT_EQ(json["documentsLoaded"].get<int>() + json["documentsSkipped"].get<int>(), documents);
        EXPECT_GE(json["documentsSkipped"].get<int>(), 1) << sample.book;
        for (const auto& context : json["contexts"]) {
            std::string text = context["context"];
            size_t at = context["rangeLocation"];
            EXPECT_LE(at + context["rangeLength"].get<size_t>(), text.size() + 1) << text;
            if (sample.href) {
                EXPECT_EQ(context["href"], sample.href);
            }
        }
    }
}

TEST_F(EngineCommands, IndexThenSearchSkipsDocumentsAndSnapshotWritesAPNG)
{
    PMSampleBookOptions options;
    options.chapters = PMGeneratedChapters(6, 2);
    std::string book = write(options);

    PMTestProgramResult index = PMRunPagemoor("index " + book + " -o " + m_root + "/library --json");
    ASSERT_EQ(index.status, 0) << index.output;
    EXPECT_EQ(nlohmann::json::parse(index.output)["documents"], 6);

    // The marker of k = 1 is only in chapters 0, 3 (index % 3 == 0).
    PMTestProgramResult search = PMRunPagemoor("search " + book + " " + PMGeneratedMarker(1) + " --library " + m_root + "/library --json");
    ASSERT_EQ(search.status, 0) << search.output;
    auto json = nlohmann::json::parse(search.output);
    ASSERT_EQ(json["contexts"].size(), 2u);
    EXPECT_EQ(json["contexts"][0]["documentIndex"], 0);
    EXPECT_EQ(json["contexts"][1]["documentIndex"], 3);
    EXPECT_EQ(json["contexts"][1]["href"], "OEBPS/text/chapter4.xhtml");
    EXPECT_EQ(json["contexts"][1]["rangeLocation"], 4);
    // The engine drops the blank that ends the paragraph.
    EXPECT_EQ(json["contexts"][1]["context"], "The " + PMGeneratedMarker(1) + " stood by the road.");
    EXPECT_GE(json["documentsSkipped"].get<int>(), 3);

    std::string png = m_root + "/page.png";
    PMTestProgramResult snapshot = PMRunPagemoor("snapshot " + book + " 2 --size 200x300 -o " + png);
    ASSERT_EQ(snapshot.status, 0) << snapshot.output;
    // The page is drawn to cover the requested size.
    auto size = PMTestPNGSizeOfFile(png);
    ASSERT_TRUE(size);
    EXPECT_GE(size->width, 200);
    EXPECT_GE(size->height, 300);
}

// Results and failures reach the terminal; the engine's log only on request.
TEST_F(EngineCommands, QuietUnlessTheLogIsAskedFor)
{
    PMSampleBookOptions options;
    options.chapters = PMSampleBookChapters();
    std::string book = write(options);
    auto expectNoNoise = [](const PMTestProgramResult& result) {
        for (const char* noise : {"JavaScript exception", "session bus", "a11y"})
            EXPECT_EQ(result.errors.find(noise), std::string::npos) << result.errors;
    };

    PMTestProgramResult demo = PMRunPagemoor("demo -o " + m_root + "/demo.png");
    ASSERT_EQ(demo.status, 0) << demo.errors;
    EXPECT_NE(demo.output.find("snapshot written to"), std::string::npos) << demo.output;
    EXPECT_EQ(demo.errors, "");
    PMTestProgramResult search = PMRunPagemoor("search " + book + " lantern --all");
    ASSERT_EQ(search.status, 0) << search.errors;
    EXPECT_EQ(search.errors, "");

    // The logger's lines carry the program's name and process id.
    PMTestProgramResult index = PMRunPagemoor("index " + book + " -o " + m_root + "/library --verbose");
    ASSERT_EQ(index.status, 0) << index.errors;
    expectNoNoise(index);
    EXPECT_NE(index.errors.find(" pagemoor["), std::string::npos) << index.errors;
    PMTestProgramResult filtered = PMRunPagemoor("search " + book + " lantern --library " + m_root + "/library", "KCLogFilter=XOR");
    ASSERT_EQ(filtered.status, 0) << filtered.errors;
    expectNoNoise(filtered);
    EXPECT_NE(filtered.errors.find("XOR"), std::string::npos) << filtered.errors;
    EXPECT_EQ(filtered.output, search.output);
}

TEST_F(EngineCommands, BadArgumentsFailBeforeTheEngineStarts)
{
    PMSampleBookOptions options;
    options.chapters = PMSampleBookChapters();
    std::string book = write(options);
    // No display and no xvfb-run: only a check made before the engine starts can answer.
    const std::string noDisplay = "-u DISPLAY -u WAYLAND_DISPLAY -u PAGEMOOR_UNDER_XVFB PATH=/nonexistent";
    PMTestProgramResult pastTheEnd = PMRunPagemoor("snapshot " + book + " 3 --size 100x100 -o " + m_root + "/x.png", noDisplay);
    EXPECT_NE(pastTheEnd.status, 0);
    EXPECT_EQ(pastTheEnd.errors, "pagemoor: there is no spine document 3 (the book has 3)\n");
    PMTestProgramResult badSize = PMRunPagemoor("snapshot " + book + " 0 --size 100xmany -o " + m_root + "/x.png", noDisplay);
    EXPECT_NE(badSize.status, 0);
    EXPECT_EQ(badSize.errors, "pagemoor: --size must be WIDTHxHEIGHT, each from 1 to 8192\n");
}

TEST_F(EngineCommands, BadInputEndsWithAFailure)
{
    std::string notABook = m_root + "/plain.epub";
    FILE* file = fopen(notABook.c_str(), "w");
    fputs("plain text", file);
    fclose(file);
    PMSampleBookOptions options;
    options.chapters = PMSampleBookChapters();
    options.missingChapters = {"gone.xhtml"};
    std::string holed = write(options, "holed.epub");

    EXPECT_NE(PMRunPagemoor("index " + notABook).status, 0);
    PMTestProgramResult missing = PMRunPagemoor("search " + holed + " lantern --all");
    EXPECT_NE(missing.status, 0);
    EXPECT_NE(missing.errors.find("gone.xhtml"), std::string::npos) << missing.errors;
    PMTestProgramResult missingPage = PMRunPagemoor("snapshot " + holed + " 3 --size 100x100 -o " + m_root + "/x.png");
    EXPECT_NE(missingPage.status, 0);
    EXPECT_NE(missingPage.errors.find("gone.xhtml"), std::string::npos) << missingPage.errors;
    EXPECT_NE(PMRunPagemoor("snapshot " + holed + " 0 --size 0x100 -o " + m_root + "/x.png").status, 0);
    EXPECT_NE(PMRunPagemoor("search " + holed + " ''").status, 0);
}

} // namespace
