#include "PMSampleBook.h"

#include "epubwriter/PMEpubWriter.h"

#include <openssl/sha.h>

#include <cctype>
#include <fstream>
#include <iterator>
#include <random>

namespace {

const char* const kStyleSheet = R"CSS(@font-face { font-family: "Sample Serif"; src: url("../fonts/sample-serif.ttf"); }
body { font-family: "Sample Serif", sans-serif; margin: 2em; line-height: 1.5; color: #2b2118; background: #fbf7ee; }
h1 { font-size: 1.6em; color: #5a3d1e; }
p { text-indent: 1.2em; margin: 0.4em 0; }
rt { font-size: 0.5em; }
)CSS";

std::string readFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string chapterDocument(const PMSampleChapter& chapter)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<html xmlns=\"http://www.w3.org/1999/xhtml\" xmlns:epub=\"http://www.idpf.org/2007/ops\">\n"
           "<head><title>" + chapter.title + "</title><link rel=\"stylesheet\" type=\"text/css\" href=\"../styles/book.css\"/>"
           + chapter.headXHTML + "</head>\n<body>" + chapter.bodyXHTML + "</body>\n</html>\n";
}

std::string chapterName(size_t index)
{
    return "chapter" + std::to_string(index + 1) + ".xhtml";
}

std::string packageDocument(const PMSampleBookOptions& options)
{
    std::string manifest, spine;
    size_t count = options.chapters.size() + options.missingChapters.size();
    for (size_t index = 0; index < count; ++index) {
        std::string name = index < options.chapters.size() ? chapterName(index) : options.missingChapters[index - options.chapters.size()];
        manifest += "<item id=\"c" + std::to_string(index) + "\" href=\"text/" + name + "\" media-type=\"application/xhtml+xml\"/>\n";
        spine += "<itemref idref=\"c" + std::to_string(index) + "\"/>\n";
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<package xmlns=\"http://www.idpf.org/2007/opf\" version=\"3.0\" unique-identifier=\"bookid\">\n"
           "<metadata xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n"
           "<dc:identifier id=\"bookid\">" + options.identifier + "</dc:identifier>\n"
           "<dc:title>" + options.title + "</dc:title>\n<dc:creator>" + options.creator + "</dc:creator>\n"
           "<dc:language>en</dc:language>\n</metadata>\n<manifest>\n"
           "<item id=\"css\" href=\"styles/book.css\" media-type=\"text/css\"/>\n"
           "<item id=\"font\" href=\"fonts/sample-serif.ttf\" media-type=\"font/ttf\"/>\n"
           + manifest + "</manifest>\n<spine>\n" + spine + "</spine>\n</package>\n";
}

std::string encryptionDocument(PMFontObfuscation obfuscation)
{
    const char* algorithm = obfuscation == PMFontObfuscation::IDPF ? "http://www.idpf.org/2008/embedding" : "http://ns.adobe.com/pdf/enc#RC";
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<encryption xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\" xmlns:enc=\"http://www.w3.org/2001/04/xmlenc#\">\n"
                       "<enc:EncryptedData><enc:EncryptionMethod Algorithm=\"") + algorithm + "\"/>\n"
           "<enc:CipherData><enc:CipherReference URI=\"OEBPS/fonts/sample-serif.ttf\"/></enc:CipherData></enc:EncryptedData>\n</encryption>\n";
}

} // namespace

std::string PMObfuscateFont(std::string font, PMFontObfuscation obfuscation, const std::string& identifier)
{
    std::string key;
    size_t length = 0;
    if (obfuscation == PMFontObfuscation::IDPF) {
        std::string cleaned;
        for (char c : identifier) {
            if (c != ' ' && c != '\t' && c != '\r' && c != '\n')
                cleaned += c;
        }
        unsigned char digest[SHA_DIGEST_LENGTH];
        SHA1(reinterpret_cast<const unsigned char*>(cleaned.data()), cleaned.size(), digest);
        key.assign(reinterpret_cast<const char*>(digest), SHA_DIGEST_LENGTH);
        length = 1040;
    } else if (obfuscation == PMFontObfuscation::Adobe) {
        // The UUID's 16 bytes, then zeros up to the length of the UUID's text.
        std::string uuidText = identifier.substr(identifier.rfind(':') + 1);
        std::string hex;
        for (char c : uuidText) {
            if (std::isxdigit(static_cast<unsigned char>(c)))
                hex += c;
        }
        for (size_t i = 0; i + 1 < hex.size() && key.size() < 16; i += 2)
            key += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        key.resize(uuidText.size(), '\0');
        length = 1024;
    }
    for (size_t i = 0; !key.empty() && i < length && i < font.size(); ++i)
        font[i] = static_cast<char>(font[i] ^ key[i % key.size()]);
    return font;
}

