// Package tools for tests: one that is made up, and what was loaded through any of them.
#pragma once

#include "platform/Device.h"
#include "scan/PackageIndex.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace slicewise {

/// Answers as the real tool does: joint lists with an empty line between two of them, and a failure where
/// one of the packages is not there. What it is to answer is said before; it notes what it was asked.
class FakePackageTool {
public:
    struct Files {
        std::vector<std::string> lines;
        bool fails = false;    ///< tells what is wrong and ends with 1
        bool stalls = false;   ///< after its lines
        bool endsHere = false; ///< is killed after its lines
    };

    /// A package at the end of the list, in an ordinary line.
    void add(const std::string &name, Files files);
    void add(const std::string &name, std::vector<std::string> lines)
    {
        add(name, Files{.lines = std::move(lines)});
    }
    /// A line of the list of packages as it is.
    void addLine(const std::string &line) { m_list.push_back(line); }
    /// The files of a package, without a line in the list.
    void setFiles(const std::string &name, Files files) { m_files[name] = std::move(files); }
    void setHead(std::vector<std::string> head) { m_head = std::move(head); }
    void stallAfterList() { m_stallsAfterList = true; }
    /// More names at once it refuses.
    void takeAtMost(std::size_t names) { m_mostNames = names; }
    /// Printed before everything else, by every call.
    void warnAlways(const std::string &line) { m_warning = line; }

    [[nodiscard]] PackageTool tool();
    /// Valid until it is asked again.
    [[nodiscard]] const std::vector<ArgumentVector> &asked() const { return m_asked; }
    /// The line of the list that add() makes.
    [[nodiscard]] static std::string lineFor(const std::string &name);

private:
    LinesEnd answer(const ArgumentVector &arguments, const std::function<bool(std::string_view)> &line);
    LinesEnd answerList(const std::function<bool(std::string_view)> &line) const;
    LinesEnd answerFiles(const std::vector<std::string> &names,
                         const std::function<bool(std::string_view)> &line) const;

    std::vector<std::string> m_head = {"Desired=Unknown/Install/Remove/Purge/Hold", "||/ Name Version",
                                       "+++-==============-============"};
    std::vector<std::string> m_list;
    std::map<std::string, Files> m_files;
    std::optional<std::string> m_warning;
    bool m_stallsAfterList = false;
    std::size_t m_mostNames = static_cast<std::size_t>(-1);
    std::vector<ArgumentVector> m_asked;
};

/// What an index holds, and what loading it logged.
struct LoadedPackages {
    std::map<std::string, std::string> packages; ///< by path
    std::vector<std::string> lines;

    friend bool operator==(const LoadedPackages &, const LoadedPackages &) = default;
};
[[nodiscard]] LoadedPackages loadPackages(const Device &device, const PackageTool &tool);

/// The same tool, refusing to list the files of more than one package at a time.
[[nodiscard]] PackageTool oneAtATime(PackageTool tool);

} // namespace slicewise
