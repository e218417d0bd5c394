// Hostile and broken archives: each gives a clear error, and nothing is
// written outside the cache directory (nor left inside it).
#include "book/PMBookError.h"

#include "PMTestEpub.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

namespace fs = std::filesystem;

// Opening must fail; the error says why.
KCError refused(const PMBookSandbox& sandbox, const std::string& name, PMUnpackLimits limits = {})
{
    KCError error;
    EXPECT_FALSE(sandbox.open(name, &error, limits)) << name;
    return error;
}

// After a refused unpack the sandbox holds the archive and an empty cache.
void expectNothingWritten(const PMBookSandbox& sandbox, const std::string& name)
{
    std::vector<std::string> expected {"cache", name};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(sandbox.contents(), expected);
}

// Rewrites the uncompressed size that the central directory declares for
// the entries whose names start with `prefix`.
void declareUncompressedSize(const std::string& path, const std::string& prefix, uint32_t size)
{
    std::string bytes = KCReadTestFile(path);
    for (size_t at = bytes.find("PK\x01\x02"); at != std::string::npos; at = bytes.find("PK\x01\x02", at + 4)) {
        uint16_t nameLength;
        std::memcpy(&nameLength, &bytes[at + 28], 2);
        if (bytes.compare(at + 46, prefix.size(), prefix) == 0 && nameLength >= prefix.size())
            std::memcpy(&bytes[at + 24], &size, 4);
    }
    KCWriteTestFile(path, bytes);
}

TEST(PMBookArchive, EntryNamesThatLeaveTheBookAreRefused)
{
    const char* hostile[] = {"../evil.txt", "OEBPS/../../evil.txt", "/tmp/pm-absolute-evil.txt", "..\\evil.txt", "C:/evil.txt", "OEBPS/./a.css"};
    for (const char* name : hostile) {
        PMBookSandbox sandbox;
        PMTestEpub epub;
        epub.rawEntries = {{name, "evil"}};
        ASSERT_TRUE(epub.write(sandbox.file("book.epub")));
        KCError error = refused(sandbox, "book.epub");
        EXPECT_EQ(error.code, int64_t(PMBookErrorCode::UnsafeArchive)) << name;
        EXPECT_NE(error.message.find(name), std::string::npos) << error.message;
        expectNothingWritten(sandbox, "book.epub");
        EXPECT_FALSE(fs::exists("/tmp/pm-absolute-evil.txt"));
    }
}

TEST(PMBookArchive, LinksAndDuplicatesAreRefused)
{
    PMBookSandbox sandbox;
    PMTestEpub epub;
    epub.rawEntries = {{"OEBPS/link", "/etc/passwd", true}};
    ASSERT_TRUE(epub.write(sandbox.file("link.epub")));
    KCError link = refused(sandbox, "link.epub");
    EXPECT_EQ(link.code, int64_t(PMBookErrorCode::UnsafeArchive));
    EXPECT_NE(link.message.find("symbolic link"), std::string::npos);

    // A file where a directory must go cannot be written through.
    epub.rawEntries = {{"OEBPS", "a file"}, {"OEBPS/x.css", "p{}"}};
    ASSERT_TRUE(epub.write(sandbox.file("clash.epub")));
    refused(sandbox, "clash.epub");
    EXPECT_EQ(sandbox.contents(), (std::vector<std::string> {"cache", "clash.epub", "link.epub"}));
}

