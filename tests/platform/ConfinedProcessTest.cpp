// Programs that are trusted with one open file, and what they can't do.
#include "platform/ConfinedProcess.h"

#include "platform/HostDevice.h"
#include "platform/PropertyList.h"
#include "platform/Seclusion.h"
#include "tests/support/InChild.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

namespace slicewise {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr Confinement kLimits{.mostDataBytes = std::uint64_t{256} << 20U, .mostSeconds = 10};

class Confined : public testing::Test {
protected:
    /// A script of the shell, on a file with that content.
    [[nodiscard]] std::unique_ptr<ConfinedProcess> script(const std::string &text,
                                                          const Confinement &confinement = kLimits) const
    {
        directory.writeFile("file", "the content\n");
        const auto device = HostDevice::open(directory.path()).value();
        const auto file = device->openFile("/file").value();
        return ConfinedProcess::start("/bin/sh", {"-c", text}, file->descriptor().value().get(), confinement);
    }
    static std::string allOf(ConfinedProcess &process)
    {
        std::string all;
        std::array<std::byte, 4096> bytes{};
        while (true) {
            const auto received = process.receive(bytes, std::chrono::seconds(30));
            if (received.event != ConfinedProcess::Event::Bytes) {
                EXPECT_EQ(received.event, ConfinedProcess::Event::Ended);
                return all;
            }
            all.append(reinterpret_cast<const char *>(bytes.data()), received.length);
        }
    }
    TemporaryDirectory directory;
};

TEST_F(Confined, readsTheFileAndAnswers)
{
    EXPECT_EQ(allOf(*script("cat")), "the content\n");
}

TEST_F(Confined, keepsTheVariablesThatItIsToldTo)
{
    ASSERT_EQ(::setenv("SLICEWISE_TEST_KEPT", "a value", 1), 0);
    ASSERT_EQ(::unsetenv("SLICEWISE_TEST_UNSET"), 0);
    Confinement confinement = kLimits;
    confinement.keptVariables = {"SLICEWISE_TEST_KEPT", "SLICEWISE_TEST_UNSET"};
    const std::string print = "echo \"$SLICEWISE_TEST_KEPT\" ${SLICEWISE_TEST_UNSET+set}";
    EXPECT_EQ(allOf(*script(print, confinement)), "a value\n");
    EXPECT_EQ(allOf(*script(print)), "\n");
    ::unsetenv("SLICEWISE_TEST_KEPT");
}

TEST_F(Confined, hasNoHomeToPutAnythingInto)
{
    EXPECT_EQ(allOf(*script("mkdir -p \"$HOME/.config\" 2>/dev/null && echo made || echo refused")),
              "refused\n");
}

TEST_F(Confined, hearsWhatItIsSent)
{
    const auto process = script("read line <&1; echo \"heard $line\"");
    const std::string line = "hello\n";
    EXPECT_TRUE(process->send(std::as_bytes(std::span(line))));
    EXPECT_EQ(allOf(*process), "heard hello\n");
}

TEST_F(Confined, hasNoEnvironmentOfOursAndNoOtherDescriptor)
{
    EXPECT_THAT(allOf(*script("env; for n in 0 1 2 3 4 5 6 7 8 9; do test -e /proc/$$/fd/$n && echo has $n; "
                              "done; ulimit -f; ulimit -c; ulimit -t")),
                testing::AllOf(HasSubstr("HOME=/dev/null\n"), testing::Not(HasSubstr("USER=")),
                               HasSubstr("\nhas 0\nhas 1\nhas 2\n0\n0\n10\n")));
}

TEST_F(Confined, writesNoFile)
{
    static_cast<void>(allOf(*script("echo x > '" + directory.pathOf("made") + "'")));
    std::ifstream made(directory.pathOf("made"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(made), {}), "");
}

TEST_F(Confined, gainsNoRights)
{
    EXPECT_THAT(allOf(*script("grep NoNewPrivs /proc/self/status")), HasSubstr("\t1\n"));
}

TEST_F(Confined, isKilledWithItsObject)
{
    auto process = script("sleep 1000 & sleep 1000");
    const ::pid_t id = process->process();
    EXPECT_EQ(::kill(id, 0), 0);
    process.reset();
    EXPECT_NE(::kill(id, 0), 0);
}

TEST_F(Confined, isKilledWhenWeEndWithoutAWord)
{
    // The other end stays open for as long as somebody has the pipe, which is the confined process alone.
    directory.makeFifo("alive");
    inChild([&] {
        const ::pid_t child = ::fork();
        if (child == 0) {
            const auto process = script("exec 3>'" + directory.pathOf("alive") + "'; exec sleep 1000");
            std::array<std::byte, 1> bytes{};
            static_cast<void>(process->receive(bytes, std::chrono::seconds(60)));
            ::_exit(0);
        }
        {
            std::ifstream alive(directory.pathOf("alive")); // waits until it is there
            ::kill(child, SIGKILL);
            EXPECT_EQ(alive.get(), std::char_traits<char>::eof()) << "it has gone too";
        }
        ::waitpid(child, nullptr, 0);
    });
}

TEST_F(Confined, canBeWaitedForWithAnEndAndWoken)
{
    const auto process = script("exec sleep 1000");
    std::array<std::byte, 16> bytes{};
    EXPECT_EQ(process->receive(bytes, std::chrono::milliseconds(1)).event, ConfinedProcess::Event::TimedOut);
    std::thread([&] { process->wake(); }).join();
    EXPECT_EQ(process->receive(bytes, std::nullopt).event, ConfinedProcess::Event::Woken);
    EXPECT_EQ(process->receive(bytes, std::chrono::milliseconds(1)).event, ConfinedProcess::Event::TimedOut)
        << "one call wakes once";
}

TEST_F(Confined, thatHasEndedTakesNothing)
{
    const auto process = script("exit 0");
    static_cast<void>(allOf(*process));
    const std::string line = "hello\n";
    EXPECT_FALSE(process->send(std::as_bytes(std::span(line))));
}

TEST_F(Confined, isLookedForNowhere)
{
    EXPECT_EQ(ConfinedProcess::start("sh", {}, STDIN_FILENO, kLimits), nullptr);
    const auto process = ConfinedProcess::start("/nowhere", {}, STDIN_FILENO, kLimits);
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(allOf(*process), "");
}

TEST_F(Confined, leavesNoDescriptorBehind)
{
    const auto before = openDescriptors();
    static_cast<void>(allOf(*script("cat")));
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Secluded, processesExecuteNothingAndCallNobody)
{
    inChild([] {
        if (!seclude()) {
            GTEST_SKIP() << "this system has no filter for system calls";
        }
        EXPECT_EQ(::execl("/bin/true", "true", nullptr), -1);
        EXPECT_EQ(errno, EPERM);
        for (const int family : {AF_INET, AF_INET6, AF_NETLINK}) {
            EXPECT_EQ(::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0), -1) << family;
            EXPECT_EQ(errno, EPERM);
        }
        const UniqueFd local(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_TRUE(local);
        EXPECT_EQ(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr), -1);
        EXPECT_EQ(errno, EPERM);
        // Each would fail here in another way, if it came as far as that.
        for (const long number :
             {SYS_execveat, SYS_process_vm_readv, SYS_process_vm_writev, SYS_io_uring_setup}) {
            EXPECT_EQ(::syscall(number, -1, nullptr, 0, nullptr, 0, 0), -1) << number;
            EXPECT_EQ(errno, EPERM) << number;
        }
    });
}

