#include "ui/DocumentPresenter.h"

namespace slicewise {

bool FileKindPresenter::canPresent(DocumentPresentation presentation, const std::string &filename)
{
    switch (presentation) {
    case DocumentPresentation::Preview:
        return fileKindOf(filename) != FileKind::Other;
    case DocumentPresentation::OpenInMenu:
        return false;
    case DocumentPresentation::OptionsMenu:
        return true;
    }
    return false;
}

std::optional<DocumentPresentation> presentationOf(DocumentPresenter &presenter, const std::string &filename)
{
    for (const DocumentPresentation presentation :
         {DocumentPresentation::Preview, DocumentPresentation::OpenInMenu,
          DocumentPresentation::OptionsMenu}) {
        if (presenter.canPresent(presentation, filename)) {
            return presentation;
        }
    }
    return std::nullopt;
}

} // namespace slicewise
