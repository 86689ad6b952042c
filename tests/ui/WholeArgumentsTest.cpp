#include "ui/WholeArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace slicewise {
namespace {

using testing::ElementsAre;

TEST(WholeArguments, marksWhatIsInBracketsAndTakesTheMarkAway)
{
    const std::array<const char *, 6> typed = {"program", "[a,b]", "[]", "[open", "closed]", "\1[a]"};
    std::vector<std::string> arguments = keptWhole(static_cast<int>(typed.size()), typed.data());
    EXPECT_THAT(arguments, ElementsAre("program", "\1[a,b]", "\1[]", "[open", "closed]", "\1\1[a]"));
    asTyped(arguments);
    EXPECT_THAT(arguments, ElementsAre("program", "[a,b]", "[]", "[open", "closed]", "\1[a]"));
}

TEST(WholeArguments, leaveNoMarkInASentence)
{
    std::string sentence = "not expected: \1[a,b] \1[c]";
    asTypedWithin(sentence);
    EXPECT_EQ(sentence, "not expected: [a,b] [c]");
}

} // namespace
} // namespace slicewise
