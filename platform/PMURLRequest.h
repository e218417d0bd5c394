#pragma once
// A request of the URL-loading system, as a custom protocol sees it.
#include "Utilities/KCURL.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

struct PMURLRequest {
    std::optional<KCURL> URL;  // absent when the engine handed over text that is not a URL
    std::string HTTPMethod = "GET";
    std::vector<std::pair<std::string, std::string>> HTTPHeaderFields;

    PMURLRequest() = default;
    explicit PMURLRequest(std::optional<KCURL> url) : URL(std::move(url)) {}
};
