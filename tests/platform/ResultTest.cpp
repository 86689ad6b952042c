#include "platform/Result.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <variant>

namespace slicewise {
namespace {

TEST(Result, holdsAValueAndNoError)
{
    const Result<std::string> result(std::string("text"));
    EXPECT_TRUE(result.ok());
    EXPECT_TRUE(static_cast<bool>(result));
    EXPECT_EQ(result.error(), 0);
    EXPECT_EQ(result.value(), "text");
    EXPECT_EQ(*result, "text");
    EXPECT_EQ(result->size(), 4U);
}

TEST(Result, holdsAnErrorAndThrowsWhereItsValueIsTaken)
{
    const Result<std::string> result(ErrorNumber{EACCES});
    EXPECT_FALSE(result.ok());
    EXPECT_FALSE(static_cast<bool>(result));
    EXPECT_EQ(result.error(), EACCES);
    EXPECT_THROW(static_cast<void>(result.value()), std::bad_variant_access);
}

TEST(Result, tellsANumberThatIsItsValueFromAnError)
{
    const Result<int> result(ENOENT);
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.error(), 0);
    EXPECT_EQ(*result, ENOENT);
}

TEST(Result, handsOutAValueThatCanOnlyBeMoved)
{
    Result<std::unique_ptr<int>> result(std::make_unique<int>(7));
    const std::unique_ptr<int> taken = std::move(result).value();
    EXPECT_EQ(*taken, 7);
}

TEST(Result, letsItsValueBeChanged)
{
    Result<std::string> result(std::string("a"));
    result->append("b");
    *result += "c";
    result.value() += "d";
    EXPECT_EQ(*result, "abcd");
}

} // namespace
} // namespace slicewise
