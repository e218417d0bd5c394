#include "PMBookPackage.h"

#include "PMBookError.h"
#include "PMBookXML.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"

#include <glib.h>

#include <algorithm>
#include <unordered_map>

namespace {

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix)
{
    return text.size() >= prefix.size() && g_ascii_strncasecmp(text.data(), prefix.data(), prefix.size()) == 0;
}

KCError malformed(const std::string& description)
{
    KCLog("Cannot read book: %@", description);
    return PMBookError(PMBookErrorCode::MalformedXML, description);
}

} // namespace

std::string PMContainerDirectoryOf(std::string_view path)
{
    size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

std::string PMISBNDigits(std::string_view identifier, bool schemeIsISBN)
{
    bool named = schemeIsISBN;
    for (std::string_view prefix : {"urn:isbn:", "isbn:"}) {
        if (!named && startsWithIgnoringCase(identifier, prefix)) {
            identifier.remove_prefix(prefix.size());
            named = true;
        }
    }
    std::string digits;
    for (char c : identifier) {
        if (g_ascii_isdigit(c) || c == 'X' || c == 'x')
            digits += g_ascii_toupper(c);
        else if (!named && c != '-')
            return {};  // a bare identifier holds nothing but digits and hyphens
    }
    size_t x = digits.find('X');
    bool wellFormed = digits.size() == 13 ? x == std::string::npos : digits.size() == 10 && (x == std::string::npos || x == 9);
    return wellFormed ? digits : std::string();
}

std::string PMPackage::year() const
{
    bool leadingYear = date.size() >= 4 && std::all_of(date.begin(), date.begin() + 4, [](char c) { return g_ascii_isdigit(c); });
    return leadingYear ? date.substr(0, 4) : std::string();
}

std::string PMResolveContainerPath(std::string_view baseDirectory, std::string_view href)
{
    href = href.substr(0, href.find('#'));
    href = href.substr(0, href.find('?'));
    if (href.empty())
        return {};
    if (char* scheme = g_uri_parse_scheme(std::string(href).c_str())) {
        g_free(scheme);
        return {};
    }
    char* decoded = g_uri_unescape_string(std::string(href).c_str(), nullptr);
    if (!decoded)
        return {};  // an escaped NUL or a malformed escape
    std::string relative = decoded;
    g_free(decoded);

    std::string joined = relative.starts_with('/') ? relative.substr(1) : std::string(baseDirectory) + relative;
    std::vector<std::string_view> components;
    std::string_view rest = joined;
    while (!rest.empty()) {
        size_t slash = rest.find('/');
        std::string_view component = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (component.empty() || component == ".")
            continue;
        if (component == "..") {
            if (components.empty())
                return {};
            components.pop_back();
            continue;
        }
        components.push_back(component);
    }
    std::string path;
    for (std::string_view component : components) {
        if (!path.empty())
            path += '/';
        path += component;
    }
    return path;
}

std::optional<std::string> PMPackagePathFromContainer(std::string_view containerXML, KCError* error)
{
    PMXMLDocument document = PMParseBookXML(containerXML, "container.xml");
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!PMXMLIsElement(root, "container")) {
        KCSetError(error, malformed("META-INF/container.xml is not a container document"));
        return std::nullopt;
    }
    std::optional<std::string> found;
    PMXMLForEachDescendant(root, "rootfile", [&](const xmlNode* rootfile) {
        if (found)
            return;
        std::string mediaType = PMXMLAttribute(rootfile, "media-type");
        std::string path = PMResolveContainerPath("", PMXMLAttribute(rootfile, "full-path"));
        if (!path.empty() && (mediaType.empty() || mediaType == "application/oebps-package+xml"))
            found = path;
    });
    if (!found)
        KCSetError(error, malformed("META-INF/container.xml names no package document"));
    return found;
}

