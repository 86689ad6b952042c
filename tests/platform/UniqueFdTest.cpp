#include "platform/UniqueFd.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <utility>

namespace slicewise {
namespace {

int openSomething()
{
    return ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

bool isOpen(int descriptor)
{
    return ::fcntl(descriptor, F_GETFD) >= 0;
}

TEST(UniqueFd, isEmptyUntilItIsGivenADescriptor)
{
    const UniqueFd empty;
    EXPECT_FALSE(static_cast<bool>(empty));
    EXPECT_EQ(empty.get(), -1);
    EXPECT_FALSE(static_cast<bool>(UniqueFd(-1)));
}

TEST(UniqueFd, takesDescriptorZeroForOne)
{
    UniqueFd zero(0);
    EXPECT_TRUE(static_cast<bool>(zero));
    EXPECT_EQ(zero.release(), 0);
}

TEST(UniqueFd, closesAtTheEndOfItsLife)
{
    const int descriptor = openSomething();
    ASSERT_GE(descriptor, 0);
    {
        const UniqueFd owner(descriptor);
        EXPECT_TRUE(isOpen(descriptor));
    }
    EXPECT_FALSE(isOpen(descriptor));
}

TEST(UniqueFd, closesTheOldOneWhenItIsReset)
{
    UniqueFd owner(openSomething());
    const int old = owner.get();
    const int fresh = openSomething();
    owner.reset(fresh);
    EXPECT_FALSE(isOpen(old));
    EXPECT_EQ(owner.get(), fresh);
    owner.reset();
    EXPECT_FALSE(isOpen(fresh));
    EXPECT_FALSE(static_cast<bool>(owner));
}

TEST(UniqueFd, leavesTheReleasedOneOpen)
{
    UniqueFd owner(openSomething());
    const int descriptor = owner.release();
    EXPECT_FALSE(static_cast<bool>(owner));
    EXPECT_TRUE(isOpen(descriptor));
    EXPECT_EQ(::close(descriptor), 0);
}

TEST(UniqueFd, handsOverWhenItIsMovedAndClosesWhatTheTargetHad)
{
    UniqueFd from(openSomething());
    const int descriptor = from.get();
    UniqueFd to(std::move(from));
    EXPECT_FALSE(static_cast<bool>(from)); // NOLINT(bugprone-use-after-move): empty is what it promises to be
    EXPECT_EQ(to.get(), descriptor);

    UniqueFd other(openSomething());
    const int replaced = other.get();
    other = std::move(to);
    EXPECT_FALSE(isOpen(replaced));
    EXPECT_EQ(other.get(), descriptor);
    EXPECT_TRUE(isOpen(descriptor));
}

TEST(UniqueFd, survivesBeingMovedToItself)
{
    UniqueFd owner(openSomething());
    const int descriptor = owner.get();
    UniqueFd &same = owner;
    owner = std::move(same);
    EXPECT_EQ(owner.get(), descriptor);
    EXPECT_TRUE(isOpen(descriptor));
}

} // namespace
} // namespace slicewise