TEST(PMBookArchive, SizeAndCountLimitsHoldWhateverTheArchiveDeclares)
{
    PMBookSandbox sandbox;
    PMTestEpub epub;
    epub.rawEntries = {{"a.bin", "aaaa"}, {"b.bin", "bbbb"}, {"c.bin", "cccc"}};
    ASSERT_TRUE(epub.write(sandbox.file("declared.epub")));
    declareUncompressedSize(sandbox.file("declared.epub"), "", 0xF0000000u);  // 3.75 GB each, over 20 GB in all
    KCError declared = refused(sandbox, "declared.epub");
    EXPECT_EQ(declared.code, int64_t(PMBookErrorCode::ArchiveTooLarge)) << declared.message;
    expectNothingWritten(sandbox, "declared.epub");
    fs::remove(sandbox.file("declared.epub"));

    // Three megabytes of zeros compress to almost nothing; the cap counts what is written.
    epub.rawEntries = {{"zeros.bin", std::string(3 << 20, '\0')}};
    ASSERT_TRUE(epub.write(sandbox.file("bomb.epub")));
    PMUnpackLimits small;
    small.maxTotalBytes = 1 << 20;
    KCError bomb = refused(sandbox, "bomb.epub", small);
    EXPECT_EQ(bomb.code, int64_t(PMBookErrorCode::ArchiveTooLarge)) << bomb.message;
    // Declaring a small size does not get it through.
    declareUncompressedSize(sandbox.file("bomb.epub"), "zeros.bin", 100);
    KCError lying = refused(sandbox, "bomb.epub", small);
    EXPECT_EQ(lying.code, int64_t(PMBookErrorCode::ArchiveTooLarge)) << lying.message;
    EXPECT_NE(lying.message.find("unpacks to more than the limit of 1048576 bytes"), std::string::npos);
    expectNothingWritten(sandbox, "bomb.epub");
    fs::remove(sandbox.file("bomb.epub"));

    epub.rawEntries.clear();
    for (int i = 0; i < 10; ++i)
        epub.rawEntries.push_back({"f" + std::to_string(i), "x"});
    ASSERT_TRUE(epub.write(sandbox.file("many.epub")));
    PMUnpackLimits few;
    few.maxEntries = 8;
    EXPECT_EQ(refused(sandbox, "many.epub", few).code, int64_t(PMBookErrorCode::ArchiveTooLarge));
    expectNothingWritten(sandbox, "many.epub");
}

TEST(PMBookArchive, BrokenArchivesAndMissingFiles)
{
    PMBookSandbox sandbox;
    ASSERT_TRUE(PMTestEpub().write(sandbox.file("good.epub")));
    std::string bytes = KCReadTestFile(sandbox.file("good.epub"));
    size_t directory = bytes.find("PK\x01\x02");
    ASSERT_NE(directory, std::string::npos);
    std::string corrupt = bytes;
    for (size_t i = directory; i < corrupt.size(); i += 7)
        corrupt[i] = static_cast<char>(corrupt[i] ^ 0x5A);
    const std::pair<const char*, std::string> broken[] = {
        {"corrupt.epub", corrupt}, {"text.epub", "this is not a zip archive at all"}, {"truncated.epub", bytes.substr(0, bytes.size() / 2)}};
    for (const auto& [name, contents] : broken) {
        KCWriteTestFile(sandbox.file(name), contents);
        KCError error = refused(sandbox, name);
        EXPECT_EQ(error.code, int64_t(PMBookErrorCode::BrokenArchive)) << name << ": " << error.message;
        fs::remove(sandbox.file(name));
    }
    EXPECT_EQ(refused(sandbox, "absent.epub").code, int64_t(PMBookErrorCode::FileUnreadable));
    EXPECT_EQ(refused(sandbox, "cache").code, int64_t(PMBookErrorCode::FileUnreadable));
    expectNothingWritten(sandbox, "good.epub");

    PMTestEpub noContainer;
    noContainer.writeContainer = false;
    ASSERT_TRUE(noContainer.write(sandbox.file("nocontainer.epub")));
    KCError missing = refused(sandbox, "nocontainer.epub");
    EXPECT_EQ(missing.code, int64_t(PMBookErrorCode::MissingFile));
    EXPECT_NE(missing.message.find("META-INF/container.xml"), std::string::npos);

    PMTestEpub badPackage;
    badPackage.packageOverride = "<package><unclosed></package>";
    ASSERT_TRUE(badPackage.write(sandbox.file("badpackage.epub")));
    EXPECT_EQ(refused(sandbox, "badpackage.epub").code, int64_t(PMBookErrorCode::MalformedXML));
}

} // namespace
