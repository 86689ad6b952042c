#include "platform/Device.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

namespace slicewise {

namespace {

/// Asks the device for every path anew.
class PlainResolver final : public PathResolver {
public:
    explicit PlainResolver(const Device &device) : m_device(device) {}

    Result<std::string> resolve(std::string_view path) override
    {
        if (path.size() >= PATH_MAX) {
            return ErrorNumber{ENAMETOOLONG};
        }
        if (path.empty()) {
            return std::string();
        }
        // Cuts components off the end until what is left exists.
        std::string_view existing = path;
        while (true) {
            Result<std::string> found = m_device.resolve(existing);
            if (found) {
                std::string text = std::move(found).value();
                appendComponents(text, path.substr(existing.size()));
                return text;
            }
            if (found.error() != ENOENT || existing.empty()) {
                return ErrorNumber{found.error()};
            }
            const std::size_t slash = existing.find_last_of('/');
            existing = existing.substr(0, slash == std::string_view::npos ? 0 : slash);
        }
    }

private:
    const Device &m_device;
};

/// The remover of a device that nothing can be removed from.
class RefusingRemover final : public Remover {
public:
    Result<std::uint64_t> remove(std::string_view /*path*/) override { return ErrorNumber{ENOTSUP}; }
};

} // namespace

Result<FileTimes> ReadableFile::times() const
{
    return ErrorNumber{ENOTSUP};
}

Result<UniqueFd> ReadableFile::descriptor() const
{
    return ErrorNumber{ENOTSUP};
}

void appendComponents(std::string &path, std::string_view rest)
{
    while (!rest.empty()) {
        const std::string_view component = rest.substr(0, rest.find('/'));
        if (!component.empty()) {
            path.append(path.ends_with('/') ? "" : "/").append(component);
        }
        rest.remove_prefix(std::min(component.size() + 1, rest.size()));
    }
}

Result<std::unique_ptr<ReadableFile>> Device::openFile(std::string_view /*path*/) const
{
    return ErrorNumber{ENOTSUP};
}

Result<std::vector<std::string>> Device::entryNames(std::string_view /*path*/) const
{
    return ErrorNumber{ENOTSUP};
}

Result<std::string> Device::hostPath(std::string_view /*path*/) const
{
    return ErrorNumber{ENOTSUP};
}

Result<std::string> Device::followedOnHost(std::string_view /*path*/) const
{
    return ErrorNumber{ENOTSUP};
}

std::unique_ptr<PathResolver> Device::makeResolver() const
{
    return std::make_unique<PlainResolver>(*this);
}

std::unique_ptr<Remover> Device::makeRemover()
{
    return std::make_unique<RefusingRemover>();
}

Result<std::string> readFile(const Device &device, std::string_view path, std::size_t mostBytes)
{
    const Result<std::unique_ptr<ReadableFile>> file = device.openFile(path);
    if (!file) {
        return ErrorNumber{file.error()};
    }
    const Result<std::uint64_t> size = (*file)->sizeBytes();
    if (!size) {
        return ErrorNumber{size.error()};
    }
    if (*size > mostBytes) {
        return ErrorNumber{EFBIG};
    }
    // One byte more than there should be tells whether there is more than that by now.
    std::string content;
    std::size_t wanted = static_cast<std::size_t>(*size) + 1;
    while (true) {
        const std::size_t from = content.size();
        content.resize(from + wanted);
        const auto into = std::as_writable_bytes(std::span(content)).subspan(from);
        const Result<std::size_t> length = (*file)->readAt(from, into);
        if (!length) {
            return ErrorNumber{length.error()};
        }
        content.resize(from + *length);
        if (content.size() > mostBytes) {
            return ErrorNumber{EFBIG};
        }
        if (*length < wanted) {
            return content;
        }
        wanted = std::min(content.size(), mostBytes + 1 - content.size());
    }
}

} // namespace slicewise
