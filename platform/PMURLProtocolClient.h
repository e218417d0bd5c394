#pragma once
// The receiving end of one load that a custom protocol answers. A load gets a
// response, then data, then either the end of the load or a failure.
#include "Utilities/KCError.h"
#include "Utilities/KCURL.h"
#include "Utilities/KCValue.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Whether the URL-loading system may keep the response; the numbering is the
// one the engine glue maps onto its own cache settings.
enum class PMURLCacheStoragePolicy : int {
    Allowed = 0,
    AllowedInMemoryOnly = 1,
    NotAllowed = 2,
};

struct PMURLResponse {
    std::optional<KCURL> URL;
    std::optional<std::string> MIMEType;
    int64_t expectedContentLength = -1;  // -1: unknown
    std::optional<std::string> textEncodingName;
    std::vector<std::pair<std::string, std::string>> HTTPHeaderFields;
};

class PMURLProtocolClient {
public:
    virtual ~PMURLProtocolClient() = default;

    virtual void didReceiveResponse(const PMURLResponse& response, PMURLCacheStoragePolicy policy) = 0;
    // The body is shared, not copied, so that an adapter can hand the same
    // bytes to the engine; null when there is no data.
    virtual void didLoadData(std::shared_ptr<const KCData> data) = 0;
    virtual void didFinishLoading() = 0;
    virtual void didFailWithError(const KCError& error) = 0;
};
