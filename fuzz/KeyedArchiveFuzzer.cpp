// Decodes arbitrary bytes as a keyed archive; whatever decodes must archive
// and decode again.
#include "Utilities/KCKeyedArchive.h"
#include "Utilities/KCLogger.h"

#include <cstdio>
#include <cstdlib>

namespace {

struct FuzzRecord : KCCoding {
    KCData bytes;
    int64_t number = 0;
    KCValue child;
    KCDictionaryEntries entries;

    std::string classNameForCoder() const override { return "PMFuzzRecord"; }
    void encodeWithCoder(KCKeyedArchiver& coder) const override
    {
        coder.encodeBytes(bytes.data(), bytes.size(), "bytes");
        coder.encodeInt64(number, "number");
        coder.encodeObject(child, "child");
        coder.encodeDictionary(entries, "entries");
    }

    static std::shared_ptr<KCObject> decode(KCKeyedUnarchiver& coder)
    {
        auto record = std::make_shared<FuzzRecord>();
        auto bytes = coder.decodeBytes("bytes");
        if (!bytes)
            return nullptr;
        record->bytes = std::move(*bytes);
        record->number = coder.decodeInt64("number").value_or(0);
        record->child = coder.decodeObject("child");
        record->entries = coder.decodeDictionary("entries").value_or(KCDictionaryEntries {});
        (void)coder.decodeDouble("number");
        (void)coder.decodeBool("flag");
        (void)coder.containsValueForKey("child");
        return record;
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    KCKeyedUnarchiver::registerClass("PMFuzzRecord", FuzzRecord::decode);
    // Refused input is the common case; keep its log lines out of the way.
    KCLogger::sharedLogger()->setFilter(std::string("\x01 no line matches"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto root = KCKeyedUnarchiver::unarchivedRootObject({data, size});
    if (!root)
        return 0;
    KCData archive = KCKeyedArchiver::archivedDataWithRootObject(*root);
    if (!KCKeyedUnarchiver::unarchivedRootObject(archive)) {
        std::fprintf(stderr, "A decoded root did not survive archiving again: %s\n", root->description().c_str());
        std::abort();
    }
    return 0;
}
