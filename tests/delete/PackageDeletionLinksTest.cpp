// Links in a folder with packages that lead the package tool out of it, and others that do not.
#include "delete/PackageBelowRoot.h"
#include "platform/HostDevice.h"
#include "tests/delete/PackageFixture.h"
#include "tests/support/DiskState.h"
#include "tests/support/FailingDevice.h"
#include "tests/support/InChild.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <string>

namespace slicewise {
namespace {

using testing::ElementsAre;

constexpr const char *kManyUp = "../../../../../../../../../../../..";

class PackageLinks : public PackageFolder {
protected:
    void SetUp() override
    {
        install({.name = "bar", .files = {"/usr/share/bar/file", "/opt/bar"}});
        m_outside.writeFile("bar/file", "somebody else's");
        m_outside.writeFile("file", "somebody else's");
    }

    /// Nothing is run, and nothing changes anywhere.
    void expectRefused(const std::string &reason)
    {
        const auto before = diskState(m_root.path());
        const auto outsideBefore = diskState(m_outside.path());
        const Removal removal = remove("bar");
        EXPECT_FALSE(removal.result.removed);
        EXPECT_EQ(removal.result.errorText, "bar can't be removed: " + reason);
        EXPECT_THAT(removal.lines, ElementsAre("bar can't be removed: " + reason));
        EXPECT_EQ(changingCalls(), "");
        EXPECT_EQ(diskState(m_root.path()), before);
        EXPECT_EQ(diskState(m_outside.path()), outsideBefore);
    }
    void expectRemoved()
    {
        const auto outsideBefore = diskState(m_outside.path());
        const Removal removal = remove("bar");
        EXPECT_TRUE(removal.result.removed);
        EXPECT_EQ(removal.result.errorText, std::nullopt);
        EXPECT_EQ(stateOf("bar"), "unknown");
        EXPECT_EQ(diskState(m_outside.path()), outsideBefore);
    }
    [[nodiscard]] std::string leadsOut(const std::string &path) const
    {
        return fmt::format("{} leads out of {}", path, m_root.path());
    }
    void moveAndLink(const std::string &from, const std::string &to, const std::string &target)
    {
        m_root.makeDirectory(to);
        m_root.remove(to);
        m_root.rename(from, to);
        m_root.makeLink(from, target);
    }
    /// The upper directories of a host's path from the root of the file system, as seen from ours.
    static std::string farUp(const std::string &hostPath) { return kManyUp + hostPath; }

