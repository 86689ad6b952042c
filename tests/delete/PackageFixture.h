// What the tests of removing packages share: a node to remove, what becomes of it, and folders with real
// packages in them, put there by the real package tool.
#pragma once

#include "delete/PackageDeletion.h"
#include "platform/Privileges.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace slicewise {

struct Removal {
    PackageDeletion result;
    std::vector<std::string> lines; ///< of the log
};
/// Removes the package that a node below "Cydia Packages" is named after. A failure where the tree changes,
/// or a photo library or an installer is asked.
[[nodiscard]] Removal removePackage(const std::string &name, Device &device, const Privileges &privileges);
/// With the rights that we have.
[[nodiscard]] Removal removePackage(const std::string &name, Device &device);

inline constexpr const char *kSystemsPath = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

/// The content of a host's file; empty where there is none.
[[nodiscard]] std::string contentOf(const std::string &hostPath);

/// A folder "dpkg" first on PATH, while it lives, with a program of that name: a shell script that notes its
/// arguments, then goes on with the text.
class PackageProgram {
public:
    explicit PackageProgram(const std::string &script);

    /// What it was given, one call a line: "--dry-run|-r|name|".
    [[nodiscard]] std::string calls() const { return contentOf(m_directory.pathOf("notes/calls")); }
    /// The content of a file that the script has written to its folder "$notes".
    [[nodiscard]] std::string note(const std::string &name) const
    {
        return contentOf(m_directory.pathOf("notes/" + name));
    }

private:
    TemporaryDirectory m_directory;
    ScopedVariable m_path;
};

struct MadePackage {
    std::string name;
    std::vector<std::string> files = {}; ///< with the package's name in each
    std::string control = {};            ///< further lines of it: "Depends: other\n"
    std::string conffile = {};           ///< one of the files
    std::vector<std::pair<std::string, std::string>> scripts = {}; ///< "prerm" and its text
};

/// A folder that plays a device's root, with the package tool's database in it and, in "bin/sh", a shell.
/// Removing anything there leaves nothing in the host's log.
class PackageFolder : public testing::Test {
protected:
    PackageFolder();

    /// Builds a package and installs it.
    void install(const MadePackage &package);
    /// As removePackage() does it.
    Removal remove(const std::string &name);
    /// The text of "Status:", as the tool tells it of the folder's database.
    [[nodiscard]] std::string stateOf(const std::string &name) const;
    [[nodiscard]] bool exists(const std::string &relative) const;
    /// The arguments of a call for this folder, as calls() has them.
    [[nodiscard]] std::string call(const std::string &arguments) const;
    /// All calls that are no questions.
    [[nodiscard]] std::string changingCalls() const;

    TemporaryDirectory m_root;
    TemporaryDirectory m_work;
    PackageProgram m_program;
    std::string m_database = "var/lib/dpkg"; ///< in the root, without links
};

} // namespace slicewise
