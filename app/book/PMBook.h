#pragma once
// Opening an EPUB for reading: the file is unpacked into the cache (or an
// earlier unpack is reused), its package is read, and the book is described
// the way the page plug-in is configured: a contents path under which every
// file of the book lies, and the information of each resource keyed by "/"
// plus its path relative to the contents path.
// Errors: open answers nothing, fills *error (PMBookErrorDomain) and logs why.
#include "PMBookArchive.h"
#include "PMBookPackage.h"
#include "Utilities/KCValue.h"

#include <optional>
#include <string>
#include <string_view>

struct PMBookOpenOptions {
    std::optional<std::string> cacheDirectory;  // see PMBookCacheDirectory
    PMUnpackLimits limits;
};

class PMBook {
public:
    static std::optional<PMBook> open(const std::string& epubPath, const PMBookOpenOptions& options, KCError* error);

    // The root of the unpacked container, without a trailing slash.
    const std::string& contentsPath() const { return m_contentsPath; }
    // The package document, relative to the contents path ("OEBPS/content.opf").
    const std::string& packagePath() const { return m_packagePath; }
    const PMPackage& package() const { return m_package; }
    const std::vector<PMEncryptedResource>& encryptedResources() const { return m_encrypted; }
    // A file of the book by its path relative to the contents path; nothing
    // (MissingFile) when it cannot be read.
    std::optional<std::string> readFile(std::string_view relativePath, KCError* error) const;

    // The identifier as the obfuscation key uses it: the unique identifier
    // without blanks, tabs, carriage returns and line feeds.
    std::u16string bookEpubId() const;
    // The first identifier in "urn:uuid:" form, the unique one preferred.
    std::optional<std::u16string> bookEpubIdWithUUIDScheme() const;

    // "/OEBPS/fonts/a.otf" -> {"mimeType", "encryptionAlgorithm", "bookEpubId", "bookEpubIdWithUUIDScheme"}.
    KCDictionary resourceInformation() const;

private:
    std::string m_contentsPath;
    std::string m_packagePath;
    PMPackage m_package;
    std::vector<PMEncryptedResource> m_encrypted;
};
