#pragma once
// The book resource protocol: serves the files of the unpacked book to the
// pages of this web content process, undoing embedded font obfuscation on the
// way. One book per process: the configuration is class-level, written once
// at start-up and then only read by the loads.
// Errors: an unreadable file is answered without data, reported as "PluginError"
// over the connection and logged; nothing fails towards the caller.
#include "platform/PMMessageConnection.h"
#include "platform/PMURLProtocolRegistry.h"
#include "Utilities/KCValue.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

// Keys of a resource's information dictionary (the UI process writes them).
extern const char* const PMResourceMIMETypeKey;                 // "mimeType"
extern const char* const PMResourceEncryptionAlgorithmKey;      // "encryptionAlgorithm"
extern const char* const PMResourceBookEpubIdKey;               // "bookEpubId"
extern const char* const PMResourceBookEpubIdWithUUIDSchemeKey; // "bookEpubIdWithUUIDScheme"

// The published algorithm URIs of the two font obfuscation schemes.
extern const char16_t* const PMIDPFFontObfuscationAlgorithm;   // u"http://www.idpf.org/2008/embedding"
extern const char16_t* const PMAdobeFontObfuscationAlgorithm;  // u"http://ns.adobe.com/pdf/enc#RC"

// Message sent to the UI process when a book file cannot be read.
extern const char* const PMPluginErrorMessage;  // "PluginError"

class PMURLProtocol : public PMCustomURLProtocol {
public:
    static void registerPMURLProtocol();
    static void unregisterPMURLProtocol();
    static bool isRegistered();

    static void setConnection(std::shared_ptr<PMMessageConnection> connection);
    static std::shared_ptr<PMMessageConnection> connection();
    // Relative resource path ("/text/ch1.xhtml") to resource information.
    static void setBookResourceData(std::optional<KCDictionary> bookResourceData);
    static std::optional<KCDictionary> bookResourceData();
    // Absolute file-system path of the unpacked book.
    static void setBookContentsPath(std::optional<std::string> bookContentsPath);
    static std::optional<std::string> bookContentsPath();
    static void setPaginationMode(bool paginationMode);
    static bool paginationMode();

    // A file URL under the contents path (plain prefix test) at which something exists.
    static bool canInitWithRequest(const PMURLRequest& request);
    static PMURLRequest canonicalRequestForRequest(const PMURLRequest& request) { return request; }

    using PMCustomURLProtocol::PMCustomURLProtocol;
    // Answers the whole load at once: response, data, end.
    void startLoading() override;
    void stopLoading() override {}

    static bool isImageMIMEType(std::string_view MIMEType);

    // Font de-obfuscation. The operation is its own inverse; without a usable
    // key the data comes back as it went in.
    static KCData unencryptFontWithAssetInfo(const KCDictionary& assetInfo, KCData fileData, const KCURL& URL);
    // SHA-1 of the identifier's UTF-8 bytes; nothing for an absent identifier.
    static std::optional<KCData> createIDPFXORMaskWithEPubID(std::optional<std::u16string_view> ePubID);
    // The UUID's 16 bytes in a zeroed buffer as long as the UUID's text;
    // nothing unless the text holds exactly 32 hexadecimal digits.
    static std::optional<KCData> createAdobeXORMaskWithEPubID(std::optional<std::u16string_view> ePubID);
};