    TemporaryDirectory m_outside;
};

// ---- the database

TEST_F(PackageLinks, refusesADatabaseBehindAnAbsoluteLink)
{
    moveAndLink("var", "private/var", "/private/var");
    expectRefused(leadsOut("/var/lib/dpkg"));
}

TEST_F(PackageLinks, refusesADatabaseBehindALinkUpAndOut)
{
    moveAndLink("var", "private/var", farUp("/private/var"));
    expectRefused(leadsOut("/var/lib/dpkg"));
}

TEST_F(PackageLinks, removesWhereTheDatabaseIsBehindARelativeLink)
{
    moveAndLink("var", "private/var", "private/var");
    m_database = "private/var/lib/dpkg";
    expectRemoved();
    EXPECT_FALSE(exists("opt/bar"));
}

TEST_F(PackageLinks, refusesWhereTheToolWouldSeeAnotherDatabaseOfTheDevice)
{
    // To the device, which has no "..", the link leads to another directory than to the host.
    const std::string name = m_root.path().substr(m_root.path().rfind('/') + 1);
    moveAndLink("var", name + "/private/var", "../" + name + "/private/var");
    m_root.makeDirectory("private/var/lib/dpkg");
    expectRefused("/var/lib/dpkg does not lead to the device's package database");
}

TEST_F(PackageLinks, refusesWhereThereIsNoDatabase)
{
    m_root.remove("var");
    expectRefused(fmt::format("there is no package database in {}", m_root.path()));
    m_root.makeLink("var", m_root.pathOf("private/var"));
    m_root.makeDirectory("private/var/lib/dpkg");
    expectRefused(fmt::format("there is no package database in {}", m_root.path()));
}

TEST_F(PackageLinks, refusesADatabaseOfWhichAPartIsElsewhere)
{
    m_root.writeFile(m_database + "/updates/tmp.i", "");
    const auto swapFor = [&](const std::string &relative, const std::string &target) {
        m_root.rename(relative, "kept");
        m_root.makeLink(relative, target);
    };
    for (const char *part : {"info", "updates", "triggers", "status", "available", "info/bar.list",
                             "updates/tmp.i", "triggers/Unincorp"}) {
        const std::string relative = m_database + "/" + part;
        for (const std::string &target :
             {m_outside.path(), m_outside.pathOf("missing"), farUp(m_outside.pathOf("file"))}) {
            swapFor(relative, target);
            expectRefused(leadsOut("/" + relative));
            m_root.remove(relative);
            m_root.rename("kept", relative);
        }
    }
    swapFor(m_database + "/info", "../../../kept");
    expectRemoved();
}

// ---- the package's files

TEST_F(PackageLinks, refusesADirectoryThatIsAnAbsoluteLink)
{
    moveAndLink("usr/share", "private/share", m_outside.path());
    expectRefused(leadsOut("/usr/share"));
}

TEST_F(PackageLinks, refusesADirectoryThatIsALinkUpAndOut)
{
    moveAndLink("usr/share/bar", "private/bar", farUp(m_outside.pathOf("bar")));
    expectRefused(leadsOut("/usr/share/bar"));
}

TEST_F(PackageLinks, refusesALinkOutThatLeadsToNothing)
{
    moveAndLink("usr/share", "private/share", m_outside.pathOf("missing"));
    expectRefused(leadsOut("/usr/share"));
}

TEST_F(PackageLinks, refusesALastComponentThatIsALinkOut)
{
    m_root.remove("usr/share/bar/file");
    m_root.makeLink("usr/share/bar/file", m_outside.pathOf("file"));
    expectRefused(leadsOut("/usr/share/bar/file"));
}

TEST_F(PackageLinks, removesThroughALinkThatStaysInside)
{
    moveAndLink("usr/share", "private/share", "../private/share");
    expectRemoved();
    EXPECT_FALSE(exists("private/share/bar/file"));
    EXPECT_FALSE(exists("opt/bar"));
}

TEST_F(PackageLinks, removesThroughAnAbsoluteLinkThatComesBackInside)
{
    moveAndLink("usr/share", "private/share", m_root.pathOf("private/share"));
    expectRemoved();
    EXPECT_FALSE(exists("private/share/bar/file"));
}

TEST_F(PackageLinks, removesAPackageOfWhichFilesAreMissing)
{
    m_root.remove("usr/share");
    expectRemoved();
    EXPECT_FALSE(exists("opt/bar"));
}

TEST_F(PackageLinks, refusesAFileThatIsKeptOutside)
{
    m_root.makeLink("linked", m_outside.path());
    for (const char *owner : {":", "bar", "other"}) {
        m_root.writeFile(m_database + "/diversions", fmt::format("/opt/bar\n/linked/file\n{}\n", owner));
        expectRefused(leadsOut("/linked/file"));
    }
    m_root.writeFile(m_database + "/diversions", "/opt/bar\n/opt/bar.kept\n:\n");
    m_root.rename("opt/bar", "opt/bar.kept");
    expectRemoved();
    EXPECT_FALSE(exists("opt/bar.kept"));
}

TEST_F(PackageLinks, refusesADirectoryThatIsClosedToUs)
{
    m_root.setMode("usr/share/bar", 0);
    asOrdinaryUser([&] {
        const Removal removal = remove("bar");
        EXPECT_FALSE(removal.result.removed);
        EXPECT_EQ(removal.result.errorText, "bar can't be removed: where /usr/share/bar/file leads can't be "
                                            "found out (Permission denied)");
    });
    m_root.setMode("usr/share/bar", 0755);
    EXPECT_EQ(changingCalls(), "");
    EXPECT_TRUE(exists("usr/share/bar/file"));
}

TEST_F(PackageLinks, refusesAFolderThatIsNoLongerWhereItWas)
{
    const TemporaryDirectory parent;
    parent.makeDirectory("root/var/lib/dpkg");
    const auto device = HostDevice::open(parent.pathOf("root")).value();
    parent.rename("root", "moved");
    parent.makeDirectory("root/var/lib/dpkg");
    EXPECT_EQ(removePackage("bar", *device).result.errorText,
              "bar can't be removed: where /var/lib/dpkg leads can't be found out (Stale file handle)");
    EXPECT_EQ(m_program.calls(), "");
}

// ---- answers of the tool

/// A root with an empty database, and a tool that gives set answers.
class PackageAnswers : public testing::Test {
protected:
    PackageAnswers() { m_root.makeDirectory("var/lib/dpkg/info"); }

    /// What the tool says when asked for a state and for files, each with its end.
    struct Answers {
        std::vector<std::string> state = {"Package: bar", "Status: install ok installed"};
        LinesEnd stateEnd = {.waitStatus = 0, .complete = true};
        std::vector<std::string> files = {"/.", "/usr", "/usr/bar"};
        LinesEnd filesEnd = {.waitStatus = 0, .complete = true};
    };
    std::string refusal(const Answers &answers, const Device *device = nullptr)
    {
        const auto host = HostDevice::open(m_root.path()).value();
        const PackageTool tool = [&](const ArgumentVector &arguments,
                                     const std::function<bool(std::string_view)> &line) -> LinesEnd {
            const bool ofState = arguments.at(2) == "-s";
            EXPECT_THAT(arguments, ElementsAre("dpkg", "--admindir=" + m_root.pathOf("var/lib/dpkg"),
                                               ofState ? "-s" : "-L", "bar"));
            for (const std::string &text : ofState ? answers.state : answers.files) {
                if (!line(text)) {
                    return {.waitStatus = 9, .complete = false};
                }
            }
            return ofState ? answers.stateEnd : answers.filesEnd;
        };
        return refusalBelowRoot("bar", m_root.path(), device == nullptr ? *host : *device, tool)
            .value_or("may be removed");
    }

