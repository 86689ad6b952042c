// Runs the real slicewise-cli on a folder of the test's own.
#pragma once

#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace slicewise {

class CliFixture : public testing::Test {
protected:
    /// Arguments after "--root" and the folder.
    [[nodiscard]] ProgramRun onFolder(std::vector<std::string> arguments) const;
    [[nodiscard]] ProgramResult run(std::vector<std::string> arguments) const;
    /// What it writes to standard output, having ended with 0 and said nothing else.
    [[nodiscard]] std::string outputOf(std::vector<std::string> arguments) const;

    /// The program with these arguments alone.
    [[nodiscard]] static ProgramRun program(std::vector<std::string> arguments);

    /// Another user than root, whoever runs the tests.
    static void asOrdinaryUser(ProgramRun &run);

    [[nodiscard]] const TemporaryDirectory &folder() const { return m_folder; }

private:
    TemporaryDirectory m_folder;
};

/// The lines of a text, without their ends.
[[nodiscard]] std::vector<std::string> linesOf(const std::string &text);

} // namespace slicewise
