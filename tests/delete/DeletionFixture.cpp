#include "tests/delete/DeletionFixture.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace slicewise {

int RecordingUserIds::setEffective(::uid_t user) const
{
    m_ids.effective = user;
    return 0;
}

int RecordingUserIds::setEffectiveOfThread(::uid_t user) const
{
    m_timesRaised += user == 0 ? 1 : 0;
    return setEffective(user);
}

int RecordingUserIds::setAll(::uid_t user) const
{
    m_ids = {.real = user, .effective = user, .saved = user};
    return 0;
}

void RecordingPhotoLibrary::deleteAssetWithURLHandler(const std::string &assetUrl, Handler handler)
{
    m_urls.push_back(assetUrl);
    m_everRoot = m_everRoot || m_ids.isRoot();
    m_answer(handler);
}

ApplicationInstaller::Uninstall RecordingInstaller::mobileInstallationUninstall()
{
    asked.emplace_back("find function");
    if (!functionAnswers) {
        return {};
    }
    return [this](const std::string &bundleIdentifier) {
        asked.push_back("call function " + bundleIdentifier);
        return *functionAnswers;
    };
}

ApplicationInstaller::WorkspaceUninstall RecordingInstaller::applicationWorkspace()
{
    asked.emplace_back("find class");
    if (!workspaceAnswers) {
        return {};
    }
    return [this](const std::string &bundleIdentifier) {
        asked.push_back("call class " + bundleIdentifier);
        return *workspaceAnswers;
    };
}

DeletionFixture::DeletionFixture()
    : m_device(std::move(HostDevice::open(m_folder.path(), &m_calls)).value()),
      m_privileges(Privileges::afterEntry(&m_ids)),
      m_log([this](std::string_view line) { m_logged.emplace_back(line); }),
      m_photoLibrary(m_ids, [](const PhotoLibrary::Handler &handler) { handler(true, "(null)"); }),
      m_tree(std::make_unique<SZANode>(m_device.get())),
      m_deletion(std::make_unique<Deletion>(Deletion{.device = *m_device,
                                                     .log = m_log,
                                                     .privileges = m_privileges,
                                                     .photoLibrary = m_photoLibrary,
                                                     .installer = m_installer,
                                                     .deviceVersion = {}}))
{
    m_calls.runBefore(FailingSystemCalls::Function::UnlinkAt, [this](const FailingSystemCalls::Call &) {
        m_removalsWithoutRights += m_ids.isRoot() ? 0U : 1U;
    });
}

bool DeletionFixture::exists(std::string_view relative) const
{
    return m_device->status("/" + std::string(relative)).ok();
}

void DeletionFixture::addFile(std::string_view categoryPath, const std::string &devicePath,
                              std::uint64_t sizeBytes)
{
    if (!exists(devicePath.substr(1))) {
        m_folder.makeFile(devicePath.substr(1), sizeBytes);
    }
    m_tree->addNodeForFile(categoryPath, devicePath);
}

SZANode &DeletionFixture::nodeAt(std::string_view categoryPath)
{
    SZANode *node = m_tree.get();
    while (!categoryPath.empty()) {
        const std::size_t slash = categoryPath.find('/');
        node = node->childNamed(categoryPath.substr(0, slash));
        if (node == nullptr) {
            throw std::logic_error("no such node");
        }
        categoryPath.remove_prefix(slash == std::string_view::npos ? categoryPath.size() : slash + 1);
    }
    return *node;
}

} // namespace slicewise
