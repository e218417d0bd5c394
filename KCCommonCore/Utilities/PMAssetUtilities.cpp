#include "PMAssetUtilities.h"

#include "KCURL.h"

#include <algorithm>

int PMAssetUtilities::contentTypeForPath(std::string_view path)
{
    std::string extension = KCPathExtension(path);
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    if (extension == "epub")
        return 1;
    if (extension == "pdf")
        return 3;
    if (extension == "pagemoor")
        return 4;
    return 0;
}
