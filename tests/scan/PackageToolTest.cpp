// The index of packages through real processes: the machine's own package tool and database, a database in a
// folder, and programs of its name that do what they should not.
#include "platform/HostDevice.h"
#include "scan/PackageIndex.h"
#include "scan/Utf8.h"
#include "tests/scan/PackageTools.h"
#include "tests/scan/TestSize.h"
#include "tests/support/DiskState.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryDirectory.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace slicewise {

namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

constexpr const char *kRealTool = "/usr/bin/dpkg";
constexpr const char *kSystemsPath = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

/// A tree with a database to point at, and a program "dpkg" that a test writes.
class PackageProgram : public ::testing::Test {
protected:
    PackageProgram() { m_root.makeDirectory("var/lib/dpkg"); }

    LoadedPackages loadWithScript(const std::string &script)
    {
        m_programs.writeFile("dpkg", "#!/bin/sh\n" + script);
        m_programs.setMode("dpkg", 0755);
        return load();
    }
    [[nodiscard]] LoadedPackages load() const
    {
        const ScopedVariable path("PATH", m_programs.path() + ":" + kSystemsPath);
        return loadPackages(*HostDevice::open(m_root.path()).value(), packageToolOnPath(nullptr));
    }

    /// "$action" is -l or -L, and what is left of "$@" the names.
    static constexpr const char *kReadArguments = "shift\naction=$1\nshift\n";

    TemporaryDirectory m_root;
    TemporaryDirectory m_programs;
};

void run(const std::vector<std::string> &arguments)
{
    const ProgramResult result =
        runProgram({.arguments = arguments, .environment = {{"PATH", kSystemsPath}, {"LC_ALL", "C"}}});
    ASSERT_EQ(result.exitStatus, 0) << arguments.front() << ": " << result.standardOutput
                                    << result.standardError;
}

/// A real database in a folder, filled by the real tool.
class PackageDatabase : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(runProgram({.arguments = {kRealTool, "--version"}}).exitStatus, 0);
        for (const std::string directory : {"info", "updates", "triggers"}) {
            m_root.makeDirectory("private/var/lib/dpkg/" + directory);
        }
        m_root.writeFile("private/var/lib/dpkg/status", "");
        m_root.writeFile("private/var/lib/dpkg/available", "");
        // While the tool installs, a link that stays below the folder for it too.
        m_root.makeLink("var", "private/var");
    }

    void install(const std::string &name, const std::vector<std::string> &files,
                 const std::string &conffile = "")
    {
        const std::string place = "build/" + name;
        m_work.writeFile(place + "/DEBIAN/control",
                         fmt::format("Package: {}\nVersion: 119-5\nArchitecture: all\nMaintainer: Nobody "
                                     "<nobody@localhost>\nDescription: {}\n",
                                     name, name));
        for (const std::string &file : files) {
            m_work.writeFile(place + file, name);
        }
        if (!conffile.empty()) {
            m_work.writeFile(place + "/DEBIAN/conffiles", conffile + "\n");
        }
        const std::string package = m_work.pathOf(name + ".deb");
        run({"dpkg-deb", "--build", "--root-owner-group", m_work.pathOf(place), package});
        runTool({"--install", package});
    }
    void runTool(const std::vector<std::string> &arguments)
    {
        std::vector<std::string> all = {kRealTool,          "--root=" + m_root.path(),   "--force-not-root",
                                        "--force-bad-path", "--force-script-chrootless", "--log=/dev/null"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        run(all);
    }
    /// As a device has it: to be followed on the device, not on the host.
    void makeLinkAbsolute() const
    {
        m_root.remove("var");
        m_root.makeLink("var", "/private/var");
    }

    TemporaryDirectory m_root;
    TemporaryDirectory m_work;
};

/// This machine's tool, listing every tenth package: the machine may have thousands, and each takes a process
/// here.
PackageTool toolOfSomePackages()
{
    return [tool = packageToolOnPath(nullptr)](const ArgumentVector &arguments,
                                               const std::function<bool(std::string_view)> &line) {
        const std::size_t step = std::max<std::size_t>(1, 10 / testSize());
        const bool lists = arguments.back() == "-l";
        std::size_t packages = 0;
        return tool(arguments, [&](std::string_view text) {
            const bool isLeftOut = lists && text.starts_with("ii ") && packages++ % step != 0;
            return isLeftOut || line(text);
        });
    };
}

} // namespace

