// A device in a folder, the services that no Debian machine has, and a record of who had which rights when.
#pragma once

#include "delete/Deletion.h"
#include "platform/HostDevice.h"
#include "platform/Log.h"
#include "platform/Privileges.h"
#include "scan/SZANode.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

/// User ids that are only remembered: of a process that user 501 started set-user-id root.
class RecordingUserIds final : public UserIdCalls {
public:
    static constexpr ::uid_t kUser = 501;

    [[nodiscard]] UserIdSet ids() const override { return m_ids; }
    [[nodiscard]] int setEffective(::uid_t user) const override;
    [[nodiscard]] int setEffectiveOfThread(::uid_t user) const override;
    [[nodiscard]] int setAll(::uid_t user) const override;

    [[nodiscard]] bool isRoot() const { return m_ids.effective == 0; }
    [[nodiscard]] unsigned timesRaised() const { return m_timesRaised; }

private:
    mutable UserIdSet m_ids = {.real = kUser, .effective = kUser, .saved = 0};
    mutable unsigned m_timesRaised = 0;
};

class RecordingPhotoLibrary final : public PhotoLibrary {
public:
    using Answer = std::function<void(const Handler &)>;

    RecordingPhotoLibrary(const RecordingUserIds &ids, Answer answer)
        : m_ids(ids), m_answer(std::move(answer))
    {}
    void deleteAssetWithURLHandler(const std::string &assetUrl, Handler handler) override;

    void answerWith(Answer answer) { m_answer = std::move(answer); }
    [[nodiscard]] const std::vector<std::string> &urls() const { return m_urls; }
    [[nodiscard]] bool everRoot() const { return m_everRoot; }

private:
    const RecordingUserIds &m_ids;
    Answer m_answer;
    std::vector<std::string> m_urls;
    bool m_everRoot = false;
};

class RecordingInstaller final : public ApplicationInstaller {
public:
    [[nodiscard]] Uninstall mobileInstallationUninstall() override;
    [[nodiscard]] WorkspaceUninstall applicationWorkspace() override;

    /// What the mechanisms answer; absent: the system does not have it.
    std::optional<int> functionAnswers;
    std::optional<bool> workspaceAnswers;
    /// In order: "find function", "call function com.example.app", "find class", "call class ...".
    std::vector<std::string> asked;
};

class DeletionFixture : public testing::Test {
protected:
    DeletionFixture();

    [[nodiscard]] const TemporaryDirectory &folder() const { return m_folder; }
    [[nodiscard]] bool exists(std::string_view relative) const;
    /// Adds a file of the device to the tree, and makes it if it is not there.
    void addFile(std::string_view categoryPath, const std::string &devicePath, std::uint64_t sizeBytes = 1);
    [[nodiscard]] SZANode &tree() { return *m_tree; }
    [[nodiscard]] SZANode &nodeAt(std::string_view categoryPath);
    [[nodiscard]] Deletion &deletion() { return *m_deletion; }
    [[nodiscard]] HostDevice &device() { return *m_device; }
    [[nodiscard]] RecordingPhotoLibrary &photoLibrary() { return m_photoLibrary; }
    [[nodiscard]] RecordingInstaller &installer() { return m_installer; }
    [[nodiscard]] const RecordingUserIds &ids() const { return m_ids; }
    [[nodiscard]] FailingSystemCalls &calls() { return m_calls; }
    [[nodiscard]] const std::vector<std::string> &logged() const { return m_logged; }
    /// Removals that were made without root's rights.
    [[nodiscard]] unsigned removalsWithoutRights() const { return m_removalsWithoutRights; }

private:
    TemporaryDirectory m_folder;
    FailingSystemCalls m_calls;
    std::unique_ptr<HostDevice> m_device;
    RecordingUserIds m_ids;
    Privileges m_privileges;
    std::vector<std::string> m_logged;
    Log m_log;
    RecordingPhotoLibrary m_photoLibrary;
    RecordingInstaller m_installer;
    std::unique_ptr<SZANode> m_tree;
    std::unique_ptr<Deletion> m_deletion;
    unsigned m_removalsWithoutRights = 0;
};

} // namespace slicewise
