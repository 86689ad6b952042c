#include "tests/support/SampleDevice.h"

#include "platform/HostDevice.h"
#include "platform/UniqueFd.h"
#include "tests/support/MadeDevice.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <tuple>
#include <utility>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

namespace fs = std::filesystem;

// Empty for a file that is all hole, however large.
std::string contentUnlessHole(const std::string &hostPath)
{
    const UniqueFd file(::open(hostPath.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(file) << hostPath << ": " << std::strerror(errno);
    if (::lseek(file.get(), 0, SEEK_DATA) < 0 && errno == ENXIO) {
        return {};
    }
    return contentOf(hostPath);
}

/// All there is to know about what lies somewhere: kind, size, time of change, link target or content.
using Facts = std::tuple<fs::file_type, std::uint64_t, std::int64_t, std::string>;

std::map<std::string, Facts> factsBelow(const std::string &root)
{
    std::map<std::string, Facts> all;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        const std::string path = entry.path().string();
        struct stat status = {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        const fs::file_type type = entry.symlink_status().type();
        std::uint64_t sizeBytes = 0;
        std::string content;
        if (type == fs::file_type::symlink) {
            content = fs::read_symlink(entry.path()).string();
        } else if (type == fs::file_type::regular) {
            sizeBytes = static_cast<std::uint64_t>(status.st_size);
            content = contentUnlessHole(path);
        }
        all.emplace(path.substr(root.size()), Facts(type, sizeBytes, status.st_mtime, std::move(content)));
    }
    return all;
}

std::map<std::string, std::uint64_t> sizesOnDisk(const std::string &root)
{
    std::map<std::string, std::uint64_t> sizes;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_symlink() && entry.is_regular_file()) {
            sizes.emplace(entry.path().string().substr(root.size()), entry.file_size());
        }
    }
    return sizes;
}

std::map<std::string, std::uint64_t> sizesInPlan(const SampleDevicePlan &plan)
{
    std::map<std::string, std::uint64_t> sizes;
    std::uint64_t totalBytes = 0;
    for (const SampleFile &file : plan.files) {
        EXPECT_TRUE(sizes.emplace(file.path, file.sizeBytes).second) << file.path << " is planned twice";
        totalBytes += file.sizeBytes;
    }
    EXPECT_EQ(totalBytes, plan.totalBytes);
    return sizes;
}

std::uint64_t realDiskBytes(const std::string &root)
{
    std::uint64_t bytes = 0;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        struct stat status = {};
        EXPECT_EQ(::lstat(entry.path().c_str(), &status), 0) << entry.path();
        if (S_ISREG(status.st_mode)) {
            bytes += static_cast<std::uint64_t>(status.st_blocks) * 512;
        }
    }
    return bytes;
}

TEST(SampleDevice, holdsExactlyThePlannedFiles)
{
    const MadeDevice &made = smallDevice();
    EXPECT_EQ(sizesOnDisk(made.root()), sizesInPlan(made.plan));
}

TEST(SampleDevice, isTheSameForTheSameSeedAndAnotherForAnother)
{
    const MadeDevice again({.seed = 1, .scale = kSmallScale});
    const MadeDevice other({.seed = 2, .scale = kSmallScale});
    const std::map<std::string, Facts> facts = factsBelow(smallDevice().root());
    EXPECT_THAT(facts, SizeIs(Ge(500U)));
    EXPECT_TRUE(factsBelow(again.root()) == facts);
    EXPECT_FALSE(factsBelow(other.root()) == facts);
    EXPECT_NE(other.plan.totalBytes, again.plan.totalBytes);

    ASSERT_EQ(again.plan.files.size(), smallDevice().plan.files.size());
    for (std::size_t i = 0; i < again.plan.files.size(); ++i) {
        EXPECT_EQ(again.plan.files[i].path, smallDevice().plan.files[i].path);
        EXPECT_EQ(again.plan.files[i].category, smallDevice().plan.files[i].category);
    }
}

