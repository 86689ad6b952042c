// Loads the index of packages from a tool that says anything: what it says of many packages together must
// come to what it says of each alone, and a tool that answers at random must neither keep the loading up nor
// get anything into the index that is no path.
#include "scan/PackageIndex.h"
#include "scan/Utf8.h"
#include "tests/fuzz/Require.h"
#include "tests/support/MemoryDevice.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace slicewise {
namespace {

constexpr int kExitedWithOne = 1 << 8;
constexpr LinesEnd kLeft{.waitStatus = 9, .complete = false};
constexpr std::string_view kWarning = ": warning: ";

using Line = std::function<bool(std::string_view)>;

/// A few directories and links, as whole as a host.
class WholeHost final : public Device {
public:
    WholeHost()
    {
        m_memory.addFile("/private/var/lib/x", 1);
        m_memory.addFile("/usr/bin/a", 1);
        m_memory.addLink("/var", "/private/var");
        m_memory.addLink("/up", "../../usr");
        m_memory.addLink("/usr/bin/b", "a");
        m_memory.addLink("/loop", "/loop");
        m_memory.addLink("/gone", "/nothing/here");
    }

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override
    {
        return m_memory.makeReader();
    }
    [[nodiscard]] Result<FileStatus> status(std::string_view path) const override
    {
        return m_memory.status(path);
    }
    [[nodiscard]] Result<std::string> resolve(std::string_view path) const override
    {
        return m_memory.resolve(path);
    }
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view path) const override
    {
        return m_memory.fileSystem(path);
    }
    [[nodiscard]] std::vector<Mount> mounts() const override { return m_memory.mounts(); }
    [[nodiscard]] Result<std::string> hostPath(std::string_view path) const override
    {
        return std::string(path);
    }

private:
    MemoryDevice m_memory;
};

const Device &device()
{
    static const WholeHost host;
    return host;
}

std::vector<std::string> linesFrom(FuzzedDataProvider &input, std::size_t mostBytes)
{
    const std::string text = input.ConsumeRandomLengthString(mostBytes);
    std::vector<std::string> lines;
    std::size_t from = 0;
    while (from < text.size()) {
        const std::size_t newline = std::min(text.find('\n', from), text.size());
        lines.push_back(text.substr(from, newline - from));
        from = newline + 1;
    }
    return lines;
}

bool printAll(const std::vector<std::string> &lines, const Line &line)
{
    return std::all_of(lines.begin(), lines.end(), line);
}

std::vector<std::string> namesAskedFor(const ArgumentVector &arguments)
{
    const bool files = arguments.size() >= 2 && arguments[1] == "-L";
    return files ? std::vector<std::string>(arguments.begin() + 2, arguments.end())
                 : std::vector<std::string>();
}

struct Loaded {
    std::map<std::string, std::string> packages;
    std::vector<std::string> log;

    friend bool operator==(const Loaded &, const Loaded &) = default;
};

Loaded load(const PackageTool &tool)
{
    Loaded loaded;
    Log log([&](std::string_view line) { loaded.log.emplace_back(line); });
    const PackageIndex packageIndex = loadPackageIndex(device(), log, tool);
    packageIndex.forEach([&](const std::string &path, std::string_view package) {
        require(path.starts_with('/'), "what is entered is a full path");
        require(isUtf8(path) && isUtf8(package), "what is entered is text");
        require(classifyPackage(packageIndex, path) == "Cydia Packages/" + std::string(package) + path,
                "what is entered is found");
        require(packageIndex.packageOf(path) == package, "what is entered is found");
        loaded.packages.emplace(path, package);
    });
    require(packageIndex.pathCount() == loaded.packages.size(), "no path is entered twice");
    return loaded;
}

