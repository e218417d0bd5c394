#pragma once
// Writes EPUB files for tests: mimetype, container.xml, a package document
// with a manifest and spine, encryption.xml, and whatever raw entries a test
// adds (hostile names, links). Fonts are obfuscated by the sample book's
// code (PMObfuscateFont), written apart from the engine's de-obfuscation.
#include "Utilities/tests/KCTestFiles.h"
#include "book/PMBook.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct PMTestEpubFile {
    std::string path;  // relative to the container's root
    std::string bytes;
    std::string mediaType;
    std::string href;                // manifest href; empty: path relative to the package
    std::string encryptionAlgorithm; // listed in encryption.xml when set
    bool inSpine = false;
};

struct PMTestEpubRawEntry {
    std::string name;
    std::string bytes;
    bool symbolicLink = false;
};

struct PMTestEpub {
    std::string uniqueIdentifier = "urn:uuid:0f3c8a52-7d1e-4b6a-9c2f-5e8d1a7b3c40";
    std::vector<std::string> otherIdentifiers;
    std::string title = "A Test Book";
    std::string creator = "Test Author";
    std::string language = "en";
    std::string packagePath = "OEBPS/content.opf";
    bool writeContainer = true;
    std::optional<std::string> packageOverride;  // written instead of the generated package
    std::vector<PMTestEpubFile> files;
    std::vector<PMTestEpubRawEntry> rawEntries;

    std::string packageDocument() const;
    std::string encryptionDocument() const;
    // False (with a test failure) when libzip cannot write the file.
    bool write(const std::string& epubPath) const;
};

// A private directory for one test, removed afterwards: the EPUB files go in
// its root, the cache into "cache/".
class PMBookSandbox : public KCScratchDirectory {
public:
    std::string cacheDirectory() const { return file("cache"); }
    std::optional<PMBook> open(const std::string& name, KCError* error, PMUnpackLimits limits = {}) const
    {
        PMBookOpenOptions options;
        options.cacheDirectory = cacheDirectory();
        options.limits = limits;
        return PMBook::open(file(name), options, error);
    }
};
