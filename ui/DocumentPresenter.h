// How a file that was picked is shown: as a preview, or else in a menu of programs to open it with, or else
// in a menu of what can be done with it.
//
// GUI thread.
#pragma once

#include "ui/FileKind.h"

#include <cstdint>
#include <optional>
#include <string>

namespace slicewise {

enum class DocumentPresentation : std::uint8_t { Preview, OpenInMenu, OptionsMenu };

/// Whether the system that we run on can show a file in a certain way.
class DocumentPresenter {
public:
    DocumentPresenter() = default;
    DocumentPresenter(const DocumentPresenter &) = delete;
    DocumentPresenter &operator=(const DocumentPresenter &) = delete;
    virtual ~DocumentPresenter() = default;

    /// False: it can't, and another way is to be tried. The path is the device's.
    [[nodiscard]] virtual bool canPresent(DocumentPresentation presentation, const std::string &filename) = 0;
};

/// By the kind of the file alone: what can be shown is previewed, for everything else there are the options.
/// Nothing but a host's own presenter knows of programs to open a file with.
class FileKindPresenter final : public DocumentPresenter {
public:
    [[nodiscard]] bool canPresent(DocumentPresentation presentation, const std::string &filename) override;
};

/// The first that works of preview, open-in menu and options menu, each tried once and in this order; absent:
/// none does.
[[nodiscard]] std::optional<DocumentPresentation> presentationOf(DocumentPresenter &presenter,
                                                                 const std::string &filename);

} // namespace slicewise
