#include "PMBookPackage.h"

#include "PMBookError.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"

#include <glib.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <climits>
#include <memory>
#include <unordered_map>

namespace {

struct DocumentFreer {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentFreer>;

// No network, no external entities, no DTD loading: the documents come from
// an untrusted archive.
Document parse(std::string_view xml, const char* name)
{
    if (xml.size() > INT_MAX)
        return nullptr;
    return Document(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), name, nullptr,
        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

// Elements are matched by local name: books in the wild get namespaces wrong.
bool isElement(const xmlNode* node, const char* localName)
{
    return node && node->type == XML_ELEMENT_NODE && xmlStrcmp(node->name, BAD_CAST localName) == 0;
}

const xmlNode* firstChild(const xmlNode* parent, const char* localName)
{
    for (const xmlNode* child = parent ? parent->children : nullptr; child; child = child->next) {
        if (isElement(child, localName))
            return child;
    }
    return nullptr;
}

// Depth-first, in document order.
template <typename Visit>
void forEachDescendant(const xmlNode* parent, const char* localName, Visit visit)
{
    for (const xmlNode* child = parent ? parent->children : nullptr; child; child = child->next) {
        if (isElement(child, localName))
            visit(child);
        if (child->type == XML_ELEMENT_NODE)
            forEachDescendant(child, localName, visit);
    }
}

std::string attribute(const xmlNode* node, const char* name)
{
    xmlChar* value = xmlGetProp(node, BAD_CAST name);
    std::string text = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return text;
}

std::string trimmed(std::string text)
{
    const char* blanks = " \t\r\n";
    size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string textContent(const xmlNode* node)
{
    xmlChar* content = xmlNodeGetContent(node);
    std::string text = content ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
    return trimmed(std::move(text));
}

std::string directoryOf(std::string_view path)
{
    size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

KCError malformed(const std::string& description)
{
    KCLog("Cannot read book: %@", description);
    return PMBookError(PMBookErrorCode::MalformedXML, description);
}

} // namespace

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
    Document document = parse(containerXML, "container.xml");
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!isElement(root, "container")) {
        KCSetError(error, malformed("META-INF/container.xml is not a container document"));
        return std::nullopt;
    }
    std::optional<std::string> found;
    forEachDescendant(root, "rootfile", [&](const xmlNode* rootfile) {
        if (found)
            return;
        std::string mediaType = attribute(rootfile, "media-type");
        std::string path = PMResolveContainerPath("", attribute(rootfile, "full-path"));
        if (!path.empty() && (mediaType.empty() || mediaType == "application/oebps-package+xml"))
            found = path;
    });
    if (!found)
        KCSetError(error, malformed("META-INF/container.xml names no package document"));
    return found;
}

std::optional<PMPackage> PMParsePackage(std::string_view packageXML, const std::string& packagePath, KCError* error)
{
    Document document = parse(packageXML, packagePath.c_str());
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!isElement(root, "package")) {
        KCSetError(error, malformed(KCStringWithFormat("The package document \u201C%@\u201D cannot be read", packagePath)));
        return std::nullopt;
    }
    PMPackage package;
    std::string uniqueIdentifierID = attribute(root, "unique-identifier");
    const xmlNode* metadata = firstChild(root, "metadata");
    bool foundUnique = false;
    forEachDescendant(metadata, "identifier", [&](const xmlNode* identifier) {
        std::string text = textContent(identifier);
        if (!foundUnique && !uniqueIdentifierID.empty() && attribute(identifier, "id") == uniqueIdentifierID) {
            package.uniqueIdentifier = text;
            foundUnique = true;
        }
        package.identifiers.push_back(std::move(text));
    });
    if (!foundUnique && !package.identifiers.empty()) {
        KCLog("The package \u201C%@\u201D names no unique identifier; using its first identifier", packagePath);
        package.uniqueIdentifier = package.identifiers.front();
    }
    const std::pair<const char*, std::string*> fields[] = {{"title", &package.title}, {"creator", &package.creator}, {"language", &package.language}};
    for (const auto& [name, target] : fields) {
        std::string* field = target;
        forEachDescendant(metadata, name, [field](const xmlNode* element) {
            if (field->empty())
                *field = textContent(element);
        });
    }

    std::string base = directoryOf(packagePath);
    for (const xmlNode* item = firstChild(firstChild(root, "manifest"), "item"); item; item = item->next) {
        if (!isElement(item, "item"))
            continue;
        PMManifestItem entry {attribute(item, "id"), attribute(item, "href"), {}, attribute(item, "media-type"), attribute(item, "properties")};
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
    for (const xmlNode* itemref = firstChild(firstChild(root, "spine"), "itemref"); itemref; itemref = itemref->next) {
        if (!isElement(itemref, "itemref"))
            continue;
        PMSpineItem entry {attribute(itemref, "idref"), {}, attribute(itemref, "linear") != "no"};
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
    Document document = parse(encryptionXML, "encryption.xml");
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!root) {
        KCLog("META-INF/encryption.xml cannot be read; no resource is taken as obfuscated");
        return resources;
    }
    forEachDescendant(root, "EncryptedData", [&](const xmlNode* data) {
        std::string algorithm = attribute(firstChild(data, "EncryptionMethod"), "Algorithm");
        std::string path = PMResolveContainerPath("", attribute(firstChild(firstChild(data, "CipherData"), "CipherReference"), "URI"));
        if (!algorithm.empty() && !path.empty())
            resources.push_back({std::move(path), std::move(algorithm)});
    });
    return resources;
}
