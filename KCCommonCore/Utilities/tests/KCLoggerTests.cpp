#include "Utilities/KCLogger.h"

#include <gtest/gtest.h>

namespace {

TEST(KCLogger, TimeStampShape)
{
    std::string stamp = KCTimeStamp();
    ASSERT_EQ(stamp.size(), 23u);
    EXPECT_EQ(stamp[4], '-');
    EXPECT_EQ(stamp[10], ' ');
    EXPECT_EQ(stamp[19], '.');
}

} // namespace
