// Removing real packages from a folder with the real tool.
#include "tests/delete/PackageFixture.h"
#include "tests/support/RunProgram.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <regex>
#include <set>
#include <string>

namespace slicewise {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSubsetOf;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

/// The names in "a is required by b, c and d".
std::vector<std::string> namesIn(const std::optional<std::string> &text, const std::string &package)
{
    const std::string front = package + " is required by ";
    if (!text || !text->starts_with(front)) {
        return {"no such text: " + text.value_or("none")};
    }
    const std::regex between(", | and ");
    return {std::sregex_token_iterator(text->begin() + static_cast<std::ptrdiff_t>(front.size()), text->end(),
                                       between, -1),
            {}};
}

/// Keeps another process's lock on a file of the host, while it lives.
class LockedFile {
public:
    explicit LockedFile(const std::string &path)
    {
        std::array<int, 2> ready{};
        std::array<int, 2> wait{};
        EXPECT_EQ(::pipe2(ready.data(), O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(wait.data(), O_CLOEXEC), 0);
        m_child = ::fork();
        if (m_child == 0) {
            ::close(wait[1]);
            const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640);
            struct flock lock = {};
            lock.l_type = F_WRLCK;
            char byte = file >= 0 && ::fcntl(file, F_SETLK, &lock) == 0 ? '1' : '0';
            static_cast<void>(!::write(ready[1], &byte, 1));
            static_cast<void>(!::read(wait[0], &byte, 1)); // until the parent closes it
            ::_exit(0);
        }
        ::close(ready[1]);
        ::close(wait[0]);
        m_wait = wait[1];
        char byte = '0';
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        EXPECT_EQ(byte, '1') << path;
        ::close(ready[0]);
    }
    LockedFile(const LockedFile &) = delete;
    LockedFile &operator=(const LockedFile &) = delete;
    ~LockedFile()
    {
        ::close(m_wait);
        EXPECT_EQ(::waitpid(m_child, nullptr, 0), m_child);
    }

private:
    ::pid_t m_child = -1;
    int m_wait = -1;
};

TEST_F(PackageFolder, losesThePackageButKeepsItsConfiguration)
{
    install({.name = "adv-cmds",
             .files = {"/usr/bin/finger", "/usr/share/adv/page", "/etc/adv.conf"},
             .conffile = "/etc/adv.conf"});
    install({.name = "other", .files = {"/usr/bin/other"}});
    const Removal removal = remove("adv-cmds");
    EXPECT_TRUE(removal.result.removed);
    EXPECT_EQ(removal.result.errorText, std::nullopt);
    EXPECT_FALSE(exists("usr/bin/finger"));
    EXPECT_FALSE(exists("usr/share/adv"));
    EXPECT_TRUE(exists("etc/adv.conf"));
    EXPECT_TRUE(exists("usr/bin/other"));
    EXPECT_EQ(stateOf("adv-cmds"), "deinstall ok config-files");
    EXPECT_EQ(stateOf("other"), "install ok installed");
    EXPECT_EQ(changingCalls(), call("--dry-run|-r|adv-cmds|") + call("-r|adv-cmds|"));
    ASSERT_THAT(removal.lines, SizeIs(1));
    EXPECT_THAT(removal.lines.front(),
                AllOf(StartsWith("DPKG Dry Run Output: "), HasSubstr("Would remove or purge adv-cmds")));
}

TEST_F(PackageFolder, isAskedAboutItsOwnDatabaseBeforeAnythingIsRun)
{
    install({.name = "a", .files = {"/usr/a"}});
    EXPECT_TRUE(remove("a").result.removed);
    const std::string database = fmt::format("--admindir={}", m_root.pathOf(m_database));
    EXPECT_EQ(m_program.calls(),
              fmt::format("{0}|-s|a|\n{0}|-L|a|\n", database) + call("--dry-run|-r|a|") + call("-r|a|"));
}

TEST_F(PackageFolder, keepsAPackageThatOthersNeed)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    std::vector<std::string> names;
    for (const int count : {1, 2, 4, 6}) {
        while (names.size() < static_cast<std::size_t>(count)) {
            names.push_back(fmt::format("needs-{}", names.size()));
            install({.name = names.back(),
                     .control = names.size() % 2 == 0 ? "Depends: bar\n" : "Depends: bar (>= 1.0)\n"});
        }
        const Removal removal = remove("bar");
        EXPECT_FALSE(removal.result.removed);
        std::vector<std::string> told = namesIn(removal.result.errorText, "bar");
        if (count > 4) {
            ASSERT_EQ(told.back(), "other packages");
            told.pop_back();
        }
        EXPECT_THAT(told, SizeIs(std::min(count, 4))) << *removal.result.errorText;
        EXPECT_THAT(told, IsSubsetOf(names)) << *removal.result.errorText;
        EXPECT_EQ(std::set<std::string>(told.begin(), told.end()).size(), told.size());
    }
    EXPECT_EQ(stateOf("bar"), "install ok installed");
    EXPECT_TRUE(exists("usr/bar"));
    EXPECT_THAT(changingCalls(), Not(HasSubstr(call("-r|bar|"))));
}

TEST_F(PackageFolder, isReadInEnglishWhateverTheUsersLanguageIs)
{
    install({.name = "bar"});
    install({.name = "tool", .control = "Depends: bar\n"});
    const ScopedVariable locale("LC_ALL", "C.utf8");
    const ScopedVariable language("LANGUAGE", "de");
    EXPECT_EQ(remove("bar").result.errorText, "bar is required by tool");
}

