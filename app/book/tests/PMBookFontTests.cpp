// Real fonts, obfuscated inside a generated EPUB, served back through the
// book resource protocol as a page would request them.
#include "resources/PMURLProtocol.h"

#include "PMTestEpub.h"
#include "testing/PMRecordingMessageConnection.h"
#include "testing/PMRecordingURLProtocolClient.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include <gtest/gtest.h>

namespace {

const char* const kIDPF = "http://www.idpf.org/2008/embedding";
const char* const kAdobe = "http://ns.adobe.com/pdf/enc#RC";
const std::string kFontDirectory = "/usr/share/fonts/truetype/dejavu/";

// The family name FreeType reads from the bytes, or empty when they are no font.
std::string fontFamily(const std::string& bytes)
{
    FT_Library library;
    if (FT_Init_FreeType(&library) != 0)
        return {};
    FT_Face face;
    std::string family;
    if (FT_New_Memory_Face(library, reinterpret_cast<const FT_Byte*>(bytes.data()), static_cast<FT_Long>(bytes.size()), 0, &face) == 0) {
        if (face->family_name && FT_Load_Char(face, 'g', FT_LOAD_RENDER) == 0)
            family = face->family_name;
        FT_Done_Face(face);
    }
    FT_Done_FreeType(library);
    return family;
}

class PMBookFontTest : public testing::Test {
protected:
    void TearDown() override
    {
        PMURLProtocol::unregisterPMURLProtocol();
        PMURLProtocol::setBookContentsPath(std::nullopt);
        PMURLProtocol::setBookResourceData(std::nullopt);
        PMURLProtocol::setConnection(nullptr);
    }

    // Opens the book and configures the protocol as the plug-in's start-up does.
    std::optional<PMBook> openAndConfigure(const PMTestEpub& epub, const std::string& name = "fonts.epub")
    {
        if (!epub.write(m_sandbox.file(name)))
            return std::nullopt;
        KCError error;
        auto book = m_sandbox.open(name, &error);
        EXPECT_TRUE(book) << error.message;
        if (book) {
            PMURLProtocol::registerPMURLProtocol();
            PMURLProtocol::setConnection(m_connection);
            PMURLProtocol::setBookContentsPath(book->contentsPath());
            PMURLProtocol::setBookResourceData(book->resourceInformation());
        }
        return book;
    }

    std::string serve(const PMBook& book, const std::string& relativePath)
    {
        auto client = std::make_shared<PMRecordingURLProtocolClient>();
        auto protocol = PMURLProtocolRegistry::shared().startLoading(PMURLRequest(KCURL::fileURLWithPath(book.contentsPath() + relativePath)), client);
        EXPECT_TRUE(protocol) << relativePath << " was not claimed";
        auto data = client->loadedData();
        return data ? std::string(data->begin(), data->end()) : std::string();
    }

    PMBookSandbox m_sandbox;
    std::shared_ptr<PMRecordingMessageConnection> m_connection = std::make_shared<PMRecordingMessageConnection>();
};

TEST_F(PMBookFontTest, EachSchemeServesTheOriginalFont)
{
    const std::string sans = KCReadTestFile(kFontDirectory + "DejaVuSans.ttf");
    const std::string serif = KCReadTestFile(kFontDirectory + "DejaVuSerif.ttf");
    const std::string mono = KCReadTestFile(kFontDirectory + "DejaVuSansMono.ttf");
    ASSERT_EQ(fontFamily(sans), "DejaVu Sans");

    PMTestEpub epub;
    // The unique identifier carries blanks that the obfuscation key leaves out.
    epub.uniqueIdentifier = "\n  urn:isbn:978 0 306 40615 7\t";
    const std::string uuid = "urn:uuid:9f1c2a3b-4d5e-6f70-8192-a3b4c5d6e7f8";
    epub.otherIdentifiers = {uuid};
    const std::string idpfFont = PMTestObfuscateIDPF(sans, "urn:isbn:9780306406157");
    const std::string adobeFont = PMTestObfuscateAdobe(serif, uuid);
    ASSERT_EQ(fontFamily(idpfFont), "");
    ASSERT_EQ(fontFamily(adobeFont), "");
    epub.files = {
        {"OEBPS/fonts/sans.ttf", idpfFont, "font/ttf", "", kIDPF, false},
        {"OEBPS/fonts/serif.ttf", adobeFont, "font/ttf", "", kAdobe, false},
        {"OEBPS/fonts/MONO.OTF", PMTestObfuscateIDPF(mono, "urn:isbn:9780306406157"), "font/otf", "", kIDPF, false},
        {"OEBPS/fonts/plain.ttf", mono, "font/ttf", "", "", false},
    };
    auto book = openAndConfigure(epub);
    ASSERT_TRUE(book);

    std::string servedSans = serve(*book, "/OEBPS/fonts/sans.ttf");
    EXPECT_TRUE(servedSans == sans);
    EXPECT_EQ(fontFamily(servedSans), "DejaVu Sans");
    std::string servedSerif = serve(*book, "/OEBPS/fonts/serif.ttf");
    EXPECT_TRUE(servedSerif == serif);
    EXPECT_EQ(fontFamily(servedSerif), "DejaVu Serif");
    EXPECT_EQ(fontFamily(serve(*book, "/OEBPS/fonts/plain.ttf")), "DejaVu Sans Mono");

    // An upper-case extension is de-obfuscated too.
    EXPECT_TRUE(serve(*book, "/OEBPS/fonts/MONO.OTF") == mono);
    EXPECT_TRUE(m_connection->sentMessages().empty());
}

} // namespace
