// The info and resource commands of the pagemoor program, run as a person
// would, on a book with a font under each obfuscation.
#include "PMTestEpub.h"
#include "app/tests/PMProgramRunner.h"
#include "e2e/PMSampleBook.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace {

PMProgramResult pagemoor(const PMBookSandbox& sandbox, const std::string& arguments)
{
    return PMRunPagemoor(arguments + " --cache-dir '" + sandbox.cacheDirectory() + "'");
}

class PMBookCommandTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_font = KCReadTestFile("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
        PMTestEpub epub;
        // The IDPF key leaves out the blanks of the unique identifier; the
        // Adobe key is the UUID among the other identifiers.
        epub.uniqueIdentifier = "\n  urn:isbn:978 0 306 40615 7\t";
        epub.otherIdentifiers = {"urn:uuid:00112233-4455-6677-8899-aabbccddeeff"};
        epub.files = {
            {"OEBPS/ch1.xhtml", "<html><body>One</body></html>", "application/xhtml+xml", "", "", true},
            {"OEBPS/fonts/a.ttf", PMObfuscateFont(m_font, PMFontObfuscation::Adobe, epub.otherIdentifiers[0]), "font/ttf", "", "http://ns.adobe.com/pdf/enc#RC", false},
            {"OEBPS/fonts/B.OTF", PMObfuscateFont(m_font, PMFontObfuscation::IDPF, epub.uniqueIdentifier), "font/otf", "", "http://www.idpf.org/2008/embedding", false},
        };
        ASSERT_TRUE(epub.write(m_sandbox.file("book.epub")));
        m_book = "'" + m_sandbox.file("book.epub") + "'";
    }

    PMBookSandbox m_sandbox;
    std::string m_font;
    std::string m_book;
};

TEST_F(PMBookCommandTest, ResourceServesDeobfuscatedBytes)
{
    PMProgramResult toFile = pagemoor(m_sandbox, "resource " + m_book + " /OEBPS/fonts/a.ttf -o '" + m_sandbox.file("a.ttf") + "' --json");
    ASSERT_EQ(toFile.status, 0) << toFile.err;
    auto answer = nlohmann::json::parse(toFile.out);
    EXPECT_EQ(answer["mimeType"], "font/ttf");
    EXPECT_EQ(answer["length"], m_font.size());
    EXPECT_TRUE(answer["error"].is_null());
    EXPECT_TRUE(KCReadTestFile(m_sandbox.file("a.ttf")) == m_font);
    EXPECT_NE(toFile.err.find("Going to xor"), std::string::npos);  // the log goes to standard error
    PMProgramResult idpf = pagemoor(m_sandbox, "resource " + m_book + " /OEBPS/fonts/B.OTF");
    EXPECT_EQ(idpf.status, 0) << idpf.err;
    EXPECT_TRUE(idpf.out == m_font);

    PMProgramResult toOutput = pagemoor(m_sandbox, "resource " + m_book + " OEBPS/ch1.xhtml");
    EXPECT_EQ(toOutput.status, 0);
    EXPECT_EQ(toOutput.out, "<html><body>One</body></html>");
}

TEST_F(PMBookCommandTest, ResourceErrors)
{
    PMProgramResult missing = pagemoor(m_sandbox, "resource " + m_book + " /OEBPS/none.css");
    EXPECT_NE(missing.status, 0);
    EXPECT_NE(missing.err.find("pagemoor: the book has no file at /OEBPS/none.css"), std::string::npos) << missing.err;

    // A directory is claimed but cannot be read: the page would get no data and the UI an error.
    PMProgramResult directory = pagemoor(m_sandbox, "resource " + m_book + " /OEBPS/fonts --json");
    EXPECT_NE(directory.status, 0);
    auto answer = nlohmann::json::parse(directory.out);
    EXPECT_EQ(answer["length"], 0);
    EXPECT_TRUE(answer["error"].is_string());

    PMProgramResult usage = pagemoor(m_sandbox, "resource " + m_book);
    EXPECT_NE(usage.status, 0);
    EXPECT_NE(usage.err.find("needs a book and a path"), std::string::npos);
}

TEST_F(PMBookCommandTest, InfoDescribesTheBook)
{
    PMProgramResult info = pagemoor(m_sandbox, "info " + m_book + " --json");
    ASSERT_EQ(info.status, 0) << info.err;
    auto json = nlohmann::json::parse(info.out);
    EXPECT_EQ(json["title"], "A Test Book");
    EXPECT_EQ(json["bookEpubIdWithUUIDScheme"], "urn:uuid:00112233-4455-6677-8899-aabbccddeeff");
    // The package and resources themselves are PMBookTests'; here that they reach the JSON.
    EXPECT_EQ(json["spine"][0]["path"], "OEBPS/ch1.xhtml");
    EXPECT_EQ(json["resources"]["/OEBPS/fonts/a.ttf"]["encryptionAlgorithm"], "http://ns.adobe.com/pdf/enc#RC");

    PMProgramResult text = pagemoor(m_sandbox, "info " + m_book);
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("Title:       A Test Book"), std::string::npos);

    std::ofstream(m_sandbox.file("broken.epub")) << "broken";
    PMProgramResult broken = pagemoor(m_sandbox, "info '" + m_sandbox.file("broken.epub") + "'");
    EXPECT_NE(broken.status, 0);
    EXPECT_NE(broken.err.find("is not a readable EPUB archive"), std::string::npos) << broken.err;
}

} // namespace
