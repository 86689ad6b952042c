// File systems that are really mounted, seen by a child of the test alone.
#include "platform/HostDevice.h"
#include "scan/ScanEngine.h"
#include "tests/scan/Scanned.h"
#include "tests/support/InChild.h"
#include "tests/support/TemporaryDirectory.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace slicewise {

namespace {

using ::testing::AnyOf;

void mountAt(const std::string &place, const char *source, const char *type, unsigned long flags = 0)
{
    if (::mount(source, place.c_str(), type, flags, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), place);
    }
}
void mountMemory(const std::string &place)
{
    mountAt(place, "none", "tmpfs");
}
void mountBind(const std::string &place, const std::string &source)
{
    mountAt(place, source.c_str(), nullptr, MS_BIND);
}
void mountProc(const std::string &place)
{
    // Only who owns the namespace of processes may mount it anew.
    if (::mount("none", place.c_str(), "proc", 0, nullptr) != 0) {
        mountAt(place, "/proc", nullptr, MS_BIND | MS_REC);
    }
}

/// Files and what was not entered, sorted: in which order a disk lists them is its own affair.
std::string outcome(Scanned &scanned)
{
    std::vector<std::string> lines = filesInTree(*scanned.root);
    for (const std::string &line : notEntered(scanned.report)) {
        lines.push_back(line);
    }
    for (const std::string &line : failures(scanned.report)) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return fmt::format("{} bytes on {} file systems\n{}\n", scanned.root->size(),
                       scanned.report.fileSystems.size(), fmt::join(lines, "\n"));
}

using Check = std::function<void(const std::string &outcome)>;

/// Mounts, scans with several numbers of readers, which all give the same, and has the outcome checked.
void mountAndScan(const TemporaryDirectory &directory, const std::function<void()> &mountAll,
                  const Check &check, FileSystemScope scope = FileSystemScope::AllLocal)
{
    withOwnMounts([&] {
        mountAll();
        const auto device = HostDevice::open(directory.path()).value();
        std::string first;
        for (const unsigned readers : kReaderCounts) {
            Scanned scanned = scan(*device, {.scope = scope, .readers = readers});
            if (first.empty()) {
                first = scanned.text();
                check(outcome(scanned));
            }
            EXPECT_EQ(scanned.text(), first) << "with " << readers << " readers";
        }
    });
}

} // namespace

TEST(RealMounts, inMemoryAndWithoutStorageAreNotEntered)
{
    const TemporaryDirectory directory(TemporaryDirectory::Lies::OnDisk);
    directory.makeFile("f", 1);
    directory.makeDirectory("memory");
    directory.makeDirectory("dir/proc");
    mountAndScan(
        directory,
        [&] {
            mountMemory(directory.pathOf("memory"));
            directory.makeFile("memory/inside", 100);
            mountProc(directory.pathOf("dir/proc"));
        },
        [](const std::string &text) {
            EXPECT_EQ(text, "1 bytes on 1 file systems\n"
                            "/f\n"
                            "memory /memory (tmpfs)\n"
                            "no storage /dir/proc (proc)\n");
        });
}

TEST(RealMounts, inMemoryAreEnteredBelowARootThatIsInMemory)
{
    const TemporaryDirectory directory;
    mountAndScan(
        directory,
        [&] {
            mountMemory(directory.path());
            // By path: the directory itself was opened below the mount.
            for (const char *name : {"a", "proc"}) {
                if (::mkdir(directory.pathOf(name).c_str(), 0755) != 0) {
                    throw std::system_error(errno, std::generic_category(), name);
                }
            }
            mountMemory(directory.pathOf("a"));
            mountProc(directory.pathOf("proc"));
            if (::symlink("nowhere", directory.pathOf("a/link").c_str()) != 0 ||
                ::mknod(directory.pathOf("a/f").c_str(), S_IFREG | 0644, 0) != 0) {
                throw std::system_error(errno, std::generic_category(), "a");
            }
        },
        [](const std::string &text) {
            EXPECT_EQ(text, "0 bytes on 2 file systems\n/a/f\nno storage /proc (proc)\n");
        });
}

TEST(RealMounts, thatAreBoundAreWalkedOnce)
{
    const TemporaryDirectory directory;
    directory.makeFile("f", 1);
    directory.makeFile("data/in/f", 10);
    directory.makeDirectory("bound");
    mountAndScan(
        directory, [&] { mountBind(directory.pathOf("bound"), directory.pathOf("data")); },
        [](const std::string &text) {
            const std::string first = "11 bytes on 1 file systems\n";
            EXPECT_THAT(text, AnyOf(first + "/data/in/f\n/f\nseen before /bound\n",
                                    first + "/bound/in/f\n/f\nseen before /data\n"));
        });
}

TEST(RealMounts, ofADirectoryInsideItselfEnd)
{
    const TemporaryDirectory directory;
    directory.makeFile("data/f", 10);
    directory.makeDirectory("data/in/itself");
    mountAndScan(
        directory, [&] { mountBind(directory.pathOf("data/in/itself"), directory.pathOf("data")); },
        [](const std::string &text) {
            EXPECT_EQ(text, "10 bytes on 1 file systems\n/data/f\nseen before /data/in/itself\n");
        });
}

TEST(RealMounts, belowOneInMemoryAreEntered)
{
    const TemporaryDirectory directory(TemporaryDirectory::Lies::OnDisk);
    directory.makeFile("f", 1);
    directory.makeFile("data/f", 10);
    directory.makeDirectory("run");
    mountAndScan(
        directory,
        [&] {
            mountMemory(directory.pathOf("run"));
            directory.makeFile("run/lost", 100);
            directory.makeDirectory("run/media/disk");
            mountBind(directory.pathOf("run/media/disk"), directory.pathOf("data"));
        },
        [](const std::string &text) {
            const std::string first = "11 bytes on 1 file systems\n";
            EXPECT_THAT(text,
                        AnyOf(first + "/data/f\n/f\nmemory /run (tmpfs)\nseen before /run/media/disk\n",
                              first + "/f\n/run/media/disk/f\nmemory /run (tmpfs)\nseen before /data\n"));
        });
}

TEST(RealMounts, ofOtherFileSystemsAreLeftOutOnRequest)
{
    const TemporaryDirectory directory(TemporaryDirectory::Lies::OnDisk);
    directory.makeFile("f", 1);
    directory.makeFile("data/f", 10);
    directory.makeDirectory("memory");
    directory.makeDirectory("bound");
    mountAndScan(
        directory,
        [&] {
            mountMemory(directory.pathOf("memory"));
            mountMemory(directory.pathOf("bound"));
            mountBind(directory.pathOf("bound"), directory.pathOf("data")); // hides what is below it
        },
        [](const std::string &text) {
            EXPECT_TRUE(text.starts_with("11 bytes on 1 file systems\n")) << text;
            EXPECT_NE(text.find("memory /memory (tmpfs)"), std::string::npos) << text;
            EXPECT_EQ(text.find("/bound (tmpfs)"), std::string::npos) << text;
        },
        FileSystemScope::RootOnly);
}

TEST(RealMounts, overADirectoryHideWhatIsBelowThem)
{
    const TemporaryDirectory directory(TemporaryDirectory::Lies::OnDisk);
    directory.makeFile("hidden/f", 1000);
    directory.makeFile("f", 1);
    mountAndScan(
        directory, [&] { mountMemory(directory.pathOf("hidden")); },
        [](const std::string &text) {
            EXPECT_EQ(text, "1 bytes on 1 file systems\n/f\nmemory /hidden (tmpfs)\n");
        });
}

} // namespace slicewise
