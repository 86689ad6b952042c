#include "ui/WholeArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(WholeArguments, areMarkedWhereTheyStandInBracketsUntilTheMarkIsTakenAway)
{
    const std::array<const char *, 6> typed = {"program", "[a,b]", "[]", "[open", "closed]", "\1[a]"};
    std::vector<std::string> arguments = keptWhole(static_cast<int>(typed.size()), typed.data());
    EXPECT_THAT(arguments, ElementsAre("\1\1[a]", "closed]", "[open", "\1[]", "\1[a,b]"));
    asTyped(arguments);
    EXPECT_THAT(arguments, ElementsAre("\1[a]", "closed]", "[open", "[]", "[a,b]"));
}

TEST(WholeArguments, areNoneWhereNotEvenTheProgramIsNamed)
{
    const char *const nothing = nullptr;
    EXPECT_THAT(keptWhole(0, &nothing), IsEmpty());
}

TEST(WholeArguments, leaveNoMarkInASentence)
{
    std::string sentence = "not expected: \1[a,b] \1[c]";
    asTypedWithin(sentence);
    EXPECT_EQ(sentence, "not expected: [a,b] [c]");
}

} // namespace
} // namespace slicewise
