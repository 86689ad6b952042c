#include "platform/MountTable.h"

#include "tests/support/MountModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> pathsIn(std::string_view text)
{
    std::vector<std::string> paths;
    for (const MountLine &line : parseMountTable(text)) {
        paths.push_back(line.path);
    }
    return paths;
}

std::vector<std::uint64_t> idsIn(std::string_view text)
{
    std::vector<std::uint64_t> ids;
    for (const MountLine &line : parseMountTable(text)) {
        ids.push_back(line.id);
    }
    return ids;
}

constexpr std::string_view kDesktop =
    "22 28 0:21 / /sys rw,nosuid,nodev,noexec,relatime shared:7 - sysfs sysfs rw\n"
    "23 28 0:22 / /proc rw,nosuid,nodev,noexec,relatime shared:12 - proc proc rw\n"
    "24 28 0:5 / /dev rw,nosuid,relatime shared:2 - devtmpfs udev "
    "rw,size=8123456k,nr_inodes=2030864,mode=755\n"
    "25 24 0:23 / /dev/pts rw,nosuid,noexec,relatime shared:3 - devpts devpts "
    "rw,gid=5,mode=620,ptmxmode=000\n"
    "28 1 259:2 / / rw,relatime shared:1 - ext4 /dev/nvme0n1p2 rw,errors=remount-ro\n"
    "30 28 0:25 / /run rw,nosuid,nodev,noexec,relatime shared:5 - tmpfs tmpfs rw,size=1631432k,mode=755\n"
    "96 28 259:1 / /boot/efi rw,relatime shared:31 - vfat /dev/nvme0n1p1 rw,fmask=0077,dmask=0077\n"
    "99 28 0:45 /@home /home rw,relatime shared:33 - btrfs /dev/mapper/home "
    "rw,ssd,subvolid=257,subvol=/@home\n"
    "612 30 0:52 / /run/user/1000/doc rw,nosuid,nodev,relatime shared:301 master:4 propagate_from:2 - "
    "fuse.portal portal rw,user_id=1000,group_id=1000\n"
    "700 28 0:61 / /var/lib/box/merged rw,relatime - overlay overlay "
    "rw,lowerdir=/l/A:/l/B,upperdir=/u,workdir=/w\n";

TEST(MountTable, readsPathTypeAndDeviceOfEachMount)
{
    const std::vector<MountLine> lines = parseMountTable(kDesktop);
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[4].id, 28U);
    EXPECT_EQ(lines[4].parent, 1U);
    EXPECT_EQ(lines[4].deviceMajor, 259U);
    EXPECT_EQ(lines[4].deviceMinor, 2U);
    EXPECT_EQ(lines[4].path, "/");
    EXPECT_EQ(lines[4].type, "ext4");
    EXPECT_EQ(lines[7].path, "/home");
    EXPECT_EQ(lines[7].type, "btrfs");
    EXPECT_EQ(lines[9].path, "/var/lib/box/merged");
    EXPECT_EQ(lines[9].type, "overlay");
}

TEST(MountTable, copesWithAnyNumberOfOptionalFields)
{
    const std::vector<MountLine> lines = parseMountTable(kDesktop);
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[8].type, "fuse.portal"); // three of them
    EXPECT_EQ(lines[9].type, "overlay");     // none
}

TEST(MountTable, keepsTheOrderOfTheList)
{
    EXPECT_THAT(idsIn(kDesktop), ElementsAre(22, 23, 24, 25, 28, 30, 96, 99, 612, 700));
}

TEST(MountTable, turnsEscapedBytesIntoThemselves)
{
    EXPECT_THAT(pathsIn("1 0 8:1 / /a\\040b\\011c\\012d\\134e rw - ext4 x rw\n"),
                ElementsAre("/a b\tc\nd\\e"));
    EXPECT_THAT(pathsIn("1 0 8:1 / /end\\040 rw - ext4 x rw\n"), ElementsAre("/end "));
    EXPECT_THAT(pathsIn("1 0 8:1 / /\\303\\244 rw - ext4 x rw\n"), ElementsAre("/\xc3\xa4"));
    EXPECT_THAT(pathsIn("1 0 8:1 / /hash\\043 rw - ext4 x rw\n"), ElementsAre("/hash#"));
}

