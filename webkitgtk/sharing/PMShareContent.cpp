#include "PMShareContent.h"

#include "Utilities/KCRTFWriter.h"
#include "Utilities/KCStringConversion.h"
#include "Utilities/KCURL.h"

const char* const PMDesktopSharingErrorDomain = "PMDesktopSharingErrorDomain";

namespace {

void addText(PMShareContent& content, const std::string& text)
{
    if (text.empty())
        return;
    if (!content.text.empty())
        content.text += '\n';
    content.text += text;
}

void setOnce(std::string& field, const std::string& value)
{
    if (field.empty())
        field = value;
}

std::string textOf(const KCValue& value)
{
    if (auto* url = value.url())
        return url->absoluteString();
    if (auto* data = value.data())
        return std::string(data->begin(), data->end());
    return value.utf8String();
}

void addString(PMShareContent& content, const std::string& text)
{
    auto start = text.find_first_not_of(" \t\r\n");
    if (start != std::string::npos && text[start] == '<')
        setOnce(content.html, text);
    else
        addText(content, text);
}

void addPasteboardWriter(PMShareContent& content, PMPasteboardWriting& writer)
{
    for (auto& type : writer.writableTypesForPasteboard()) {
        auto value = textOf(writer.pasteboardPropertyListForType(type));
        if (value.empty())
            continue;
        if (type == u"public.plain-text" || type == u"public.utf8-plain-text")
            addText(content, value);
        else if (type == u"public.html")
            setOnce(content.html, value);
        else if (type == u"public.rtf")
            setOnce(content.rtf, value);
        else if (type == u"public.file-url" && value.starts_with('/')) {
            // File URLs are written to the pasteboard as paths.
            if (auto url = KCURL::fileURLWithPath(value))
                content.urls.push_back(url->absoluteString());
        } else if (type == u"public.file-url" || type == u"public.url")
            content.urls.push_back(value);
    }
}

}

PMShareContent PMShareContentFromItems(const PMShareItems& items)
{
    PMShareContent content;
    for (auto& item : items) {
        if (auto* string = item.string())
            addString(content, KCUTF8FromUTF16(*string));
        else if (auto* url = item.url())
            content.urls.push_back(url->absoluteString());
        else if (auto styled = item.objectAs<PMSharingStyledText>()) {
            setOnce(content.rtf, KCRTFFromStyledString(styled->text()));
            addText(content, KCUTF8FromUTF16(styled->text().string()));
        } else if (auto writer = item.objectAs<PMPasteboardWriting>())
            addPasteboardWriter(content, *writer);
    }
    return content;
}

std::vector<std::string> PMShareContent::filePaths() const
{
    std::vector<std::string> paths;
    for (auto& url : urls) {
        auto parsed = KCURL::URLWithString(url);
        if (parsed && parsed->isFileURL())
            paths.push_back(parsed->path());
    }
    return paths;
}

std::string PMShareContent::firstLink() const
{
    for (auto& url : urls) {
        if (url.rfind("file:", 0) != 0)
            return url;
    }
    return {};
}
