#include "platform/ApplicationInstaller.h"

#include "tests/platform/StandInModules.h"
#include "tests/support/InChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *kNotText = "Applications can't be uninstalled: \"net.example.\xff\" is no text.";

/// The installer of this system, and what it writes into the log.
struct Installed {
    std::vector<std::string> lines;
    Log log{[this](std::string_view line) { lines.emplace_back(line); }};
    std::unique_ptr<ApplicationInstaller> installer = systemApplicationInstaller(log);
};

void expectNothingLeft(const FoundationRecord &foundation)
{
    EXPECT_EQ(foundation.poolsOpen, 0);
    EXPECT_EQ(foundation.objectsAlive, 0);
    EXPECT_EQ(foundation.objectsWithoutPool, 0);
    EXPECT_EQ(foundation.earlyMessages, 0);
}

// ---- where there is none

TEST(ApplicationInstaller, hasNoMechanismWithoutARuntime)
{
    Installed installed;
    EXPECT_FALSE(installed.installer->mobileInstallationUninstall());
    EXPECT_THAT(installed.lines, IsEmpty()); // there might still be the other one
    EXPECT_FALSE(installed.installer->applicationWorkspace());
    EXPECT_THAT(installed.lines,
                ElementsAre("Applications can't be uninstalled: there is no Objective-C runtime."));
}

TEST(ApplicationInstaller, hasNoMechanismWhereARuntimeHasNoWorkspace)
{
    inChild([] {
        loadFoundation();
        Installed installed;
        EXPECT_FALSE(installed.installer->mobileInstallationUninstall());
        EXPECT_FALSE(installed.installer->applicationWorkspace());
        EXPECT_THAT(
            installed.lines,
            ElementsAre("Applications can't be uninstalled: there is no class LSApplicationWorkspace."));
    });
}

TEST(ApplicationInstaller, hasNoMechanismWhereTheDeviceIsAnother)
{
    inChild([] {
        loadFoundation();
        loadWorkspace();
        loadInstallation();
        Installed installed;
        const auto refusing = refusingApplicationInstaller(installed.log);
        EXPECT_FALSE(refusing->mobileInstallationUninstall());
        EXPECT_FALSE(refusing->applicationWorkspace());
        EXPECT_THAT(
            installed.lines,
            ElementsAre("Applications can't be uninstalled: the device is not the system that runs here."));
    });
}

TEST(ApplicationInstaller, looksForItsMechanismsAtEachCall)
{
    inChild([] {
        Installed installed;
        EXPECT_FALSE(installed.installer->mobileInstallationUninstall());
        EXPECT_FALSE(installed.installer->applicationWorkspace());
        loadFoundation();
        loadWorkspace().answer = 1;
        EXPECT_FALSE(installed.installer->mobileInstallationUninstall());
        ASSERT_TRUE(installed.installer->applicationWorkspace());
        EXPECT_TRUE(installed.installer->applicationWorkspace()("net.example.app"));
        loadInstallation().answer = 3;
        ASSERT_TRUE(installed.installer->mobileInstallationUninstall());
        EXPECT_EQ(installed.installer->mobileInstallationUninstall()("net.example.app"), 3);
        EXPECT_EQ(installed.lines.size(), 1U);
    });
}

// ---- the function

TEST(ApplicationInstaller, callsTheFunctionWithTheIdentifierAndThreeNullPointers)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        InstallationRecord &installation = loadInstallation();
        Installed installed;
        const auto uninstall = installed.installer->mobileInstallationUninstall();
        ASSERT_TRUE(uninstall);
        EXPECT_EQ(installation.calls, 0);
        installation.othersGiven = 3;
        EXPECT_EQ(uninstall("net.example.app"), 0);
        EXPECT_EQ(installation.calls, 1);
        EXPECT_STREQ(installation.identifier, "net.example.app");
        EXPECT_EQ(installation.othersGiven, 0);
        EXPECT_EQ(installation.poolsOpen, 1);
        for (const int answer : {1, -1, 0x100, -402653081}) {
            installation.answer = answer;
            EXPECT_EQ(uninstall("org.example.größe😀"), answer);
            EXPECT_STREQ(installation.identifier, "org.example.größe😀");
        }
        EXPECT_THAT(installed.lines, IsEmpty());
        expectNothingLeft(foundation);
    });
}

TEST(ApplicationInstaller, doesNotCallTheFunctionWithoutAnIdentifier)
{
    using std::string_literals::operator""s;
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        const InstallationRecord &installation = loadInstallation();
        Installed installed;
        const auto uninstall = installed.installer->mobileInstallationUninstall();
        EXPECT_NE(uninstall("net.example.\xff"), 0);
        EXPECT_THAT(installed.lines, ElementsAre(kNotText));
        // Cut at its null byte it would be another application's.
        EXPECT_NE(uninstall("net.example\0.app"s), 0);
        EXPECT_EQ(installed.lines.size(), 2U);
        EXPECT_EQ(installation.calls, 0);
        expectNothingLeft(foundation);
    });
}

