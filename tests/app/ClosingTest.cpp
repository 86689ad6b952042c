// The window is closed while a scan goes on.
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

namespace slicewise {
namespace {

TEST(Closing, endsTheProcessThoughTheScanWouldGoOnForEver)
{
    const TemporaryDirectory tools;
    // A package tool that has nothing to say as long as somebody listens: no scan gets past it.
    tools.writeFile("dpkg", "#!/bin/sh\nwhile kill -0 $PPID; do sleep 0.05; done 2>/dev/null\n");
    tools.setMode("dpkg", 0755);
    const TemporaryDirectory root;
    root.writeFile("var/lib/dpkg/status", "Package: one\nStatus: install ok installed\n\n");
    root.makeFile("usr/bin/one", 100);
    const ProgramResult result = runProgram({.arguments = {SLICEWISE_CLOSE_WHILE_SCANNING, root.path()},
                                             .environment = {{"QT_QPA_PLATFORM", "offscreen"},
                                                             {"QT_QUICK_BACKEND", "software"},
                                                             {"PATH", tools.path() + ":/usr/bin:/bin"}}});
    EXPECT_FALSE(result.tookTooLong);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "closed while it scans\n");
}

} // namespace
} // namespace slicewise
