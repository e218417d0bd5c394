#pragma once
// Classification of a book file by its extension.
#include <string_view>

class PMAssetUtilities {
public:
    // "epub" 1, "pdf" 3, "pagemoor" 4, anything else 0, in any letter case.
    static int contentTypeForPath(std::string_view path);
};
