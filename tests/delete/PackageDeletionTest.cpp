// Removing a package from the host itself, with a program in the package tool's place: the host's own is
// never asked.
#include "delete/PackageDeletion.h"

#include "platform/HostDevice.h"
#include "platform/UniqueFd.h"
#include "tests/delete/PackageFixture.h"
#include "tests/support/InChild.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/OpenDescriptors.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using namespace std::string_literals;

// Nobody has such a package.
const std::string kName = "slicewise-test-nobodys";
const std::string kRequiredBy = kName + " is required by ";

/// The log's line about a dry run's output; a line of the log has no newlines in it.
std::string logged(std::string_view output)
{
    std::string line = "DPKG Dry Run Output: ";
    for (const char byte : output) {
        line += byte == '\n' ? "\\x0A"s : std::string(1, byte);
    }
    return line;
}

Removal removeFromHost(const std::string &name = kName)
{
    const auto device = HostDevice::open("/").value();
    return removePackage(name, *device);
}

/// The tool's text that does one thing in a dry run and another in a removal.
std::string inDryRun(const std::string &dryRun, const std::string &removal)
{
    return fmt::format("if [ \"$1\" = --dry-run ]; then\n{}\nelse\n{}\nfi", dryRun, removal);
}

TEST(PackageDeletion, removesAfterADryRunThatSucceeds)
{
    const PackageProgram program("echo 'Would remove'");
    const std::set<int> descriptors = openDescriptors();
    const Removal removal = removeFromHost();
    EXPECT_TRUE(removal.result.removed);
    EXPECT_EQ(removal.result.errorText, std::nullopt);
    EXPECT_EQ(program.calls(), fmt::format("--dry-run|-r|{0}|\n-r|{0}|\n", kName));
    EXPECT_THAT(removal.lines, ElementsAre(logged("Would remove\n")));
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_TRUE(::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD);
}

TEST(PackageDeletion, removesNothingAfterADryRunThatFails)
{
    for (const char *end : {"exit 1", "exit 2", "exit 255", "kill -KILL $$", "kill -TERM $$"}) {
        const PackageProgram program("echo '  libfoo depends on x (>= 1.0).'\necho ' tool depends on x.'\n"s +
                                     end);
        const Removal removal = removeFromHost();
        EXPECT_FALSE(removal.result.removed) << end;
        EXPECT_EQ(removal.result.errorText, kRequiredBy + "libfoo and tool") << end;
        EXPECT_EQ(program.calls(), fmt::format("--dry-run|-r|{}|\n", kName)) << end;
        EXPECT_THAT(removal.lines,
                    ElementsAre(logged("  libfoo depends on x (>= 1.0).\n tool depends on x.\n")));
    }
}

TEST(PackageDeletion, hasNoErrorTextWhereTheRemovalFails)
{
    for (const int status : {1, 2, 100, 255}) {
        const PackageProgram program(
            inDryRun("exit 0", fmt::format("echo ' tool depends on x' >&2\nexit {}", status)));
        const Removal removal = removeFromHost();
        EXPECT_FALSE(removal.result.removed) << status;
        EXPECT_EQ(removal.result.errorText, std::nullopt) << status;
        EXPECT_EQ(program.calls(), fmt::format("--dry-run|-r|{0}|\n-r|{0}|\n", kName));
    }
}

TEST(PackageDeletion, takesARemovalThatASignalEndsForDone)
{
    const PackageProgram program(inDryRun("exit 0", "kill -KILL $$"));
    EXPECT_TRUE(removeFromHost().result.removed);
}

TEST(PackageDeletion, namesNobodyWhereThereIsNoTool)
{
    const TemporaryDirectory empty;
    const ScopedVariable path("PATH", empty.path());
    const Removal removal = removeFromHost();
    EXPECT_FALSE(removal.result.removed);
    EXPECT_EQ(removal.result.errorText, kRequiredBy);
    EXPECT_THAT(removal.lines, ElementsAre(logged("")));
}