/// Says the same of a package whomever else it is asked about, as the real one does.
class SteadyTool {
public:
    explicit SteadyTool(FuzzedDataProvider &input)
    {
        if (input.ConsumeBool()) {
            m_always = "dpkg" + std::string(kWarning) + input.ConsumeRandomLengthString(8);
            std::erase(*m_always, '\n');
        }
        m_list = linesFrom(input, 2000);
        m_list.insert(m_list.begin(), "+++");
        const auto isWarning = [](const std::string &line) {
            return line.find(kWarning) != std::string::npos;
        };
        std::erase_if(m_list, isWarning);
        do {
            Answer answer;
            answer.status = input.ConsumeIntegralInRange(0, 7) == 0 ? kExitedWithOne : 0;
            answer.endsHere = input.ConsumeIntegralInRange(0, 15) == 15;
            answer.lines = linesFrom(input, 300);
            for (std::string &line : answer.lines) {
                line += isWarning(line) ? " of one package" : "";
            }
            m_answers.push_back(std::move(answer));
        } while (input.remaining_bytes() > 0 && m_answers.size() < 40);
    }

    LinesEnd operator()(const ArgumentVector &arguments, const Line &line) const
    {
        if (m_always && !line(*m_always)) {
            return kLeft;
        }
        if (arguments.back() == "-l" && arguments.size() == 2) {
            return printAll(m_list, line) ? LinesEnd{.waitStatus = 0, .complete = true} : kLeft;
        }
        const std::vector<std::string> names = namesAskedFor(arguments);
        require(!names.empty(), "a tool that is asked for files is asked for somebody's");
        int status = 0;
        for (std::size_t i = 0; i < names.size(); ++i) {
            require(!names[i].empty() && !names[i].starts_with('-'), "no name can be taken for an option");
            const Answer &answer = m_answers[std::hash<std::string>()(names[i]) % m_answers.size()];
            if (!printAll(answer.lines, line)) {
                return kLeft;
            }
            if (answer.endsHere) {
                return {.waitStatus = 9, .complete = true};
            }
            status = std::max(status, answer.status);
            if (i + 1 < names.size() && !line("")) {
                return kLeft;
            }
        }
        return {.waitStatus = status, .complete = true};
    }

private:
    struct Answer {
        std::vector<std::string> lines;
        int status = 0;
        bool endsHere = false;
    };
    std::optional<std::string> m_always; ///< what every call begins with
    std::vector<std::string> m_list;
    std::vector<Answer> m_answers; ///< each for all packages whose names are scattered to it
};

void loadTogetherAndAlone(FuzzedDataProvider &input)
{
    const SteadyTool tool(input);
    const Loaded together = load(tool);
    const Loaded alone = load([&](const ArgumentVector &arguments, const Line &line) {
        return namesAskedFor(arguments).size() > 1 ? LinesEnd{.waitStatus = kExitedWithOne, .complete = true}
                                                   : tool(arguments, line);
    });
    require(together == alone, "asked together a tool tells what it tells asked one by one");
}

void loadAtRandom(FuzzedDataProvider &input)
{
    bool ended = false;
    std::size_t calls = 0;
    std::size_t listed = 0;
    load([&](const ArgumentVector &, const Line &line) {
        require(!ended, "a tool that stalls is asked nothing more");
        ++calls;
        std::vector<std::string> lines = linesFrom(input, 1000);
        if (calls == 1) {
            lines.insert(lines.begin(), "+++");
            listed = lines.size();
        }
        if (!printAll(lines, line)) {
            return kLeft;
        }
        const LinesEnd end{.waitStatus = input.ConsumeBool() ? 0 : kExitedWithOne,
                           .complete =
                               input.ConsumeIntegralInRange(0, 7) != 0 || input.remaining_bytes() == 0};
        ended = !end.complete;
        return end;
    });
    require(calls <= 1 + 2 * listed, "each package costs two calls at most");
}

} // namespace
} // namespace slicewise

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        slicewise::loadTogetherAndAlone(input);
    } else {
        slicewise::loadAtRandom(input);
    }
    return 0;
}