TEST(ApplicationInstaller, doesNotCallTheFunctionWhereThereAreNoTexts)
{
    inChild([] {
        const InstallationRecord &installation = loadInstallation();
        Installed installed;
        const auto uninstall = installed.installer->mobileInstallationUninstall();
        ASSERT_TRUE(uninstall);
        EXPECT_NE(uninstall("net.example.app"), 0);
        EXPECT_EQ(installation.calls, 0);
        EXPECT_THAT(installed.lines,
                    ElementsAre("Applications can't be uninstalled: there is no class NSString."));
    });
}

TEST(ApplicationInstaller, failsWhereTheFunctionRaisesAnException)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        InstallationRecord &installation = loadInstallation();
        installation.raises = 1;
        Installed installed;
        EXPECT_NE(installed.installer->mobileInstallationUninstall()("net.example.app"), 0);
        EXPECT_EQ(installation.calls, 1);
        EXPECT_THAT(installed.lines,
                    ElementsAre("Applications can't be uninstalled: the installer raised an exception."));
        expectNothingLeft(foundation);
    });
}

// ---- the workspace

TEST(ApplicationInstaller, sendsTheWorkspaceTheIdentifierAndNoOptions)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        WorkspaceRecord &workspace = loadWorkspace();
        Installed installed;
        const auto uninstall = installed.installer->applicationWorkspace();
        ASSERT_TRUE(uninstall);
        workspace.hadOptions = 1;
        EXPECT_FALSE(uninstall("net.example.app"));
        EXPECT_EQ(workspace.calls, 1);
        EXPECT_STREQ(workspace.identifier, "net.example.app");
        EXPECT_EQ(workspace.hadOptions, 0);
        EXPECT_EQ(workspace.poolsOpen, 1);
        EXPECT_EQ(workspace.earlyMessages, 0);
        workspace.answer = 1;
        EXPECT_TRUE(uninstall("org.example.größe😀"));
        EXPECT_STREQ(workspace.identifier, "org.example.größe😀");
        EXPECT_THAT(installed.lines, IsEmpty());
        expectNothingLeft(foundation);
    });
}

TEST(ApplicationInstaller, succeedsWithEveryTruthValueButZero)
{
    inChild([] {
        loadFoundation();
        WorkspaceRecord &workspace = loadWorkspace();
        Installed installed;
        const auto uninstall = installed.installer->applicationWorkspace();
        for (const int answer : {0, 1, 2, 0x7f, 0x80, 0xff}) {
            workspace.answer = static_cast<unsigned char>(answer);
            EXPECT_EQ(uninstall("net.example.app"), answer != 0) << answer;
        }
    });
}

TEST(ApplicationInstaller, failsWhereThereIsNoDefaultWorkspace)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        WorkspaceRecord &workspace = loadWorkspace();
        workspace.hasNoInstance = 1;
        workspace.answer = 1;
        Installed installed;
        EXPECT_FALSE(installed.installer->applicationWorkspace()("net.example.app"));
        EXPECT_EQ(workspace.calls, 0);
        EXPECT_THAT(installed.lines,
                    ElementsAre("Applications can't be uninstalled: there is no default workspace."));
        expectNothingLeft(foundation);
    });
}

TEST(ApplicationInstaller, failsWhereTheWorkspaceRaisesAnException)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        WorkspaceRecord &workspace = loadWorkspace();
        workspace.raises = 1;
        workspace.answer = 1;
        Installed installed;
        EXPECT_FALSE(installed.installer->applicationWorkspace()("net.example.app"));
        EXPECT_THAT(installed.lines,
                    ElementsAre("Applications can't be uninstalled: the installer raised an exception."));
        expectNothingLeft(foundation);
    });
}

TEST(ApplicationInstaller, asksNoWorkspaceWithoutAnIdentifier)
{
    inChild([] {
        const FoundationRecord &foundation = loadFoundation();
        WorkspaceRecord &workspace = loadWorkspace();
        workspace.answer = 1;
        Installed installed;
        EXPECT_FALSE(installed.installer->applicationWorkspace()("net.example.\xff"));
        EXPECT_EQ(workspace.calls, 0);
        EXPECT_THAT(installed.lines, ElementsAre(kNotText));
        expectNothingLeft(foundation);
    });
    inChild([] {
        WorkspaceRecord &workspace = loadWorkspace();
        workspace.answer = 1;
        Installed installed;
        EXPECT_FALSE(installed.installer->applicationWorkspace()("net.example.app"));
        EXPECT_EQ(workspace.calls, 0);
        EXPECT_THAT(installed.lines,
                    ElementsAre("Applications can't be uninstalled: there is no class NSString."));
    });
}

} // namespace
} // namespace slicewise