#if defined(__x86_64__)
TEST(Secluded, processesMakeNoCallsUnderOtherNumbers)
{
    inChild([] {
        const ::pid_t child = ::fork();
        if (child == 0) {
            if (seclude()) {
                constexpr long kForeignCall = 0x4000'0000;
                ::syscall(kForeignCall + SYS_getpid);
            }
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) << status;
    });
}
#endif

TEST(OpenFile, tellsItsTimesAndCanBeHandedOn)
{
    const TemporaryDirectory directory;
    directory.writeFile("file", "x");
    const std::array<struct timespec, 2> times = {
        {{.tv_sec = 1'000'000'000, .tv_nsec = 0}, {.tv_sec = 1'234'567'890, .tv_nsec = 5}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, directory.pathOf("file").c_str(), times.data(), 0), 0);
    const auto device = HostDevice::open(directory.path()).value();
    const auto file = device->openFile("/file").value();
    const FileTimes told = file->times().value();
    EXPECT_EQ(told.modifiedSeconds, 1'234'567'890);
    // Not every file system knows it.
    struct statx made = {};
    ASSERT_EQ(::statx(AT_FDCWD, directory.pathOf("file").c_str(), 0, STATX_BTIME, &made), 0);
    EXPECT_EQ(told.createdSeconds, (made.stx_mask & STATX_BTIME) != 0
                                       ? std::optional<std::int64_t>(made.stx_btime.tv_sec)
                                       : std::nullopt);
    const UniqueFd copy = file->descriptor().value();
    char byte = 0;
    EXPECT_EQ(::pread(copy.get(), &byte, 1, 0), 1);
    EXPECT_EQ(byte, 'x');
    EXPECT_EQ(::fcntl(copy.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST(PropertyListText, isTheListInXmlIndented)
{
    const auto list =
        PropertyList::parse("<plist><dict><key>a</key><array><real>1.5</real></array></dict></plist>");
    ASSERT_TRUE(list.has_value());
    EXPECT_THAT(
        list->xml().value(),
        testing::AllOf(StartsWith("<?xml"), HasSubstr("<dict>\n\t<key>a</key>\n\t<array>\n\t\t<real>1.5")));
}

} // namespace
} // namespace slicewise