std::vector<PMSampleChapter> PMSampleBookChapters()
{
    return {
        {"The Gate", "<h1>I. The Gate</h1>"
            "<p>Wren Alder kept the lantern at the gate of Harrow Moor, where the heather runs down to the black water. "
            "Every evening she lit the wick before the fog came in. Every morning she trimmed it again, because a lantern "
            "that smokes is a lantern that lies.</p>"
            "<p>The travellers who crossed the moor were few: a pedlar with a cart of tin cups, a schoolmaster on a grey "
            "pony, and once a woman from the coast who paid in dried fish. None of them stayed. The moor does not keep "
            "people; it keeps stones, and rain, and the lantern.</p>"},
        {"The Café at Ashby", "<h1>II. The Café at Ashby</h1>"
            "<p>In the market town of Ashby there was a café with three tables and a piano nobody could tune. "
            "Its owner, Zoë Marchetti, served coffee so strong that the naïve visitor asked for water after the first sip. "
            "Wren came down from the moor once a month to buy oil and matches, and she always sat at the table by the window.</p>"
            "<p>A traveller from the east had left a card on that table, printed in full-width letters: "
            "ＨＡＲＲＯＷ　ＭＯＯＲ　ＬＡＮＴＥＲＮ. Beneath it, in a careful hand, was a word with its reading above it: "
            "<ruby>灯台<rt>とうだい</rt></ruby>, the lighthouse. Zoë said the lantern was the moor's own lighthouse, and Wren "
            "did not disagree.</p>"},
        {"The Long Fog", "<h1>III. The Long Fog</h1>"
            "<p>The fog of that winter lasted nine days. Wren kept the lantern burning through all of them, and on the "
            "ninth night she heard the pony of the schoolmaster on the stones. He had lost the road. He had found the light.</p>"
            "<p>“You keep a good lantern,” he said when he reached the gate, and she answered that a lantern keeps itself "
            "if you let it. Then she poured him tea, and the fog lifted an hour before dawn.</p>"},
    };
}

std::string PMGeneratedMarker(int k)
{
    static const char* const syllables[] = {"bar", "tel", "mon", "qui", "sor", "vak", "len", "dru", "pho", "zim", "gat", "rue"};
    std::string word;
    int value = k + 7;
    for (int i = 0; i < 4; ++i) {
        word += syllables[value % 12];
        value = value / 12 + (i + 1) * 5 + k;
    }
    return word;  // 12 letters
}

std::vector<PMSampleChapter> PMGeneratedChapters(int count, int paragraphs)
{
    static const char* const words[] = {"the", "moor", "stone", "water", "lantern", "road", "rain", "heather", "gate", "wind",
        "a", "of", "and", "in", "over", "under", "quiet", "grey", "long", "cold", "walked", "kept", "heard", "saw", "carried",
        "river", "hill", "shepherd", "pony", "cart", "night", "morning", "fog", "light", "field", "wall", "sheep", "crow"};
    std::mt19937 random(20261123);
    std::vector<PMSampleChapter> chapters;
    for (int chapter = 0; chapter < count; ++chapter) {
        std::string body = "<h1>Chapter " + std::to_string(chapter + 1) + "</h1>";
        for (int paragraph = 0; paragraph < paragraphs; ++paragraph) {
            body += "<p>";
            for (int sentence = 0; sentence < 6; ++sentence) {
                int length = 8 + static_cast<int>(random() % 10);
                for (int word = 0; word < length; ++word) {
                    std::string text = words[random() % std::size(words)];
                    if (word == 0)
                        text[0] = static_cast<char>(std::toupper(text[0]));
                    body += text + (word + 1 < length ? " " : ". ");
                }
            }
            body += "</p>";
        }
        body += "<p>";
        for (int k = 0; k < 8; ++k) {
            if (chapter % (k + 2) == 0)
                body += "The " + PMGeneratedMarker(k) + " stood by the road. ";
        }
        body += "</p>";
        chapters.push_back({"Chapter " + std::to_string(chapter + 1), body, ""});
    }
    return chapters;
}

std::optional<std::string> PMWriteSampleBook(const PMSampleBookOptions& options, const std::string& epubPath)
{
    std::string font = readFile(options.fontPath);
    if (font.empty())
        return "cannot read the font " + options.fontPath;
    PMEpubWriter writer(epubPath);
    writer.addContainer("OEBPS/content.opf");
    writer.add("OEBPS/content.opf", packageDocument(options));
    if (!options.missingStyleSheet)
        writer.add("OEBPS/styles/book.css", kStyleSheet);
    writer.add("OEBPS/fonts/sample-serif.ttf", PMObfuscateFont(font, options.obfuscation, options.identifier));
    if (options.obfuscation != PMFontObfuscation::None)
        writer.add("META-INF/encryption.xml", encryptionDocument(options.obfuscation));
    for (size_t index = 0; index < options.chapters.size(); ++index)
        writer.add("OEBPS/text/" + chapterName(index), chapterDocument(options.chapters[index]));
    KCError error;
    if (!writer.close(&error))
        return error.message;
    return std::nullopt;
}
