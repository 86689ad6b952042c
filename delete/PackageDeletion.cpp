#include "delete/PackageDeletion.h"

#include "delete/DependentsText.h"
#include "delete/PackageBelowRoot.h"
#include "platform/CommandRunner.h"
#include "scan/PackageIndex.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

constexpr const char *kTool = "dpkg";
// More than the user could be told anyway.
constexpr std::size_t kMostOutputBytes = 4095;

/// Whether the tool can take it for a name, and neither for an option nor for a file, and whole.
bool canBeAPackage(std::string_view name)
{
    constexpr std::string_view kNeverInAName("/\0", 2);
    return !name.empty() && !name.starts_with('-') &&
           name.find_first_of(kNeverInAName) == std::string_view::npos;
}

std::string readBeginning(std::FILE *stream)
{
    std::string text(kMostOutputBytes, '\0');
    std::size_t length = 0;
    bool interrupted = true;
    while (stream != nullptr && interrupted && length < text.size()) {
        length += std::fread(text.data() + length, 1, text.size() - length, stream);
        interrupted = std::ferror(stream) != 0 && errno == EINTR;
        std::clearerr(stream);
    }
    text.resize(length);
    text.resize(std::min(text.find('\0'), length));
    return text;
}

class PackageRemoval {
public:
    PackageRemoval(std::string package, const std::string &root, Deletion &deletion)
        : m_package(std::move(package)), m_deletion(deletion), m_front({kTool})
    {
        if (root != "/") {
            m_front.push_back("--root=" + root);
        }
    }

    PackageDeletion run()
    {
        ArgumentVector dryRun = m_front;
        dryRun.insert(dryRun.end(), {"--dry-run", "-r", m_package});
        const CommandOutput command = openCommandOutput(kTool, dryRun);
        const std::string output = readBeginning(command.stream);
        m_deletion.log.line(fmt::format("DPKG Dry Run Output: {}", output));
        if (closeCommandOutput(command) != 0) {
            return {.removed = false, .errorText = dependentsText(m_package, output)};
        }
        return {.removed = remove() == 0, .errorText = {}};
    }

private:
    [[nodiscard]] int remove() const
    {
        ArgumentVector removal = m_front;
        removal.insert(removal.end(), {"-r", m_package});
        const Privileges::AsRoot asRoot(m_deletion.privileges);
        return runCommand(kTool, removal);
    }

    std::string m_package;
    Deletion &m_deletion;
    ArgumentVector m_front;
};

} // namespace

PackageDeletion dpkgDeleteWithErrorString(const SZANode &node, Deletion &deletion)
{
    const std::string package(node.name());
    if (!canBeAPackage(package)) {
        deletion.log.line(fmt::format("No package can have the name \"{}\"", package));
        return {};
    }
    const Result<std::string> root = deletion.device.hostPath("/");
    std::optional<std::string> refusal;
    if (!root) {
        refusal = fmt::format("{} can't be removed: the package tool has no way to the device", package);
    } else if (*root != "/") {
        refusal = refusalBelowRoot(package, *root, deletion.device, packageToolOnPath(nullptr));
    }
    if (refusal) {
        deletion.log.line(*refusal);
        return {.removed = false, .errorText = std::move(refusal)};
    }
    return PackageRemoval(package, *root, deletion).run();
}

} // namespace slicewise
