#include "KCBundle.h"

#include "KCEmbeddedResource.h"
#include "KCLogger.h"
#include "KCStringTable.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string fileNameOf(std::string_view name, std::string_view type)
{
    std::string fileName(name);
    if (!type.empty()) {
        fileName += '.';
        fileName += type;
    }
    return fileName;
}

std::optional<std::string> builtInResource(std::string_view fileName)
{
    size_t count = 0;
    const KCEmbeddedResource* first = KCEmbeddedResources(&count);
    const KCEmbeddedResource* last = first + count;
    auto found = std::lower_bound(first, last, fileName, [](const KCEmbeddedResource& resource, std::string_view wanted) {
        return std::string_view(resource.fileName) < wanted;
    });
    if (found == last || std::string_view(found->fileName) != fileName)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(found->bytes), found->length);
}

std::optional<std::string> readFile(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    std::ostringstream bytes;
    bytes << file.rdbuf();
    if (file.bad()) {
        KCLog("Cannot read resource %@", path);
        return std::nullopt;
    }
    return std::move(bytes).str();
}

} // namespace

KCBundle::KCBundle(std::optional<std::string> overrideDirectory)
    : m_overrideDirectory(std::move(overrideDirectory))
{
    auto table = resourceData("Localizable", "strings");
    if (!table) {
        KCLog("The string table Localizable.strings is missing");
        return;
    }
    auto entries = KCParseStringTable(*table);
    if (!entries)
        return;
    for (auto& [key, value] : *entries)
        m_strings.insert_or_assign(std::move(key), std::move(value));
}

std::optional<std::string> KCBundle::resourceData(std::string_view name, std::string_view type) const
{
    std::string fileName = fileNameOf(name, type);
    // A name is a file of the bundle, never a path out of it.
    if (fileName.empty() || fileName.find('/') != std::string::npos || fileName == "." || fileName == "..") {
        KCLog("Not a resource name: %@", fileName);
        return std::nullopt;
    }
    if (m_overrideDirectory && !m_overrideDirectory->empty()) {
        if (auto bytes = readFile(*m_overrideDirectory + "/" + fileName))
            return bytes;
    }
    return builtInResource(fileName);
}

std::u16string KCBundle::localizedString(std::u16string_view key) const
{
    auto found = m_strings.find(key);
    return found == m_strings.end() ? std::u16string(key) : found->second;
}

const KCBundle& KCCommonCoreBundle()
{
    static const KCBundle bundle([]() -> std::optional<std::string> {
        if (const char* directory = std::getenv("PAGEMOOR_RESOURCES_DIR"))
            return std::string(directory);
        return std::nullopt;
    }());
    return bundle;
}
