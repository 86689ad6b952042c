// The window is closed while something goes on.
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

ProgramResult runClosed(const char *program, const TemporaryDirectory &root,
                        std::vector<std::pair<std::string, std::string>> environment = {})
{
    environment.insert(environment.end(),
                       {{"QT_QPA_PLATFORM", "offscreen"}, {"QT_QUICK_BACKEND", "software"}});
    return runProgram({.arguments = {program, root.path()}, .environment = std::move(environment)});
}

TEST(Closing, endsTheProcessThoughTheScanWouldGoOnForEver)
{
    const TemporaryDirectory tools;
    // A package tool that has nothing to say as long as somebody listens: no scan gets past it.
    tools.writeFile("dpkg", "#!/bin/sh\nwhile kill -0 $PPID; do sleep 0.05; done 2>/dev/null\n");
    tools.setMode("dpkg", 0755);
    const TemporaryDirectory root;
    root.writeFile("var/lib/dpkg/status", "Package: one\nStatus: install ok installed\n\n");
    root.makeFile("usr/bin/one", 100);
    const ProgramResult result =
        runClosed(SLICEWISE_CLOSE_WHILE_SCANNING, root, {{"PATH", tools.path() + ":/usr/bin:/bin"}});
    EXPECT_FALSE(result.tookTooLong);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "closed while it scans\n");
}

TEST(Closing, waitsForARemovalAndLeavesNothingOfItUndone)
{
    const TemporaryDirectory root;
    for (const char *file : {"old/a", "old/b", "old/deep/c", "kept"}) {
        root.makeFile(file, 100);
    }
    const ProgramResult result = runClosed(SLICEWISE_CLOSE_WHILE_DELETING, root);
    EXPECT_FALSE(result.tookTooLong);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "closed while it deletes\nstill there\n");
    for (const char *file : {"old/a", "old/b", "old/deep/c"}) {
        EXPECT_FALSE(std::filesystem::exists(root.pathOf(file))) << file;
    }
    EXPECT_TRUE(std::filesystem::exists(root.pathOf("kept")));
}

} // namespace
} // namespace slicewise
