#include "tests/support/SampleList.h"
#include "tests/support/SampleParts.h"
#include "tests/support/SampleSoftware.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

const std::string kDpkg = "/private/var/lib/dpkg/";
const std::string kDpkgCategory = "Cydia Data/lib/dpkg/";

/// Where a path that a package lists leads on the device.
std::string withoutLinks(const std::string &path)
{
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kLinks = {{
        {"/var/", "/private/var/"},
        {"/etc/", "/private/etc/"},
        {"/usr/include/", "/private/var/stash/include/"},
        {"/Library/Ringtones/", "/private/var/stash/Ringtones/"},
    }};
    for (const auto &[link, target] : kLinks) {
        if (path.starts_with(link)) {
            return std::string(target) + path.substr(link.size());
        }
    }
    return path;
}

/// One line of a package's list.
struct Listed {
    std::string path;
    std::string linkTarget; ///< beside it; empty: it is no link
    bool exists = true;
};

/// What a package's entry stands for: a "*" for many files, "a -> b" for a link, "a (gone)" for what is not
/// there.
std::vector<Listed> listedBy(std::string_view entry, const SampleBuilder &builder)
{
    constexpr std::string_view kGone = " (gone)";
    constexpr std::string_view kArrow = " -> ";
    if (entry.ends_with(kGone)) {
        entry.remove_suffix(kGone.size());
        return {{.path = std::string(entry), .linkTarget = {}, .exists = false}};
    }
    if (const std::size_t arrow = entry.find(kArrow); arrow != std::string_view::npos) {
        return {{.path = std::string(entry.substr(0, arrow)),
                 .linkTarget = std::string(entry.substr(arrow + kArrow.size()))}};
    }
    const std::size_t star = entry.find('*');
    if (star == std::string_view::npos) {
        return {{.path = std::string(entry), .linkTarget = {}}};
    }
    std::vector<Listed> all;
    const std::uint64_t count = builder.count(14);
    for (std::uint64_t number = 0; number < count; ++number) {
        all.push_back(
            {.path = fmt::format("{}{:02}{}", entry.substr(0, star), number, entry.substr(star + 1)),
             .linkTarget = {}});
    }
    return all;
}

struct Package {
    const SampleSoftware *software = nullptr;
    std::string shown; ///< as dpkg lists it
    std::vector<Listed> files;
};

std::vector<Package> allPackages(const SampleBuilder &builder)
{
    std::vector<Package> packages;
    for (const SampleSoftware &software : sampleSoftware()) {
        Package package{.software = &software, .shown = std::string(software.name), .files = {}};
        if (software.architecture != "all") {
            package.shown += fmt::format(":{}", software.architecture);
        }
        for (const std::string_view entry : software.files) {
            for (Listed &listed : listedBy(entry, builder)) {
                package.files.push_back(std::move(listed));
            }
        }
        packages.push_back(std::move(package));
    }
    // As dpkg lists them: by name, byte for byte.
    std::sort(packages.begin(), packages.end(), [](const Package &left, const Package &right) {
        return left.software->name < right.software->name;
    });
    return packages;
}

std::string beside(const std::string &path, const std::string &name)
{
    return path.substr(0, path.rfind('/') + 1) + name;
}

