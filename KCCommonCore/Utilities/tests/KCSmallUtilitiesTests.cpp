#include "Utilities/KCAssertionHandler.h"
#include "Utilities/KCCasts.h"
#include "Utilities/PMAssetUtilities.h"

#include "KCTestFiles.h"

#include <gtest/gtest.h>

namespace {

struct Shape : KCObject {};
struct Circle : Shape {};
struct Drawable {
    virtual ~Drawable() = default;
};
struct Named {
    virtual ~Named() = default;
};
struct Badge : Shape, Drawable, Named {};
struct Sticker : Shape, Named {};

TEST(KCCasts, AnswerTheValueOnlyForItsKind)
{
    std::shared_ptr<KCObject> circle = std::make_shared<Circle>();
    std::shared_ptr<KCObject> badge = std::make_shared<Badge>();
    std::shared_ptr<KCObject> sticker = std::make_shared<Sticker>();
    EXPECT_EQ(KCDynamicCast<Circle>(badge), nullptr);
    EXPECT_EQ(KCDynamicCast<Circle>(std::shared_ptr<KCObject>()), nullptr);
    EXPECT_EQ((KCClassAndProtocolCast<Shape, Drawable, Named>(badge)), badge);
    EXPECT_EQ((KCClassAndProtocolCast<Shape, Named, Drawable>(sticker)), nullptr);
    EXPECT_EQ((KCClassAndProtocolCast<Circle>(badge)), nullptr);

    // Values: only an object of the kind, only a value of the type; never a null value.
    KCValue number(42), text(u"42"), null;
    EXPECT_EQ(KCDynamicCast<Circle>(number), nullptr);
    EXPECT_NE(KCDynamicCast<Shape>(KCValue(circle)), nullptr);
    EXPECT_EQ(KCTypeIDCast(KCValue::Kind::String, &number), nullptr);
    EXPECT_EQ(KCTypeIDCast(KCValue::Kind::String, &text), &text);
    EXPECT_EQ(KCTypeIDCast(KCValue::Kind::Null, &null), nullptr);
}

TEST(PMAssetUtilities, ContentTypeFromLowerCasedExtension)
{
    const std::pair<const char*, int> cases[] = {{"/books/Moby Dick.EPUB", 1}, {"manual.Pdf", 3}, {"/a/b.pagemoor", 4},
        {"/books/noextension", 0}, {"/books.epub/chapter", 0}, {"notes.txt", 0}, {"", 0}};
    for (const auto& [path, type] : cases)
        EXPECT_EQ(PMAssetUtilities::contentTypeForPath(path), type) << path;
}

TEST(KCAssertionHandler, FailedAssertionIsLoggedAndExecutionContinues)
{
    int reached = 0;
    KCStdoutCapture capture;
    KCAssert(reached == 0, "never logged");
    int line = __LINE__ + 1;
    KCAssert(reached == 1, "reached %d of %@", reached, std::string("two"));
    reached = 2;
    std::string output = capture.finish();

    EXPECT_EQ(reached, 2);
    std::string expected = KCStringWithFormat("*** Assertion failure: TestBody %s:%d reached 0 of two\n", __FILE__, line);
    EXPECT_TRUE(output.ends_with(expected)) << output;
    EXPECT_EQ(output.find("never logged"), std::string::npos);
}

} // namespace
