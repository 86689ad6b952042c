// Building the index of packages from what a tool tells: what it is asked, which paths are entered, and what
// becomes of answers that are wrong.
#include "platform/HostDevice.h"
#include "tests/scan/PackageTools.h"
#include "tests/scan/TestSize.h"
#include "tests/support/InChild.h"
#include "tests/support/MemoryDevice.h"
#include "tests/support/TemporaryDirectory.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace slicewise {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class PackageLoading : public ::testing::Test {
protected:
    PackageLoading()
    {
        m_root.makeDirectory("private/var/lib/dpkg");
        m_root.makeLink("var", "/private/var");
    }

    [[nodiscard]] std::unique_ptr<HostDevice> device() const
    {
        return HostDevice::open(m_root.path()).value();
    }
    [[nodiscard]] LoadedPackages load() { return loadPackages(*device(), m_tool.tool()); }
    [[nodiscard]] std::string database() const
    {
        return "--admindir=" + m_root.pathOf("private/var/lib/dpkg");
    }

    void expectTheSameOneByOne()
    {
        const auto host = device();
        const LoadedPackages together = loadPackages(*host, m_tool.tool());
        const LoadedPackages alone = loadPackages(*host, oneAtATime(m_tool.tool()));
        EXPECT_EQ(together.packages, alone.packages);
        EXPECT_EQ(together.lines, alone.lines);
    }

    TemporaryDirectory m_root;
    FakePackageTool m_tool;
};

std::string numbered(int number)
{
    return fmt::format("package{:03}", number);
}

// What a tool may tell, anything but what can't be told apart.
FakePackageTool::Files randomFiles(std::mt19937_64 &random)
{
    FakePackageTool::Files files;
    for (std::size_t i = random() % 6; i > 0; --i) {
        switch (random() % 12) {
        case 0:
            files.lines.emplace_back("loop/file");
            break;
        case 1:
            files.lines.emplace_back("/usr/\xff");
            break;
        case 2:
            files.lines.emplace_back("diverted by another to: /usr/bin/x.distrib");
            break;
        case 3:
            files.lines.emplace_back(random() % 4 == 0 ? "" : "garbage");
            break;
        default:
            files.lines.push_back(fmt::format("/var/f{}", random() % 50));
        }
    }
    files.fails = random() % 20 == 0;
    files.endsHere = random() % 60 == 0;
    return files;
}

} // namespace

TEST_F(PackageLoading, asksForTheListFirstAndThenForFilesByName)
{
    m_tool.add("adv-cmds", {"/."});
    m_tool.add("libc6:amd64", {"/."});
    m_tool.addLine("ii  --version 1");
    static_cast<void>(load());
    EXPECT_THAT(m_tool.asked(),
                ElementsAre(ElementsAre("dpkg", database(), "-l"),
                            ElementsAre("dpkg", database(), "-L", "adv-cmds", "libc6:amd64")));
}

TEST_F(PackageLoading, ofTheWholeHostAsksWithoutNamingADatabase)
{
    m_tool.add("adv-cmds", {"/nowhere-at-all/file"});
    const auto host = HostDevice::open("/").value();
    EXPECT_THAT(loadPackages(*host, m_tool.tool()).packages,
                ElementsAre(Pair("/nowhere-at-all/file", "adv-cmds")));
    EXPECT_THAT(m_tool.asked(),
                ElementsAre(ElementsAre("dpkg", "-l"), ElementsAre("dpkg", "-L", "adv-cmds")));
}

TEST_F(PackageLoading, asksNothingWhereTheDeviceHasNoDatabase)
{
    m_root.remove("private");
    m_tool.add("adv-cmds", {"/a"});
    EXPECT_THAT(load().packages, IsEmpty());
    EXPECT_THAT(m_tool.asked(), IsEmpty());
}

TEST_F(PackageLoading, asksNothingWhereNoProgramCanSeeTheDevice)
{
    m_tool.add("adv-cmds", {"/a"});
    const MemoryDevice memory = {{"/var/lib/dpkg/status", 1}};
    EXPECT_THAT(loadPackages(memory, m_tool.tool()).packages, IsEmpty());
    EXPECT_THAT(m_tool.asked(), IsEmpty());
}

TEST_F(PackageLoading, asksForNoFilesWhereTheListHasNoHead)
{
    m_tool.setHead({"Desired=Unknown"});
    m_tool.add("adv-cmds", {"/a"});
    EXPECT_THAT(load().packages, IsEmpty());
    EXPECT_THAT(m_tool.asked(), SizeIs(1));
}

