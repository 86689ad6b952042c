#include "platform/HostFile.h"

#include "platform/HostDevice.h"
#include "tests/platform/Commands.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/InChild.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Call = FailingSystemCalls::Call;
using Function = FailingSystemCalls::Function;

/// A directory as the root of a device whose calls can be made to fail.
class HostFiles : public testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<HostDevice> device(const std::string &below = "") const
    {
        return std::move(HostDevice::open(m_directory.pathOf(below), &m_calls)).value();
    }
    [[nodiscard]] std::unique_ptr<ReadableFile> openFile(const std::string &path)
    {
        m_devices.push_back(device());
        return std::move(m_devices.back()->openFile(path)).value();
    }
    void TearDown() override
    {
        m_devices.clear();
        EXPECT_EQ(openDescriptors(), m_descriptors);
    }

    TemporaryDirectory m_directory;
    FailingSystemCalls m_calls;

private:
    std::set<int> m_descriptors = openDescriptors();
    std::vector<std::unique_ptr<HostDevice>> m_devices;
};

std::string textAt(ReadableFile &file, std::uint64_t offset, std::size_t length)
{
    std::string text(length, '?');
    const Result<std::size_t> read = file.readAt(offset, std::as_writable_bytes(std::span(text)));
    return read ? text.substr(0, *read) : "error " + std::to_string(read.error());
}

// ---- reading

TEST_F(HostFiles, areReadFromAnyPlaceUpToTheirEnd)
{
    m_directory.writeFile("file", "0123456789");
    const auto file = openFile("/file");
    EXPECT_EQ(textAt(*file, 0, 4), "0123");
    EXPECT_EQ(textAt(*file, 8, 2), "89");
    EXPECT_EQ(textAt(*file, 8, 5), "89");
    EXPECT_EQ(textAt(*file, 2, 3), "234");
    EXPECT_EQ(textAt(*file, 10, 5), "");
    EXPECT_EQ(textAt(*file, 1'000'000, 5), "");
    EXPECT_EQ(textAt(*file, 3, 0), "");
    EXPECT_EQ(textAt(*file, std::numeric_limits<std::uint64_t>::max(), 5), "error " + std::to_string(EINVAL));
    EXPECT_EQ(*file->sizeBytes(), 10U);
    m_directory.writeFile("file", "abc");
    EXPECT_EQ(*file->sizeBytes(), 3U);
}

TEST_F(HostFiles, areReadOnAfterAnInterruptionAndNotAfterAnError)
{
    m_directory.writeFile("file", "0123456789");
    const auto file = openFile("/file");
    m_calls.failNth(Function::ReadAt, 1, EINTR);
    m_calls.failNth(Function::ReadAt, 2, EINTR);
    EXPECT_EQ(textAt(*file, 2, 4), "2345");
    m_calls.failNth(Function::ReadAt, 1, EIO);
    EXPECT_EQ(textAt(*file, 2, 4), "error " + std::to_string(EIO));
    m_calls.failNth(Function::StatOpen, 1, EIO);
    EXPECT_EQ(file->sizeBytes().error(), EIO);
}