// ---- what is read of a dry run

TEST(PackageDeletion, readsBothStreamsOfADryRunToItsEnd)
{
    const PackageProgram program("printf ' one dep' >&2\n/bin/true\nprintf 'ends on x\\n two depends '\n"
                                 "/bin/true\nprintf 'on x\\n' >&2\nexit 1");
    EXPECT_EQ(removeFromHost().result.errorText, kRequiredBy + "one and two");
}

TEST(PackageDeletion, readsTheFirst4095BytesOfADryRun)
{
    const TemporaryDirectory texts;
    const PackageProgram program(fmt::format("cat '{}'\nexit 1", texts.pathOf("output")));
    const std::string line = " tool depends on ";
    for (const std::size_t end : {4094U, 4095U, 4096U, 4097U, 5000U}) {
        std::string text(end - line.size() - 1, 'x');
        text += "\n" + line;
        ASSERT_EQ(text.size(), end);
        texts.writeFile("output", text + "y\n late depends on x\n");
        const Removal removal = removeFromHost();
        EXPECT_EQ(removal.result.errorText, kRequiredBy + (end <= 4095 ? "tool" : "")) << end;
        const std::string all = text + "y\n late depends on x\n";
        EXPECT_EQ(removal.lines, std::vector{logged(all.substr(0, 4095))}) << end;
    }
}

TEST(PackageDeletion, endsADryRunThatGoesOnWriting)
{
    const PackageProgram program("exec yes ' tool depends on x.'");
    const Removal removal = removeFromHost();
    EXPECT_FALSE(removal.result.removed);
    EXPECT_EQ(removal.result.errorText, kRequiredBy + "tool, tool, tool, tool and other packages");
    EXPECT_EQ(program.calls(), fmt::format("--dry-run|-r|{}|\n", kName));
    std::string all;
    while (all.size() < 4095) {
        all += " tool depends on x.\n";
    }
    EXPECT_EQ(removal.lines, std::vector{logged(all.substr(0, 4095))});
}

TEST(PackageDeletion, readsADryRunUpToANullByte)
{
    const PackageProgram program("printf ' one depends on x\\n\\000 two depends on x\\n'\nexit 1");
    const Removal removal = removeFromHost();
    EXPECT_EQ(removal.result.errorText, kRequiredBy + "one");
    EXPECT_THAT(removal.lines, ElementsAre(logged(" one depends on x\n")));
}

TEST(PackageDeletion, asksInALanguageThatItCanReadAndRemovesInTheUsers)
{
    const ScopedVariable locale("LC_ALL", "C.utf8");
    const PackageProgram program(
        inDryRun("echo $LC_ALL > \"$notes/asked\"", "echo $LC_ALL > \"$notes/removed\""));
    EXPECT_TRUE(removeFromHost().result.removed);
    EXPECT_EQ(program.note("asked"), "C\n");
    EXPECT_EQ(program.note("removed"), "C.utf8\n");
}

