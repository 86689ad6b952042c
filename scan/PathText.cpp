#include "scan/PathText.h"

namespace slicewise {

namespace {

// "/" itself stays.
std::string_view withoutSlashesAtEnd(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/')) {
        path.remove_suffix(1);
    }
    return path;
}

} // namespace

std::string_view lastPathComponent(std::string_view path)
{
    path = withoutSlashesAtEnd(path);
    const std::size_t slash = path.rfind('/');
    return path == "/" || slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view withoutLastPathComponent(std::string_view path)
{
    path = withoutSlashesAtEnd(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return withoutSlashesAtEnd(path.substr(0, slash + 1));
}

std::string_view pathExtension(std::string_view path)
{
    const std::string_view name = lastPathComponent(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::vector<std::string_view> splitAtSlashes(std::string_view path)
{
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t slash = path.find('/');
        parts.push_back(path.substr(0, slash));
        if (slash == std::string_view::npos) {
            return parts;
        }
        path.remove_prefix(slash + 1);
    }
}

} // namespace slicewise
