// Readers sniff the first entry of the container, so the layout is read back
// with libzip here.
#include "epubwriter/PMEpubWriter.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <string>
#include <unistd.h>

namespace {

std::string entryText(zip_t* archive, zip_uint64_t index)
{
    zip_stat_t stat;
    zip_stat_index(archive, index, 0, &stat);
    std::string text(stat.size, '\0');
    zip_file_t* file = zip_fopen_index(archive, index, 0);
    zip_fread(file, text.data(), text.size());
    zip_fclose(file);
    return text;
}

// The container, the package and links are read back by the book tests; here
// what only other readers look at.
TEST(PMEpubWriter, WritesTheMimetypeFirstAndUncompressedThenTheEntriesInOrder)
{
    KCScratchDirectory scratch;
    std::string path = scratch.file("layout.epub");
    {
        PMEpubWriter writer(path);
        writer.add("b", "");
        writer.add("a", "");
        KCError error;
        ASSERT_TRUE(writer.close(&error)) << error.message;
    }
    int code = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, &code);
    ASSERT_NE(archive, nullptr);
    ASSERT_EQ(zip_get_num_entries(archive, 0), 3);
    zip_stat_t stat;
    ASSERT_EQ(zip_stat_index(archive, 0, 0, &stat), 0);
    EXPECT_STREQ(stat.name, "mimetype");
    EXPECT_EQ(stat.comp_method, ZIP_CM_STORE);
    EXPECT_EQ(entryText(archive, 0), "application/epub+zip");
    EXPECT_STREQ(zip_get_name(archive, 1, 0), "b");
    EXPECT_STREQ(zip_get_name(archive, 2, 0), "a");
    zip_discard(archive);
}

TEST(PMEpubWriter, ReportsTheFirstFailureAndLeavesNoFile)
{
    KCScratchDirectory scratch;
    PMEpubWriter unplaceable(scratch.file("missing-directory/book.epub"));
    unplaceable.add("a", "a");
    KCError error;
    EXPECT_FALSE(unplaceable.close(&error));
    EXPECT_EQ(error.domain, PMEpubWriterErrorDomain);
    EXPECT_NE(error.message.find("missing-directory/book.epub"), std::string::npos);

    // A second entry of the same name fails; the file is discarded.
    std::string path = scratch.file("twice.epub");
    PMEpubWriter twice(path);
    twice.add("a", "a");
    twice.add("a", "b");
    twice.add("c", "c");
    EXPECT_FALSE(twice.close(&error));
    EXPECT_NE(error.message.find("cannot add a"), std::string::npos);
    EXPECT_FALSE(twice.close(nullptr));
    EXPECT_NE(::access(path.c_str(), F_OK), 0);
}

} // namespace
