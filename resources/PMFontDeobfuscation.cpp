// Embedded font de-obfuscation: the first bytes of a font are XOR-ed with a
// key derived from the book's identifier.
#include "PMURLProtocol.h"

#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <openssl/sha.h>

#include <algorithm>

namespace {

constexpr size_t kIDPFObfuscatedSpan = 1040;
constexpr size_t kAdobeObfuscatedSpan = 1024;
constexpr size_t kUUIDByteCount = 16;

const std::u16string* stringForKey(const KCDictionary& dictionary, const char* key)
{
    const KCValue* value = dictionary.find(key);
    return value ? value->string() : nullptr;
}

std::optional<std::u16string_view> viewOf(const std::u16string* text)
{
    return text ? std::optional<std::u16string_view>(*text) : std::nullopt;
}

int hexDigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The first sixteen bytes in hexadecimal, in groups of four, so that a font
// signature can be seen in the log; zeros stand for bytes past a short file's end.
std::string signatureText(const KCData& data)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(35);
    for (size_t i = 0; i < 16; ++i) {
        uint8_t byte = i < data.size() ? data[i] : 0;
        if (i && i % 4 == 0)
            text += ' ';
        text += digits[byte >> 4];
        text += digits[byte & 0xf];
    }
    return text;
}

} // namespace

std::optional<KCData> PMURLProtocol::createIDPFXORMaskWithEPubID(std::optional<std::u16string_view> ePubID)
{
    if (!ePubID)
        return std::nullopt;
    std::string bytes = KCUTF8FromUTF16(*ePubID);
    KCData mask(SHA_DIGEST_LENGTH);
    SHA1(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), mask.data());
    return mask;
}

std::optional<KCData> PMURLProtocol::createAdobeXORMaskWithEPubID(std::optional<std::u16string_view> ePubID)
{
    if (!ePubID)
        return std::nullopt;
    std::u16string_view kept = *ePubID;
    if (size_t scheme = kept.find(u"urn:uuid:"); scheme != std::u16string_view::npos)
        kept.remove_prefix(scheme + 9);
    std::string text = KCUTF8FromUTF16(kept);

    // The mask stays as long as the text: the zero bytes after the UUID's
    // sixteen are part of the key.
    KCData mask(text.size(), 0);
    size_t written = 0;
    int high = -1;
    for (char c : text) {
        int digit = hexDigitValue(c);
        if (digit < 0)
            continue;
        if (high < 0) {
            high = digit;
            continue;
        }
        if (written == kUUIDByteCount)
            return std::nullopt;  // more than sixteen bytes
        mask[written++] = static_cast<uint8_t>(high << 4 | digit);
        high = -1;
    }
    if (written != kUUIDByteCount)
        return std::nullopt;
    return mask;
}

KCData PMURLProtocol::unencryptFontWithAssetInfo(const KCDictionary& assetInfo, KCData fileData, const KCURL& URL)
{
    const std::u16string* algorithm = stringForKey(assetInfo, PMResourceEncryptionAlgorithmKey);
    std::optional<KCData> mask;
    size_t span = 0;
    if (algorithm && *algorithm == PMIDPFFontObfuscationAlgorithm) {
        mask = createIDPFXORMaskWithEPubID(viewOf(stringForKey(assetInfo, PMResourceBookEpubIdKey)));
        span = kIDPFObfuscatedSpan;
    } else if (algorithm && *algorithm == PMAdobeFontObfuscationAlgorithm) {
        const std::u16string* identifier = stringForKey(assetInfo, PMResourceBookEpubIdWithUUIDSchemeKey);
        if (identifier && !identifier->empty())
            mask = createAdobeXORMaskWithEPubID(*identifier);
        span = kAdobeObfuscatedSpan;
    }

    std::u16string_view algorithmText = algorithm ? std::u16string_view(*algorithm) : u"(null)";
    if (mask) {
        KCLog("Going to xor %@ -- %@", URL, algorithmText);
        // The buffer is ours: XOR in place rather than copying the whole font.
        size_t end = std::min(fileData.size(), span);
        for (size_t i = 0; i < end; ++i)
            fileData[i] ^= (*mask)[i % mask->size()];
    }

    std::string extension = URL.pathExtension();
    if (extension == "otf" || extension == "ttf")
        KCLog("XOR concluded for %@ -- %@ -- [Bytes: %@]", URL, algorithmText, signatureText(fileData));
    return fileData;
}
