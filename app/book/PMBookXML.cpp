#include "PMBookXML.h"

#include <libxml/parser.h>

#include <climits>

PMXMLDocument PMParseBookXML(std::string_view xml, const char* name)
{
    // No network, no external entities, no DTD loading: the documents come
    // from an untrusted archive.
    if (xml.size() > INT_MAX)
        return nullptr;
    return PMXMLDocument(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), name, nullptr,
        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

bool PMXMLIsElement(const xmlNode* node, const char* localName)
{
    return node && node->type == XML_ELEMENT_NODE && xmlStrcmp(node->name, BAD_CAST localName) == 0;
}

const xmlNode* PMXMLFirstChild(const xmlNode* parent, const char* localName)
{
    for (const xmlNode* child = parent ? parent->children : nullptr; child; child = child->next) {
        if (PMXMLIsElement(child, localName))
            return child;
    }
    return nullptr;
}

std::string PMXMLAttribute(const xmlNode* node, const char* name)
{
    if (!node)
        return {};
    xmlChar* value = xmlGetProp(node, BAD_CAST name);
    std::string text = value ? reinterpret_cast<const char*>(value) : "";
    xmlFree(value);
    return text;
}

bool PMXMLListHasToken(std::string_view list, std::string_view token)
{
    std::string_view rest = list;
    const char* blanks = " \t\r\n";
    while (!rest.empty()) {
        size_t start = rest.find_first_not_of(blanks);
        if (start == std::string_view::npos)
            break;
        rest = rest.substr(start);
        size_t end = rest.find_first_of(blanks);
        if (rest.substr(0, end) == token)
            return true;
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end);
    }
    return false;
}

namespace {

std::string content(const xmlNode* node)
{
    xmlChar* text = node ? xmlNodeGetContent(node) : nullptr;
    std::string result = text ? reinterpret_cast<const char*>(text) : "";
    xmlFree(text);
    return result;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace

std::string PMXMLText(const xmlNode* node)
{
    std::string text = content(node);
    size_t first = 0;
    while (first < text.size() && isBlank(text[first]))
        ++first;
    size_t last = text.size();
    while (last > first && isBlank(text[last - 1]))
        --last;
    return text.substr(first, last - first);
}

std::string PMXMLCollapsedText(const xmlNode* node)
{
    std::string collapsed;
    bool pendingSpace = false;
    for (char c : content(node)) {
        if (isBlank(c)) {
            pendingSpace = !collapsed.empty();
            continue;
        }
        if (pendingSpace)
            collapsed += ' ';
        pendingSpace = false;
        collapsed += c;
    }
    return collapsed;
}