    static constexpr const char *kUnknown = "bar can't be removed: the package tool does not know it";
    TemporaryDirectory m_root;
};

TEST_F(PackageAnswers, letRemoveWhatIsInstalledInAnyState)
{
    for (const char *state : {"installed", "half-installed", "unpacked", "half-configured",
                              "triggers-pending", "triggers-awaited"}) {
        EXPECT_EQ(refusal({.state = {fmt::format("Status: install ok {}", state)}}), "may be removed")
            << state;
    }
}

TEST_F(PackageAnswers, keepWhatIsNotInstalled)
{
    for (const char *state : {"not-installed", "config-files"}) {
        EXPECT_EQ(refusal({.state = {fmt::format("Status: deinstall ok {}", state)}}),
                  fmt::format("bar can't be removed: it is not installed in {}", m_root.path()));
    }
    EXPECT_EQ(refusal({.state = {"Status: deinstall ok config-files", "Status: install ok installed"}}),
              fmt::format("bar can't be removed: it is not installed in {}", m_root.path()));
}

TEST_F(PackageAnswers, keepWhatTheToolDoesNotTellTheStateOf)
{
    EXPECT_EQ(refusal({.state = {}}), kUnknown);
    EXPECT_EQ(refusal({.state = {"Package: bar", " Status: install ok installed"}}), kUnknown);
    EXPECT_EQ(refusal({.stateEnd = {.waitStatus = 0x100, .complete = true}}), kUnknown);
    EXPECT_EQ(refusal({.stateEnd = {.waitStatus = 0, .complete = false}}), kUnknown);
}

TEST_F(PackageAnswers, keepWhatTheToolDoesNotTellTheFilesOf)
{
    const std::string text = "bar can't be removed: its files could not be listed";
    EXPECT_EQ(refusal({.filesEnd = {.waitStatus = 0x100, .complete = true}}), text);
    EXPECT_EQ(refusal({.filesEnd = {.waitStatus = 0, .complete = false}}), text);
    EXPECT_EQ(refusal({.files = {}}), "may be removed");
}

TEST_F(PackageAnswers, areReadPastWarningsInFrontOfTheList)
{
    m_root.makeLink("out", "/");
    const std::string warning = "dpkg-query: warning: files list file for package 'x' missing";
    EXPECT_EQ(refusal({.files = {warning, "", "/usr/bar"}}), "may be removed");
    EXPECT_EQ(refusal({.files = {warning, "/usr", "/out/bar"}}),
              fmt::format("bar can't be removed: /out/bar leads out of {}", m_root.path()));
}

TEST_F(PackageAnswers, mustBePathsFromTheFirstOneOn)
{
    for (const std::string line : {"dpkg-query: warning: something", "usr/bar", "", "sends it to: /usr"}) {
        EXPECT_EQ(refusal({.files = {"/usr", line}}),
                  "bar can't be removed: a line of its list of files is no path: " + line);
    }
}

TEST_F(PackageAnswers, tellWhereADivertedFileIsKept)
{
    m_root.makeLink("out", "/");
    for (const std::string who : {"locally diverted", "diverted by other", "package diverts others"}) {
        EXPECT_EQ(refusal({.files = {"/usr", who + " to: /usr/kept"}}), "may be removed");
        EXPECT_EQ(refusal({.files = {"/usr", who + " to: /out/kept"}}),
                  fmt::format("bar can't be removed: /out/kept leads out of {}", m_root.path()));
    }
}

TEST_F(PackageAnswers, countOnlyPathsThatAreBelowTheRootAndNotBesideIt)
{
    const std::string name = m_root.path().substr(m_root.path().rfind('/') + 1);
    m_root.makeLink("beside", "../" + name + "-2");
    m_root.makeLink("itself", "../" + name);
    EXPECT_EQ(refusal({.files = {"/beside"}}),
              fmt::format("bar can't be removed: /beside leads out of {}", m_root.path()));
    EXPECT_EQ(refusal({.files = {"/itself"}}), "may be removed");
    EXPECT_EQ(refusal({.files = {"/.."}}),
              fmt::format("bar can't be removed: /.. leads out of {}", m_root.path()));
}

TEST_F(PackageAnswers, areNotEnoughWhereADeviceCannotSayWhereAPathLeads)
{
    const auto host = HostDevice::open(m_root.path()).value();
    FailingDevice device(*host);
    device.failResolve("/usr/bar", EIO);
    EXPECT_EQ(refusal({}, &device),
              "bar can't be removed: where /usr/bar leads can't be found out (Input/output error)");
}

TEST_F(PackageAnswers, areNotAskedForWhereTheDatabaseCannotBeLookedInto)
{
    m_root.setMode("var/lib/dpkg/info", 0);
    asOrdinaryUser([&] {
        EXPECT_EQ(refusal({.state = {}}),
                  "bar can't be removed: where /var/lib/dpkg/info leads can't be found "
                  "out (Permission denied)");
    });
    m_root.setMode("var/lib/dpkg/info", 0755);
}

} // namespace
} // namespace slicewise
