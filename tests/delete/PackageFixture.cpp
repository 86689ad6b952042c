#include "tests/delete/PackageFixture.h"

#include "platform/HostDevice.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TreeText.h"

#include <fmt/format.h>

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>

namespace slicewise {

namespace {

constexpr const char *kRealTool = "/usr/bin/dpkg";

class NobodysPhotoLibrary final : public PhotoLibrary {
public:
    void deleteAssetWithURLHandler(const std::string &assetUrl, Handler handler) override
    {
        ADD_FAILURE() << "The photo library was asked for " << assetUrl;
        handler(false, "(null)");
    }
};

class NobodysInstaller final : public ApplicationInstaller {
public:
    [[nodiscard]] Uninstall mobileInstallationUninstall() override
    {
        ADD_FAILURE() << "The installer was asked";
        return {};
    }
    [[nodiscard]] WorkspaceUninstall applicationWorkspace() override
    {
        ADD_FAILURE() << "The workspace was asked";
        return {};
    }
};

void run(const std::vector<std::string> &arguments)
{
    const ProgramResult result =
        runProgram({.arguments = arguments, .environment = {{"PATH", kSystemsPath}, {"LC_ALL", "C"}}});
    ASSERT_EQ(result.exitStatus, 0) << arguments.front() << ": " << result.standardOutput
                                    << result.standardError;
}

/// Who is not root may have folders of packages too: without owners, and without a root for the scripts.
std::string forced()
{
    return ::geteuid() == 0 ? "--log=/dev/null"
                            : "--log=/dev/null --force-not-root --force-bad-path --force-script-chrootless";
}

} // namespace

Removal removePackage(const std::string &name, Device &device, const Privileges &privileges)
{
    NobodysPhotoLibrary photoLibrary;
    NobodysInstaller installer;
    Removal removal;
    Log log([&](std::string_view line) { removal.lines.emplace_back(line); });
    Deletion deletion{.device = device,
                      .log = log,
                      .privileges = privileges,
                      .photoLibrary = photoLibrary,
                      .installer = installer,
                      .deviceVersion = {}};
    SZANode root;
    root.addNodeForFile("Cydia Packages/package/usr/bin/file", "/usr/bin/file");
    SZANode *node = root.childNamed("Cydia Packages")->childNamed("package");
    node->setName(name);
    const std::string before = treeText(root);
    removal.result = dpkgDeleteWithErrorString(*node, deletion);
    EXPECT_EQ(treeText(root), before);
    return removal;
}

Removal removePackage(const std::string &name, Device &device)
{
    return removePackage(name, device, Privileges::dropAtEntry());
}

std::string contentOf(const std::string &hostPath)
{
    std::ifstream stream(hostPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// ---- a program in the tool's place

PackageProgram::PackageProgram(const std::string &script)
    : m_path("PATH", m_directory.path() + ":" + kSystemsPath)
{
    m_directory.writeFile("dpkg", fmt::format("#!/bin/sh\nnotes='{}'\n"
                                              "{{ printf '%s|' \"$@\"; echo; }} >> \"$notes/calls\"\n{}\n",
                                              m_directory.pathOf("notes"), script));
    m_directory.setMode("dpkg", 0755);
    m_directory.makeDirectory("notes");
    m_directory.setMode("notes", 0777); // whoever it runs as
}

// ---- a folder with packages

PackageFolder::PackageFolder() : m_program(fmt::format("exec {} {} \"$@\"", kRealTool, forced()))
{
    for (const std::string directory : {"info", "updates", "triggers"}) {
        m_root.makeDirectory(m_database + "/" + directory);
    }
    m_root.writeFile(m_database + "/status", "");
    m_root.writeFile(m_database + "/available", "");
    m_root.writeFile("bin/sh", contentOf("/bin/busybox"));
    m_root.setMode("bin/sh", 0755);
}

void PackageFolder::install(const MadePackage &package)
{
    const std::string place = "build/" + package.name;
    m_work.writeFile(place + "/DEBIAN/control",
                     fmt::format("Package: {0}\nVersion: 119-5\nArchitecture: all\nMaintainer: Nobody "
                                 "<nobody@localhost>\n{1}Description: {0}\n",
                                 package.name, package.control));
    for (const std::string &file : package.files) {
        m_work.writeFile(place + file, package.name);
    }
    if (!package.conffile.empty()) {
        m_work.writeFile(place + "/DEBIAN/conffiles", package.conffile + "\n");
    }
    for (const auto &[name, text] : package.scripts) {
        m_work.writeFile(place + "/DEBIAN/" + name, "#!/bin/sh\n" + text);
        m_work.setMode(place + "/DEBIAN/" + name, 0755);
    }
    const std::string archive = m_work.pathOf(package.name + ".deb");
    run({"dpkg-deb", "--build", "-Znone", "--root-owner-group", m_work.pathOf(place), archive});
    std::vector<std::string> arguments = {kRealTool, "--root=" + m_root.path(), "--force-unsafe-io"};
    std::istringstream words(forced());
    arguments.insert(arguments.end(), std::istream_iterator<std::string>(words), {});
    arguments.insert(arguments.end(), {"--install", archive});
    run(arguments);
}

Removal PackageFolder::remove(const std::string &name)
{
    const auto device = HostDevice::open(m_root.path()).value();
    return removePackage(name, *device);
}

std::string PackageFolder::stateOf(const std::string &name) const
{
    const ProgramResult result =
        runProgram({.arguments = {kRealTool, "--admindir=" + m_root.pathOf(m_database), "-s", name},
                    .environment = {{"LC_ALL", "C"}, {"PATH", kSystemsPath}}});
    constexpr std::string_view kStatus = "Status: ";
    const std::size_t begin = result.standardOutput.find(kStatus);
    if (begin == std::string::npos) {
        return "unknown";
    }
    const std::size_t text = begin + kStatus.size();
    return result.standardOutput.substr(text, result.standardOutput.find('\n', text) - text);
}

bool PackageFolder::exists(const std::string &relative) const
{
    return ::access(m_root.pathOf(relative).c_str(), F_OK) == 0;
}

std::string PackageFolder::call(const std::string &arguments) const
{
    return fmt::format("--root={}|{}\n", m_root.path(), arguments);
}

std::string PackageFolder::changingCalls() const
{
    std::istringstream calls(m_program.calls());
    std::string changing;
    for (std::string line; std::getline(calls, line);) {
        if (!line.starts_with("--admindir=")) {
            changing += line + "\n";
        }
    }
    return changing;
}

} // namespace slicewise