TEST(SampleDevice, isAWholePhoneAtScaleOneOnAFewMegabytes)
{
    const MadeDevice made({.seed = 1, .scale = 1});
    EXPECT_THAT(made.plan.files, SizeIs(AllOf(Ge(5'500U), Le(7'000U))));
    EXPECT_THAT(made.plan.totalBytes, AllOf(Ge(36'000'000'000U), Le(44'000'000'000U)));
    EXPECT_THAT(realDiskBytes(made.root()), AllOf(Ge(300'000U), Le(6'000'000U)));

    const MadeDevice tenth({.seed = 1, .scale = 0.1});
    for (const char *category : {"iTunes/Music/", "Photos/", "Temporary Data/", "Operating System/"}) {
        const auto whole = static_cast<double>(made.filedUnder(category).size());
        const auto part = static_cast<double>(tenth.filedUnder(category).size());
        EXPECT_NEAR(part / whole, 0.1, 0.03) << category;
    }
}

TEST(SampleDevice, hasFilesInEveryCategoryAtAnyScale)
{
    const MadeDevice tiny({.seed = 7, .scale = 0.001});
    for (const char *category : {"Application Data/",
                                 "Applications/",
                                 "Books/",
                                 "Cydia Data/cache/apt/",
                                 "Cydia Data/lib/apt/",
                                 "Cydia Data/lib/dpkg/",
                                 "Cydia Packages/",
                                 "Developer Partition/",
                                 "Downloads/",
                                 "Logs/logs/",
                                 "Logs/mobile/Library/Logs/",
                                 "Message Attachments/Previews/",
                                 "Message Attachments/IMG_0001.JPG",
                                 "Message Attachments/IMG_0001.JPG 2",
                                 "Messages/sms.db",
                                 "Messages/sms.db-wal",
                                 "Messages/Attachments/",
                                 "Operating System/System/",
                                 "Operating System/usr/",
                                 "Operating System/bin/",
                                 "Operating System/sbin/",
                                 "Operating System/boot/",
                                 "Operating System/lib/",
                                 "Operating System/Library/",
                                 "Operating System/private/var/stash/",
                                 "Others/private/etc/",
                                 "Others/private/var/mobile/Containers/Shared/",
                                 "Photos/100APPLE/",
                                 "Photos/Meta Data/",
                                 "Photos/Streams/",
                                 "ROMs/",
                                 "Recordings/",
                                 "Temporary Data/private/var/mobile/Library/Caches/",
                                 "Temporary Data/private/var/tmp/",
                                 "User Library/",
                                 "iTunes/Audiobooks/",
                                 "iTunes/Music/",
                                 "iTunes/Podcasts/",
                                 "iTunes/Ringtones/",
                                 "iTunes/TV Shows/",
                                 "iTunes/Videos/",
                                 "iTunes/iTunes/Artwork/"}) {
        EXPECT_THAT(tiny.filedUnder(category), testing::Not(IsEmpty())) << category;
    }
    EXPECT_EQ(sizesOnDisk(tiny.root()), sizesInPlan(tiny.plan));
}

TEST(SampleDevice, hasTheLinksOfADevice)
{
    const std::string root = smallDevice().root();
    EXPECT_EQ(fs::read_symlink(root + "/var"), "private/var");
    EXPECT_EQ(fs::read_symlink(root + "/etc"), "private/etc");
    EXPECT_EQ(fs::read_symlink(root + "/tmp"), "private/var/tmp");
    const Result<std::unique_ptr<HostDevice>> device = HostDevice::open(root);
    ASSERT_TRUE(device);
    EXPECT_EQ(*(*device)->resolve("/usr/include"), "/private/var/stash/include");
    EXPECT_EQ(*(*device)->resolve("/Library/Ringtones"), "/private/var/stash/Ringtones");
}

TEST(SampleDevice, isNotMadeWhereSomethingIsOrAtNoScale)
{
    const TemporaryDirectory directory;
    directory.writeFile("there/before", "kept");
    EXPECT_THROW((void)makeSampleDevice(directory.pathOf("there"), {}), std::system_error);
    EXPECT_EQ(contentOf(directory.pathOf("there/before")), "kept");
    for (const double scale : {0.0, -1.0}) {
        EXPECT_THROW((void)makeSampleDevice(directory.pathOf("new"), {.seed = 1, .scale = scale}),
                     std::runtime_error);
    }
}

TEST(MakeSampleDevice, makesADeviceAndPrintsItsPlan)
{
    const TemporaryDirectory directory;
    const ProgramResult made =
        runProgram({.arguments = {SLICEWISE_MAKE_SAMPLE_DEVICE, directory.pathOf("device"), "--scale", "0.05",
                                  "--seed", "1", "--plan"}});
    EXPECT_EQ(made.exitStatus, 0) << made.standardError;
    std::string expected;
    for (const SampleFile &file : smallDevice().plan.files) {
        expected += file.path + "\t" + std::to_string(file.sizeBytes) + "\t" + file.category + "\n";
    }
    EXPECT_EQ(made.standardOutput, expected);
    EXPECT_EQ(sizesOnDisk(directory.pathOf("device")), sizesInPlan(smallDevice().plan));

    const ProgramResult again =
        runProgram({.arguments = {SLICEWISE_MAKE_SAMPLE_DEVICE, directory.pathOf("device")}});
    EXPECT_EQ(again.exitStatus, 1);
    EXPECT_THAT(again.standardError, HasSubstr("not empty"));
}

} // namespace
} // namespace slicewise
