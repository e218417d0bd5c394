#include "KCURLAdditions.h"

#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCStringConversion.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <cstdlib>
#include <mutex>

const char* const KCDefaultStoreHost = "store.pagemoor.example";
const char* const KCStoreHostEnvironmentVariable = "PAGEMOOR_STORE_HOST";

namespace {

constexpr std::string_view kStoreBookScheme = "qvst-books";

bool equalsIgnoringASCIICase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && g_ascii_strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::mutex& storeHostLock()
{
    static std::mutex lock;
    return lock;
}

std::optional<std::string>& configuredStoreHost()
{
    static std::optional<std::string> host;
    return host;
}

// A URL with another scheme, the same host and the same (still encoded) path.
std::optional<KCURL> URLWithSchemeHostAndPath(std::string_view scheme, const std::string& host, const char* encodedPath)
{
    KCGCharPointer text(g_uri_join(G_URI_FLAGS_ENCODED, std::string(scheme).c_str(), nullptr, host.c_str(), -1, encodedPath, nullptr, nullptr));
    return text ? KCURL::URLWithString(text.get()) : std::nullopt;
}

} // namespace

const std::set<std::string>& KCURLAdditions::supportedPagemoorStoreURLSchemes()
{
    static const std::set<std::string> schemes {"qvst", "qvsts", "qvst-books", "qvst-bookss", "marinet", "deskwharf", "deskwharfs"};
    return schemes;
}

const std::set<std::string>& KCURLAdditions::supportedPagemoorURLSchemes()
{
    static const std::set<std::string> schemes = [] {
        std::set<std::string> all {"http", "https", "mailto", "qvst-lyceum", "urn"};
        all.insert(supportedPagemoorStoreURLSchemes().begin(), supportedPagemoorStoreURLSchemes().end());
        return all;
    }();
    return schemes;
}

std::string KCURLAdditions::storeHost()
{
    {
        std::lock_guard lock(storeHostLock());
        if (configuredStoreHost())
            return *configuredStoreHost();
    }
    const char* fromEnvironment = std::getenv(KCStoreHostEnvironmentVariable);
    return fromEnvironment && *fromEnvironment ? fromEnvironment : KCDefaultStoreHost;
}

void KCURLAdditions::setStoreHost(std::optional<std::string> host)
{
    std::lock_guard lock(storeHostLock());
    configuredStoreHost() = std::move(host);
}

std::optional<std::u16string> KCURLAdditions::ISBNForURI(const KCURL& URL)
{
    if (!equalsIgnoringASCIICase(URL.scheme(), "urn"))
        return std::nullopt;
    std::u16string path = KCUTF16FromUTF8(URL.path());
    size_t colon = path.find(u':');
    if (colon == std::u16string::npos || path.find(u':', colon + 1) != std::u16string::npos)
        return std::nullopt;
    icu::UnicodeString label(false, path.data(), static_cast<int32_t>(colon));
    if (label.caseCompare(icu::UnicodeString(u"isbn"), U_FOLD_CASE_DEFAULT) != 0)
        return std::nullopt;

    std::u16string isbn;
    for (char16_t c : std::u16string_view(path).substr(colon + 1)) {
        if (c != u'-')
            isbn.push_back(c);
    }
    if (isbn.size() == 13)
        return isbn;
    if (isbn.size() != 10)
        return std::nullopt;

    // ISBN-10 to ISBN-13: the old check character is dropped, EAN-13's computed.
    std::u16string converted = u"978" + isbn.substr(0, 9);
    int sum = 0;
    for (size_t i = 0; i < converted.size(); ++i) {
        char16_t c = converted[i];
        if (c < u'0' || c > u'9')
            return std::nullopt;
        sum += (c - u'0') * (i % 2 == 0 ? 1 : 3);
    }
    converted.push_back(static_cast<char16_t>(u'0' + (sum % 10 == 0 ? 0 : 10 - sum % 10)));
    return converted;
}

std::optional<KCURL> KCURLAdditions::storeURLforISBN(std::optional<std::u16string_view> isbn)
{
    if (!isbn)
        return std::nullopt;
    KCGCharPointer escaped(g_uri_escape_string(KCUTF8FromUTF16(*isbn).c_str(), nullptr, false));
    std::string path = "/book/isbn" + std::string(escaped.get());
    return URLWithSchemeHostAndPath(kStoreBookScheme, storeHost(), path.c_str());
}

std::optional<KCURL> KCURLAdditions::storeURLforISBNURI(const KCURL& URL)
{
    auto isbn = ISBNForURI(URL);
    return isbn ? storeURLforISBN(*isbn) : std::nullopt;
}

bool KCURLAdditions::isStoreURL(const KCURL& URL)
{
    return !URL.host().empty() && equalsIgnoringASCIICase(URL.host(), storeHost());
}

bool KCURLAdditions::isStoreBook(const KCURL& URL)
{
    if (!isStoreURL(URL))
        return false;
    if (URL.scheme().starts_with(kStoreBookScheme))
        return true;
    icu::UnicodeString path = icu::UnicodeString::fromUTF8(URL.path());
    // Root rules: under a Turkish default locale "ISBN" would lower to a dotless ı.
    path.toLower(icu::Locale::getRoot());
    return path.indexOf(icu::UnicodeString(u"/book/")) >= 0 || path.indexOf(icu::UnicodeString(u"/books/isbn")) >= 0;
}

KCURL KCURLAdditions::storeURL(const KCURL& URL)
{
    if (!isStoreBook(URL))
        return URL;
    // The path is taken as the URL writes it, so that escapes survive.
    KCGUriPointer parsed(g_uri_parse(URL.absoluteString().c_str(), G_URI_FLAGS_ENCODED, nullptr));
    if (!parsed)
        return URL;
    return URLWithSchemeHostAndPath(kStoreBookScheme, URL.host(), g_uri_get_path(parsed.get())).value_or(URL);
}