TEST(PackageDeletion, letsARemovalWriteToOurStandardStreams)
{
    const TemporaryDirectory directory;
    directory.makeFile("output");
    directory.setMode("output", 0666);
    const PackageProgram program(inDryRun("echo asked", "echo removing\necho warning >&2"));
    asOrdinaryUser([&] {
        const UniqueFd file(::open(directory.pathOf("output").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        ASSERT_EQ(::dup2(file.get(), STDOUT_FILENO), STDOUT_FILENO);
        ASSERT_EQ(::dup2(file.get(), STDERR_FILENO), STDERR_FILENO);
        EXPECT_TRUE(removeFromHost().result.removed);
    });
    EXPECT_EQ(contentOf(directory.pathOf("output")), "removing\nwarning\n");
}

// ---- rights

/// Says that root's rights are out of reach, though they are not: entering as a set-user-id program, a test
/// would lose its descriptors.
class CallsOfAPlainProgram final : public UserIdCalls {
public:
    [[nodiscard]] UserIdSet ids() const override
    {
        UserIdSet set = UserIdCalls::ids();
        set.saved = set.real;
        return set;
    }
};

TEST(PackageDeletion, asksWithTheUsersRightsAndRemovesWithRoots)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user and become root again";
    }
    constexpr const char *kPrintIds = "grep Uid: /proc/self/status";
    const PackageProgram program(inDryRun(fmt::format("{} > \"$notes/asked\"", kPrintIds),
                                          fmt::format("{} > \"$notes/removed\"", kPrintIds)));
    withOwnMounts([] { // as root in a child
        ASSERT_EQ(::setresuid(kOrdinaryUser, kOrdinaryUser, 0), 0);
        const CallsOfAPlainProgram calls;
        const auto device = HostDevice::open("/").value();
        EXPECT_TRUE(removePackage(kName, *device, Privileges::dropAtEntry(&calls)).result.removed);
        ::uid_t real = 0;
        ::uid_t effective = 0;
        ::uid_t saved = kOrdinaryUser;
        ASSERT_EQ(::getresuid(&real, &effective, &saved), 0);
        EXPECT_EQ(real, kOrdinaryUser);
        EXPECT_EQ(effective, kOrdinaryUser);
        EXPECT_EQ(saved, 0U);
    });
    EXPECT_EQ(program.note("asked"), fmt::format("Uid:\t{0}\t{0}\t{0}\t{0}\n", kOrdinaryUser));
    EXPECT_EQ(program.note("removed"), "Uid:\t0\t0\t0\t0\n");
}

TEST(PackageDeletion, removesWithTheUsersRightsWhereRootsAreOutOfReach)
{
    const PackageProgram program(inDryRun("exit 0", "[ $(id -u) != 0 ] && [ $(id -r -u) != 0 ]"));
    asOrdinaryUser([] { EXPECT_TRUE(removeFromHost().result.removed); });
}

// ---- names

TEST(PackageDeletion, runsNothingForWhatCanBeNoPackagesName)
{
    const PackageProgram program("exit 0");
    for (const std::string &name :
         {""s, "-"s, "-a"s, "--purge"s, "-Pbase-files"s, "a/b"s, "/"s, "./a.deb"s, "/a:amd64"s}) {
        const Removal removal = removeFromHost(name);
        EXPECT_FALSE(removal.result.removed) << name;
        EXPECT_EQ(removal.result.errorText, std::nullopt) << name;
        EXPECT_THAT(removal.lines, ElementsAre("No package can have the name \"" + name + "\""));
    }
    // A program would be told only what is in front of the null byte.
    EXPECT_THAT(removeFromHost("a\0b"s).lines, ElementsAre("No package can have the name \"a\\x00b\""));
    EXPECT_EQ(program.calls(), "");
}

TEST(PackageDeletion, handsAnyOtherNameOverAsItIs)
{
    for (const char *name : {"a", "libc6:amd64", "g++", "a-", "a b", "*", "$HOME", "ä", "\xff", "'"}) {
        const PackageProgram program("exit 0");
        EXPECT_TRUE(removeFromHost(name).result.removed) << name;
        EXPECT_EQ(program.calls(), fmt::format("--dry-run|-r|{0}|\n-r|{0}|\n", name));
    }
}

TEST(PackageDeletion, runsNothingForADeviceThatIsOnNoHost)
{
    const PackageProgram program("exit 0");
    MemoryDevice device({{"/usr/bin/file", 1}});
    const Removal removal = removePackage(kName, device);
    EXPECT_FALSE(removal.result.removed);
    const std::string sentence = kName + " can't be removed: the package tool has no way to the device";
    EXPECT_EQ(removal.result.errorText, sentence);
    EXPECT_THAT(removal.lines, ElementsAre(sentence));
    EXPECT_EQ(program.calls(), "");
}

} // namespace
} // namespace slicewise
