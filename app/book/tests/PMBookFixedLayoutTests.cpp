#include "book/PMBookFixedLayout.h"

#include <gtest/gtest.h>

namespace {

std::optional<PMPackage> package(const std::string& metadata, const std::string& spine)
{
    return PMParsePackage(R"(<package xmlns="http://www.idpf.org/2007/opf" version="3.0"><metadata>)" + metadata
            + R"(</metadata><manifest><item id="a" href="a.xhtml" media-type="application/xhtml+xml"/>)"
            + R"(<item id="b" href="b.xhtml" media-type="application/xhtml+xml"/></manifest>)" + spine + "</package>",
        "OPS/package.opf", nullptr);
}

TEST(PMBookFixedLayout, ThePackageSettingsAndTheItemsOwnOverrides)
{
    auto fixed = package(R"(<meta property="rendition:layout">pre-paginated</meta><meta property="rendition:spread">none</meta>)",
        R"(<spine page-progression-direction="rtl"><itemref idref="a" properties="page-spread-right"/>)"
        R"(<itemref idref="b" properties="rendition:layout-reflowable rendition:spread-both"/></spine>)");
    ASSERT_TRUE(fixed);
    EXPECT_TRUE(PMPackageIsRightToLeft(*fixed));
    auto first = PMSpineItemRendition(*fixed, 0), second = PMSpineItemRendition(*fixed, 1);
    EXPECT_TRUE(first.prePaginated);
    EXPECT_EQ(first.spread, PMPageSpread::None);
    EXPECT_EQ(first.side, PMPageSide::Right);
    EXPECT_FALSE(second.prePaginated);
    EXPECT_EQ(second.spread, PMPageSpread::Both);
    EXPECT_EQ(second.side, PMPageSide::Any);

    auto flowing = package("", R"(<spine><itemref idref="a"/><itemref idref="b" properties="rendition:layout-pre-paginated"/></spine>)");
    ASSERT_TRUE(flowing);
    EXPECT_FALSE(PMPackageIsRightToLeft(*flowing));
    EXPECT_FALSE(PMSpineItemRendition(*flowing, 0).prePaginated);
    EXPECT_TRUE(PMSpineItemRendition(*flowing, 1).prePaginated);
    EXPECT_EQ(PMSpineItemRendition(*flowing, 1).spread, PMPageSpread::Landscape);
}

TEST(PMBookFixedLayout, TheViewportGivesThePageSize)
{
    const struct {
        const char* content;
        std::optional<KCSize> size;
    } cases[] {
        {"width=600, height=837", KCSize {600, 837}},
        {"height = 1200;width=800.5", KCSize {800.5, 1200}},
        {"width=device-width, initial-scale=1", std::nullopt},
        {"width=600", std::nullopt},
    };
    for (const auto& viewport : cases) {
        SCOPED_TRACE(viewport.content);
        std::string document = R"(<html xmlns="http://www.w3.org/1999/xhtml"><head><meta name="viewport" content=")"
            + std::string(viewport.content) + R"("/></head><body/></html>)";
        EXPECT_EQ(PMViewportSizeOfDocument(document), viewport.size);
    }
    EXPECT_FALSE(PMViewportSizeOfDocument("<html><body/></html>"));
}

} // namespace
