// Which installed package each file belongs to, as the package tool tells it.
//
// Built before the walk and not changed during it; then any thread may ask.
#pragma once

#include "platform/CommandRunner.h"
#include "platform/Device.h"
#include "platform/Log.h"
#include "platform/TextMap.h"
#include "scan/Arena.h"
#include "scan/Classifier.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class PackageIndex {
public:
    /// `path` belongs to the package now, whatever it belonged to before. Both UTF-8.
    void assign(std::string_view path, std::string_view package);

    /// Absent where no package has the path. Valid as long as the index.
    [[nodiscard]] std::optional<std::string_view> packageOf(std::string_view path) const;
    /// Whether a package has anything directly in that directory, a path without a "/" at the end.
    [[nodiscard]] bool hasAnyIn(std::string_view directory) const;

    [[nodiscard]] std::size_t pathCount() const;
    /// Every path with its package, in no order; for tests.
    void forEach(const std::function<void(const std::string &path, std::string_view package)> &visit) const;

private:
    // By directory, since neighbours share theirs and a walk asks once for all files of a directory. Names
    // lie in m_texts.
    using Names = TextViewMap<std::uint32_t>;

    std::string_view keep(std::string_view text);
    [[nodiscard]] std::uint32_t numberOf(std::string_view package);

    Arena m_texts;
    std::vector<std::string_view> m_packages;
    TextViewMap<std::uint32_t> m_numbers; ///< of the packages
    TextViewMap<Names> m_directories;     ///< "/usr/bin"; empty for the root
};

/// Runs the package tool with the arguments, element 0 its name, and hands out its lines as
/// forEachOutputLine() does.
using PackageTool = std::function<LinesEnd(const ArgumentVector &arguments,
                                           const std::function<bool(std::string_view)> &line)>;

/// The real one: "dpkg", found on PATH, until `stop` (borrowed) becomes true.
[[nodiscard]] PackageTool packageToolOnPath(const std::atomic<bool> *stop);

/// How the tool is asked about a device: its name, then, where the device is not the whole host, where the
/// device's own database lies. Empty where there is none to ask about.
[[nodiscard]] ArgumentVector packageQueryFor(const Device &device);

/// Asks the tool for all installed packages and for the files of each, and enters each file under the path
/// that it really has on the device, links resolved. Of several packages that list a path the last one has
/// it. A file that does not exist is entered all the same. Logs what can't be resolved ("Failed resolving
/// %s") or is no text ("Exception while parsing dpkg. (%s, %s)": the package's line and the file's) and
/// leaves it out.
///
/// A tool that stalls, is stopped or lists more than there can be is asked nothing more. Where the device is
/// not the whole host, the tool is pointed at the device's own database; where it has none, or there is no
/// tool, the index is empty. Many packages are asked for at once, as one process for each would cost seconds;
/// where the answer can't be told apart, fewer at once, in the end one by one.
[[nodiscard]] PackageIndex loadPackageIndex(const Device &device, Log &log, const PackageTool &tool);

/// "Cydia Packages/", the package and the path, for a file that a package has.
[[nodiscard]] std::optional<std::string> classifyPackage(const PackageIndex &packageIndex,
                                                         const std::string &path);
[[nodiscard]] DirectoryAnswer classifyPackageOfDirectory(const PackageIndex &packageIndex,
                                                         const std::string &directory);

/// The parts of reading the tool's output, apart so that anything can be given to them.
namespace package_listing {

/// Given the lines of the list of packages one after the other: the package's name, where the line has one.
/// The lines up to the one that begins with "+" are the list's head.
class PackageLines {
public:
    [[nodiscard]] std::optional<std::string> nameIn(std::string_view line);

private:
    bool m_inHead = true;
};

} // namespace package_listing

} // namespace slicewise
