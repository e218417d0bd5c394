#include "Utilities/KCFormat.h"

#include "Utilities/tests/KCTestLocale.h"

#include <cmath>

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

TEST(KCFormat, NumbersIgnoreTheUsersLocale)
{
    for (const char* name : {"de_DE.UTF-8", "tr_TR.UTF-8"}) {
        SCOPED_TRACE(name);
        KC_IN_LOCALE(locale, name);
        EXPECT_EQ(KCStringWithFormat("%f", 723456789.123456), "723456789.123456");
        EXPECT_EQ(KCStringWithFormat("%g|%.2f", 0.25, 3.14159), "0.25|3.14");
        EXPECT_EQ(KCStringWithFormat("%'d", 1234567), "1234567");  // no grouping either
        EXPECT_EQ(KCDoubleFromString("723456789.123456"), 723456789.123456);
        EXPECT_EQ(KCLeadingDoubleValue(" 768.5px"), 768.5);
    }
}

TEST(KCFormat, ReadsOnlyDecimalNumbers)
{
    const std::pair<const char*, std::optional<double>> whole[] = {{"-1.5e3", -1500.0}, {"+2", 2.0}, {".5", 0.5}, {"", {}}, {"1,5", {}},
        {"0x50", {}}, {"inf", {}}, {"nan", {}}, {"1e999", {}}, {" 1", {}}, {"1 ", {}}, {"1e", {}}, {".", {}}};
    for (const auto& [text, value] : whole)
        EXPECT_EQ(KCDoubleFromString(text), value) << text;
    const std::pair<const char*, double> leading[] = {{"1e3x", 1000.0}, {"12e", 12.0}, {"0x50", 0.0}, {"inf", 0.0}, {"px", 0.0},
        {"-1e999", -HUGE_VAL}, {"1e-999", 0.0}};
    for (const auto& [text, value] : leading)
        EXPECT_EQ(KCLeadingDoubleValue(text), value) << text;
}

} // namespace
