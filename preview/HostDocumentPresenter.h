// How a file can be shown on the system that we run on.
//
// As a preview where it is a regular file that can be opened now: there is a page for every kind, if need be
// of its bytes. In a menu of applications where it is there and the desktop has a way to open files
// (platform/Desktop.h; which application that will be is the desktop's affair, and asking it takes long). As
// a menu of what else can be done always, since a path can be copied even of what has gone.
#pragma once

#include "platform/Device.h"
#include "ui/DocumentPresenter.h"

#include <functional>
#include <string>

namespace slicewise {

class HostDocumentPresenter final : public DocumentPresenter {
public:
    /// The device is borrowed. `hasOpener`: whether the desktop opens files; asked each time.
    explicit HostDocumentPresenter(const Device &device);
    HostDocumentPresenter(const Device &device, std::function<bool()> hasOpener);

    [[nodiscard]] bool canPresent(DocumentPresentation presentation, const std::string &filename) override;

private:
    const Device &m_device;
    std::function<bool()> m_hasOpener;
};

} // namespace slicewise
