#include "platform/DatabaseWatch.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace slicewise {
namespace {

TEST(DatabaseWatch, instructionsAreCountedFromTheBeginningOn)
{
    DatabaseWatch watch(1000, nullptr);
    EXPECT_FALSE(watch.isOverAfter(900));
    watch.begin();
    EXPECT_FALSE(watch.isOverAfter(900));
    EXPECT_FALSE(watch.isOverAfter(100));
    EXPECT_FALSE(watch.isOver());
    EXPECT_TRUE(watch.isOverAfter(1));
    EXPECT_TRUE(watch.isOver());
    EXPECT_NO_THROW(watch.rethrow());
}

TEST(DatabaseWatch, whatIsOverStaysOver)
{
    int asked = 0;
    DatabaseWatch watch(1000, [&asked] { return ++asked == 1; });
    EXPECT_TRUE(watch.isOver());
    EXPECT_TRUE(watch.isOver());
    EXPECT_EQ(asked, 1);
}

TEST(DatabaseWatch, whatStopRaisesIsRaisedLater)
{
    DatabaseWatch watch(1000, []() -> bool { throw std::domain_error("stop"); });
    EXPECT_NO_THROW(watch.rethrow());
    EXPECT_TRUE(watch.isOver());
    EXPECT_THROW(watch.rethrow(), std::domain_error);
}

TEST(DatabaseWatch, whatStandsAsideMayRaise)
{
    DatabaseWatch watch(1000, nullptr);
    bool ran = false;
    watch.standAside([&ran] { ran = true; });
    EXPECT_TRUE(ran);
    EXPECT_THROW(watch.standAside([] { throw std::domain_error("row"); }), std::domain_error);
    EXPECT_FALSE(watch.isOver());
}

} // namespace
} // namespace slicewise