// Each file once, whoever lists it; the last of its owners has it.
void addFiles(SampleBuilder &builder, const std::vector<Package> &packages)
{
    std::map<std::string, std::string> owners; ///< of each file there is
    std::map<std::string, std::string> links;
    for (const Package &package : packages) {
        for (const Listed &listed : package.files) {
            const std::string path = withoutLinks(listed.path);
            if (!listed.linkTarget.empty()) {
                links[path] = listed.linkTarget;
                owners[beside(path, listed.linkTarget)] = package.shown;
            } else if (listed.exists) {
                owners[path] = package.shown;
            } else {
                builder.directory(path.substr(0, path.rfind('/')));
            }
        }
    }
    for (const auto &[path, target] : links) {
        builder.link(path, target);
    }
    Dice dice = builder.dice("packages");
    for (const auto &[path, owner] : owners) {
        const std::string category = fmt::format("Cydia Packages/{}{}", owner, path);
        if (path.ends_with(".plist")) {
            builder.write(path, SampleList({{"Package", owner}}).bytes(SampleList::Form::Xml), category);
            continue;
        }
        const bool isProgram = path.find("/bin/") != std::string::npos || path.ends_with(".dylib");
        const std::uint64_t sizeBytes =
            isProgram ? dice.between(20'000, 900'000) : dice.between(300, 260'000);
        builder.file(path, sizeBytes, category);
    }
}

// With the directories above each file, once, as package archives have them.
std::string listText(const Package &package)
{
    std::string text = "/.\n";
    std::set<std::string> directories;
    for (const Listed &listed : package.files) {
        for (std::size_t slash = listed.path.find('/', 1); slash != std::string::npos;
             slash = listed.path.find('/', slash + 1)) {
            const std::string directory = listed.path.substr(0, slash);
            if (directories.insert(directory).second) {
                text += directory + "\n";
            }
        }
        text += listed.path + "\n";
    }
    return text;
}

bool isConfiguration(const Listed &listed)
{
    return listed.path.starts_with("/etc/");
}

std::string sum(Dice &dice)
{
    std::string digits = dice.hex(32);
    std::transform(digits.begin(), digits.end(), digits.begin(),
                   [](char digit) { return digit >= 'A' ? static_cast<char>(digit - 'A' + 'a') : digit; });
    return digits;
}

std::string stanza(const Package &package, std::string_view status, Dice &dice)
{
    const SampleSoftware &software = *package.software;
    std::string text = fmt::format("Package: {}\n", software.name);
    if (!status.empty()) {
        text += fmt::format("Status: {}\n", status);
    }
    text += fmt::format("Priority: optional\nSection: {}\nInstalled-Size: {}\n"
                        "Maintainer: Example Packagers <packagers@localhost>\n"
                        "Architecture: {}\nVersion: {}\n",
                        software.section, 16 * package.files.size(), software.architecture, software.version);
    if (software.isRemoved && !status.empty()) {
        text += fmt::format("Config-Version: {}\n", software.version);
    }
    if (!software.depends.empty()) {
        text += fmt::format("Depends: {}\n", software.depends);
    }
    std::string configuration;
    for (const Listed &listed : package.files) {
        if (isConfiguration(listed) && !status.empty()) {
            configuration += fmt::format(" {} {}\n", listed.path, sum(dice));
        }
    }
    if (!configuration.empty()) {
        text += "Conffiles:\n" + configuration;
    }
    return text + fmt::format("Description: {}\n\n", software.description);
}

void addDatabase(SampleBuilder &builder, const std::vector<Package> &packages)
{
    Dice dice = builder.dice("package database");
    const auto write = [&](const std::string &name, std::string_view content) {
        builder.write(kDpkg + name, content, kDpkgCategory + name);
    };
    std::string status;
    std::string available;
    for (const Package &package : packages) {
        const std::string info = fmt::format("info/{}.", package.software->name);
        write(info + "list", listText(package));
        if (package.software->isRemoved) {
            status += stanza(package, "deinstall ok config-files", dice);
            continue;
        }
        status += stanza(package, "install ok installed", dice);
        available += stanza(package, "", dice);
        std::string sums;
        for (const Listed &listed : package.files) {
            if (listed.linkTarget.empty() && !isConfiguration(listed)) {
                sums += fmt::format("{}  {}\n", sum(dice), listed.path.substr(1));
            }
        }
        write(info + "md5sums", sums);
        if (package.software->section == "System") {
            write(info + "postinst", "#!/bin/sh\nexit 0\n");
        }
    }
    write("status", status);
    write("status-old", status);
    write("available", available);
    write("info/format", "1\n");
    for (const char *empty : {"diversions", "statoverride", "lock", "triggers/File", "triggers/Unincorp"}) {
        write(empty, "");
    }
    builder.directory(kDpkg + "updates");
    builder.directory(kDpkg + "parts");
}

} // namespace

void addSamplePackages(SampleBuilder &builder)
{
    const std::vector<Package> packages = allPackages(builder);
    addFiles(builder, packages);
    addDatabase(builder, packages);
}

} // namespace slicewise
