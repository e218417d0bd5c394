#pragma once
// Reading the XML documents of a book with libxml2: parsing without network
// or external entities, and the few walks the book's documents need.
// Elements are matched by local name: books in the wild get namespaces wrong.
// Errors: PMParseBookXML answers nullptr for a document that does not parse.
#include <libxml/tree.h>

#include <memory>
#include <string>
#include <string_view>

struct PMXMLDocumentFreer {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using PMXMLDocument = std::unique_ptr<xmlDoc, PMXMLDocumentFreer>;

// `name` is the document's name in libxml2's messages.
PMXMLDocument PMParseBookXML(std::string_view xml, const char* name);

bool PMXMLIsElement(const xmlNode* node, const char* localName);
const xmlNode* PMXMLFirstChild(const xmlNode* parent, const char* localName);
// The attribute by its local name, whatever its namespace; empty when absent.
std::string PMXMLAttribute(const xmlNode* node, const char* name);
// Whether a blank-separated list of tokens, as attributes hold them ("nav scripted"), holds `token`.
bool PMXMLListHasToken(std::string_view list, std::string_view token);
// The text content, trimmed.
std::string PMXMLText(const xmlNode* node);
// The text content with every run of blanks made one space, trimmed.
std::string PMXMLCollapsedText(const xmlNode* node);

// Depth-first, in document order.
template <typename Visit>
void PMXMLForEachDescendant(const xmlNode* parent, const char* localName, Visit visit)
{
    for (const xmlNode* child = parent ? parent->children : nullptr; child; child = child->next) {
        if (PMXMLIsElement(child, localName))
            visit(child);
        if (child->type == XML_ELEMENT_NODE)
            PMXMLForEachDescendant(child, localName, visit);
    }
}
