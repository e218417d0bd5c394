#pragma once
// What the reader and the page plug-in ask about links: the reader's and the
// store's URL schemes, store and store-book URLs, and ISBN URNs
// (urn:isbn:0-306-40615-2) turned into store links.
#include "Utilities/KCURL.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>

// The store's web host when nothing else is configured.
extern const char* const KCDefaultStoreHost;  // "store.pagemoor.example"
// Environment variable that names the store's web host.
extern const char* const KCStoreHostEnvironmentVariable;  // "PAGEMOOR_STORE_HOST"

class KCURLAdditions {
public:
    // Built once, on first use from any thread.
    static const std::set<std::string>& supportedPagemoorURLSchemes();
    static const std::set<std::string>& supportedPagemoorStoreURLSchemes();

    // The store host: set here, else $PAGEMOOR_STORE_HOST, else the default.
    static std::string storeHost();
    static void setStoreHost(std::optional<std::string> host);  // nothing: back to the environment

    // The ISBN-13 of an ISBN URN; an ISBN-10 is converted.
    static std::optional<std::u16string> ISBNForURI(const KCURL& URL);
    static std::optional<KCURL> storeURLforISBN(std::optional<std::u16string_view> isbn);
    static std::optional<KCURL> storeURLforISBNURI(const KCURL& URL);

    // Operations on a URL.
    static bool isStoreURL(const KCURL& URL);
    static bool isStoreBook(const KCURL& URL);
    // A store book's URL in the scheme that opens the book store directly;
    // any other URL unchanged.
    static KCURL storeURL(const KCURL& URL);
};