TEST(PackagesOfThisMachine, areTheSameAskedTogetherAndOneByOne)
{
    const ScopedVariable path("PATH", kSystemsPath);
    const auto device = HostDevice::open("/").value();
    const LoadedPackages together = loadPackages(*device, toolOfSomePackages());
    ASSERT_FALSE(together.packages.empty());
    std::size_t calls = 0;
    const PackageTool counted =
        [&, tool = toolOfSomePackages()](const ArgumentVector &arguments,
                                         const std::function<bool(std::string_view)> &line) {
            ++calls;
            return tool(arguments, line);
        };
    const LoadedPackages alone = loadPackages(*device, oneAtATime(counted));
    EXPECT_GT(calls, 10U);
    EXPECT_EQ(together.packages, alone.packages);
    EXPECT_EQ(together.lines, alone.lines);
}

TEST(PackagesOfThisMachine, areTheSameThroughAProgramThatTakesOneNameOnly)
{
    const auto device = HostDevice::open("/").value();
    const TemporaryDirectory programs;
    programs.writeFile("dpkg", fmt::format("#!/bin/sh\n"
                                           "if [ $# -gt 2 ]; then echo 'one at a time' >&2; exit 2; fi\n"
                                           "exec {} \"$@\"\n",
                                           kRealTool));
    programs.setMode("dpkg", 0755);
    LoadedPackages together;
    {
        const ScopedVariable path("PATH", kSystemsPath);
        together = loadPackages(*device, toolOfSomePackages());
    }
    ASSERT_FALSE(together.packages.empty());
    const ScopedVariable path("PATH", programs.path() + ":" + kSystemsPath);
    const LoadedPackages alone = loadPackages(*device, toolOfSomePackages());
    EXPECT_EQ(together.packages, alone.packages);
    EXPECT_EQ(together.lines, alone.lines);
}

TEST_F(PackageProgram, isAskedAboutTheDevicesOwnDatabaseWithoutLinks)
{
    m_root.makeDirectory("private/var/lib/dpkg");
    m_root.remove("var");
    m_root.makeLink("var", "/private/var");
    const std::string notes = m_programs.pathOf("asked");
    const LoadedPackages loaded = loadWithScript(
        fmt::format("printf '%s|' \"$@\" >> {}\necho >> {}\n{}"
                    R"(if [ $action = -l ]; then printf '+++\nii  adv-cmds 1\nii  libc6:amd64 )"
                    R"(1\n'; else printf '/a\n\n/b\n'; fi)",
                    notes, notes, kReadArguments));
    EXPECT_THAT(loaded.packages, UnorderedElementsAre(Pair("/a", "adv-cmds"), Pair("/b", "libc6:amd64")));
    const ProgramResult asked = runProgram({.arguments = {"/bin/cat", notes}});
    const std::string database = "--admindir=" + m_root.pathOf("private/var/lib/dpkg");
    EXPECT_EQ(asked.standardOutput, fmt::format("{}|-l|\n{}|-L|adv-cmds|libc6:amd64|\n", database, database));
}

TEST_F(PackageProgram, losesTheLastCharacterOfAListWithoutANewlineAtItsEnd)
{
    const LoadedPackages loaded = loadWithScript(
        std::string(kReadArguments) +
        R"(if [ $action = -l ]; then printf '+++\nii  adv-cmds'; else printf '/a\n/%s' "$1"; fi)");
    EXPECT_THAT(loaded.packages, UnorderedElementsAre(Pair("/a", "adv-cmd"), Pair("/adv-cm", "adv-cmd")));
}