TEST(MountTable, leavesABackslashWithoutThreeOctalDigitsAsItIs)
{
    EXPECT_THAT(pathsIn("1 0 8:1 / /a\\04 rw - ext4 x rw\n"), ElementsAre("/a\\04"));
    EXPECT_THAT(pathsIn("1 0 8:1 / /a\\089 rw - ext4 x rw\n"), ElementsAre("/a\\089"));
    EXPECT_THAT(pathsIn("1 0 8:1 / /a\\ rw - ext4 x rw\n"), ElementsAre("/a\\"));
}

TEST(MountTable, keepsBytesThatAreNotUtf8)
{
    EXPECT_THAT(pathsIn("1 0 8:1 / /\xff\xfe rw - ext4 x rw\n"), ElementsAre("/\xff\xfe"));
}

TEST(MountTable, readsALastLineWithoutNewline)
{
    EXPECT_THAT(pathsIn("1 0 8:1 / / rw - ext4 x rw"), ElementsAre("/"));
}

TEST(MountTable, isEmptyForAnEmptyText)
{
    EXPECT_THAT(pathsIn(""), IsEmpty());
    EXPECT_THAT(pathsIn("\n\n\n"), IsEmpty());
}

TEST(MountTable, leavesOutLinesOfAnotherShapeAndKeepsTheOthers)
{
    for (const std::string_view garbage : {
             "",
             "garbage",
             "1",
             "1 0",
             "1 0 8:1",
             "1 0 8:1 / /a",
             "1 0 8:1 / /a rw",
             "1 0 8:1 / /a rw -",
             "1 0 8:1 / /a rw - ",
             "x 0 8:1 / /a rw - ext4 x rw",
             "1 x 8:1 / /a rw - ext4 x rw",
             "1 0 8-1 / /a rw - ext4 x rw",
             "1 0 8: / /a rw - ext4 x rw",
             "1 0 :1 / /a rw - ext4 x rw",
             "1 0 8:1 / relative rw - ext4 x rw",
             "-1 0 8:1 / /a rw - ext4 x rw",
             "99999999999999999999999 0 8:1 / /a rw - ext4 x rw",
             "1 0 8:99999999999 / /a rw - ext4 x rw",
             "1 0 8:1 / /a rw shared:1 ext4 x rw",
             " 1 0 8:1 / /a rw - ext4 x rw",
         }) {
        EXPECT_THAT(pathsIn(std::string(garbage) + "\n7 3 8:2 / /kept rw - ext4 y rw\n"),
                    ElementsAre("/kept"))
            << garbage;
    }
}

TEST(MountTable, keepsARootThatHangsOnItself)
{
    // The kernel's first mount has nothing to hang on; it is "/" on a system that runs from its initial
    // memory image.
    EXPECT_THAT(pathsIn("1 1 0:2 / / rw - rootfs rootfs rw\n20 1 0:21 / /proc rw - proc proc rw\n"),
                ElementsAre("/", "/proc"));
}

TEST(MountTable, leavesOutAllButTheUppermostOfSeveralMountsOnOnePlace)
{
    EXPECT_THAT(idsIn("1 0 8:1 / / rw - ext4 x rw\n"
                      "2 1 8:2 / /a rw - ext4 y rw\n"
                      "3 2 0:9 / /a rw - tmpfs t rw\n"
                      "4 3 0:10 / /a rw - tmpfs t rw\n"),
                ElementsAre(1, 4));
}

TEST(MountTable, leavesOutMountsThatALaterOneHides)
{
    EXPECT_THAT(idsIn("1 0 8:1 / / rw - ext4 x rw\n"
                      "2 1 8:2 / /a/b/c rw - ext4 y rw\n"
                      "3 1 0:9 / /a rw - tmpfs t rw\n"),
                ElementsAre(1, 3));
}

TEST(MountTable, keepsWhatIsMountedOnTheOneThatHides)
{
    EXPECT_THAT(idsIn("1 0 8:1 / / rw - ext4 x rw\n"
                      "2 1 8:2 / /a/b rw - ext4 y rw\n"
                      "3 1 0:9 / /a rw - tmpfs t rw\n"
                      "4 3 0:10 / /a/b rw - tmpfs t rw\n"
                      "5 4 0:11 / /a/b/c rw - tmpfs t rw\n"),
                ElementsAre(1, 3, 4, 5));
}

TEST(MountTable, leavesOutEverythingBelowAHiddenMount)
{
    EXPECT_THAT(idsIn("1 0 8:1 / / rw - ext4 x rw\n"
                      "2 1 8:2 / /a rw - ext4 y rw\n"
                      "3 2 0:9 / /a/b rw - tmpfs t rw\n"
                      "4 3 0:10 / /a/b/c rw - tmpfs t rw\n"
                      "5 2 0:11 / /a rw - tmpfs t rw\n"),
                ElementsAre(1, 5));
}

