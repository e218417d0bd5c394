#include "Utilities/KCStringConversion.h"
#include "Utilities/KCURL.h"
#include "Utilities/KCValue.h"

#include <gtest/gtest.h>

namespace {

TEST(KCValue, TypedAccessAnswersNothingForOtherKinds)
{
    KCValue number(42);
    EXPECT_EQ(number.string(), nullptr);
    EXPECT_EQ(number.boolValue(), true);
    EXPECT_FALSE(number.exactBoolean());
    EXPECT_FALSE(KCValue(u"42").int64Value());
    EXPECT_EQ(KCValue()["anything"].kind(), KCValue::Kind::Null);
    EXPECT_EQ(KCValue(std::shared_ptr<KCObject>()).kind(), KCValue::Kind::Null);
}

TEST(KCValue, NumbersCompareByValueAcrossKinds)
{
    EXPECT_EQ(KCValue(1), KCValue(1u));
    EXPECT_EQ(KCValue(1), KCValue(1.0));
    EXPECT_EQ(KCValue(true), KCValue(1));
    EXPECT_NE(KCValue(-1), KCValue(uint64_t(UINT64_MAX)));
    EXPECT_NE(KCValue(1), KCValue(u"1"));
    EXPECT_EQ(KCValue(-2.9).int64Value(), -2);
    EXPECT_EQ(KCValue(1e300).int64Value(), INT64_MAX);
}

TEST(KCDictionary, KeepsInsertionOrderAndReplacesInPlace)
{
    KCDictionary dictionary {{"b", 1}, {"a", 2}, {"c", 3}};
    dictionary.set("b", 4);
    EXPECT_EQ(KCValue(dictionary).description(), "{\n    b = 4;\n    a = 2;\n    c = 3;\n}");
    EXPECT_TRUE(dictionary.erase("b"));
    EXPECT_FALSE(dictionary.erase("b"));
    dictionary.set("d", 5);
    EXPECT_EQ(KCValue(dictionary).description(), "{\n    a = 2;\n    c = 3;\n    d = 5;\n}");
}

TEST(KCValue, DescriptionOfNestedContainers)
{
    KCValue value(KCDictionary {{"n", 1}, {"list", KCArray {KCValue(u"a"), KCValue(0.5)}}});
    EXPECT_EQ(value.description(), "{\n    n = 1;\n    list = (\n        a,\n        0.5\n    );\n}");
    EXPECT_EQ(KCValue(KCData {0xde, 0xad}).description(), "{length = 2, bytes = 0xdead}");
    EXPECT_EQ(KCValue(KCDate {0}).description(), "2001-01-01 00:00:00 +0000");
}

TEST(KCStringConversion, RoundTripsAndReplacesIllFormedInput)
{
    std::u16string text = u"caf\u00e9 \U0001F600";
    EXPECT_EQ(KCUTF16FromUTF8(KCUTF8FromUTF16(text)), text);
    EXPECT_EQ(KCUTF16FromUTF8("a\xff" "b"), u"a\uFFFDb");
    std::u16string loneSurrogate = {u'a', char16_t(0xD800), u'b'};
    EXPECT_FALSE(KCIsWellFormedUTF16(loneSurrogate));
    EXPECT_EQ(KCUTF8FromUTF16(loneSurrogate), "a\xEF\xBF\xBD" "b");
    EXPECT_TRUE(KCIsWellFormedUTF16(text));
    EXPECT_EQ(KCUTF16FromUTF8(""), u"");
}

TEST(KCURL, ComponentsOfFileAndOtherURLs)
{
    auto file = KCURL::fileURLWithPath("/tmp/Book Dir/OEBPS/fonts/A.OTF");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->absoluteString(), "file:///tmp/Book%20Dir/OEBPS/fonts/A.OTF");
    EXPECT_EQ(file->path(), "/tmp/Book Dir/OEBPS/fonts/A.OTF");
    EXPECT_FALSE(KCURL::fileURLWithPath("relative/path"));
    EXPECT_EQ(KCURL::URLWithString("HTTPS://Example.com/a/b.html?x=1&y=%20")->query(), "x=1&y=%20");
    EXPECT_EQ(KCURL::URLWithString("urn:isbn:9780306406157")->path(), "isbn:9780306406157");
    EXPECT_FALSE(KCURL::URLWithString("no scheme here"));

    // Relaxed parsing would end the host at ';' and leave a path that cannot
    // be written back; every URL answered must survive its own text.
    for (const char* text : {"https://example.o;g/x", "http://a;b", "https://example.org/a;b?c"}) {
        auto url = KCURL::URLWithString(text);
        ASSERT_TRUE(url) << text;
        auto again = KCURL::URLWithString(url->absoluteString());
        ASSERT_TRUE(again) << text;
        EXPECT_EQ(*again, *url) << text;
        EXPECT_EQ(again->host(), url->host()) << text;
    }
    EXPECT_EQ(KCURL::URLWithString("https://example.o;g/x")->host(), "example.o;g");
}

TEST(KCPath, ExtensionsAndComponents)
{
    EXPECT_EQ(KCLastPathComponent("/a/b/"), "b");
    EXPECT_EQ(KCLastPathComponent("/"), "/");
    EXPECT_EQ(KCPathExtension("/a/.hidden"), "");
    EXPECT_EQ(KCPathExtension("archive.tar.gz"), "gz");
    EXPECT_EQ(KCDeletingPathExtension("LoggerTests.mm"), "LoggerTests");
    EXPECT_EQ(KCDeletingPathExtension("dir.d/file"), "dir.d/file");
}

} // namespace