TEST_F(PackageProgram, thatIsNotThereLeavesTheIndexEmpty)
{
    const TemporaryDirectory empty;
    const ScopedVariable path("PATH", empty.path());
    const auto device = HostDevice::open(m_root.path()).value();
    EXPECT_THAT(loadPackages(*device, packageToolOnPath(nullptr)).packages, IsEmpty());
    const auto host = HostDevice::open("/").value();
    EXPECT_THAT(loadPackages(*host, packageToolOnPath(nullptr)).packages, IsEmpty());
}

TEST_F(PackageProgram, thatPrintsNothingLeavesTheIndexEmpty)
{
    EXPECT_THAT(loadWithScript("exit 0").packages, IsEmpty());
    EXPECT_THAT(loadWithScript("exit 3").packages, IsEmpty());
    EXPECT_THAT(loadWithScript("kill -9 $$").packages, IsEmpty());
}

TEST_F(PackageProgram, thatPrintsGarbageIsSurvived)
{
    for (const auto &[path, package] : loadWithScript("echo +++; head -c 30000 /dev/urandom").packages) {
        EXPECT_TRUE(path.starts_with('/') && isUtf8(path)) << path;
        EXPECT_TRUE(isUtf8(package)) << package;
    }
    const LoadedPackages loaded = loadWithScript(
        std::string(kReadArguments) + R"(if [ $action = -l ]; then printf '+++\nii  a 1\nii  b 1\n'; else )"
                                      R"(echo /good/$1; printf '\001\377 \000/\n'; fi)");
    EXPECT_THAT(loaded.packages, AllOf(Contains(Pair("/good/a", "a")), Contains(Pair("/good/b", "b"))));
}

TEST_F(PackageProgram, thatIsKilledLeavesWhatItToldOfSinglePackages)
{
    const LoadedPackages loaded = loadWithScript(
        std::string(kReadArguments) +
        R"(if [ $action = -l ]; then printf '+++\nii  a 1\nii  b 1\n'; else echo /$1; kill -9 $$; fi)");
    EXPECT_THAT(loaded.packages, UnorderedElementsAre(Pair("/a", "a"), Pair("/b", "b")));
}

TEST_F(PackageProgram, thatListsAHundredMegabytesOfPackagesIsNotBelieved)
{
    const std::string notes = m_programs.pathOf("asked");
    EXPECT_THAT(
        loadWithScript(fmt::format("echo >> {}\necho +++\nyes 'ii  adv-cmds 1' | head -c 100000000", notes))
            .packages,
        IsEmpty());
    EXPECT_EQ(runProgram({.arguments = {"/bin/cat", notes}}).standardOutput, "\n");
    EXPECT_THAT(loadWithScript("yes 'ii  adv-cmds 1' | head -c 100000000").packages, IsEmpty());
    EXPECT_THAT(loadWithScript("echo +++\nhead -c 100000000 /dev/zero").packages, IsEmpty());
}

TEST_F(PackageProgram, thatListsAHundredMegabytesOfFilesIsSurvived)
{
    const LoadedPackages loaded = loadWithScript(
        std::string(kReadArguments) +
        R"(if [ $action = -l ]; then printf '+++\nii  a 1\nii  b 1\n'; else yes /usr/share/$1/)" +
        std::string(400, 'x') + " | head -c 100000000; fi");
    EXPECT_THAT(loaded.packages, AllOf(Contains(Pair("/usr/share/a/" + std::string(400, 'x'), "a")),
                                       Contains(Pair("/usr/share/b/" + std::string(400, 'x'), "b"))));
}

TEST_F(PackageProgram, isNotAskedOnceStoppedHasBeenSaid)
{
    const std::atomic<bool> stop = true;
    m_programs.writeFile("dpkg", "#!/bin/sh\nprintf '+++\\nii  a 1\\n'\n");
    m_programs.setMode("dpkg", 0755);
    const ScopedVariable path("PATH", m_programs.path() + ":" + kSystemsPath);
    EXPECT_THAT(loadPackages(*HostDevice::open(m_root.path()).value(), packageToolOnPath(&stop)).packages,
                IsEmpty());
}

