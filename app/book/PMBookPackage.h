#pragma once
// The XML documents of an EPUB container: META-INF/container.xml names the
// package document; the package gives the metadata, the manifest and the
// spine; META-INF/encryption.xml names the obfuscated resources.
// Errors: the parsers answer nothing and fill *error (PMBookErrorDomain, MalformedXML or MissingFile).
#include "Utilities/KCError.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct PMManifestItem {
    std::string identifier;
    std::string href;       // as the package writes it
    std::string path;       // relative to the container's root, decoded ("OEBPS/text/ch1.xhtml")
    std::string mediaType;
    std::string properties;
};

struct PMSpineItem {
    std::string idref;
    std::string path;  // the manifest item's path; empty when the idref names no item
    bool linear = true;
    std::string properties = {};  // the itemref's ("page-spread-left rendition:layout-pre-paginated")
};

struct PMPackage {
    std::string uniqueIdentifier;          // the text of the identifier the package names as unique
    std::vector<std::string> identifiers;  // every identifier, in document order
    std::string title;
    std::string creator;
    std::string language;
    std::string publisher;
    std::string date;     // the publication date when several are given, else the first
    std::string storeId;  // the ISBN's digits (PMISBNDigits), the unique identifier's first; "0" without one
    std::vector<PMManifestItem> manifest;
    std::vector<PMSpineItem> spine;
    std::string spineToc;  // the manifest id of the NCX, as the spine names it
    std::string pageProgressionDirection;  // the spine's: "ltr", "rtl" or empty (the default)
    std::string layout;  // "rendition:layout": "pre-paginated", "reflowable" or empty
    std::string spread;  // "rendition:spread": "none", "landscape", "both", "auto" or empty

    // The date's leading four digits ("2008" of "2008-05-20"); empty without them.
    std::string year() const;
};

struct PMEncryptedResource {
    std::string path;  // relative to the container's root, decoded
    std::string algorithm;
};

// The container-relative path of the first package document.
std::optional<std::string> PMPackagePathFromContainer(std::string_view containerXML, KCError* error);
// `packagePath` is where the package lies in the container; hrefs resolve against it.
std::optional<PMPackage> PMParsePackage(std::string_view packageXML, const std::string& packagePath, KCError* error);
// Unparseable or empty documents give no entries (logged).
std::vector<PMEncryptedResource> PMParseEncryption(std::string_view encryptionXML);

// The digits of an ISBN, upper-case X kept as the ISBN-10 check digit; empty
// when the identifier is none. An ISBN is named by "urn:isbn:" or "isbn:",
// by the identifier's scheme attribute (`schemeIsISBN`), or is bare: 10 or 13
// digits with optional hyphens.
std::string PMISBNDigits(std::string_view identifier, bool schemeIsISBN);

// The directory part of a container path, with its trailing slash ("OEBPS/" of "OEBPS/content.opf").
std::string PMContainerDirectoryOf(std::string_view path);
// A relative URL resolved against a directory of the container ("OEBPS/"),
// decoded and normalised; empty when it has a scheme or leaves the container.
std::string PMResolveContainerPath(std::string_view baseDirectory, std::string_view href);
