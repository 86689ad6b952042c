#include "tests/support/InChild.h"

#include "platform/UniqueFd.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace slicewise {

namespace {

using testing::TestPartResult;

constexpr int kReported = 0;

// One assertion's outcome as "type line\0file\0message\0".
std::string written(const TestPartResult &part)
{
    std::string text =
        std::to_string(static_cast<int>(part.type())) + " " + std::to_string(part.line_number());
    text.push_back('\0');
    text.append(part.file_name() != nullptr ? part.file_name() : "").push_back('\0');
    text.append(part.message()).push_back('\0');
    return text;
}

std::string_view takeText(std::string_view &report)
{
    const std::string_view text = report.substr(0, report.find('\0'));
    report.remove_prefix(std::min(text.size() + 1, report.size()));
    return text;
}

void repeat(TestPartResult::Type type, const std::string &file, int line, const std::string &message)
{
    switch (type) {
    case TestPartResult::kSkip:
        GTEST_SKIP() << message;
    case TestPartResult::kNonFatalFailure:
    case TestPartResult::kFatalFailure:
        ADD_FAILURE_AT(file.c_str(), line) << message;
        return;
    case TestPartResult::kSuccess:
        return;
    }
}

void repeatAll(std::string_view report)
{
    while (!report.empty()) {
        std::string_view numbers = takeText(report);
        int type = TestPartResult::kFatalFailure;
        int line = 0;
        const auto typeEnd = std::from_chars(numbers.data(), numbers.data() + numbers.size(), type).ptr;
        numbers.remove_prefix(
            std::min<std::size_t>(static_cast<std::size_t>(typeEnd - numbers.data()) + 1, numbers.size()));
        std::from_chars(numbers.data(), numbers.data() + numbers.size(), line);
        const std::string file(takeText(report));
        const std::string message(takeText(report));
        repeat(static_cast<TestPartResult::Type>(type), file, line, message);
    }
}

void writeAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t length = ::write(descriptor, text.data(), text.size());
        if (length < 0 && errno != EINTR) {
            return;
        }
        text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 0);
    }
}

std::string readAll(int descriptor)
{
    std::string text;
    std::array<char, 4096> piece{};
    while (true) {
        const ssize_t length = ::read(descriptor, piece.data(), piece.size());
        if (length > 0) {
            text.append(piece.data(), static_cast<std::size_t>(length));
        } else if (length == 0 || errno != EINTR) {
            return text;
        }
    }
}

void runBody(const ChildBody &body, testing::TestPartResultArray &results)
{
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &results);
    try {
        body();
    } catch (const std::exception &exception) {
        ADD_FAILURE() << "The body of a child threw: " << exception.what();
    }
}

[[noreturn]] void beChild(const ChildBody &body, int report)
{
    testing::TestPartResultArray results;
    runBody(body, results);
    for (int i = 0; i < results.size(); ++i) {
        writeAll(report, written(results.GetTestPartResult(i)));
    }
    ::_exit(kReported); // what the parent made is the parent's to end
}

// A system call's answer, for the messages below.
std::string lastError()
{
    return std::generic_category().message(errno);
}

bool writeTo(const char *path, const std::string &text)
{
    std::ofstream stream(path);
    stream << text;
    stream.flush();
    return stream.good();
}

// Empty, or why not.
std::string getOwnMounts()
{
    const ::uid_t user = ::geteuid();
    const ::gid_t group = ::getegid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) {
        return "unshare: " + lastError();
    }
    if (user != 0 && (!writeTo("/proc/self/setgroups", "deny") ||
                      !writeTo("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") ||
                      !writeTo("/proc/self/gid_map", "0 " + std::to_string(group) + " 1"))) {
        return "the ids of a user namespace can't be set";
    }
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return "mount: " + lastError();
    }
    return {};
}

} // namespace

void inChild(const ChildBody &body)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0) << std::strerror(errno); // NOLINT(concurrency-mt-unsafe)
    const UniqueFd readEnd(ends[0]);
    UniqueFd writeEnd(ends[1]);
    const ::pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        beChild(body, writeEnd.get());
    }
    writeEnd.reset();
    repeatAll(readAll(readEnd.get()));
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == kReported)
        << "A child of the test did not come to its end, wait status " << status;
}

void asOrdinaryUser(const ChildBody &body)
{
    inChild([&body] {
        if (::geteuid() == 0) {
            ASSERT_EQ(::setgroups(0, nullptr), 0) << lastError();
            ASSERT_EQ(::setresgid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser), 0) << lastError();
            ASSERT_EQ(::setresuid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser), 0) << lastError();
        }
        body();
    });
}

void withOwnMounts(const ChildBody &body)
{
    inChild([&body] {
        if (const std::string reason = getOwnMounts(); !reason.empty()) {
            GTEST_SKIP() << "Mounts need root, or a kernel that lets others have user namespaces; " << reason;
        }
        body();
    });
}

} // namespace slicewise