TEST_F(HostFiles, areReadAlsoBeyondFourGigabytes)
{
    m_directory.makeFile("file", 6'000'000'000);
    const auto file = openFile("/file");
    EXPECT_EQ(*file->sizeBytes(), 6'000'000'000U);
    EXPECT_EQ(textAt(*file, 5'999'999'998, 10), std::string(2, '\0'));
}

// ---- opening

TEST_F(HostFiles, areOpenedThroughLinksThatStayInsideTheRoot)
{
    m_directory.writeFile("root/a/file", "inside");
    m_directory.writeFile("file", "outside");
    m_directory.makeLink("root/relative", "a/file");
    m_directory.makeLink("root/absolute", "/a/file");
    m_directory.makeLink("root/directory", "/a");
    m_directory.makeLink("root/a/up", "../../a/file");
    m_directory.makeLink("root/out", "../file");
    m_directory.makeLink("root/to host", m_directory.pathOf("file"));
    const auto inside = device("root");
    for (const char *path :
         {"/a/file", "/relative", "/absolute", "/directory/file", "/a/up", "/../a/./file"}) {
        EXPECT_EQ(*readFile(*inside, path, 100), "inside") << path;
    }
    EXPECT_EQ(inside->openFile("/out").error(), ENOENT);
    EXPECT_EQ(inside->openFile("/to host").error(), ENOENT);
}

TEST_F(HostFiles, areTheOnlyThingsThatAreOpened)
{
    m_directory.makeDirectory("directory");
    m_directory.makeFifo("fifo");
    m_directory.makeSocket("socket");
    m_directory.makeFile("file");
    m_directory.makeLink("loop", "loop");
    m_directory.makeLink("to fifo", "fifo");
    const auto host = device();
    EXPECT_EQ(host->openFile("/").error(), EISDIR);
    EXPECT_EQ(host->openFile("/directory").error(), EISDIR);
    EXPECT_EQ(host->openFile("/fifo").error(), EINVAL);
    EXPECT_EQ(host->openFile("/to fifo").error(), EINVAL);
    EXPECT_EQ(host->openFile("/socket").error(), EINVAL);
    EXPECT_EQ(host->openFile("/missing").error(), ENOENT);
    EXPECT_EQ(host->openFile("/file/below").error(), ENOTDIR);
    EXPECT_EQ(host->openFile("/loop").error(), ELOOP);
    EXPECT_EQ(HostDevice::open("/").value()->openFile("/dev/null").error(), EINVAL);
}

TEST_F(HostFiles, areNotOpenedWhereTheyAreClosedToUs)
{
    m_directory.makeFile("file");
    m_directory.setMode("file", 0200);
    asOrdinaryUser([&] { EXPECT_EQ(device()->openFile("/file").error(), EACCES); });
}

TEST_F(HostFiles, areNotMistakenForWhatTakesTheirPlaceMeanwhile)
{
    const auto openedAfter = [&](const std::function<void()> &replace) {
        m_directory.writeFile("file", "content");
        const auto host = device();
        m_calls.runBefore(Function::OpenAt, [&](const Call &call) {
            if (call.path == "file" && replace) {
                m_directory.remove("file");
                replace();
            }
        });
        const int error = host->openFile("/file").error();
        m_calls.heal();
        m_directory.remove("file");
        return error;
    };
    EXPECT_EQ(openedAfter([&] { m_directory.makeLink("file", "/etc/passwd"); }), ELOOP);
    EXPECT_EQ(openedAfter([&] { m_directory.makeFifo("file"); }), EINVAL);
    EXPECT_EQ(openedAfter([&] { m_directory.makeDirectory("file"); }), EINVAL);
}

TEST_F(HostFiles, keepTheirTimeOfAccessWhenTheyAreRead)
{
    m_directory.writeFile("file", "content");
    // Older than the last change, so that the system would otherwise note it.
    const std::string path = m_directory.pathOf("file");
    const std::array<::timespec, 2> times = {
        {{.tv_sec = 1'000'000, .tv_nsec = 0}, {.tv_sec = 2'000'000, .tv_nsec = 0}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times.data(), 0), 0);
    EXPECT_EQ(*readFile(*device(), "/file", 100), "content");
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_atime, 1'000'000);
}

TEST_F(HostFiles, areReadThoughTheyAreSomebodyElses)
{
    m_directory.writeFile("file", "content");
    asOrdinaryUser([&] { EXPECT_EQ(*readFile(*device(), "/file", 100), "content"); });
    m_calls.failWhere(
        Function::OpenAt, [](const Call &call) { return (call.flags & O_NOATIME) != 0; }, EPERM);
    EXPECT_EQ(*readFile(*device(), "/file", 100), "content");
    m_calls.failWhere(
        Function::OpenAt, [](const Call &call) { return call.path == "file"; }, EIO);
    EXPECT_EQ(device()->openFile("/file").error(), EIO);
}

// ---- locks

/// What another process gets that asks for a lock: 0 or an errno.
int lockOf(const std::string &path, short type, ::off_t from, ::off_t length, UniqueFd &file)
{
    file.reset(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = from;
    range.l_len = length;
    return ::fcntl(file.get(), F_SETLK, &range) == 0 ? 0 : errno;
}

TEST_F(HostFiles, cannotBeLockedForWritingByOthersWhileWeHoldALock)
{
    m_directory.makeFile("file", 1000);
    m_directory.setMode("file", 0666);
    const std::string path = m_directory.pathOf("file");
    const auto othersGet = [&path](short type, ::off_t from, ::off_t length, int expected) {
        asOrdinaryUser([=, &path] {
            UniqueFd file;
            EXPECT_EQ(lockOf(path, type, from, length, file), expected) << from;
        });
    };
    auto file = openFile("/file");
    EXPECT_TRUE(*file->lockShared(100, 50));
    EXPECT_TRUE(*file->lockShared(300, 1));
    othersGet(F_WRLCK, 149, 1, EAGAIN);
    othersGet(F_WRLCK, 0, 1000, EAGAIN);
    othersGet(F_RDLCK, 0, 1000, 0);
    othersGet(F_WRLCK, 0, 100, 0);
    othersGet(F_WRLCK, 150, 10, 0);
    file->unlock(100, 50);
    othersGet(F_WRLCK, 100, 50, 0);
    othersGet(F_WRLCK, 300, 1, EAGAIN);
    file.reset();
    othersGet(F_WRLCK, 0, 1000, 0);
}

TEST_F(HostFiles, areNotLockedWhereAnotherProcessHasLockedThemForWriting)
{
    m_directory.makeFile("file", 1000);
    m_directory.setMode("file", 0644);
    UniqueFd writers;
    ASSERT_EQ(lockOf(m_directory.pathOf("file"), F_WRLCK, 100, 50, writers), 0);
    asOrdinaryUser([&] {
        const auto host = device();
        const std::unique_ptr<ReadableFile> file = std::move(host->openFile("/file")).value();
        EXPECT_EQ(file->lockShared(120, 1).error(), EAGAIN);
        EXPECT_EQ(file->lockShared(0, 1000).error(), EAGAIN);
        EXPECT_TRUE(*file->lockShared(150, 100));
    });
}

TEST_F(HostFiles, haveNothingToLockAgainstWhereTheFileSystemKnowsNoLocks)
{
    m_directory.makeFile("file", 1);
    const auto file = openFile("/file");
    for (const int error : {ENOLCK, ENOSYS, EOPNOTSUPP}) {
        m_calls.failNth(Function::LockRange, 1, error);
        EXPECT_TRUE(*file->lockShared(0, 1)) << error;
    }
    for (const auto &[error, told] : {std::pair(EACCES, EAGAIN), {EAGAIN, EAGAIN}, {EIO, EIO}}) {
        m_calls.failNth(Function::LockRange, 1, error);
        EXPECT_EQ(file->lockShared(0, 1).error(), told);
    }
}

// ---- names and host paths

TEST_F(HostFiles, areNamedWithEverythingElseThatLiesBesideThem)
{
    m_directory.makeFile("d/file", 1);
    m_directory.makeFile("d/.hidden");
    m_directory.makeFile("d/\xff\n");
    m_directory.makeDirectory("d/directory");
    m_directory.makeLink("d/dangling", "none");
    m_directory.makeFifo("d/fifo");
    m_directory.makeLink("link", "/d");
    m_directory.makeDirectory("empty");
    const auto host = device();
    for (const char *path : {"/d", "/link", "/link/directory/.."}) {
        EXPECT_THAT(*host->entryNames(path),
                    UnorderedElementsAre("file", ".hidden", "\xff\n", "directory", "dangling", "fifo"));
    }
    EXPECT_THAT(*host->entryNames("/empty"), IsEmpty());
    EXPECT_THAT(*host->entryNames("/"), UnorderedElementsAre("d", "link", "empty"));
    EXPECT_EQ(host->entryNames("/d/file").error(), ENOTDIR);
    EXPECT_EQ(host->entryNames("/d/fifo").error(), ENOTDIR);
    EXPECT_EQ(host->entryNames("/missing").error(), ENOENT);
}

TEST_F(HostFiles, areAllNamedHoweverManyThereAre)
{
    std::set<std::string> expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string name = "a file with a rather long name " + std::to_string(i);
        m_directory.makeFile(name);
        expected.insert(name);
    }
    const std::vector<std::string> names = *device()->entryNames("/");
    EXPECT_EQ(names.size(), expected.size());
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), expected);
}

TEST_F(HostFiles, areNamedWhereADirectoryMayBeReadThoughNotSearched)
{
    m_directory.makeFile("listed/file");
    m_directory.setMode("listed", 0444);
    m_directory.makeFile("searched/file");
    m_directory.setMode("searched", 0111);
    asOrdinaryUser([&] {
        const auto host = device();
        EXPECT_THAT(*host->entryNames("/listed"), ElementsAre("file"));
        EXPECT_EQ(host->entryNames("/searched").error(), EACCES);
    });
}

TEST_F(HostFiles, lieOnTheHostBelowTheRoot)
{
    m_directory.makeFile("root/a/file");
    m_directory.makeLink("root/link", "/a");
    const auto below = device("root");
    EXPECT_EQ(*below->hostPath("/link/file"), m_directory.pathOf("root/a/file"));
    EXPECT_EQ(*below->hostPath("/"), m_directory.pathOf("root"));
    EXPECT_EQ(*below->hostPath("/.."), m_directory.pathOf("root"));
    EXPECT_EQ(below->hostPath("/missing").error(), ENOENT);
    const auto all = std::move(HostDevice::open("/")).value();
    EXPECT_EQ(*all->hostPath(m_directory.pathOf("root/./a")), m_directory.pathOf("root/a"));
    EXPECT_EQ(*all->hostPath("/"), "/");
}

// ---- reading a file as a whole

TEST_F(HostFiles, areReadAsAWholeUpToALimit)
{
    m_directory.writeFile("file", "0123456789");
    m_directory.makeFile("empty");
    m_directory.makeFile("large", 5'000'000'000'000);
    const auto host = device();
    EXPECT_EQ(*readFile(*host, "/file", 1000), "0123456789");
    EXPECT_EQ(*readFile(*host, "/file", 10), "0123456789");
    EXPECT_EQ(*readFile(*host, "/file", std::numeric_limits<std::size_t>::max()), "0123456789");
    EXPECT_EQ(readFile(*host, "/file", 9).error(), EFBIG);
    EXPECT_EQ(readFile(*host, "/file", 0).error(), EFBIG);
    EXPECT_EQ(*readFile(*host, "/empty", 0), "");
    EXPECT_EQ(readFile(*host, "/large", 1'000'000).error(), EFBIG);
    EXPECT_EQ(readFile(*host, "/missing", 10).error(), ENOENT);
}

TEST_F(HostFiles, areReadAsAWholeWhereTheySayThatTheyAreEmpty)
{
    const auto host = std::move(HostDevice::open("/")).value();
    std::ifstream stream("/proc/version", std::ios::binary);
    const std::string expected(std::istreambuf_iterator<char>(stream), {});
    ASSERT_GT(expected.size(), 20U);
    EXPECT_EQ(host->status("/proc/version")->sizeBytes, 0U);
    EXPECT_EQ(*readFile(*host, "/proc/version", 4096), expected);
    EXPECT_EQ(*readFile(*host, "/proc/version", expected.size()), expected);
    EXPECT_EQ(readFile(*host, "/proc/version", expected.size() - 1).error(), EFBIG);
    EXPECT_EQ(readFile(*host, "/proc/version", 0).error(), EFBIG);
}

TEST_F(HostFiles, areReadAsAWholeThoughTheyGrowMeanwhile)
{
    m_directory.writeFile("file", "0123");
    const auto host = device();
    m_calls.runBefore(Function::ReadAt, [&](const Call &call) {
        if (call.number == 1) {
            m_directory.writeFile("file", "0123456789");
        }
    });
    EXPECT_EQ(*readFile(*host, "/file", 10), "0123456789");
    m_calls.heal();
    m_directory.writeFile("file", "0123");
    const std::uint64_t reads = m_calls.count(Function::ReadAt);
    m_calls.runBefore(Function::ReadAt, [&, reads](const Call &call) {
        if (call.number == reads + 1) {
            m_directory.writeFile("file", "0123456789");
        }
    });
    EXPECT_EQ(readFile(*host, "/file", 9).error(), EFBIG);
}

TEST_F(HostFiles, areNotReadInPartWhereReadingFails)
{
    m_directory.writeFile("file", "0123456789");
    const auto host = device();
    m_calls.failNth(Function::ReadAt, 2, EIO);
    EXPECT_EQ(readFile(*host, "/file", 100).error(), EIO);
    m_calls.heal();
    m_calls.failNth(Function::StatOpen, 2, EIO); // the first is that of opening
    EXPECT_EQ(readFile(*host, "/file", 100).error(), EIO);
}

} // namespace
} // namespace slicewise
