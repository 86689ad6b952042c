// What the set-user-id bit does to a process, with a real one that another user starts.
#include "tests/support/InChild.h"
#include "tests/support/RunProgram.h"
#include "tests/support/SetUserIdCopy.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char *kAtEntry = "entry real 65534 effective 65534 saved 0\n";

class SetUserId : public testing::Test {
protected:
    void SetUp() override
    {
        if (!m_program.why().empty()) {
            GTEST_SKIP() << "There is no set-user-id program to start: " << m_program.why();
        }
    }

    [[nodiscard]] ProgramRun probe(const std::vector<std::string> &arguments) const
    {
        ProgramRun run{.arguments = {m_program.path()}};
        run.arguments.insert(run.arguments.end(), arguments.begin(), arguments.end());
        run.user = kOrdinaryUser;
        run.group = kOrdinaryUser;
        return run;
    }

    [[nodiscard]] static std::string outputOf(ProgramRun run)
    {
        // Looking for leaks a sanitizer would trace its own process, which nobody may do with this one.
        run.environment.emplace_back("ASAN_OPTIONS", "detect_leaks=0");
        const ProgramResult result = runProgram(run);
        EXPECT_EQ(result.exitStatus, 0) << result.standardError;
        return result.standardOutput;
    }

    [[nodiscard]] const std::string &program() const { return m_program.path(); }

private:
    SetUserIdCopy m_program{SLICEWISE_SET_USER_ID_PROBE};
};

TEST_F(SetUserId, rightAfterTheStartTheEffectiveUserIsTheRealOneAndTheSavedIdIsRootsStill)
{
    EXPECT_THAT(outputOf(probe({"facts"})), AllOf(StartsWith(kAtEntry), HasSubstr("set-user-id yes\n")));
}

TEST_F(SetUserId, onlyTheThreadThatRemovesIsRootAndOnlyMeanwhile)
{
    // Each line once: a sanitizer has a thread of its own, which is one of the others.
    std::istringstream output(outputOf(probe({"threads"})));
    std::vector<std::string> lines;
    for (std::string line; std::getline(output, line);) {
        if (lines.empty() || lines.back() != line) {
            lines.push_back(line);
        }
    }
    EXPECT_THAT(lines, ElementsAre("entry real 65534 effective 65534 saved 0", "before main effective 65534",
                                   "before other effective 65534", "during main effective 0",
                                   "during other effective 65534", "after main effective 65534",
                                   "after other effective 65534"));
}

TEST_F(SetUserId, nothingOfTheCallersEnvironmentIsLeftButHowToWrite)
{
    ProgramRun run = probe({"facts"});
    run.environment = {
        {"PATH", "/tmp/evil"},
        {"LD_PRELOAD", "/nowhere.so"},
        {"LD_LIBRARY_PATH", "/tmp"},
        {"QT_PLUGIN_PATH", "/tmp"},
        {"QT_QPA_PLATFORM", "offscreen"},
        {"QML2_IMPORT_PATH", "x"},
        {"IFS", "x"},
        {"ENV", "/tmp/x"},
        {"BASH_ENV", "/tmp/x"},
        {"TMPDIR", "/tmp/x"},
        {"HOME", "/tmp"},
        {"DPKG_ROOT", "/tmp"},
        {"DPKG_ADMINDIR", "/tmp"},
        {"PERL5LIB", "/tmp"},
        {"SHELL", "/tmp/sh"},
        {"MALLOC_CHECK_", "3"},
        {"XDG_CONFIG_HOME", "/tmp"},
        {"TERM", "xterm"},
        {"LANG", "C.UTF-8"},
        {"LC_ALL", "../../tmp/evil"},
        {"NO_COLOR", "a\nb"},
    };
#if !defined(__SANITIZE_THREAD__)
    // Even where the loader does not use it, it then has no room for that sanitizer's variables.
    run.environment.emplace_back("LD_AUDIT", "/tmp");
#endif
    const std::string output = outputOf(run);
    EXPECT_THAT(output,
                HasSubstr("variable PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin\n"));
    EXPECT_THAT(output, AllOf(HasSubstr("variable TERM=xterm\n"), HasSubstr("variable LANG=C.UTF-8\n")));
    for (const char *name : {"LD_", "QT_", "QML", "IFS", "ENV=", "TMPDIR", "HOME", "DPKG", "PERL", "SHELL",
                             "MALLOC", "XDG", "LC_ALL", "NO_COLOR", "evil"}) {
        EXPECT_THAT(output, Not(HasSubstr(name)));
    }
}

TEST_F(SetUserId, theCallersDescriptorsAreClosedAndItsUmaskIsNot)
{
    ProgramRun run = probe({});
    run.arguments = {"/bin/sh", "-c", "umask 0; exec 7</dev/null 9</; exec \"$0\" facts", program()};
    const std::string output = outputOf(run);
    EXPECT_THAT(output, HasSubstr("umask 022\n"));
    EXPECT_THAT(output, HasSubstr("descriptor 0\ndescriptor 1\ndescriptor 2\n"));
    EXPECT_THAT(output, Not(ContainsRegex("descriptor [3-9]")));
}

