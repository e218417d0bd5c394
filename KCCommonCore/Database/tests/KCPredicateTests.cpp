#include "Database/KCPredicate.h"
#include "KCStoreTestSupport.h"

#include <gtest/gtest.h>

namespace {

struct Record : KCKeyValueReading {
    KCDictionary values;
    const KCValue& valueForKey(std::string_view key) const override
    {
        const KCValue* value = values.find(key);
        return value ? *value : KCNullValue();
    }
};

Record record(KCDictionary values)
{
    Record r;
    r.values = std::move(values);
    return r;
}

TEST(KCPredicate, QueryFormatsParseAndEvaluate)
{
    KCArray books {KCValue(u"A"), KCValue(u"B")};
    KCArray userTypes {KCValue(1), KCValue(2)};
    Record live = record({{"annotationAssetID", u"A"}, {"annotationUuid", u"U1"}, {"annotationType", 2}, {"annotationDeleted", false},
        {"annotationLocation", u"loc"}, {"plLocationRangeStart", 5}});
    Record deleted = record({{"annotationAssetID", u"A"}, {"annotationUuid", u"U2"}, {"annotationType", 3}, {"annotationDeleted", true},
        {"plLocationRangeStart", -1}});

    struct Case {
        std::shared_ptr<const KCPredicate> predicate;
        bool live, deleted;
    };
    const Case cases[] = {
        {KCPredicate::predicateWithFormat("annotationAssetID == %@ AND annotationUuid == %@", u"A", u"U1"), true, false},
        {KCPredicate::predicateWithFormat("annotationUuid == %@ AND annotationType != %d ", u"U2", 3), false, false},
        {KCPredicate::predicateWithFormat("annotationUuid IN %@ AND annotationAssetID == %@", KCArray {KCValue(u"U1"), KCValue(u"U2")}, u"A"), true, true},
        {KCPredicate::predicateWithFormat("(1 == %d OR annotationDeleted == 0)", 0), true, false},
        {KCPredicate::predicateWithFormat("(1 == %d OR annotationDeleted == 0)", 1), true, true},
        {KCPredicate::predicateWithFormat("annotationAssetID IN %@ AND (1 == %d OR annotationDeleted == 0)", books, 1), true, true},
        {KCPredicate::predicateWithFormat("annotationAssetID IN (%@) AND annotationType IN (%@) and (1 == %d OR annotationDeleted == 0)", books, userTypes, 1), true, false},
        {KCPredicate::predicateWithFormat("annotationAssetID ==[n] %@ AND annotationType == %d AND annotationDeleted == 0 AND plLocationRangeStart >= 0", u"A", 2), true, false},
        {KCPredicate::predicateWithFormat("annotationLocation = %@ AND (1 == %d OR annotationDeleted == 0)", u"loc", 1), true, false},
        {KCPredicate::predicateWithFormat("%K != NULL", u"annotationLocation"), true, false},
        {KCPredicate::predicateWithFormat("NOT (annotationType IN {1, 2}) || plLocationRangeStart < -0.5"), false, true},
        {KCPredicate::predicateWithFormat("annotationType > 1 AND annotationType <= 2 OR annotationUuid == 'U2'"), true, true},
        {KCPredicate::predicateWithFormat("TRUEPREDICATE"), true, true},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        ASSERT_TRUE(cases[i].predicate) << i;
        EXPECT_EQ(cases[i].predicate->evaluateWithObject(live), cases[i].live) << i << ": " << cases[i].predicate->predicateFormat();
        EXPECT_EQ(cases[i].predicate->evaluateWithObject(deleted), cases[i].deleted) << i << ": " << cases[i].predicate->predicateFormat();
    }
}

TEST(KCPredicate, NullAndTypeSemantics)
{
    Record empty;
    Record dated = record({{"when", KCDate {100.5}}, {"title", u"x"}});
    EXPECT_TRUE(KCPredicate::predicateWithFormat("title == nil")->evaluateWithObject(empty));
    EXPECT_TRUE(KCPredicate::predicateWithFormat("title != 'x'")->evaluateWithObject(empty));
    EXPECT_FALSE(KCPredicate::predicateWithFormat("count < 3")->evaluateWithObject(empty));
    EXPECT_FALSE(KCPredicate::predicateWithFormat("title IN %@", KCArray {})->evaluateWithObject(dated));
    EXPECT_TRUE(KCPredicate::predicateWithFormat("when > %@", KCDate {100.0})->evaluateWithObject(dated));
    EXPECT_TRUE(KCPredicate::predicateWithFormat("when == %f", 100.5)->evaluateWithObject(dated));
    // %d reads 32 bits, as C does; %lld the whole value.
    EXPECT_TRUE(KCPredicate::predicateWithFormat("4294967297 == %lld AND 1 == %d", int64_t(4294967297), int64_t(4294967297))->evaluateWithObject(empty));
}

TEST(KCPredicate, MalformedFormatsFailCleanly)
{
    const char* formats[] = {"", "title ==", "(title == 1", "title == 1)", "title == 1 count", "AND", "title IN 3",
        "title ==[c] 'x'", "title == 'open", "title == 1 AND", "== 1", "%@ == %@", "title == %q", "title", "NOT title",
        "{1, title} IN {1}", "(title) AND (count)", "1 == 2 == 3", "title == 12abc", "title ~ 1", "%K == 1"};
    for (const char* format : formats) {
        KCError error;
        KCValue argument(1);
        EXPECT_FALSE(KCPredicate::predicateWithFormat(format, std::span<const KCValue>(&argument, 1), &error)) << format;
        EXPECT_EQ(error.code, KCStoreErrorInvalidPredicate) << format;
    }
    std::string deep(5000, '(');
    EXPECT_FALSE(KCPredicate::predicateWithFormat(deep + "1 == 1" + std::string(5000, ')')));
    std::string negations;
    for (int i = 0; i < 5000; ++i)
        negations += "NOT ";
    EXPECT_FALSE(KCPredicate::predicateWithFormat(negations + "1 == 1"));
}

TEST(KCPredicate, CompilesToSQLWithBoundValuesOnly)
{
    auto model = KCTestModel();
    const KCEntityDescription& item = *model->entityNamed("Item");
    auto predicate = KCPredicate::predicateWithFormat("title == %@ AND (count IN %@ OR flag != NULL) AND 1 == %d", u"x' OR '1'='1", KCArray {KCValue(1), KCValue(2)}, 0);
    std::string sql;
    std::vector<KCValue> bindings;
    ASSERT_TRUE(predicate->appendSQL(item, sql, bindings, nullptr));
    EXPECT_EQ(sql, "(\"title\" IS ? AND (\"count\" IN (?,?) OR \"flag\" IS NOT ?) AND ? IS ?)");
    ASSERT_EQ(bindings.size(), 6u);
    EXPECT_EQ(bindings[0], KCValue(u"x' OR '1'='1"));
    EXPECT_TRUE(bindings[3].isNull());

    KCError error;
    sql.clear();
    EXPECT_FALSE(KCPredicate::predicateWithFormat("nosuchkey IN {}")->appendSQL(item, sql, bindings, &error));
    EXPECT_EQ(error.code, KCStoreErrorUnknownKey);
}

} // namespace
