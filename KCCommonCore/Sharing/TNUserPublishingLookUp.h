#pragma once
// What the host gives the user-publishing service: the look-up request
// class, registered by name and resolved when a look-up is made (none
// registered: look-ups disabled), and the synchronous page loader that
// fetches the e-mail body page. Both run on any thread.
// Errors: a request hands its error to its block; the page loader answers
// nothing and fills the error when the page could not be fetched.
#include "Utilities/KCError.h"
#include "Utilities/KCURL.h"
#include "Utilities/KCValue.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The name the service resolves its look-up class by.
extern const char* const kTNUserPublishingLookUpRequestClassName;  // "TNUserPublishingLookUpRequest"

// Called once, on the request's own thread, with the response bytes or an error.
using TNUserPublishingLookUpBlock = std::function<void(std::optional<KCData> response, std::optional<KCError> error)>;

class TNUserPublishingLookUpRequest {
public:
    virtual ~TNUserPublishingLookUpRequest() = default;
    virtual void startWithLookupBlock(TNUserPublishingLookUpBlock block) = 0;
    // After cancel the block is not called.
    virtual void cancel() = 0;

    // Seconds the request may take; 0 leaves it to the host.
    double timeoutInterval = 0;
};

struct TNUserPublishingLookUpClass {
    std::function<bool()> isEnabled;
    // The store page of a book, made without network traffic.
    std::function<std::optional<KCURL>(std::u16string_view storeId)> bookURLForStoreId;
    // Store ID -> product record; empty for a response that cannot be read.
    std::function<KCDictionary(const KCData& response)> resultsDictionaryFromLookUpResponse;
    std::function<std::shared_ptr<TNUserPublishingLookUpRequest>(std::vector<std::u16string> itemIDs, std::string keyProfile)> create;
};

// Registering nothing removes the name.
void TNRegisterUserPublishingLookUpClass(const std::string& name, std::optional<TNUserPublishingLookUpClass> lookUpClass);
std::optional<TNUserPublishingLookUpClass> TNUserPublishingLookUpClassNamed(const std::string& name);

struct TNUserPublishingPage {
    long statusCode = 0;  // 0 when the answer was not HTTP
    KCData body;
};

// GET of a URL within the time-out, in seconds.
using TNUserPublishingPageLoader = std::function<std::optional<TNUserPublishingPage>(const KCURL& url, double timeout, KCError* error)>;

// Nothing: no page is fetched.
void TNSetUserPublishingPageLoader(TNUserPublishingPageLoader loader);
TNUserPublishingPageLoader TNUserPublishingCurrentPageLoader();