TEST_F(SetUserId, aCommandRunsAsRootInAllThreeIdsAndWeAreTheUserAgainAfterwards)
{
    EXPECT_EQ(outputOf(probe({"run", "grep", "^Uid:", "/proc/self/status"})),
              std::string(kAtEntry) + "Uid:\t0\t0\t0\t0\nstatus 0\n"
                                      "afterwards real 65534 effective 65534 saved 0\n");
}

TEST_F(SetUserId, aCommandIsLookedForOnAPathOfOursWhateverTheCallersIs)
{
    const TemporaryDirectory directory;
    directory.writeFile("dpkg", "#!/bin/sh\necho fake\n");
    directory.setMode("dpkg", 0755);
    ProgramRun run = probe({"run", "dpkg", "--version"});
    run.environment = {{"PATH", directory.path() + ":/usr/bin:/bin"}};
    EXPECT_THAT(outputOf(run), AllOf(HasSubstr("Debian"), Not(HasSubstr("fake"))));
}

TEST_F(SetUserId, aCommandGetsNothingThatTheUserHasPutUp)
{
    ProgramRun run = probe({});
    run.arguments = {"/bin/sh", "-c",
                     "cd /tmp; umask 0; ulimit -S -f 1; ulimit -S -t 1000; exec 7</dev/null; "
                     "exec \"$0\" run sh -c 'pwd; umask; ulimit -f; ulimit -t; ls /proc/$$/fd; env'",
                     program()};
    const std::string output = outputOf(run);
    EXPECT_THAT(output, StartsWith(std::string(kAtEntry) + "/\n0022\nunlimited\nunlimited\n0\n1\n2\n"));
    EXPECT_THAT(output, Not(HasSubstr("\n7\n")));
}

// What a script opens by "/dev/stderr" is opened anew, with the rights of who runs it.
TEST_F(SetUserId, aCommandCanNotWriteToWhatTheUserHasOpenedForReadingOnly)
{
    const TemporaryDirectory directory;
    directory.writeFile("root's", "as it was");
    directory.setMode("root's", 0644);
    for (const std::string stream : {"stdout", "stderr"}) {
        ProgramRun run = probe({});
        run.arguments = {"/bin/sh", "-c",
                         std::string("exec \"$0\" run sh -c 'echo from root > /dev/") + stream + "' " +
                             (stream == "stdout" ? "1" : "2") + "<\"$1\"",
                         program(), directory.pathOf("root's")};
        static_cast<void>(runProgram(run));
        std::ifstream file(directory.pathOf("root's"));
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "as it was") << stream;
    }
}

TEST_F(SetUserId, aCommandCanNotReadWhatTheUserHasOpenedForWritingOnly)
{
    const TemporaryDirectory directory;
    directory.writeFile("root's", "a secret");
    directory.setMode("root's", 0622);
    ProgramRun run = probe({});
    run.arguments = {"/bin/sh", "-c", "exec \"$0\" run cat /dev/stdin 0>>\"$1\"", program(),
                     directory.pathOf("root's")};
    EXPECT_EQ(outputOf(run), std::string(kAtEntry) + "status 0\n"
                                                     "afterwards real 65534 effective 65534 saved 0\n");
}

TEST_F(SetUserId, rightsThatAreGivenUpDoNotComeBack)
{
    EXPECT_EQ(outputOf(probe({"give-up"})), std::string(kAtEntry) +
                                                "given up real 65534 effective 65534 saved 65534\n"
                                                "root again: no\nset-user-id no\n");
}

TEST_F(SetUserId, startedByRootItselfNothingChanges)
{
    ProgramRun run = probe({"facts"});
    run.user = std::nullopt;
    run.environment = {{"SOMETHING", "/of/mine"}};
    const std::string output = outputOf(run);
    EXPECT_THAT(output, StartsWith("entry real 0 effective 0 saved 0\nset-user-id no\n"));
    EXPECT_THAT(output, HasSubstr("variable SOMETHING=/of/mine\n"));
}

TEST(WithoutTheBit, takingRootsRightsFailsAndTheCommandRunsAsTheUser)
{
    ProgramRun run{.arguments = {SLICEWISE_SET_USER_ID_PROBE, "run", "grep", "^Uid:", "/proc/self/status"}};
    run.environment = {{"SOMETHING", "/of/mine"}};
    asOrdinaryUser([&] {
        const ProgramResult result = runProgram(run);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_THAT(result.standardOutput, Not(HasSubstr("effective 0")));
        EXPECT_THAT(result.standardOutput, Not(HasSubstr("\t0\t")));
        EXPECT_THAT(result.standardOutput, HasSubstr("status 0\n"));
    });
}

} // namespace
} // namespace slicewise
