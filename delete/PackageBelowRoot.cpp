#include "delete/PackageBelowRoot.h"

#include <fmt/format.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

constexpr std::string_view kDatabase = "/var/lib/dpkg";

using Reason = std::optional<std::string>;

class BelowRoot {
public:
    BelowRoot(const std::string &package, const std::string &root, const Device &device,
              const PackageTool &query)
        : m_package(package), m_root(root), m_device(device), m_query(query), m_front(packageQueryFor(device))
    {}

    /// The first thing that is in the way.
    Reason find()
    {
        for (const auto look : {&BelowRoot::databaseElsewhere, &BelowRoot::partsOfDatabaseElsewhere,
                                &BelowRoot::notInstalled, &BelowRoot::filesElsewhere}) {
            if (Reason reason = (this->*look)()) {
                return reason;
            }
        }
        return std::nullopt;
    }

private:
    [[nodiscard]] Reason leadsOut(std::string_view path) const
    {
        const Result<std::string> place = m_device.followedOnHost(path);
        if (!place) {
            return unknown(path, place.error());
        }
        if (*place == m_root || place->starts_with(m_root + "/")) {
            return std::nullopt;
        }
        return fmt::format("{} leads out of {}", path, m_root);
    }

    [[nodiscard]] static std::string unknown(std::string_view path, int error)
    {
        return fmt::format("where {} leads can't be found out ({})", path,
                           std::generic_category().message(error));
    }

    // The tool must find the very database that was asked about before.
    Reason databaseElsewhere()
    {
        const Result<std::string> ours = m_device.hostPath(kDatabase);
        if (!ours || m_front.empty()) {
            return fmt::format("there is no package database in {}", m_root);
        }
        if (Reason reason = leadsOut(kDatabase)) {
            return reason;
        }
        const Result<std::string> theirs = m_device.followedOnHost(kDatabase);
        if (!theirs || *theirs != *ours) {
            return fmt::format("{} does not lead to the device's package database", kDatabase);
        }
        return std::nullopt;
    }

    // It is written to as well, and the state of each package removed from it.
    Reason partsOfDatabaseElsewhere()
    {
        for (const std::string_view directory : {"", "/info", "/updates", "/triggers"}) {
            const std::string path = std::string(kDatabase).append(directory);
            const Result<std::vector<std::string>> names = m_device.entryNames(path);
            if (!names && names.error() != ENOENT) {
                return unknown(path, names.error());
            }
            for (std::size_t at = 0; names && at < names->size(); ++at) {
                if (Reason reason = leadsOut(path + "/" + (*names)[at])) {
                    return reason;
                }
            }
        }
        return std::nullopt;
    }

    LinesEnd ask(const char *action, const std::function<bool(std::string_view)> &line)
    {
        ArgumentVector arguments = m_front;
        arguments.insert(arguments.end(), {action, m_package});
        return m_query(arguments, line);
    }

    // The tool has no objection to removing what is not there, and reports success.
    Reason notInstalled()
    {
        constexpr std::string_view kStatus = "Status: ";
        std::string state;
        const LinesEnd end = ask("-s", [&](std::string_view line) {
            if (state.empty() && line.starts_with(kStatus)) {
                state = line.substr(line.rfind(' ') + 1);
            }
            return true;
        });
        if (end.waitStatus != 0 || !end.complete || state.empty()) {
            return "the package tool does not know it";
        }
        if (state == "not-installed" || state == "config-files") {
            return fmt::format("it is not installed in {}", m_root);
        }
        return std::nullopt;
    }

    Reason filesElsewhere()
    {
        Reason reason;
        bool inList = false;
        const LinesEnd end = ask("-L", [&](std::string_view line) {
            const std::string_view path = pathIn(line);
            if (!path.empty()) {
                reason = leadsOut(path);
                inList = true;
            } else if (inList) { // in front of the list there are warnings
                reason = fmt::format("a line of its list of files is no path: {}", line);
            }
            return !reason;
        });
        if (!reason && (end.waitStatus != 0 || !end.complete)) {
            reason = "its files could not be listed";
        }
        return reason;
    }

    /// A line is a path, or says where the file of the line before is kept instead: "diverted by bar to:
    /// /usr/bin/foo.distrib". Empty for neither.
    static std::string_view pathIn(std::string_view line)
    {
        constexpr std::string_view kTo = " to: /";
        if (line.starts_with('/')) {
            return line;
        }
        const std::size_t to = line.find(kTo);
        const bool diverts = line.find("divert") < to && to != std::string_view::npos;
        return diverts ? line.substr(to + kTo.size() - 1) : std::string_view();
    }

    const std::string &m_package;
    const std::string &m_root;
    const Device &m_device;
    const PackageTool &m_query;
    ArgumentVector m_front;
};

} // namespace

std::optional<std::string> refusalBelowRoot(const std::string &package, const std::string &root,
                                            const Device &device, const PackageTool &query)
{
    Reason reason = BelowRoot(package, root, device, query).find();
    if (reason) {
        reason = fmt::format("{} can't be removed: {}", package, *reason);
    }
    return reason;
}

} // namespace slicewise
