#include "Utilities/KCKeyedArchive.h"
#include "Utilities/KCKeyedArchivePlist.h"
#include "Utilities/tests/KCTestFiles.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <functional>
#include <thread>
#include <tuple>

namespace {

// An object with one field of every kind the coder stores.
struct Sample : KCCoding {
    std::string name = "PMSample";
    KCData bytes;
    int64_t count = 0;
    double ratio = 0;
    bool flag = false;
    KCValue child;
    KCDictionaryEntries entries;

    std::string classNameForCoder() const override { return name; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override
    {
        coder.encodeBytes(bytes.data(), bytes.size(), "bytes");
        coder.encodeInt64(count, "count");
        coder.encodeDouble(ratio, "ratio");
        coder.encodeBool(flag, "flag");
        coder.encodeObject(child, "child");
        coder.encodeDictionary(entries, "entries");
    }

    static std::shared_ptr<KCObject> decode(KCKeyedUnarchiver& coder)
    {
        auto bytes = coder.decodeBytes("bytes");
        auto count = coder.decodeInt64("count");
        auto ratio = coder.decodeDouble("ratio");
        auto flag = coder.decodeBool("flag");
        auto entries = coder.decodeDictionary("entries");
        if (!bytes || !count || !ratio || !flag || !entries)
            return nullptr;
        if (*count < 0 && *ratio < 0) {
            coder.failWithReason("negative count and ratio");
            return nullptr;
        }
        auto sample = std::make_shared<Sample>();
        sample->bytes = std::move(*bytes);
        sample->count = *count;
        sample->ratio = *ratio;
        sample->flag = *flag;
        sample->child = coder.decodeObject("child");
        sample->entries = std::move(*entries);
        return sample;
    }
};

class KCKeyedArchiveTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { KCKeyedUnarchiver::registerClass("PMSample", Sample::decode); }

    static std::optional<KCValue> roundTrip(const KCValue& root)
    {
        return KCKeyedUnarchiver::unarchivedRootObject(KCKeyedArchiver::archivedDataWithRootObject(root));
    }

    static std::shared_ptr<Sample> makeSample(int64_t count)
    {
        auto sample = std::make_shared<Sample>();
        sample->bytes = {0, 1, 2, 0xFF};
        sample->count = count;
        sample->ratio = 0.25;
        sample->flag = true;
        return sample;
    }

    static auto scalars(const Sample& sample) { return std::tuple(sample.bytes, sample.count, sample.ratio, sample.flag); }

    static KCData serialised(plist_t node)
    {
        char* bytes = nullptr;
        uint32_t length = 0;
        plist_to_bin(node, &bytes, &length);
        KCData result(bytes, bytes + length);
        plist_to_bin_free(bytes);
        plist_free(node);
        return result;
    }

    // Parses an archive, lets the test change its tree and writes it again.
    static KCData rewritten(const KCData& archive, const std::function<void(plist_t)>& change)
    {
        plist_t top = nullptr;
        plist_from_bin(reinterpret_cast<const char*>(archive.data()), uint32_t(archive.size()), &top);
        EXPECT_NE(top, nullptr);
        change(top);
        return serialised(top);
    }

    // The first archived dictionary that has the key.
    static plist_t entryWith(plist_t top, const char* key)
    {
        plist_t found = nullptr;
        KCPlistForEachItem(objectsOf(top), [&](plist_t entry) {
            if (plist_get_node_type(entry) == PLIST_DICT && plist_dict_get_item(entry, key))
                found = entry;
            return !found;
        });
        EXPECT_TRUE(found) << "no entry with " << key;
        return found ? found : plist_new_dict();  // leaks only when the test already failed
    }

