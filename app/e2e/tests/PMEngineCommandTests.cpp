// The engine commands of the pagemoor program, run as a person runs them.
#include "e2e/PMSampleBook.h"
#include "PMProgramTest.h"

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
        int documents, skipped;
        const char* first;  // the first context
    };
    for (const Case& sample : {Case {"childrens-literature", "difficulties of classification", 3, 2,
                                   R"({"context": "The difficulties of classification are very apparent here, and once more it must be noted that )"
                                   R"(illustrative and practical purposes rather than logical ones are served by the arrangement adopted. ",)"
                                   R"( "documentIndex": 2, "href": "EPUB/s04.xhtml", "rangeLength": 30, "rangeLocation": 4})"},
             Case {"georgia-cfi", "Georgia", 2, 1,
                 R"({"context": "GEORGIA\n", "documentIndex": 1, "href": "EPUB/georgia.xhtml", "rangeLength": 7, "rangeLocation": 0})"}}) {
        SCOPED_TRACE(sample.book);
        std::string book = std::string(PM_SOURCE_DIR) + "/app/e2e/books/" + sample.book + ".epub";
        std::string library = m_root + "/" + sample.book + ".library";
        PMProgramResult index = PMRunPagemoor("index " + book + " -o " + library + " --json");
        ASSERT_EQ(index.status, 0) << index.err;
        EXPECT_EQ(nlohmann::json::parse(index.out)["documents"], sample.documents);
        PMProgramResult search = PMRunPagemoor("search " + book + " '" + sample.phrase + "' --library " + library + " --json");
        ASSERT_EQ(search.status, 0) << search.err;
        auto json = nlohmann::json::parse(search.out);
        ASSERT_FALSE(json["contexts"].empty());
        EXPECT_EQ(json["contexts"][0], nlohmann::json::parse(sample.first));
        EXPECT_EQ(json["documentsSkipped"], sample.skipped);
        EXPECT_EQ(json["documentsLoaded"].get<int>() + sample.skipped, sample.documents);
    }
}

// Results and failures reach the terminal; the engine's log only on request.
TEST_F(EngineCommands, QuietUnlessTheLogIsAskedFor)
{
    PMSampleBookOptions options;
    options.chapters = PMSampleBookChapters();
    std::string book = write(options);
    auto expectNoNoise = [](const PMProgramResult& result) {
        for (const char* noise : {"JavaScript exception", "session bus", "a11y"})
            EXPECT_EQ(result.err.find(noise), std::string::npos) << result.err;
    };

    PMProgramResult demo = PMRunPagemoor("demo -o " + m_root + "/demo.png");
    ASSERT_EQ(demo.status, 0) << demo.err;
    EXPECT_NE(demo.out.find("snapshot written to"), std::string::npos) << demo.out;
    EXPECT_EQ(demo.err, "");
    PMProgramResult search = PMRunPagemoor("search " + book + " lantern --all");
    ASSERT_EQ(search.status, 0) << search.err;
    EXPECT_EQ(search.err, "");

    // The logger's lines carry the program's name and process id.
    PMProgramResult index = PMRunPagemoor("index " + book + " -o " + m_root + "/library --verbose");
    ASSERT_EQ(index.status, 0) << index.err;
    expectNoNoise(index);
    EXPECT_NE(index.err.find(" pagemoor["), std::string::npos) << index.err;
    PMProgramResult filtered = PMRunPagemoor("search " + book + " lantern --library " + m_root + "/library", {.environment = "KCLogFilter=XOR"});
    ASSERT_EQ(filtered.status, 0) << filtered.err;
    expectNoNoise(filtered);
    EXPECT_NE(filtered.err.find("XOR"), std::string::npos) << filtered.err;
    EXPECT_EQ(filtered.out, search.out);
}

// A check made before the engine starts answers even without a display.
TEST_F(EngineCommands, BadInputEndsWithAFailure)
{
    KCWriteTestFile(m_root + "/plain.epub", "plain text");
    PMSampleBookOptions options;
    options.chapters = PMSampleBookChapters();
    std::string book = write(options), png = " -o " + m_root + "/x.png";
    options.missingChapters = {"gone.xhtml"};
    std::string holed = write(options, "holed.epub");
    const std::string noDisplay = "-u DISPLAY -u WAYLAND_DISPLAY -u PAGEMOOR_UNDER_XVFB PATH=/nonexistent";
    const struct {
        std::string arguments, environment, error;  // the whole error without a display, else a part of it
    } cases[] = {
        {"snapshot " + book + " 3 --size 100x100" + png, noDisplay, "pagemoor: there is no spine document 3 (the book has 3)\n"},
        {"snapshot " + book + " 0 --size 100xmany" + png, noDisplay, "pagemoor: --size must be WIDTHxHEIGHT, each from 1 to 8192\n"},
        {"index " + m_root + "/plain.epub", "", ""},
        {"search " + holed + " lantern --all", "", "gone.xhtml"},
        {"snapshot " + holed + " 3 --size 100x100" + png, "", "gone.xhtml"},
        {"snapshot " + holed + " 0 --size 0x100" + png, "", ""},
        {"search " + holed + " ''", "", ""},
    };
    for (const auto& [arguments, environment, error] : cases) {
        SCOPED_TRACE(arguments);
        PMProgramResult result = PMRunPagemoor(arguments, {.environment = environment});
        EXPECT_NE(result.status, 0);
        if (!environment.empty())
            EXPECT_EQ(result.err, error);
        else
            EXPECT_NE(result.err.find(error), std::string::npos) << result.err;
    }
}

} // namespace
