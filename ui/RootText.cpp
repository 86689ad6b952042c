#include "ui/RootText.h"

#include "ui/NameText.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

namespace slicewise {

std::string whyNoRoot(const std::string &root, int error)
{
    const std::string shown = typableText(root);
    switch (error) {
    case ENOENT:
        return fmt::format("There is no directory “{}”. Give --root one that exists.", shown);
    case ENOTDIR:
        return fmt::format(
            "“{}” is not a directory. Mount or extract an image, and give --root that directory.", shown);
    case EACCES:
    case EPERM:
        return fmt::format("“{}” may not be read by this user. Run it as root (with sudo).", shown);
    default:
        return fmt::format("“{}” could not be opened ({}). Give --root another directory.", shown,
                           std::generic_category().message(error));
    }
}

} // namespace slicewise