    static plist_t objectsOf(plist_t top) { return plist_dict_get_item(top, "$objects"); }
};

TEST_F(KCKeyedArchiveTest, PlainValuesRoundTrip)
{
    KCDictionary dictionary {{"text", KCValue(u"caf\u00e9 \U0001F600")}, {"null", KCValue(u"$null")}, {"number", KCValue(-7)}, {"", KCValue(u"")}};
    // Unsigned integers from 2^63 up keep their sign: equality tells them from their negative twins.
    KCArray array {KCValue(true), KCValue(false), KCValue(int64_t(INT64_MIN)), KCValue(INT64_MAX), KCValue(int64_t(-1)), KCValue(uint64_t(1) << 63),
        KCValue(UINT64_MAX), KCValue(1.5), KCValue(), KCValue(KCData {9, 8}), KCValue(KCDate {123456.5}),
        KCValue(*KCURL::URLWithString("https://example.org/a?b=c")), KCValue(dictionary)};
    for (const KCValue& value : array) {
        auto decoded = roundTrip(value);
        ASSERT_TRUE(decoded) << value.description();
        EXPECT_EQ(*decoded, value) << value.description();
        EXPECT_EQ(decoded->kind(), value.kind());
    }
    EXPECT_EQ(roundTrip(KCValue(array)), KCValue(array));
    EXPECT_EQ(roundTrip(KCValue(KCArray {})), KCValue(KCArray {}));
}

TEST_F(KCKeyedArchiveTest, NestedObjectsRoundTripWithEveryField)
{
    auto inner = makeSample(-3);
    inner->bytes.clear();
    inner->flag = false;
    inner->ratio = 1e-300;
    auto outer = makeSample(INT64_MAX);
    outer->child = KCArray {inner, KCValue(u"\U00010348 gothic")};
    outer->entries = {{KCValue(1), inner}, {KCValue(u"key"), KCValue(2.5)}, {KCValue(-4), KCValue()}};

    auto decoded = roundTrip(outer);
    ASSERT_TRUE(decoded);
    auto sample = decoded->objectAs<Sample>();
    ASSERT_TRUE(sample);
    EXPECT_EQ(scalars(*sample), scalars(*outer));
    ASSERT_TRUE(sample->child.array());
    ASSERT_EQ(sample->child.array()->size(), 2u);
    EXPECT_EQ((*sample->child.array())[1], KCValue(u"\U00010348 gothic"));
    auto decodedInner = (*sample->child.array())[0].objectAs<Sample>();
    ASSERT_TRUE(decodedInner);
    EXPECT_EQ(scalars(*decodedInner), scalars(*inner));

    ASSERT_EQ(sample->entries.size(), 3u);
    EXPECT_EQ(sample->entries[0].first, KCValue(1));
    // One object written once is one object when read.
    EXPECT_EQ(sample->entries[0].second.objectAs<Sample>(), decodedInner);
    EXPECT_EQ(sample->entries[1], (std::pair {KCValue(u"key"), KCValue(2.5)}));
    EXPECT_EQ(sample->entries[2].first, KCValue(-4));
    EXPECT_TRUE(sample->entries[2].second.isNull());
}

TEST_F(KCKeyedArchiveTest, FieldsOfAnotherTypeAnswerNothing)
{
    struct Probe : KCCoding {
        std::string classNameForCoder() const override { return "PMProbe"; }
        void encodeWithCoder(KCKeyedArchiver& coder) const override
        {
            coder.encodeInt64(5, "int");
            coder.encodeObject(KCValue(u"text"), "text");
            KCDictionaryEntries numberKeyed {{KCValue(1), KCValue(2)}};
            coder.encodeDictionary(numberKeyed, "numberKeyed");
        }
    };
    auto answers = std::make_shared<std::vector<std::string>>();
    KCKeyedUnarchiver::registerClass("PMProbe", [answers](KCKeyedUnarchiver& coder) -> std::shared_ptr<KCObject> {
        EXPECT_TRUE(coder.containsValueForKey("int"));
        EXPECT_FALSE(coder.containsValueForKey("missing"));
        EXPECT_FALSE(coder.decodeBytes("int"));
        EXPECT_FALSE(coder.decodeBool("int"));
        EXPECT_EQ(coder.decodeDouble("int"), 5.0);
        EXPECT_FALSE(coder.decodeInt64("text"));
        EXPECT_FALSE(coder.decodeDictionary("text"));
        EXPECT_TRUE(coder.decodeObject("int").isNull());
        EXPECT_TRUE(coder.decodeObject("missing").isNull());
        // A dictionary with number keys only reads as entries.
        EXPECT_TRUE(coder.decodeObject("numberKeyed").isNull());
        auto entries = coder.decodeDictionary("numberKeyed");
        EXPECT_TRUE(entries && entries->size() == 1 && (*entries)[0].first == KCValue(1));
        answers->push_back(coder.decodeObject("text").utf8String());
        return std::make_shared<Probe>();
    });
    EXPECT_TRUE(roundTrip(std::make_shared<Probe>()));
    EXPECT_EQ(*answers, std::vector<std::string> {"text"});
}

TEST_F(KCKeyedArchiveTest, ArchiveIsAValidBinaryPlistSharingClassDescriptions)
{
    auto shared = makeSample(1);
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCArray {shared, makeSample(2), shared, KCValue(u"a"), KCValue(u"a"), KCValue(UINT64_MAX)});
    // Parsed as binary: a text plist would leave no tree.
    rewritten(archive, [](plist_t top) {
        int sampleClasses = 0, samples = 0, strings = 0;
        KCPlistForEachItem(objectsOf(top), [&](plist_t entry) {
            if (plist_get_node_type(entry) == PLIST_STRING && KCPlistStringValue(entry) == "a")
                ++strings;
            if (plist_get_node_type(entry) == PLIST_DICT) {
                plist_t name = plist_dict_get_item(entry, "$classname");
                sampleClasses += name && KCPlistStringValue(name) == "PMSample";
                samples += plist_dict_get_item(entry, "count") != nullptr;
            }
            return true;
        });
        EXPECT_EQ(sampleClasses, 1);
        EXPECT_EQ(samples, 2);
        EXPECT_EQ(strings, 1);
        EXPECT_EQ(plist_uint_val_compare(plist_dict_get_item(top, "$version"), 100000), 0);
    });