TEST_F(PackageLoading, entersAPathAsItResolvesOnTheDevice)
{
    m_root.makeFile("private/etc/passwd");
    m_root.makeFile("usr/bin/finger");
    m_root.makeLink("etc", "private/etc");
    m_root.makeLink("usr/bin/f", "finger");
    m_root.makeLink("usr/bin/absolute", "/etc/passwd");
    m_root.makeLink("up", "../../../../usr");
    m_root.makeFile("private/var/spool/x");
    m_tool.add("files", {"/etc/passwd", "/usr/bin/f", "/var/spool/x", "/up/bin/../bin/finger"});
    EXPECT_THAT(load().packages,
                UnorderedElementsAre(Pair("/private/etc/passwd", "files"), Pair("/usr/bin/finger", "files"),
                                     Pair("/private/var/spool/x", "files")));
    m_tool.add("link", {"/usr/bin/absolute"});
    EXPECT_THAT(load().packages, Contains(Pair("/private/etc/passwd", "link")));
}

TEST_F(PackageLoading, entersWhatDoesNotExistAsFarAsItResolves)
{
    m_tool.add("gone", {"/var/lib/gone/a/b", "/nothing/here", "/var/missing"});
    const LoadedPackages loaded = load();
    EXPECT_THAT(loaded.packages,
                UnorderedElementsAre(Pair("/private/var/lib/gone/a/b", "gone"), Pair("/nothing/here", "gone"),
                                     Pair("/private/var/missing", "gone")));
    EXPECT_THAT(loaded.lines, IsEmpty());
}

TEST_F(PackageLoading, takesADotForTheRoot)
{
    m_tool.add("base", {"/."});
    EXPECT_THAT(load().packages, ElementsAre(Pair("/", "base")));
}

TEST_F(PackageLoading, logsALoopOfLinksAndLeavesItOut)
{
    m_root.makeLink("one", "two");
    m_root.makeLink("two", "one");
    m_tool.add("loops", {"/one/file", "/two", "/kept"});
    const LoadedPackages loaded = load();
    EXPECT_THAT(loaded.packages, ElementsAre(Pair("/kept", "loops")));
    EXPECT_THAT(loaded.lines, ElementsAre("Failed resolving /one/file", "Failed resolving /two"));
}

TEST_F(PackageLoading, logsWhatMayNotBeLookedAtAndLeavesItOut)
{
    m_root.makeDirectory("closed/inner");
    m_root.setMode("closed", 0);
    m_tool.add("secret", {"/closed/inner/file", "/kept"});
    asOrdinaryUser([&] {
        const LoadedPackages loaded = load();
        EXPECT_THAT(loaded.packages, ElementsAre(Pair("/kept", "secret")));
        EXPECT_THAT(loaded.lines, ElementsAre("Failed resolving /closed/inner/file"));
    });
    m_root.setMode("closed", 0700);
}

TEST_F(PackageLoading, logsAPathThatIsNoTextAndLeavesItOut)
{
    m_tool.add("latin1", {"/usr/share/caf\xe9", "/usr/share/caf\xc3\xa9"});
    const LoadedPackages loaded = load();
    EXPECT_THAT(loaded.packages, ElementsAre(Pair("/usr/share/caf\xc3\xa9", "latin1")));
    EXPECT_THAT(loaded.lines, ElementsAre("Exception while parsing dpkg. (" +
                                          FakePackageTool::lineFor("latin1") + ", /usr/share/caf\xe9)"));
}

TEST_F(PackageLoading, logsEveryFileOfAPackageWhoseNameIsNoText)
{
    m_tool.add("p\xff", {"/a", "/b"});
    const LoadedPackages loaded = load();
    EXPECT_THAT(loaded.packages, IsEmpty());
    EXPECT_THAT(loaded.lines, SizeIs(2));
    EXPECT_THAT(loaded.lines,
                Contains("Exception while parsing dpkg. (" + FakePackageTool::lineFor("p\xff") + ", /a)"));
}

TEST_F(PackageLoading, givesAPathOfTwoPackagesToTheLastOne)
{
    m_tool.add("first", {"/both", "/first"});
    m_tool.add("second", {"/second", "/both"});
    m_tool.add("third", {"/third"});
    EXPECT_THAT(load().packages, Contains(Pair("/both", "second")));
}

TEST_F(PackageLoading, isNotMisledByDiversions)
{
    m_tool.add("diverts",
               {"/usr/bin/tool", "diverted by other to: /usr/bin/tool.distrib", "/usr/bin/more",
                "locally diverted to: /usr/bin/more.mine", "package diverts others to: /usr/bin/x"});
    m_tool.add("next", {"/usr/bin/next"});
    const LoadedPackages loaded = load();
    for (const std::string path : {"/usr/bin/tool", "/usr/bin/more"}) {
        EXPECT_THAT(loaded.packages, Contains(Pair(path, "diverts")));
    }
    EXPECT_THAT(loaded.packages, Contains(Pair("/usr/bin/next", "next")));
    for (const std::string path : {"/usr/bin/tool.distrib", "/usr/bin/more.mine", "/usr/bin/x"}) {
        EXPECT_THAT(loaded.packages, Not(Contains(Key(path))));
    }
    EXPECT_THAT(loaded.lines, IsEmpty());
}

