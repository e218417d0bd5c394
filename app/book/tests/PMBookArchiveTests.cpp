// Hostile and broken archives: each gives a clear error, and nothing is
// written outside the cache directory (nor left inside it).
#include "book/PMBook.h"
#include "book/PMBookError.h"

#include "PMTestEpub.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

struct Outcome {
    bool opened = false;
    KCError error;
};

Outcome open(const PMBookSandbox& sandbox, const std::string& name, PMUnpackLimits limits = {})
{
    PMBookOpenOptions options;
    options.cacheDirectory = sandbox.cacheDirectory();
    options.limits = limits;
    Outcome outcome;
    outcome.opened = PMBook::open(sandbox.path(name), options, &outcome.error).has_value();
    return outcome;
}

// After a refused unpack the sandbox holds the archive and an empty cache.
void expectNothingWritten(const PMBookSandbox& sandbox, const std::string& name)
{
    std::vector<std::string> expected {"cache", name};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(sandbox.contents(), expected);
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// Rewrites the uncompressed size that the central directory declares for
// the entries whose names start with `prefix`.
void declareUncompressedSize(const std::string& path, const std::string& prefix, uint32_t size)
{
    std::string bytes = PMTestReadFile(path);
    for (size_t at = bytes.find("PK\x01\x02"); at != std::string::npos; at = bytes.find("PK\x01\x02", at + 4)) {
        uint16_t nameLength;
        std::memcpy(&nameLength, &bytes[at + 28], 2);
        if (bytes.compare(at + 46, prefix.size(), prefix) == 0 && nameLength >= prefix.size())
            std::memcpy(&bytes[at + 24], &size, 4);
    }
    writeFile(path, bytes);
}

TEST(PMBookArchive, EntryNamesThatLeaveTheBookAreRefused)
{
    const char* hostile[] = {"../evil.txt", "OEBPS/../../evil.txt", "/tmp/pm-absolute-evil.txt", "..\\evil.txt", "C:/evil.txt", "OEBPS/./a.css"};
    for (const char* name : hostile) {
        PMBookSandbox sandbox;
        PMTestEpub epub;
        epub.rawEntries = {{name, "evil"}};
        ASSERT_TRUE(epub.write(sandbox.path("book.epub")));
        Outcome outcome = open(sandbox, "book.epub");
        EXPECT_FALSE(outcome.opened) << name;
        EXPECT_EQ(outcome.error.code, int64_t(PMBookErrorCode::UnsafeArchive)) << name;
        EXPECT_NE(outcome.error.message.find(name), std::string::npos) << outcome.error.message;
        expectNothingWritten(sandbox, "book.epub");
        EXPECT_FALSE(fs::exists("/tmp/pm-absolute-evil.txt"));
    }
}

TEST(PMBookArchive, LinksAndDuplicatesAreRefused)
{
    PMBookSandbox sandbox;
    PMTestEpub epub;
    epub.rawEntries = {{"OEBPS/link", "/etc/passwd", true}};
    ASSERT_TRUE(epub.write(sandbox.path("link.epub")));
    Outcome outcome = open(sandbox, "link.epub");
    EXPECT_EQ(outcome.error.code, int64_t(PMBookErrorCode::UnsafeArchive));
    EXPECT_NE(outcome.error.message.find("symbolic link"), std::string::npos);

    // A file where a directory must go cannot be written through.
    epub.rawEntries = {{"OEBPS", "a file"}, {"OEBPS/x.css", "p{}"}};
    ASSERT_TRUE(epub.write(sandbox.path("clash.epub")));
    EXPECT_FALSE(open(sandbox, "clash.epub").opened);
    EXPECT_EQ(sandbox.contents(), (std::vector<std::string> {"cache", "clash.epub", "link.epub"}));
}

TEST(PMBookArchive, SizeAndCountLimitsHoldWhateverTheArchiveDeclares)
{
    PMBookSandbox sandbox;
    PMTestEpub epub;
    epub.rawEntries = {{"a.bin", "aaaa"}, {"b.bin", "bbbb"}, {"c.bin", "cccc"}};
    ASSERT_TRUE(epub.write(sandbox.path("declared.epub")));
    declareUncompressedSize(sandbox.path("declared.epub"), "", 0xF0000000u);  // 3.75 GB each, over 20 GB in all
    Outcome declared = open(sandbox, "declared.epub");
    EXPECT_FALSE(declared.opened);
    EXPECT_EQ(declared.error.code, int64_t(PMBookErrorCode::ArchiveTooLarge)) << declared.error.message;
    expectNothingWritten(sandbox, "declared.epub");
    fs::remove(sandbox.path("declared.epub"));

    // Three megabytes of zeros compress to almost nothing; the cap counts what is written.
    epub.rawEntries = {{"zeros.bin", std::string(3 << 20, '\0')}};
    ASSERT_TRUE(epub.write(sandbox.path("bomb.epub")));
    PMUnpackLimits small;
    small.maxTotalBytes = 1 << 20;
    Outcome bomb = open(sandbox, "bomb.epub", small);
    EXPECT_EQ(bomb.error.code, int64_t(PMBookErrorCode::ArchiveTooLarge)) << bomb.error.message;
    // Declaring a small size does not get it through.
    declareUncompressedSize(sandbox.path("bomb.epub"), "zeros.bin", 100);
    Outcome lying = open(sandbox, "bomb.epub", small);
    EXPECT_EQ(lying.error.code, int64_t(PMBookErrorCode::ArchiveTooLarge)) << lying.error.message;
    EXPECT_NE(lying.error.message.find("unpacks to more than the limit of 1048576 bytes"), std::string::npos);
    expectNothingWritten(sandbox, "bomb.epub");
    fs::remove(sandbox.path("bomb.epub"));

    epub.rawEntries.clear();
    for (int i = 0; i < 10; ++i)
        epub.rawEntries.push_back({"f" + std::to_string(i), "x"});
    ASSERT_TRUE(epub.write(sandbox.path("many.epub")));
    PMUnpackLimits few;
    few.maxEntries = 8;
    EXPECT_EQ(open(sandbox, "many.epub", few).error.code, int64_t(PMBookErrorCode::ArchiveTooLarge));
    expectNothingWritten(sandbox, "many.epub");
}

TEST(PMBookArchive, BrokenArchivesAndMissingFiles)
{
    PMBookSandbox sandbox;
    ASSERT_TRUE(PMTestEpub().write(sandbox.path("good.epub")));
    std::string bytes = PMTestReadFile(sandbox.path("good.epub"));
    size_t directory = bytes.find("PK\x01\x02");
    ASSERT_NE(directory, std::string::npos);
    std::string corrupt = bytes;
    for (size_t i = directory; i < corrupt.size(); i += 7)
        corrupt[i] = static_cast<char>(corrupt[i] ^ 0x5A);
    writeFile(sandbox.path("corrupt.epub"), corrupt);
    writeFile(sandbox.path("text.epub"), "this is not a zip archive at all");
    writeFile(sandbox.path("truncated.epub"), bytes.substr(0, bytes.size() / 2));
    for (const char* name : {"corrupt.epub", "text.epub", "truncated.epub"}) {
        Outcome outcome = open(sandbox, name);
        EXPECT_FALSE(outcome.opened) << name;
        EXPECT_EQ(outcome.error.code, int64_t(PMBookErrorCode::BrokenArchive)) << name << ": " << outcome.error.message;
    }
    EXPECT_EQ(open(sandbox, "absent.epub").error.code, int64_t(PMBookErrorCode::FileUnreadable));
    EXPECT_EQ(open(sandbox, "cache").error.code, int64_t(PMBookErrorCode::FileUnreadable));
    fs::remove(sandbox.path("corrupt.epub"));
    fs::remove(sandbox.path("text.epub"));
    fs::remove(sandbox.path("truncated.epub"));
    expectNothingWritten(sandbox, "good.epub");

    PMTestEpub noContainer;
    noContainer.writeContainer = false;
    ASSERT_TRUE(noContainer.write(sandbox.path("nocontainer.epub")));
    Outcome missing = open(sandbox, "nocontainer.epub");
    EXPECT_EQ(missing.error.code, int64_t(PMBookErrorCode::MissingFile));
    EXPECT_NE(missing.error.message.find("META-INF/container.xml"), std::string::npos);

    PMTestEpub badPackage;
    badPackage.packageOverride = "<package><unclosed></package>";
    ASSERT_TRUE(badPackage.write(sandbox.path("badpackage.epub")));
    EXPECT_EQ(open(sandbox, "badpackage.epub").error.code, int64_t(PMBookErrorCode::MalformedXML));
}

} // namespace