TEST_F(PackageFolder, namesNobodyWhereADryRunFailsForAnotherReason)
{
    install({.name = "bar", .files = {"/usr/bar"}, .control = "Essential: yes\n"});
    const Removal removal = remove("bar");
    EXPECT_FALSE(removal.result.removed);
    EXPECT_EQ(removal.result.errorText, "bar is required by ");
    EXPECT_TRUE(exists("usr/bar"));
    ASSERT_THAT(removal.lines, SizeIs(1));
    EXPECT_THAT(removal.lines.front(), HasSubstr("essential"));
    EXPECT_EQ(changingCalls(), call("--dry-run|-r|bar|"));
}

TEST_F(PackageFolder, isHeardUpTo4095BytesOfManyPackagesThatNeedOne)
{
    install({.name = "bar"});
    std::string status = contentOf(m_root.pathOf(m_database + "/status"));
    for (int number = 0; number < 100; ++number) {
        const std::string name = fmt::format("needs-bar-{:03}-{}", number, std::string(60, 'x'));
        status += fmt::format("Package: {}\nStatus: install ok installed\nMaintainer: Nobody "
                              "<nobody@localhost>\nArchitecture: all\nVersion: 1\nDepends: bar\n"
                              "Description: {}\n\n",
                              name, name);
        m_root.writeFile(fmt::format("{}/info/{}.list", m_database, name), "/.\n");
    }
    m_root.writeFile(m_database + "/status", status);
    const Removal removal = remove("bar");
    EXPECT_FALSE(removal.result.removed);
    const std::vector<std::string> told = namesIn(removal.result.errorText, "bar");
    EXPECT_THAT(told, SizeIs(5));
    EXPECT_THAT(told.front(), StartsWith("needs-bar-"));
    EXPECT_EQ(told.back(), "other packages");
    // More is neither read nor logged, where each newline takes four characters.
    ASSERT_THAT(removal.lines, SizeIs(1));
    const std::string line = std::regex_replace(removal.lines.front(), std::regex(R"(\\x0A)"), "\n");
    EXPECT_EQ(line.size(), std::string("DPKG Dry Run Output: ").size() + 4095);
}

TEST_F(PackageFolder, keepsAPackageWhoseOwnScriptRefuses)
{
    install({.name = "bar", .files = {"/usr/bar"}, .scripts = {{"prerm", "echo no >&2\nexit 1\n"}}});
    const Removal removal = remove("bar");
    EXPECT_FALSE(removal.result.removed);
    EXPECT_EQ(removal.result.errorText, std::nullopt);
    EXPECT_TRUE(exists("usr/bar"));
    EXPECT_EQ(changingCalls(), call("--dry-run|-r|bar|") + call("-r|bar|"));
}

TEST_F(PackageFolder, isTheWholeSystemToThePackagesScripts)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root may give a program another root";
    }
    install({.name = "bar", .files = {"/usr/bar"}, .scripts = {{"postrm", "echo \"$1\" > /ran\n"}}});
    EXPECT_TRUE(remove("bar").result.removed);
    EXPECT_EQ(contentOf(m_root.pathOf("ran")), "remove\n");
}

TEST_F(PackageFolder, keepsAPackageWhileAnotherProcessHasTheDatabase)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    for (const char *name : {"lock", "lock-frontend"}) {
        const LockedFile lock(m_root.pathOf(m_database + "/" + name));
        const Removal removal = remove("bar");
        EXPECT_FALSE(removal.result.removed) << name;
        EXPECT_EQ(removal.result.errorText, std::nullopt) << name;
        EXPECT_TRUE(exists("usr/bar")) << name;
    }
    EXPECT_EQ(changingCalls(),
              call("--dry-run|-r|bar|") + call("-r|bar|") + call("--dry-run|-r|bar|") + call("-r|bar|"));
    EXPECT_TRUE(remove("bar").result.removed);
}

TEST_F(PackageFolder, saysThatAPackageIsNotInstalledThere)
{
    install({.name = "bar", .files = {"/etc/bar"}, .conffile = "/etc/bar"});
    EXPECT_TRUE(remove("bar").result.removed);
    const std::string before = changingCalls();
    const Removal again = remove("bar");
    EXPECT_FALSE(again.result.removed);
    const std::string sentence =
        fmt::format("bar can't be removed: it is not installed in {}", m_root.path());
    EXPECT_EQ(again.result.errorText, sentence);
    EXPECT_THAT(again.lines, ElementsAre(sentence));
    EXPECT_EQ(remove("base-files").result.errorText,
              "base-files can't be removed: the package tool does not know it");
    EXPECT_EQ(changingCalls(), before);
}

TEST_F(PackageFolder, losesAPackageThatIsUnpackedOnly)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    const std::string file = m_database + "/status";
    m_root.writeFile(file, std::regex_replace(contentOf(m_root.pathOf(file)),
                                              std::regex("install ok installed"), "install ok unpacked"));
    ASSERT_EQ(stateOf("bar"), "install ok unpacked");
    EXPECT_TRUE(remove("bar").result.removed);
    EXPECT_FALSE(exists("usr/bar"));
}

TEST_F(PackageFolder, isLeftAloneWhereThereIsNoTool)
{
    install({.name = "bar", .files = {"/usr/bar"}});
    const TemporaryDirectory empty;
    const ScopedVariable path("PATH", empty.path());
    EXPECT_EQ(remove("bar").result.errorText, "bar can't be removed: the package tool does not know it");
}

} // namespace
} // namespace slicewise