TEST_F(PackageLoading, asksForManyPackagesInFewCalls)
{
    for (int i = 0; i < 1000; ++i) {
        m_tool.add(numbered(i), {fmt::format("/file{}", i), "/shared"});
    }
    const LoadedPackages loaded = load();
    EXPECT_THAT(loaded.packages, SizeIs(1001));
    EXPECT_EQ(loaded.packages.at("/shared"), numbered(999));
    EXPECT_EQ(loaded.packages.at("/file500"), numbered(500));
    EXPECT_THAT(m_tool.asked(), SizeIs(::testing::Le(10)));
    expectTheSameOneByOne();
}

TEST_F(PackageLoading, neverMakesACommandLineTooLongForTheSystem)
{
    for (int i = 0; i < 400; ++i) {
        m_tool.add(numbered(i) + std::string(1000, 'x'), {fmt::format("/file{}", i)});
    }
    EXPECT_THAT(load().packages, SizeIs(400));
    for (const ArgumentVector &arguments : m_tool.asked()) {
        std::size_t bytes = 0;
        for (const std::string &argument : arguments) {
            bytes += argument.size() + 1;
        }
        EXPECT_LT(bytes, 64U * 1024);
    }
}

TEST_F(PackageLoading, isTheSameWhereTheToolTakesOneNameAtATime)
{
    for (int i = 0; i < 300; ++i) {
        m_tool.add(numbered(i), {fmt::format("/file{}", i / 2), fmt::format("/usr/\xff{}", i)});
    }
    const LoadedPackages together = load();
    m_tool.takeAtMost(1);
    EXPECT_EQ(load(), together);
    m_tool.takeAtMost(5);
    EXPECT_EQ(load(), together);
    EXPECT_THAT(together.packages, SizeIs(150));
    EXPECT_THAT(together.lines, SizeIs(300));
}

TEST_F(PackageLoading, losesNothingToAPackageThatFailsAmongThreeHundred)
{
    for (int i = 0; i < 300; ++i) {
        m_tool.add(numbered(i), {.lines = {fmt::format("/file{}", i)}, .fails = i == 137});
    }
    const LoadedPackages loaded = load();
    for (int i = 0; i < 300; ++i) {
        EXPECT_THAT(loaded.packages, Contains(Pair(fmt::format("/file{}", i), numbered(i))));
    }
    EXPECT_LT(m_tool.asked().size(), 60U); // it is closed in on
    expectTheSameOneByOne();
}

TEST_F(PackageLoading, tellsPackagesWithoutFilesFromThoseWith)
{
    m_tool.add("empty-first", std::vector<std::string>());
    m_tool.add("a", {"/a"});
    m_tool.add("empty-1", std::vector<std::string>());
    m_tool.add("empty-2", std::vector<std::string>());
    m_tool.add("b", {"/b"});
    m_tool.add("empty-last", std::vector<std::string>());
    EXPECT_THAT(load().packages, UnorderedElementsAre(Pair("/a", "a"), Pair("/b", "b")));
    expectTheSameOneByOne();
}

TEST_F(PackageLoading, isNotMisledByListsWithEmptyLines)
{
    m_tool.add("a", {"/a1", "", "/a2"});
    m_tool.add("b", {"/b"});
    m_tool.add("c", {"", "/c", "", ""});
    const LoadedPackages loaded = load();
    for (const std::string path : {"/a1", "/a2", "/b", "/c"}) {
        EXPECT_THAT(loaded.packages, Contains(Pair(path, path.substr(1, 1))));
    }
    expectTheSameOneByOne();
}

TEST_F(PackageLoading, entersWhatCameBeforeTheToolWasKilled)
{
    m_tool.add("a", {"/a"});
    m_tool.add("b", {.lines = {"/b1", "/b"}, .endsHere = true});
    m_tool.add("c", {"/c"});
    EXPECT_THAT(load().packages,
                UnorderedElementsAre(Pair("/a", "a"), Pair("/b1", "b"), Pair("/b", "b"), Pair("/c", "c")));
    expectTheSameOneByOne();
}

TEST_F(PackageLoading, isTheSameWhateverTheListsHold)
{
    m_root.makeLink("loop", "loop");
    for (std::uint64_t seed = 0; seed < 60 * testSize(); ++seed) {
        std::mt19937_64 random(seed);
        m_tool = FakePackageTool();
        const int count = static_cast<int>(random() % 40);
        for (int i = 0; i < count; ++i) {
            m_tool.add(numbered(i), randomFiles(random));
        }
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        expectTheSameOneByOne();
        if (HasFailure()) {
            return;
        }
    }
}

