#include "PMBook.h"

#include "PMBookCache.h"
#include "PMBookError.h"
#include "resources/PMFileReading.h"
#include "resources/PMURLProtocol.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"
#include "Utilities/PMAssetUtilities.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCURL.h"

#include <filesystem>
#include <unordered_map>

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kContainerPath = "META-INF/container.xml";
constexpr std::string_view kEncryptionPath = "META-INF/encryption.xml";
constexpr std::string_view kUUIDScheme = "urn:uuid:";
constexpr int kEPUBContentType = 1;

std::optional<std::string> readBookFile(const std::string& contentsPath, std::string_view relativePath, KCError* error)
{
    KCError readError;
    auto data = PMReadWholeFile(contentsPath + "/" + std::string(relativePath), &readError);
    if (!data) {
        KCSetError(error, PMBookError(PMBookErrorCode::MissingFile, KCStringWithFormat("The book has no readable %@ (%@)", relativePath, readError.message)));
        return std::nullopt;
    }
    return std::string(data->begin(), data->end());
}

} // namespace

std::optional<PMBook> PMBook::open(const std::string& epubPath, const PMBookOpenOptions& options, KCError* error)
{
    // The library tells documents apart by their names' extensions; any name
    // but another kind's is tried as an EPUB.
    if (int type = PMAssetUtilities::contentTypeForPath(epubPath); type != 0 && type != kEPUBContentType) {
        KCError failure = PMBookError(PMBookErrorCode::NotAnEPUB, KCStringWithFormat("\u201C%@\u201D is not an EPUB book (content type %d)", KCLastPathComponent(epubPath), type));
        KCLog("Cannot open book: %@", failure.description());
        KCSetError(error, std::move(failure));
        return std::nullopt;
    }
    std::error_code pathError;
    fs::path cacheDirectory = fs::weakly_canonical(fs::absolute(PMBookCacheDirectory(options.cacheDirectory)), pathError);
    if (pathError) {
        KCError failure = PMBookError(PMBookErrorCode::CacheUnavailable, KCStringWithFormat("The cache directory cannot be used: %@", pathError.message()));
        KCLog("Cannot open book: %@", failure.description());
        KCSetError(error, std::move(failure));
        return std::nullopt;
    }
    auto contentsPath = PMUnpackedBookDirectory(epubPath, cacheDirectory.string(), options.limits, error);
    if (!contentsPath)
        return std::nullopt;

    PMBook book;
    book.m_contentsPath = *contentsPath;
    KCError failure;
    auto container = readBookFile(book.m_contentsPath, kContainerPath, &failure);
    auto packagePath = container ? PMPackagePathFromContainer(*container, &failure) : std::nullopt;
    auto packageXML = packagePath ? readBookFile(book.m_contentsPath, *packagePath, &failure) : std::nullopt;
    auto package = packageXML ? PMParsePackage(*packageXML, *packagePath, &failure) : std::nullopt;
    if (!package) {
        KCLog("Cannot open book \u201C%@\u201D: %@", epubPath, failure.description());
        KCSetError(error, std::move(failure));
        return std::nullopt;
    }
    book.m_packagePath = *packagePath;
    book.m_package = std::move(*package);

    if (auto encryption = readBookFile(book.m_contentsPath, kEncryptionPath, nullptr))
        book.m_encrypted = PMParseEncryption(*encryption);
    return book;
}

std::optional<std::string> PMBook::readFile(std::string_view relativePath, KCError* error) const
{
    return readBookFile(m_contentsPath, relativePath, error);
}

std::u16string PMBook::bookEpubId() const
{
    std::u16string identifier;
    for (char16_t unit : KCUTF16FromUTF8(m_package.uniqueIdentifier)) {
        if (unit != u' ' && unit != u'\t' && unit != u'\r' && unit != u'\n')
            identifier.push_back(unit);
    }
    return identifier;
}

std::optional<std::u16string> PMBook::bookEpubIdWithUUIDScheme() const
{
    if (m_package.uniqueIdentifier.starts_with(kUUIDScheme))
        return KCUTF16FromUTF8(m_package.uniqueIdentifier);
    for (const auto& identifier : m_package.identifiers) {
        if (identifier.starts_with(kUUIDScheme))
            return KCUTF16FromUTF8(identifier);
    }
    return std::nullopt;
}

KCDictionary PMBook::resourceInformation() const
{
    std::unordered_map<std::string_view, std::string_view> algorithms;
    for (const auto& resource : m_encrypted)
        algorithms.emplace(resource.path, resource.algorithm);
    KCValue epubId(bookEpubId());
    auto uuidForm = bookEpubIdWithUUIDScheme();

    KCDictionary resources;
    auto add = [&](const std::string& path, const std::string* mediaType) {
        KCDictionary information;
        if (mediaType)
            information.set(PMResourceMIMETypeKey, KCValue::fromUTF8(*mediaType));
        if (auto algorithm = algorithms.find(path); algorithm != algorithms.end())
            information.set(PMResourceEncryptionAlgorithmKey, KCValue::fromUTF8(algorithm->second));
        information.set(PMResourceBookEpubIdKey, epubId);
        if (uuidForm)
            information.set(PMResourceBookEpubIdWithUUIDSchemeKey, *uuidForm);
        resources.set("/" + path, std::move(information));
    };
    for (const auto& item : m_package.manifest)
        add(item.path, &item.mediaType);
    for (const auto& resource : m_encrypted) {
        if (!resources.contains("/" + resource.path))
            add(resource.path, nullptr);
    }
    return resources;
}
