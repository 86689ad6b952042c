#include "tests/cli/CliFixture.h"

#include <gmock/gmock.h>

namespace slicewise {
namespace {

using testing::HasSubstr;

class Classify : public CliFixture {};

TEST_F(Classify, writesEachPathATabAndItsCategoryPath)
{
    EXPECT_EQ(
        outputOf({"classify", "/usr/lib/libz.dylib", "/private/var/mobile/Library/SMS/sms.db", "/home/a"}),
        "/usr/lib/libz.dylib\tOperating System/usr/lib/libz.dylib\n"
        "/private/var/mobile/Library/SMS/sms.db\tMessages/sms.db\n"
        "/home/a\tOthers/home/a\n");
}

TEST_F(Classify, keepsItsLinesWhateverTheNamesAre)
{
    EXPECT_EQ(outputOf({"classify", "/a\tb\nc\x1b\xff"}),
              "/a\\x09b\\x0Ac\\x1B\\xFF\tOthers/a\\x09b\\x0Ac\\x1B\\xFF\n");
}

TEST_F(Classify, aPathThatIsNotFullIsRefusedAndTheOthersAreDone)
{
    const ProgramResult result = run({"classify", "relative", "/bin/sh"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput, "/bin/sh\tOperating System/bin/sh\n");
    EXPECT_EQ(result.standardError,
              "slicewise-cli: “relative” is not a full path on the device. Let it begin with “/”.\n");
}

TEST_F(Classify, aRootThatDoesNotExistIsOneSentence)
{
    const ProgramResult result =
        runProgram(program({"classify", "--root", folder().pathOf("missing"), "/a"}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardError, HasSubstr("There is no directory"));
    EXPECT_EQ(result.standardOutput, "");
}

} // namespace
} // namespace slicewise
