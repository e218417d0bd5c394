// The engine commands of the pagemoor program, run as a person runs them.
#include "e2e/PMSampleBook.h"
#include "PMTestPNG.h"
#include "PMTestProgram.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>

namespace {

using EngineCommands = PMProgramTest;

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
    EXPECT_EQ(json["contexts"][1]["context"], "The " + PMGeneratedMarker(1) + " stood by the road. ");
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

TEST_F(EngineCommands, BadInputEndsWithAMessageInBoundedTime)
{
    std::string notABook = m_root + "/plain.epub";
    FILE* file = fopen(notABook.c_str(), "w");
    fputs("plain text", file);
    fclose(file);
    PMSampleBookOptions options;
    options.chapters = PMSampleBookChapters();
    options.missingChapters = {"gone.xhtml"};
    std::string holed = write(options, "holed.epub");

    auto start = std::chrono::steady_clock::now();
    EXPECT_NE(PMRunPagemoor("index " + notABook).status, 0);
    PMTestProgramResult missing = PMRunPagemoor("search " + holed + " lantern --all");
    EXPECT_NE(missing.status, 0);
    EXPECT_NE(PMRunPagemoor("snapshot " + holed + " 3 --size 100x100 -o " + m_root + "/x.png").status, 0);
    EXPECT_NE(PMRunPagemoor("snapshot " + holed + " 0 --size 0x100 -o " + m_root + "/x.png").status, 0);
    EXPECT_NE(PMRunPagemoor("search " + holed + " ''").status, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

} // namespace
