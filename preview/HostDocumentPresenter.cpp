#include "preview/HostDocumentPresenter.h"

#include "platform/Desktop.h"

#include <utility>

namespace slicewise {

HostDocumentPresenter::HostDocumentPresenter(const Device &device)
    : HostDocumentPresenter(device, [] { return desktopOpener().has_value(); })
{}

HostDocumentPresenter::HostDocumentPresenter(const Device &device, std::function<bool()> hasOpener)
    : m_device(device), m_hasOpener(std::move(hasOpener))
{}

bool HostDocumentPresenter::canPresent(DocumentPresentation presentation, const std::string &filename)
{
    switch (presentation) {
    case DocumentPresentation::Preview:
        return m_device.openFile(filename).ok();
    case DocumentPresentation::OpenInMenu: {
        const Result<FileStatus> status = m_device.status(filename);
        return status && status->type == FileType::RegularFile && m_hasOpener();
    }
    case DocumentPresentation::OptionsMenu:
        return true;
    }
    return false;
}

} // namespace slicewise
