#include "Sharing/KCURLAdditions.h"

#include "Utilities/tests/KCTestLocale.h"

#include <gtest/gtest.h>

namespace {

KCURL url(const char* text)
{
    auto parsed = KCURL::URLWithString(text);
    EXPECT_TRUE(parsed) << text;
    return parsed ? *parsed : *KCURL::URLWithString("about:blank");
}

std::optional<std::u16string> isbn(const char* text)
{
    return KCURLAdditions::ISBNForURI(url(text));
}

TEST(KCURLAdditions, ISBNFromURNs)
{
    const std::pair<const char*, std::optional<std::u16string>> cases[] = {
        {"urn:isbn:0-306-40615-2", u"9780306406157"}, {"URN:ISBN:9780306406157", u"9780306406157"},
        // The ISBN-10 check character is dropped, not validated.
        {"urn:isbn:030640615X", u"9780306406157"}, {"urn:isbn:0306406151", u"9780306406157"}, {"urn:isbn:0-8044-2957-X", u"9780804429573"},
        // Check digit 0 when the weighted sum is a multiple of ten.
        {"urn:isbn:4-000-00000-1", u"9784000000000"},
        // Thirteen characters are passed through unexamined.
        {"urn:isbn:abcdefghijklm", u"abcdefghijklm"},
        // Not an ISBN URN, too short, or a letter O among the digits.
        {"urn:isbn:978:0306", {}}, {"urn:issn:12345678", {}}, {"urn:isbn:03064061", {}}, {"urn:isbn:", {}},
        {"urn:isbn:03064O615X", {}}, {"https://example.org/isbn:0306406152", {}}, {"urn:0306406152", {}},
    };
    for (const auto& [uri, expected] : cases)
        EXPECT_EQ(isbn(uri), expected) << uri;
}

TEST(KCURLAdditions, StoreURLs)
{
    KCURLAdditions::setStoreHost("books.example.net");
    EXPECT_TRUE(KCURLAdditions::isStoreURL(url("https://Books.Example.NET/anything")));
    EXPECT_FALSE(KCURLAdditions::isStoreURL(url("https://example.net/us/book/id1")));
    EXPECT_FALSE(KCURLAdditions::isStoreURL(url("mailto:reader@books.example.net")));
    EXPECT_FALSE(KCURLAdditions::isStoreBook(url("file:///us/book/id1")));

    KCURL book = url("https://books.example.net/us/BOOK/id123?mt=11");
    EXPECT_TRUE(KCURLAdditions::isStoreBook(book));
    EXPECT_EQ(KCURLAdditions::storeURL(book).absoluteString(), "qvst-books://books.example.net/us/BOOK/id123");
    EXPECT_TRUE(KCURLAdditions::isStoreBook(url("https://books.example.net/Books/ISBN9780306406157")));
    EXPECT_TRUE(KCURLAdditions::isStoreBook(url("qvst-books://books.example.net/")));

    KCURL notABook = url("https://books.example.net/us/author/id9?x=1");
    EXPECT_FALSE(KCURLAdditions::isStoreBook(notABook));
    EXPECT_EQ(KCURLAdditions::storeURL(notABook), notABook);

    auto fromURN = KCURLAdditions::storeURLforISBNURI(url("urn:isbn:0-306-40615-2"));
    ASSERT_TRUE(fromURN);
    EXPECT_EQ(fromURN->absoluteString(), "qvst-books://books.example.net/book/isbn9780306406157");
    EXPECT_TRUE(KCURLAdditions::isStoreBook(*fromURN));
    EXPECT_FALSE(KCURLAdditions::storeURLforISBN(std::nullopt));
    EXPECT_FALSE(KCURLAdditions::storeURLforISBNURI(url("urn:issn:12345678")));
}

TEST(KCURLAdditions, StoreHostFromTheEnvironment)
{
    KCURLAdditions::setStoreHost(std::nullopt);
    unsetenv(KCStoreHostEnvironmentVariable);
    EXPECT_EQ(KCURLAdditions::storeHost(), KCDefaultStoreHost);
    setenv(KCStoreHostEnvironmentVariable, "shop.example.com", 1);
    EXPECT_EQ(KCURLAdditions::storeHost(), "shop.example.com");
    EXPECT_TRUE(KCURLAdditions::isStoreURL(url("http://SHOP.example.com/")));
    KCURLAdditions::setStoreHost("other.example.com");
    EXPECT_EQ(KCURLAdditions::storeHost(), "other.example.com");
    KCURLAdditions::setStoreHost(std::nullopt);
    unsetenv(KCStoreHostEnvironmentVariable);
}

TEST(KCURLAdditions, StoreBooksIgnoreTheUsersLocale)
{
    KCURLAdditions::setStoreHost("books.example.net");
    {
        KC_IN_LOCALE(turkish, "tr_TR.UTF-8");
        EXPECT_TRUE(KCURLAdditions::isStoreBook(url("https://books.example.net/books/ISBN9780306406157")));
        EXPECT_TRUE(KCURLAdditions::isStoreURL(url("https://BOOKS.EXAMPLE.NET/")));
    }
    KCURLAdditions::setStoreHost(std::nullopt);
}

} // namespace