    int status = 0;
    std::string xml = KCPlistAsXML(archive, status);
    EXPECT_EQ(status, 0) << xml;
    EXPECT_NE(xml.find("<key>$archiver</key>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<string>NSKeyedArchiver</string>"), std::string::npos);
    EXPECT_NE(xml.find("18446744073709551615"), std::string::npos) << xml;  // read unsigned as written
}

TEST_F(KCKeyedArchiveTest, CorruptedArchivesAnswerNothing)
{
    auto sample = makeSample(7);
    sample->child = KCArray {KCValue(u"x"), makeSample(8)};
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(sample);
    ASSERT_TRUE(KCKeyedUnarchiver::unarchivedRootObject(archive));

    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject({}));
    // Damaged bytes are the fuzz target's; every truncation is refused.
    for (size_t length = 0; length < archive.size(); ++length)
        EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(std::span(archive).first(length))) << length;
}

TEST_F(KCKeyedArchiveTest, MalformedLayoutsAnswerNothing)
{
    auto sample = makeSample(1);
    sample->entries = {{KCValue(1), KCValue(2)}};
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(sample);
    ASSERT_TRUE(KCKeyedUnarchiver::unarchivedRootObject(archive));
    auto setField = [](const char* entryKey, const char* key, plist_t (*make)()) {
        return [=](plist_t top) { plist_dict_set_item(entryWith(top, entryKey), key, make()); };
    };
    std::vector<std::pair<const char*, std::function<void(plist_t)>>> changes {
        {"no archiver", [](plist_t top) { plist_dict_remove_item(top, "$archiver"); }},
        {"objects not an array", [](plist_t top) { plist_dict_set_item(top, "$objects", plist_new_dict()); }},
        {"no root", [](plist_t top) { plist_dict_set_item(top, "$top", plist_new_dict()); }},
        {"root out of range", [](plist_t top) { plist_dict_set_item(plist_dict_get_item(top, "$top"), "root", plist_new_uid(999)); }},
        {"dangling field", setField("count", "child", [] { return plist_new_uid(1u << 30); })},
        {"self reference", setField("count", "child", [] { return plist_new_uid(1); })},
        {"class not a description", setField("count", "$class", [] { return plist_new_uid(0); })},
        {"class not a reference", setField("count", "$class", [] { return plist_new_uint(0); })},
        {"uneven dictionary", [](plist_t top) { plist_array_append_item(plist_dict_get_item(entryWith(top, "NS.keys"), "NS.keys"), plist_new_uid(0)); }},
        {"keys not references", setField("NS.keys", "NS.keys", [] {
             plist_t keys = plist_new_array();
             plist_array_append_item(keys, plist_new_uint(1));
             return keys;
         })},
        {"factory fails", [](plist_t top) {
             plist_dict_set_item(entryWith(top, "count"), "count", plist_new_uint(uint64_t(-1)));
             plist_dict_set_item(entryWith(top, "count"), "ratio", plist_new_real(-1));
         }},
    };
    for (const auto& [name, change] : changes)
        EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(rewritten(archive, change))) << name;

    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(serialised(plist_new_array())));
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(serialised(plist_new_string("NSKeyedArchiver"))));
}

TEST_F(KCKeyedArchiveTest, CyclesAndUnknownClassesAnswerNothing)
{
    auto first = makeSample(1);
    auto second = makeSample(2);
    first->child = second;
    second->child = KCArray {first};
    KCData mutual = KCKeyedArchiver::archivedDataWithRootObject(first);
    first->child = first;
    KCData self = KCKeyedArchiver::archivedDataWithRootObject(first);
    first->child = {};  // breaks the reference cycles
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(mutual));
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(self));

    auto unknown = makeSample(3);
    unknown->name = "PMUnregisteredSample";
    EXPECT_FALSE(roundTrip(KCArray {unknown}));

    // Nesting deeper than the decoder follows is refused; shallower is read.
    auto nested = [](int depth) {
        KCValue value(u"leaf");
        for (int level = 0; level < depth; ++level)
            value = KCArray {value};
        return value;
    };
    EXPECT_TRUE(roundTrip(nested(60)));
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(KCKeyedArchiver::archivedDataWithRootObject(nested(200))));
}

