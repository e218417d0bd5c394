// Readers sniff the first entry of the container and take links from its
// attributes, so the layout is read back with libzip here.
#include "epubwriter/PMEpubWriter.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
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

TEST(PMEpubWriter, WritesTheMimetypeFirstAndUncompressedThenTheEntriesInOrder)
{
    KCScratchDirectory scratch;
    std::string path = scratch.file("layout.epub");
    {
        PMEpubWriter writer(path);
        writer.addContainer("OPS/book.opf");
        writer.add("OPS/book.opf", "<package/>");
        writer.addSymbolicLink("OPS/link", "/etc/passwd");
        KCError error;
        ASSERT_TRUE(writer.close(&error)) << error.message;
    }
    int code = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, &code);
    ASSERT_NE(archive, nullptr);
    ASSERT_EQ(zip_get_num_entries(archive, 0), 4);
    zip_stat_t stat;
    ASSERT_EQ(zip_stat_index(archive, 0, 0, &stat), 0);
    EXPECT_STREQ(stat.name, "mimetype");
    EXPECT_EQ(stat.comp_method, ZIP_CM_STORE);
    EXPECT_EQ(entryText(archive, 0), "application/epub+zip");
    EXPECT_STREQ(zip_get_name(archive, 1, 0), "META-INF/container.xml");
    EXPECT_NE(entryText(archive, 1).find("full-path=\"OPS/book.opf\""), std::string::npos);
    EXPECT_EQ(entryText(archive, 2), "<package/>");

    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    ASSERT_EQ(zip_file_get_external_attributes(archive, 3, 0, &system, &attributes), 0);
    EXPECT_EQ(system, ZIP_OPSYS_UNIX);
    EXPECT_TRUE(S_ISLNK(attributes >> 16));
    EXPECT_EQ(entryText(archive, 3), "/etc/passwd");
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
