// Predicate formats from arbitrary bytes: the first line is the format, the
// rest gives its arguments. Parsing, evaluating and compiling to SQL must
// never crash or hang, whatever the format.
#include "Database/KCManagedObjectModel.h"
#include "Database/KCPredicate.h"
#include "Utilities/KCLogger.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

struct Empty : KCKeyValueReading {
    const KCValue& valueForKey(std::string_view) const override { return KCNullValue(); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Malformed formats are logged; keep the log quiet while fuzzing.
    static const bool quiet = (KCLogger::sharedLogger()->setFilter(std::string("\x01")), true);
    (void)quiet;
    static const auto model = KCManagedObjectModel::modelWithJSON(
        R"({"version": 1, "entities": [{"name": "E", "attributes": [{"name": "a", "type": "string"}, {"name": "b", "type": "integer64"}, {"name": "annotationDeleted", "type": "boolean"}]}]})");
    std::string_view input(reinterpret_cast<const char*>(data), size);
    size_t newline = input.find('\n');
    std::string_view format = input.substr(0, newline);
    std::string_view rest = newline == std::string_view::npos ? std::string_view() : input.substr(newline + 1);
    const KCValue arguments[] = {KCValue::fromUTF8(rest), KCValue(static_cast<int64_t>(size)), KCValue(KCArray {KCValue(1), KCValue::fromUTF8(rest)}),
        KCValue(u"a"), KCValue(), KCValue(KCDate {1.5})};
    auto predicate = KCPredicate::predicateWithFormat(format, arguments);
    if (!predicate)
        return 0;
    predicate->evaluateWithObject(Empty());
    predicate->predicateFormat();
    std::string sql;
    std::vector<KCValue> bindings;
    predicate->appendSQL(*model->entityNamed("E"), sql, bindings, nullptr);
    return 0;
}