// Hand-made binary plists whose header and trailer lie about their contents.
KCData binaryPlist(std::vector<std::vector<uint8_t>> objects, uint8_t referenceWidth, uint64_t declaredCount = 0)
{
    KCData bytes {'b', 'p', 'l', 'i', 's', 't', '0', '0'};
    std::vector<uint16_t> offsets;
    for (const auto& object : objects) {
        offsets.push_back(uint16_t(bytes.size()));
        bytes.insert(bytes.end(), object.begin(), object.end());
    }
    uint64_t table = bytes.size();
    for (uint16_t offset : offsets) {
        bytes.push_back(uint8_t(offset >> 8));
        bytes.push_back(uint8_t(offset));
    }
    bytes.insert(bytes.end(), 6, 0);
    bytes.push_back(2);
    bytes.push_back(referenceWidth);
    for (uint64_t field : {declaredCount ? declaredCount : objects.size(), uint64_t(0), table}) {
        for (int shift = 56; shift >= 0; shift -= 8)
            bytes.push_back(uint8_t(field >> shift));
    }
    return bytes;
}

TEST_F(KCKeyedArchiveTest, HostileBinaryPlistsAreRefusedQuickly)
{
    // Each array holds the next one twice: parsing by copying would build 2^40 nodes.
    std::vector<std::vector<uint8_t>> doubling;
    for (uint8_t level = 0; level < 40; ++level)
        doubling.push_back({0xA2, uint8_t(level + 1), uint8_t(level + 1)});
    doubling.push_back({0x10, 1});
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(binaryPlist(doubling, 1)));

    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(binaryPlist({{0x10, 1}}, 1, uint64_t(1) << 60)));
    // An array claiming 2^62 references in a few bytes.
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(binaryPlist({{0xAF, 0x13, 0x40, 0, 0, 0, 0, 0, 0, 0, 1}, {0x10, 1}}, 1)));
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(binaryPlist({{0xA1, 0}}, 1)));
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(binaryPlist({{0xA1, 5}}, 1)));
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(binaryPlist({{0x10, 1}}, 9)));

    // One 4000-byte string referenced 3000 times: 12 MB from 7 KB once copied.
    std::vector<uint8_t> manyReferences {0xAF, 0x11, 0x0B, 0xB8};
    manyReferences.insert(manyReferences.end(), 3000, 1);
    std::vector<uint8_t> longString {0x5F, 0x11, 0x0F, 0xA0};
    longString.insert(longString.end(), 4000, 'x');
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(binaryPlist({manyReferences, longString}, 1)));
}

TEST_F(KCKeyedArchiveTest, ManyFieldsSharingOneLargeDictionaryAreRefused)
{
    KCArray samples;
    for (int index = 0; index < 400; ++index)
        samples.push_back(makeSample(index));
    for (int64_t key = 0; key < 400; ++key)
        samples[0].objectAs<Sample>()->entries.emplace_back(KCValue(key), KCValue());
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(samples);
    ASSERT_TRUE(KCKeyedUnarchiver::unarchivedRootObject(archive));

    KCData shared = rewritten(archive, [](plist_t top) {
        plist_t first = plist_dict_get_item(entryWith(top, "count"), "entries");
        uint64_t dictionary = 0;
        plist_get_uid_val(first, &dictionary);
        KCPlistForEachItem(objectsOf(top), [&](plist_t entry) {
            if (plist_get_node_type(entry) == PLIST_DICT && plist_dict_get_item(entry, "entries"))
                plist_dict_set_item(entry, "entries", plist_new_uid(dictionary));
            return true;
        });
    });
    EXPECT_FALSE(KCKeyedUnarchiver::unarchivedRootObject(shared));
}

TEST_F(KCKeyedArchiveTest, RegistrationAndDecodingRunConcurrently)
{
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(KCArray {makeSample(1), makeSample(2)});
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int round = 0; round < 50; ++round) {
                KCKeyedUnarchiver::registerClass("PMConcurrent" + std::to_string(thread * 100 + round), Sample::decode);
                EXPECT_TRUE(KCKeyedUnarchiver::unarchivedRootObject(archive));
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
}

} // namespace