std::optional<PMPackage> PMParsePackage(std::string_view packageXML, const std::string& packagePath, KCError* error)
{
    PMXMLDocument document = PMParseBookXML(packageXML, packagePath.c_str());
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!PMXMLIsElement(root, "package")) {
        KCSetError(error, malformed(KCStringWithFormat("The package document \u201C%@\u201D cannot be read", packagePath)));
        return std::nullopt;
    }
    PMPackage package;
    std::string uniqueIdentifierID = PMXMLAttribute(root, "unique-identifier");
    const xmlNode* metadata = PMXMLFirstChild(root, "metadata");
    bool foundUnique = false;
    std::string uniqueISBN;
    std::string firstISBN;
    PMXMLForEachDescendant(metadata, "identifier", [&](const xmlNode* identifier) {
        std::string text = PMXMLText(identifier);
        std::string isbn = PMISBNDigits(text, g_ascii_strcasecmp(PMXMLAttribute(identifier, "scheme").c_str(), "ISBN") == 0);
        if (!foundUnique && !uniqueIdentifierID.empty() && PMXMLAttribute(identifier, "id") == uniqueIdentifierID) {
            package.uniqueIdentifier = text;
            uniqueISBN = isbn;
            foundUnique = true;
        }
        if (firstISBN.empty())
            firstISBN = isbn;
        package.identifiers.push_back(std::move(text));
    });
    package.storeId = !uniqueISBN.empty() ? uniqueISBN : !firstISBN.empty() ? firstISBN : "0";
    if (!foundUnique && !package.identifiers.empty()) {
        KCLog("The package \u201C%@\u201D names no unique identifier; using its first identifier", packagePath);
        package.uniqueIdentifier = package.identifiers.front();
    }
    const std::pair<const char*, std::string*> fields[] = {{"title", &package.title}, {"creator", &package.creator}, {"language", &package.language},
        {"publisher", &package.publisher}};
    for (const auto& [name, target] : fields) {
        std::string* field = target;
        PMXMLForEachDescendant(metadata, name, [field](const xmlNode* element) {
            if (field->empty())
                *field = PMXMLText(element);
        });
    }

    // EPUB 2 books may date the creation and modification too.
    bool foundPublication = false;
    PMXMLForEachDescendant(metadata, "date", [&](const xmlNode* date) {
        bool publication = PMXMLAttribute(date, "event") == "publication";
        if (package.date.empty() || (publication && !foundPublication))
            package.date = PMXMLText(date);
        foundPublication |= publication;
    });

    PMXMLForEachDescendant(metadata, "meta", [&](const xmlNode* meta) {
        const std::string property = PMXMLAttribute(meta, "property");
        std::string* field = property == "rendition:layout" ? &package.layout : property == "rendition:spread" ? &package.spread : nullptr;
        if (field && field->empty())
            *field = PMXMLText(meta);
    });

    std::string base = PMContainerDirectoryOf(packagePath);
    for (const xmlNode* item = PMXMLFirstChild(PMXMLFirstChild(root, "manifest"), "item"); item; item = item->next) {
        if (!PMXMLIsElement(item, "item"))
            continue;
        PMManifestItem entry {PMXMLAttribute(item, "id"), PMXMLAttribute(item, "href"), {}, PMXMLAttribute(item, "media-type"), PMXMLAttribute(item, "properties")};
        entry.path = PMResolveContainerPath(base, entry.href);
        if (entry.path.empty()) {
            KCLog("Skipping the manifest item \u201C%@\u201D: its location \u201C%@\u201D is outside the book", entry.identifier, entry.href);
            continue;
        }
        package.manifest.push_back(std::move(entry));
    }
    std::unordered_map<std::string, std::string> pathsByIdentifier;
    for (auto it = package.manifest.rbegin(); it != package.manifest.rend(); ++it)
        pathsByIdentifier[it->identifier] = it->path;  // the first item wins a duplicated id
    const xmlNode* spine = PMXMLFirstChild(root, "spine");
    package.spineToc = PMXMLAttribute(spine, "toc");
    package.pageProgressionDirection = PMXMLAttribute(spine, "page-progression-direction");
    for (const xmlNode* itemref = PMXMLFirstChild(spine, "itemref"); itemref; itemref = itemref->next) {
        if (!PMXMLIsElement(itemref, "itemref"))
            continue;
        PMSpineItem entry {PMXMLAttribute(itemref, "idref"), {}, PMXMLAttribute(itemref, "linear") != "no", PMXMLAttribute(itemref, "properties")};
        if (auto found = pathsByIdentifier.find(entry.idref); found != pathsByIdentifier.end())
            entry.path = found->second;
        else
            KCLog("The spine item \u201C%@\u201D names no manifest item", entry.idref);
        package.spine.push_back(std::move(entry));
    }
    return package;
}

std::vector<PMEncryptedResource> PMParseEncryption(std::string_view encryptionXML)
{
    std::vector<PMEncryptedResource> resources;
    PMXMLDocument document = PMParseBookXML(encryptionXML, "encryption.xml");
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!root) {
        KCLog("META-INF/encryption.xml cannot be read; no resource is taken as obfuscated");
        return resources;
    }
    PMXMLForEachDescendant(root, "EncryptedData", [&](const xmlNode* data) {
        std::string algorithm = PMXMLAttribute(PMXMLFirstChild(data, "EncryptionMethod"), "Algorithm");
        std::string path = PMResolveContainerPath("", PMXMLAttribute(PMXMLFirstChild(PMXMLFirstChild(data, "CipherData"), "CipherReference"), "URI"));
        if (!algorithm.empty() && !path.empty())
            resources.push_back({std::move(path), std::move(algorithm)});
    });
    return resources;
}
