// `pagemoor share` on a real book: what the desktop is offered, what a
// destination is handed, and real shares to the clipboard, e-mail and paper.
#include "PMProgramTest.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <filesystem>

namespace {

class ShareCommand : public PMProgramTest {
protected:
    void SetUp() override
    {
        PMProgramTest::SetUp();
        std::string add = "annotations --store '" + m_store + "' add --book '" + m_book + "' --location 'epubcfi(/6/6!/4/2/1:0)' ";
        PMProgramResult noted = PMRunPagemoor(add + "--style 1 --selected 'The three bears came home to their porridge.' --note 'Goldilocks ran away' --range-start 1");
        PMProgramResult plain = PMRunPagemoor(add + "--style 2 --selected 'Cinderella lost a glass slipper.' --range-start 2");
        ASSERT_EQ(noted.status, 0) << noted.err;
        ASSERT_EQ(plain.status, 0) << plain.err;
        m_noted = noted.out.substr(0, noted.out.find('\n'));
    }

    PMProgramResult share(const std::string& options, const std::string& environment = "")
    {
        return PMRunPagemoor("share '" + m_book + "' " + options, {.environment = environment});
    }

    std::string m_book = std::string(PM_SOURCE_DIR) + "/app/e2e/books/childrens-literature.epub";
    std::string m_store = m_scratch.file("Annotations.sqlite");
    std::string m_noted;
};

TEST_F(ShareCommand, ListsWhatEachShareOffersAndShowsWhatADestinationGets)
{
    PMProgramResult book = share("--list --json");
    ASSERT_EQ(book.status, 0) << book.err;
    PMProgramResult storeBook = share("--store-id 42 --list --json");
    ASSERT_EQ(storeBook.status, 0) << storeBook.err;
    EXPECT_LT(nlohmann::json::parse(book.out).size(), nlohmann::json::parse(storeBook.out).size()) << book.out << storeBook.out;

    PMProgramResult one = share("--store '" + m_store + "' --uuid " + m_noted + " --list");
    ASSERT_EQ(one.status, 0) << one.err;
    EXPECT_NE(one.out.find("KCActivityTypeCopyToPasteboard\t"), std::string::npos) << one.out;
    // A store book's one-annotation share adds Facebook and ends its post with the store link.
    PMProgramResult oneInStore = share("--store-id 42 --store '" + m_store + "' --uuid " + m_noted + " --list");
    ASSERT_EQ(oneInStore.status, 0) << oneInStore.err;
    EXPECT_EQ(oneInStore.out, "com.orchid.share.Facebook.post\tFacebook\n" + one.out);
    PMProgramResult tweet = share("--store-id 42 --store '" + m_store + "' --uuid " + m_noted + " --to twitter --dry-run");
    ASSERT_EQ(tweet.status, 0) << tweet.err;
    std::string post = nlohmann::json::parse(tweet.out)["items"][0]["value"];
    EXPECT_TRUE(post.starts_with("“The three bears came home to their porridge.” https://")) << post;
    EXPECT_TRUE(post.ends_with("42")) << post;

    PMProgramResult copied = share("--store '" + m_store + "' --uuid " + m_noted + " --to copy --dry-run");
    ASSERT_EQ(copied.status, 0) << copied.err;
    auto shown = nlohmann::json::parse(copied.out);
    EXPECT_EQ(shown["type"], "KCActivityTypeCopyToPasteboard");
    std::string values = shown["items"].dump();
    EXPECT_NE(values.find("The three bears came home to their porridge."), std::string::npos) << copied.out;

    PMProgramResult mailed = share("--store-id 42 --to mail --dry-run");
    ASSERT_EQ(mailed.status, 0) << mailed.err;
    EXPECT_EQ(nlohmann::json::parse(mailed.out)["type"], "com.orchid.share.Mail.compose") << mailed.out;

    EXPECT_NE(share("--to messages").status, 0);
    EXPECT_NE(share("--store '" + m_store + "' --list").status, 0);
}

TEST_F(ShareCommand, AnotherProgramReadsTheCopiedShareAfterTheCommandHasEnded)
{
    ASSERT_EQ(std::system("command -v xclip >/dev/null"), 0) << "xclip is missing; scripts/setup installs it";
    PMProgramResult copied = share("--store '" + m_store + "' --all --to copy");
    ASSERT_EQ(copied.status, 0) << copied.err;
    auto paste = [](const std::string& target) {
        PMProgramResult read;
        KCScratchDirectory scratch;
        int status = std::system(("timeout 10 xclip -selection clipboard -o -t '" + target + "' >'" + scratch.file("out") + "' 2>/dev/null").c_str());
        read.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        read.out = KCReadTestFile(scratch.file("out"));
        return read;
    };
    for (const char* target : {"text/plain;charset=utf-8", "text/html", "text/rtf"}) {
        PMProgramResult pasted = paste(target);
        EXPECT_EQ(pasted.status, 0) << target;
        EXPECT_NE(pasted.out.find("Goldilocks ran away"), std::string::npos) << target << "\n" << pasted.out;
    }
    // Another program takes the clipboard: the background copy gives it up and ends.
    ASSERT_EQ(std::system("printf taken | timeout 10 xclip -selection clipboard -i"), 0);
    EXPECT_EQ(paste("UTF8_STRING").out, "taken");
}

TEST_F(ShareCommand, MailGoesToTheDesktopsMailProgramAndPrintingToAPDF)
{
    std::string bin = m_scratch.file("bin");
    std::filesystem::create_directories(bin);
    std::string record = m_scratch.file("mail-arguments");
    KCWriteTestFile(bin + "/xdg-email", "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done > '" + record + "'\n");
    std::filesystem::permissions(bin + "/xdg-email", std::filesystem::perms::owner_all);
    PMProgramResult mailed = share("--store-id 42 --to mail", "PATH=" + bin + ":$PATH GTK_USE_PORTAL=0 DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent");
    ASSERT_EQ(mailed.status, 0) << mailed.err;
    std::string arguments = KCReadTestFile(record);
    EXPECT_NE(arguments.find("--subject\n"), std::string::npos) << arguments;
    EXPECT_NE(arguments.find("Children's Literature"), std::string::npos) << arguments;
    EXPECT_NE(arguments.find("--attach\n"), std::string::npos) << arguments;

    ASSERT_EQ(std::system("command -v pdftotext >/dev/null"), 0) << "pdftotext is missing; scripts/setup installs it";
    std::string pdf = m_scratch.file("notes.pdf");
    PMProgramResult printed = share("--store '" + m_store + "' --all --to print --print-to '" + pdf + "'");
    ASSERT_EQ(printed.status, 0) << printed.err;
    ASSERT_EQ(std::system(("pdftotext '" + pdf + "' '" + pdf + ".txt'").c_str()), 0);
    std::string text = KCReadTestFile(pdf + ".txt");
    EXPECT_NE(text.find("Goldilocks ran away"), std::string::npos) << text;
    EXPECT_EQ(text.find("porridge"), std::string::npos) << text;
}

} // namespace