TEST_F(PackageLoading, givesAWarningThatComesWithEveryCallToEachPackage)
{
    for (int i = 0; i < 10; ++i) {
        m_tool.add(numbered(i), {fmt::format("/file{}", i)});
    }
    const std::string warning = "dpkg-query: warning: parsing file '/var/lib/dpkg/status' near line 7: \xff";
    m_tool.warnAlways(warning);
    const LoadedPackages loaded = load();
    EXPECT_THAT(loaded.packages, SizeIs(10));
    EXPECT_THAT(loaded.lines, SizeIs(10));
    EXPECT_THAT(m_tool.asked(), SizeIs(2));
    expectTheSameOneByOne();
}

TEST_F(PackageLoading, asksOneByOneWhereAWarningMayHaveCutALineInTwo)
{
    // Together its messages are written while a part of the lists still waits to be.
    const PackageTool tool = [&](const ArgumentVector &arguments,
                                 const std::function<bool(std::string_view)> &line) {
        if (arguments.back() == "-l") {
            return m_tool.tool()(arguments, line);
        }
        if (arguments.size() == 5) {
            for (const std::string text :
                 {"/a/1", "/a/", "dpkg-query: warning: no list of b", "2", "", "/b"}) {
                if (!line(text)) {
                    return LinesEnd{.waitStatus = 9, .complete = false};
                }
            }
        } else if (arguments.back() == "a") {
            static_cast<void>(line("/a/1") && line("/a/2"));
        } else {
            static_cast<void>(line("/b"));
        }
        return LinesEnd{.waitStatus = 0, .complete = true};
    };
    m_tool.add("a", std::vector<std::string>());
    m_tool.add("b", std::vector<std::string>());
    EXPECT_THAT(loadPackages(*device(), tool).packages,
                UnorderedElementsAre(Pair("/a/1", "a"), Pair("/a/2", "a"), Pair("/b", "b")));
}

TEST_F(PackageLoading, asksNothingMoreOfAToolThatStallsAtItsList)
{
    m_tool.add("a", {"/a"});
    m_tool.stallAfterList();
    EXPECT_THAT(load().packages, IsEmpty());
    EXPECT_THAT(m_tool.asked(), SizeIs(1));
}

TEST_F(PackageLoading, asksNothingMoreOfAToolThatStallsAtAFile)
{
    for (int i = 0; i < 3000; ++i) {
        m_tool.add(numbered(i), {.lines = {fmt::format("/file{}", i)}, .stalls = i == 1500});
    }
    const LoadedPackages loaded = load();
    EXPECT_THAT(m_tool.asked(), SizeIs(3));
    EXPECT_THAT(loaded.packages, SizeIs(1024));
}

TEST_F(PackageLoading, keepsWhatAToolToldOfASinglePackageBeforeItStalled)
{
    m_tool.takeAtMost(1);
    m_tool.add("a", {"/a"});
    m_tool.add("b", {.lines = {"/b"}, .stalls = true});
    m_tool.add("c", {"/c"});
    EXPECT_THAT(load().packages, UnorderedElementsAre(Pair("/a", "a"), Pair("/b", "b")));
    EXPECT_THAT(m_tool.asked().back(), Contains("b"));
}

TEST_F(PackageLoading, takesAListWithoutAnEndForGarbage)
{
    std::size_t asked = 0;
    const PackageTool endless = [&](const ArgumentVector &,
                                    const std::function<bool(std::string_view)> &line) {
        ++asked;
        static_cast<void>(line("+++"));
        std::size_t count = 0;
        while (line(fmt::format("ii  package{} 1", count))) {
            ++count;
        }
        return LinesEnd{.waitStatus = 9, .complete = false};
    };
    EXPECT_THAT(loadPackages(*device(), endless).packages, IsEmpty());
    EXPECT_EQ(asked, 1U);
}

TEST_F(PackageLoading, isNotKeptUpByFileListsWithoutAnEnd)
{
    m_tool.add("a", std::vector<std::string>());
    m_tool.add("b", std::vector<std::string>());
    m_tool.add("c", std::vector<std::string>());
    std::size_t asked = 0;
    const PackageTool endless = [&](const ArgumentVector &arguments,
                                    const std::function<bool(std::string_view)> &line) {
        if (arguments.back() == "-l") {
            return m_tool.tool()(arguments, line);
        }
        ++asked;
        while (line("/usr/bin/file")) {
        }
        return LinesEnd{.waitStatus = 9, .complete = false};
    };
    EXPECT_THAT(loadPackages(*device(), endless).packages, ElementsAre(Pair("/usr/bin/file", "a")));
    EXPECT_EQ(asked, 2U); // together, and the first alone
}

} // namespace slicewise
