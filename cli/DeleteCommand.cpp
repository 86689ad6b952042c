#include "cli/DeleteCommand.h"

#include "cli/Commands.h"
#include "cli/DeletionPlan.h"
#include "cli/Scanning.h"
#include "cli/Terminal.h"
#include "delete/DeletionJob.h"
#include "platform/OwnSystem.h"
#include "ui/NameText.h"
#include "ui/SizeText.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace slicewise {

namespace {

/// Why nothing may be deleted; absent where it may.
std::optional<std::string> whyRefused(const DeleteArguments &arguments, const Privileges &privileges,
                                      bool ownSystem)
{
    if (arguments.dryRun) {
        return std::nullopt;
    }
    if (arguments.readOnly) {
        return "Nothing was deleted: --read-only refuses it. Leave that out to delete.";
    }
    if (!arguments.allowDelete && isReadOnlyForRoot(privileges, ownSystem)) {
        return "Nothing was deleted: “/” is read-only for root. Add --allow-delete to delete from it.";
    }
    if (!arguments.yes && !Terminal::of(STDIN_FILENO).isTerminal) {
        return "Nothing was deleted: there is no terminal to ask on. Add --yes to delete without asking.";
    }
    return std::nullopt;
}

/// Asks on the terminal; anything but a line that says yes means no.
bool agreesTo(const std::string &question)
{
    Output terminal(STDERR_FILENO);
    terminal.write(fmt::format("{} [y/N] ", question));
    terminal.flush();
    std::string answer;
    char next = 0;
    // Character by character: what is typed ahead belongs to the next question.
    while (::read(STDIN_FILENO, &next, 1) == 1 && next != '\n') {
        answer.push_back(next);
    }
    if (next != '\n') { // the end of the input does not end the line on the screen
        terminal.write("\n");
        terminal.flush();
        return false;
    }
    return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

class DeleteRun {
public:
    DeleteRun(const DeleteArguments &arguments, SZANode &root, Deletion &deletion, Output &output)
        : m_arguments(arguments), m_root(root), m_deletion(deletion), m_output(output)
    {}

    int run()
    {
        for (const std::string &typed : m_arguments.categories) {
            const std::string category = withoutLastSlash(bytesOfTyped(typed));
            if (!isGoneAlready(category) && !deleteCategory(category)) {
                m_status = 1;
            }
        }
        if (m_deleted.size() > 1 && !m_arguments.dryRun) {
            m_output.write(fmt::format("Freed {} in all.\n", sizeTextForBytes(m_freedBytes)));
        }
        m_output.flush();
        return statusAfterWriting(m_output, m_status);
    }

private:
    static std::string withoutLastSlash(std::string category)
    {
        if (category.ends_with('/')) {
            category.pop_back();
        }
        return category;
    }

    /// With an earlier argument.
    [[nodiscard]] bool isGoneAlready(const std::string &category) const
    {
        return std::any_of(m_deleted.begin(), m_deleted.end(), [&](const std::string &deleted) {
            return category == deleted || category.starts_with(deleted + "/");
        });
    }

    bool deleteCategory(const std::string &category)
    {
        const std::string shown = typableText(category);
        const std::vector<SZANode *> path = nodePathAt(m_root, category);
        if (path.empty()) {
            tell(fmt::format("There is no category “{}”. The report shows which there are.", shown));
            return false;
        }
        const SZADeleteType type = SZADeleteTypeForNodePath(path);
        if (type == SZADeleteTypeNone) {
            tell(fmt::format("“{}” can't be deleted. The report marks what can be.", shown));
            return false;
        }
        const DeletionPlan plan = planDeletion(m_deletion.device, *path.back(), type);
        m_output.write(planText(category, plan) + "\n");
        m_output.flush();
        if (m_arguments.dryRun) {
            m_deleted.push_back(category);
            return true;
        }
        if (!m_arguments.yes && !agreesTo(questionFor(*path.back(), type, shown))) {
            m_output.write("Kept.\n");
            return true;
        }
        return deleteNode(path, plan, category);
    }

    static std::string questionFor(const SZANode &node, SZADeleteType type, const std::string &shown)
    {
        return asksBeforeDeletion(type)
                   ? fmt::format(fmt::runtime(kUninstallQuestion), shownText(node.name()))
                   : fmt::format("Delete {}?", shown);
    }

    bool deleteNode(const std::vector<SZANode *> &path, const DeletionPlan &plan, const std::string &category)
    {
        const DeletionOutcome outcome = deleteByType(plan.type, *path.back(), m_deletion);
        if (!outcome.deleted) {
            tell(fmt::format("{}: {}", typableText(category),
                             shownText(outcome.errorText.value_or(kDeletionFailed))));
            return false;
        }
        path[path.size() - 2]->removeNodeAffectedNodes(*path.back(), path);
        m_deleted.push_back(category);
        m_freedBytes += plan.bytes;
        m_output.write(fmt::format("Freed {}.\n", sizeTextForBytes(plan.bytes)));
        m_output.flush();
        return true;
    }

    const DeleteArguments &m_arguments;
    SZANode &m_root;
    Deletion &m_deletion;
    Output &m_output;
    std::vector<std::string> m_deleted; ///< category paths
    std::uint64_t m_freedBytes = 0;
    int m_status = 0;
};

} // namespace

int runDelete(const DeleteArguments &arguments, const Privileges &privileges, Output &output)
{
    const std::unique_ptr<HostDevice> device = openDevice(arguments.scan.root);
    if (!device) {
        return 1;
    }
    const bool ownSystem = isOwnSystem(*device);
    if (const std::optional<std::string> refusal = whyRefused(arguments, privileges, ownSystem)) {
        tell(*refusal);
        return 1;
    }
    const std::unique_ptr<Log> log = makeLog(arguments.scan.quiet);
    const Scanned scanned = scanDevice(*device, arguments.scan, *log);

    // What the system's services would delete lies on the system that we run on.
    const auto photoLibrary = ownSystem ? systemPhotoLibrary(*log) : refusingPhotoLibrary(*log);
    const auto installer = ownSystem ? systemApplicationInstaller(*log) : refusingApplicationInstaller(*log);
    Deletion deletion{.device = *device,
                      .log = *log,
                      .privileges = privileges,
                      .photoLibrary = *photoLibrary,
                      .installer = *installer,
                      .deviceVersion = systemVersionOf(*device)};
    return DeleteRun(arguments, *scanned.root, deletion, output).run();
}

} // namespace slicewise
