#include "tests/scan/PackageTools.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace slicewise {

namespace {

constexpr int kExitedWithOne = 1 << 8;
constexpr int kKilled = 9;
constexpr LinesEnd kLeft{.waitStatus = kKilled, .complete = false};

} // namespace

void FakePackageTool::add(const std::string &name, Files files)
{
    m_list.push_back(lineFor(name));
    m_files[name] = std::move(files);
}

std::string FakePackageTool::lineFor(const std::string &name)
{
    return fmt::format("ii  {}  119-5  iphoneos-arm  commands", name);
}

PackageTool FakePackageTool::tool()
{
    return [this](const ArgumentVector &arguments, const std::function<bool(std::string_view)> &line) {
        return answer(arguments, line);
    };
}

LinesEnd FakePackageTool::answer(const ArgumentVector &arguments,
                                 const std::function<bool(std::string_view)> &line)
{
    m_asked.push_back(arguments);
    if (m_warning && !line(*m_warning)) {
        return kLeft;
    }
    const auto action = std::find_if(arguments.begin(), arguments.end(),
                                     [](const std::string &one) { return one == "-l" || one == "-L"; });
    if (action != arguments.end() && *action == "-l") {
        return answerList(line);
    }
    if (action == arguments.end() || arguments.end() - action < 2) {
        return {.waitStatus = 2 * kExitedWithOne, .complete = true};
    }
    return answerFiles({action + 1, arguments.end()}, line);
}

LinesEnd FakePackageTool::answerList(const std::function<bool(std::string_view)> &line) const
{
    for (const auto *lines : {&m_head, &m_list}) {
        for (const std::string &text : *lines) {
            if (!line(text)) {
                return kLeft;
            }
        }
    }
    return {.waitStatus = 0, .complete = !m_stallsAfterList};
}

LinesEnd FakePackageTool::answerFiles(const std::vector<std::string> &names,
                                      const std::function<bool(std::string_view)> &line) const
{
    if (names.size() > m_mostNames) {
        return {.waitStatus = 2 * kExitedWithOne, .complete = true};
    }
    int status = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto found = m_files.find(names[i]);
        const bool fails = found == m_files.end() || found->second.fails;
        if (found != m_files.end()) {
            for (const std::string &text : found->second.lines) {
                if (!line(text)) {
                    return kLeft;
                }
            }
            if (found->second.stalls || found->second.endsHere) {
                return {.waitStatus = kKilled, .complete = found->second.endsHere};
            }
        }
        if (fails) {
            status = kExitedWithOne;
            if (!line(fmt::format("dpkg-query: package '{}' is not installed", names[i]))) {
                return kLeft;
            }
        }
        if (i + 1 < names.size() && !line("")) {
            return kLeft;
        }
    }
    return {.waitStatus = status, .complete = true};
}

LoadedPackages loadPackages(const Device &device, const PackageTool &tool)
{
    LoadedPackages loaded;
    Log log([&loaded](std::string_view line) { loaded.lines.emplace_back(line); });
    const PackageIndex packageIndex = loadPackageIndex(device, log, tool);
    packageIndex.forEach([&loaded](const std::string &path, std::string_view package) {
        loaded.packages.emplace(path, package);
    });
    return loaded;
}

PackageTool oneAtATime(PackageTool tool)
{
    return [tool = std::move(tool)](const ArgumentVector &arguments,
                                    const std::function<bool(std::string_view)> &line) {
        const auto action = std::find(arguments.begin(), arguments.end(), "-L");
        if (arguments.end() - action > 2) {
            return LinesEnd{.waitStatus = 2 * kExitedWithOne, .complete = true};
        }
        return tool(arguments, line);
    };
}

} // namespace slicewise
