#include "Utilities/KCFormat.h"

#include <gtest/gtest.h>

namespace {

TEST(KCFormat, SystemTexts)
{
    EXPECT_EQ(KCStringWithFormat("Failed to add persistentStore {%@} error {%@}", std::string("/tmp/a.sqlite"), u"bad"),
        "Failed to add persistentStore {/tmp/a.sqlite} error {bad}");
    EXPECT_EQ(KCStringWithFormat("%.2f%% of bits turned on.", 12.3456), "12.35% of bits turned on.");
    EXPECT_EQ(KCStringWithFormat("{%@, %@}", KCValue(200), KCValue(300.5)), "{200, 300.5}");
    EXPECT_EQ(KCStringWithFormat("Error: Expected resources for pageRef: %p", reinterpret_cast<void*>(0x1234)),
        "Error: Expected resources for pageRef: 0x1234");
    EXPECT_EQ(KCStringWithFormat("%p", nullptr), "0x0");
    EXPECT_EQ(KCStringWithFormat("%f", 1.0), "1.000000");
    EXPECT_EQ(KCStringWithFormat("%s %@", "func", std::string("msg")), "func msg");
}

TEST(KCFormat, LengthModifiersBehaveAsInC)
{
    EXPECT_EQ(KCStringWithFormat("%d", int64_t(4294967297)), "1");  // an int reads the low 32 bits
    EXPECT_EQ(KCStringWithFormat("%ld %lld", int64_t(-4294967297), int64_t(-4294967297)), "-4294967297 -4294967297");
    EXPECT_EQ(KCStringWithFormat("%u %lu %llu", -1, uint64_t(1) << 40, UINT64_MAX), "4294967295 1099511627776 18446744073709551615");
    EXPECT_EQ(KCStringWithFormat("%x %lx", -1, uint64_t(0xABCDEF0123)), "ffffffff abcdef0123");
    // "%lull" is "%lu" followed by the letters "ll".
    EXPECT_EQ(KCStringWithFormat("%lull", uint64_t(25)), "25ll");
    EXPECT_EQ(KCStringWithFormat("%05d|%-4d|%+d", 42, 7, 3), "00042|7   |+3");
}

TEST(KCFormat, MissingAndMismatchedArgumentsAreSafe)
{
    EXPECT_EQ(KCStringWithFormat("%@ and %d"), "(null) and 0");
    EXPECT_EQ(KCStringWithFormat("%d", std::string("text")), "0");
    EXPECT_EQ(KCStringWithFormat("%@", 12), "12");
    EXPECT_EQ(KCStringWithFormat("%@", KCValue()), "(null)");
    EXPECT_EQ(KCStringWithFormat("100%% sure %q %"), "100% sure %q %");
    EXPECT_EQ(KCStringWithFormat("%d %d", 1), "1 0");
}

} // namespace