TEST(MountTable, doesNotTakeANameThatBeginsAlikeForAMountAbove)
{
    EXPECT_THAT(idsIn("1 0 8:1 / / rw - ext4 x rw\n"
                      "2 1 8:2 / /home2/x rw - ext4 y rw\n"
                      "3 1 8:3 / /home rw - ext4 z rw\n"),
                ElementsAre(1, 2, 3));
}

TEST(MountTable, findsWhatIsOnTopWhateverTheOrderOfTheLines)
{
    // A mount that was moved to its place is older than what it covers there.
    EXPECT_THAT(idsIn("1 0 8:1 / / rw - ext4 x rw\n"
                      "20 32 8:2 / /a/b rw - ext4 moved rw\n"
                      "31 1 8:3 / /a/b rw - ext4 hidden rw\n"
                      "32 1 0:9 / /a rw - tmpfs t rw\n"),
                ElementsAre(1, 20, 32));
}

TEST(MountTable, keepsALineThatIsThereTwiceOnce)
{
    const std::string line = "3 1 0:9 / /a rw - tmpfs t rw\n";
    EXPECT_THAT(pathsIn("1 0 8:1 / / rw - ext4 x rw\n" + line + line), ElementsAre("/", "/a"));
}

TEST(MountTable, comesToAnEndWhereMountsHangOnEachOther)
{
    const std::vector<std::string> paths = pathsIn("1 2 8:1 / /a rw - ext4 x rw\n"
                                                   "2 1 8:2 / /a rw - ext4 y rw\n");
    EXPECT_LE(paths.size(), 1U);
}

// ---- the same against a slow model

// What a random run of mounts leaves in the kernel's list.
std::vector<MountLine> randomMounts(std::mt19937 &random)
{
    constexpr std::array kPlaces = {"/a",   "/a/a", "/a/b", "/a/b/a", "/b",
                                    "/b/a", "/b/b", "/ab",  "/a/a/a", "/a/b/c/d"};
    std::vector<MountLine> lines = {
        {.id = 10, .parent = 1, .deviceMajor = 8, .deviceMinor = 1, .path = "/", .type = "ext4"}};
    const std::size_t count = random() % 12;
    for (std::uint64_t id = 11; id < 11 + count; ++id) {
        const std::string path = kPlaces.at(random() % kPlaces.size());
        const std::uint64_t parent = mountReached(lines, 10, path);
        lines.push_back({.id = id,
                         .parent = parent,
                         .deviceMajor = 0,
                         .deviceMinor = static_cast<std::uint32_t>(id),
                         .path = path,
                         .type = "tmpfs"});
    }
    return lines;
}

class RandomMountTables : public testing::TestWithParam<bool> {};

TEST_P(RandomMountTables, keepExactlyWhatAWalkToEachMountPointFinds)
{
    const bool shuffled = GetParam();
    std::mt19937 random(20);
    for (int round = 0; round < 3000; ++round) {
        std::vector<MountLine> lines = randomMounts(random);
        if (shuffled) {
            std::shuffle(lines.begin(), lines.end(), random);
        }
        std::string text;
        std::vector<std::uint64_t> expected;
        for (const MountLine &line : lines) {
            text += mountTableLine(line);
            if (mountReached(lines, 10, line.path) == line.id) {
                expected.push_back(line.id);
            }
        }
        ASSERT_EQ(idsIn(text), expected) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(MountTable, RandomMountTables, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool> &order) {
                             return order.param ? "InAnyOrder" : "InTheOrderOfMounting";
                         });

TEST(MountTable, understandsTheTableOfTheMachineItself)
{
    std::ifstream stream("/proc/self/mountinfo");
    std::ostringstream text;
    text << stream.rdbuf();
    const std::vector<MountLine> lines = parseMountTable(text.str());
    std::vector<std::string> paths;
    bool hasProc = false;
    for (const MountLine &line : lines) {
        paths.push_back(line.path);
        hasProc = hasProc || (line.path == "/proc" && line.type == "proc");
    }
    EXPECT_THAT(paths, Contains("/"));
    EXPECT_TRUE(hasProc) << text.str();
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(std::adjacent_find(paths.begin(), paths.end()), paths.end()) << "a place twice in\n"
                                                                           << text.str();
}

} // namespace
} // namespace slicewise