TEST_F(PackageDatabase, givesEachFileToItsPackage)
{
    install("adv-cmds", {"/usr/bin/finger", "/private/var/spool/adv"});
    install("linked", {"/usr/share/linked/file"});
    install("removed", {"/usr/bin/removed"});
    install("kept-settings", {"/usr/bin/settings", "/etc/settings"}, "/etc/settings");
    runTool({"--remove", "removed", "kept-settings"});
    makeLinkAbsolute();
    m_root.makeLink("usr/bin/also", "finger");

    const auto device = HostDevice::open(m_root.path()).value();
    const auto before = diskState(m_root.path());
    std::vector<std::string> lines;
    Log log([&lines](std::string_view line) { lines.emplace_back(line); });
    const ScopedVariable path("PATH", kSystemsPath);
    const PackageIndex packageIndex = loadPackageIndex(*device, log, packageToolOnPath(nullptr));
    EXPECT_EQ(diskState(m_root.path()), before);

    EXPECT_EQ(classifyPackage(packageIndex, "/usr/bin/finger"), "Cydia Packages/adv-cmds/usr/bin/finger");
    EXPECT_EQ(classifyPackage(packageIndex, "/private/var/spool/adv"),
              "Cydia Packages/adv-cmds/private/var/spool/adv");
    EXPECT_EQ(classifyPackage(packageIndex, "/usr/share/linked/file"),
              "Cydia Packages/linked/usr/share/linked/file");
    EXPECT_EQ(classifyPackage(packageIndex, "/usr/bin/also"), std::nullopt);
    EXPECT_EQ(classifyPackage(packageIndex, "/usr/bin/removed"), std::nullopt);
    EXPECT_EQ(classifyPackage(packageIndex, "/usr/bin/settings"), std::nullopt);
    EXPECT_EQ(classifyPackage(packageIndex, "/etc/settings"), "Cydia Packages/kept-settings/etc/settings");
    EXPECT_EQ(classifyPackage(packageIndex, "/private/var/lib/dpkg/status"), std::nullopt);
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(PackageDatabase, givesAFileThatIsReachedThroughALinkToItsPackage)
{
    install("linked", {"/opt/data/file", "/opt/plain"});
    m_root.makeDirectory("private/opt");
    m_root.rename("opt/data", "private/opt/data");
    m_root.makeLink("opt/data", "/private/opt/data");
    const ScopedVariable path("PATH", kSystemsPath);
    const LoadedPackages loaded =
        loadPackages(*HostDevice::open(m_root.path()).value(), packageToolOnPath(nullptr));
    EXPECT_THAT(loaded.packages,
                AllOf(Contains(Pair("/private/opt/data/file", "linked")),
                      Contains(Pair("/opt/plain", "linked")), Not(Contains(Key("/opt/data/file")))));
}

TEST_F(PackageDatabase, isTheSameAskedOneByOneWhereOnePackagesListIsMissing)
{
    std::vector<std::string> many;
    for (int i = 0; i < 300; ++i) {
        many.push_back(fmt::format("/usr/share/first/a-rather-long-name-of-a-file-{:03}", i));
    }
    install("first", many);
    install("second", {"/usr/share/second"});
    install("third", {"/usr/share/third"});
    m_root.remove("private/var/lib/dpkg/info/second.list");
    const ScopedVariable path("PATH", kSystemsPath);
    const auto device = HostDevice::open(m_root.path()).value();
    const LoadedPackages together = loadPackages(*device, packageToolOnPath(nullptr));
    EXPECT_EQ(together, loadPackages(*device, oneAtATime(packageToolOnPath(nullptr))));
    for (const std::string &file : many) {
        EXPECT_THAT(together.packages, Contains(Pair(file, "first")));
    }
    EXPECT_THAT(together.packages, Contains(Pair("/usr/share/third", "third")));
}

TEST_F(PackageDatabase, thatIsDamagedLeavesTheIndexEmpty)
{
    install("adv-cmds", {"/usr/bin/finger"});
    m_root.writeFile("private/var/lib/dpkg/status", std::string(5000, '\xfe') + "\nPackage");
    const ScopedVariable path("PATH", kSystemsPath);
    EXPECT_THAT(loadPackages(*HostDevice::open(m_root.path()).value(), packageToolOnPath(nullptr)).packages,
                IsEmpty());
}

} // namespace slicewise
