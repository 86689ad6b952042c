#include "platform/HostDevice.h"

#include "platform/HostDirectoryReader.h"
#include "platform/HostFile.h"
#include "platform/HostPathResolver.h"
#include "platform/HostRemover.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

namespace slicewise {

namespace {

constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
// Enough to walk through: reading the directories above is not needed, only searching them.
#if defined(O_PATH)
constexpr int kOpenToPass = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
#else
constexpr int kOpenToPass = kOpenDirectory;
#endif
int flagsFor(HostDevice::OpenFor purpose)
{
    return purpose == HostDevice::OpenFor::Reading ? kOpenDirectory : kOpenToPass;
}

constexpr std::size_t kLongestPiece = PATH_MAX - 1;

FileStatus statusFrom(const struct stat &raw)
{
    FileStatus status;
    status.type = S_ISREG(raw.st_mode)   ? FileType::RegularFile
                  : S_ISDIR(raw.st_mode) ? FileType::Directory
                                         : FileType::Other;
    status.sizeBytes = static_cast<std::uint64_t>(raw.st_size);
    status.identity = {.device = raw.st_dev, .inode = raw.st_ino};
    return status;
}

std::string_view withoutSlashes(std::string_view path)
{
    while (!path.empty() && path.front() == '/') {
        path.remove_prefix(1);
    }
    while (!path.empty() && path.back() == '/') {
        path.remove_suffix(1);
    }
    return path;
}

// The first component of a relative path, taken off it with the slashes behind it.
std::string_view takeComponent(std::string_view &path)
{
    const std::size_t slash = path.find('/');
    const std::string_view component = path.substr(0, slash);
    path.remove_prefix(component.size());
    while (!path.empty() && path.front() == '/') {
        path.remove_prefix(1);
    }
    return component;
}

// Whether one of the components is "..".
bool goesUp(std::string_view path)
{
    for (std::size_t at = path.find(".."); at != std::string_view::npos; at = path.find("..", at + 1)) {
        const bool begins = at == 0 || path[at - 1] == '/';
        const bool ends = at + 2 == path.size() || path[at + 2] == '/';
        if (begins && ends) {
            return true;
        }
    }
    return false;
}

// As much of a relative path as one call takes, cut before a "/", taken off it.
std::string_view takePiece(std::string_view &path)
{
    std::string_view piece = path;
    if (path.size() > kLongestPiece) {
        const std::size_t slash = path.rfind('/', kLongestPiece);
        piece = path.substr(0, slash);
    }
    path.remove_prefix(piece.size());
    while (!path.empty() && path.front() == '/') {
        path.remove_prefix(1);
    }
    return piece;
}

} // namespace

Result<std::unique_ptr<HostDevice>> HostDevice::open(const std::string &hostRoot, const SystemCalls *calls)
{
    static const SystemCalls real;
    const SystemCalls *used = calls != nullptr ? calls : &real;
    UniqueFd root(used->openAt(AT_FDCWD, hostRoot.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
    if (!root) {
        return ErrorNumber{errno};
    }
    std::array<char, PATH_MAX> canonical{};
    const std::string path =
        ::realpath(hostRoot.c_str(), canonical.data()) != nullptr ? canonical.data() : hostRoot;
    std::unique_ptr<HostDevice> device(new HostDevice(std::move(root), path, used));
    device->readMountTable();
    return device;
}

HostDevice::HostDevice(UniqueFd root, std::string canonicalRoot, const SystemCalls *calls)
    : m_root(std::move(root)), m_canonicalRoot(std::move(canonicalRoot)), m_calls(calls)
{}

std::unique_ptr<DirectoryReader> HostDevice::makeReader() const
{
    return std::make_unique<HostDirectoryReader>(*this);
}

Result<UniqueFd> HostDevice::openDirectory(std::string_view relativePath, int start, OpenFor purpose) const
{
    std::string_view rest = withoutSlashes(relativePath);
    if (goesUp(rest)) {
        return ErrorNumber{EINVAL};
    }
    if (rest.empty()) {
        rest = ".";
    }
    UniqueFd current;
    while (!rest.empty()) {
        const std::string piece(takePiece(rest));
        const int from = current ? current.get() : start;
        const int flags = rest.empty() ? flagsFor(purpose) : kOpenToPass;
        int opened = -1;
        if (m_opensInOneCall.load(std::memory_order_relaxed)) {
            // The call itself refuses links, the last name included, and then says so.
            opened = m_calls->openWithoutLinks(from, piece.c_str(), flags & ~O_NOFOLLOW);
            if (opened < 0 && (errno == ENOSYS || errno == EPERM)) {
                m_opensInOneCall.store(false, std::memory_order_relaxed);
            } else if (opened < 0) {
                return ErrorNumber{errno};
            }
        }
        if (opened < 0) {
            return openOneByOne(rest.empty() ? piece : piece + "/" + std::string(rest), from, purpose);
        }
        current.reset(opened);
    }
    return current;
}

Result<UniqueFd> HostDevice::openOneByOne(std::string_view relativePath, int start, OpenFor purpose) const
{
    UniqueFd current;
    while (!relativePath.empty()) {
        const std::string component(takeComponent(relativePath));
        const int flags = relativePath.empty() ? flagsFor(purpose) : kOpenToPass;
        const int opened = m_calls->openAt(current ? current.get() : start, component.c_str(), flags);
        if (opened < 0) {
            // O_DIRECTORY says ENOTDIR of a link; the one-call way says ELOOP. One answer for both.
            struct stat raw = {};
            const int error = errno;
            const bool isLink = error == ENOTDIR &&
                                m_calls->statAt(current ? current.get() : start, component.c_str(), &raw,
                                                AT_SYMLINK_NOFOLLOW) == 0 &&
                                S_ISLNK(raw.st_mode);
            return ErrorNumber{isLink ? ELOOP : error};
        }
        current.reset(opened);
    }
    return current;
}

Result<HostDevice::Resolved> HostDevice::follow(std::string_view path, ResolvedPath *asFarAsItExists) const
{
    Resolved at{.path = "", .parent = UniqueFd(), .component = "."};
    std::string rest(withoutSlashes(path));
    // Of the path as it was given: what is left of it behind the link that is being followed, which itself is
    // in `beforeLink`. What a link says is no part of it.
    std::size_t given = rest.size();
    std::string beforeLink;
    // Whether the text ended in "/", which asks for a directory, is not kept: nothing that calls this does.
    int links = 0;
    const auto reopen = [this](const std::string &directory) {
        return openDirectory(directory, m_root.get(), OpenFor::Passing);
    };
    auto current = reopen("");
    if (!current) {
        return ErrorNumber{current.error()};
    }
    std::string_view left = rest;
    while (!left.empty()) {
        const std::string component(takeComponent(left));
        if (component.empty() || component == ".") {
            continue;
        }
        if (component == "..") {
            at.path.resize(at.path.empty() ? 0 : at.path.rfind('/'));
            current = reopen(at.path);
            if (!current) {
                return ErrorNumber{current.error()};
            }
            at.component = ".";
            at.parent.reset();
            continue;
        }
        const bool isGiven = left.size() < given;
        struct stat raw = {};
        if (m_calls->statAt(current->get(), component.c_str(), &raw, AT_SYMLINK_NOFOLLOW) != 0) {
            const int error = errno;
            if (error == ENOENT && asFarAsItExists != nullptr) {
                *asFarAsItExists = {.path = isGiven ? at.path : beforeLink, .exists = false};
                appendComponents(asFarAsItExists->path, isGiven ? component : "");
                appendComponents(asFarAsItExists->path,
                                 left.substr(left.size() - std::min(given, left.size())));
            }
            return ErrorNumber{error};
        }
        if (S_ISLNK(raw.st_mode)) {
            if (++links > kMostLinks) {
                return ErrorNumber{ELOOP};
            }
            std::array<char, PATH_MAX> target{};
            const ssize_t length = m_calls->readLinkAt(current->get(), component.c_str(), target);
            if (length <= 0) {
                return ErrorNumber{length == 0 ? ENOENT : errno};
            }
            if (isGiven) {
                given = left.size();
                beforeLink = at.path + "/" + component;
            }
            std::string next(target.data(), static_cast<std::size_t>(length));
            if (next.front() == '/') {
                at.path.clear();
                current = reopen("");
                if (!current) {
                    return ErrorNumber{current.error()};
                }
                at.component = ".";
                at.parent.reset();
            }
            next.append("/").append(left);
            rest = std::string(withoutSlashes(next));
            left = rest;
            continue;
        }
        at.path.append("/").append(component);
        at.component = component;
        if (!S_ISDIR(raw.st_mode)) {
            if (!left.empty()) {
                return ErrorNumber{ENOTDIR};
            }
            at.parent = std::move(current).value();
            return at;
        }
        const int opened = m_calls->openAt(current->get(), component.c_str(), kOpenToPass);
        if (opened < 0) {
            return ErrorNumber{errno};
        }
        at.component = ".";
        *current = UniqueFd(opened);
    }
    if (at.path.empty()) {
        at.path = "/";
    }
    at.parent = std::move(current).value();
    at.component = ".";
    return at;
}

Result<FileStatus> HostDevice::status(std::string_view path) const
{
    const Result<Resolved> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    struct stat raw = {};
    // A directory is asked by its own descriptor: "." in it may be closed to us.
    const int failed =
        found->component == "."
            ? m_calls->statOpen(found->parent.get(), &raw)
            : m_calls->statAt(found->parent.get(), found->component.c_str(), &raw, AT_SYMLINK_NOFOLLOW);
    if (failed != 0) {
        return ErrorNumber{errno};
    }
    return statusFrom(raw);
}

Result<std::string> HostDevice::resolve(std::string_view path) const
{
    Result<Resolved> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    return std::move(found->path);
}

Result<ResolvedPath> HostDevice::resolveAsFarAsItExists(std::string_view path) const
{
    ResolvedPath asFarAsItExists;
    Result<Resolved> found = follow(path, &asFarAsItExists);
    if (found) {
        return ResolvedPath{.path = std::move(found->path), .exists = true};
    }
    if (found.error() == ENOENT && !asFarAsItExists.exists) {
        return asFarAsItExists;
    }
    return ErrorNumber{found.error()};
}

Result<std::vector<std::string>> HostDevice::linksIn(const std::string &path) const
{
#if defined(__linux__)
    const Result<UniqueFd> directory = openDirectory(path, m_root.get(), OpenFor::Reading);
    if (!directory) {
        return ErrorNumber{directory.error()};
    }
    std::vector<std::string> links;
    alignas(dirent64) std::array<std::byte, std::size_t{32} * 1024> records;
    while (true) {
        const ssize_t length = m_calls->readEntries(directory->get(), records);
        if (length == 0) {
            return links;
        }
        if (length < 0 && errno != EINTR) {
            return ErrorNumber{errno};
        }
        for (std::size_t at = 0; length > 0 && at < static_cast<std::size_t>(length);) {
            // The kernel aligns each record for this very cast.
            const auto *record = reinterpret_cast<const dirent64 *>(records.data() + at);
            at += record->d_reclen;
            if (record->d_type == DT_LNK || record->d_type == DT_UNKNOWN) {
                links.emplace_back(record->d_name);
            }
        }
    }
#else
    static_cast<void>(path);
    return ErrorNumber{ENOSYS};
#endif
}

Result<std::unique_ptr<ReadableFile>> HostDevice::openFile(std::string_view path) const
{
    const Result<Resolved> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    if (found->component == ".") {
        return ErrorNumber{EISDIR};
    }
    // Merely opening a fifo or a device may set something off, so what it is is asked before, and again of
    // what has been opened.
    const int parent = found->parent.get();
    const char *name = found->component.c_str();
    struct stat raw = {};
    if (m_calls->statAt(parent, name, &raw, AT_SYMLINK_NOFOLLOW) != 0) {
        return ErrorNumber{errno};
    }
    if (!S_ISREG(raw.st_mode)) {
        return ErrorNumber{S_ISDIR(raw.st_mode) ? EISDIR : EINVAL};
    }
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
#if defined(O_NOATIME)
    UniqueFd file(m_calls->openAt(parent, name, kFlags | O_NOATIME));
    if (!file && errno == EPERM) { // only the owner of a file may leave its time of access alone
        file.reset(m_calls->openAt(parent, name, kFlags));
    }
#else
    UniqueFd file(m_calls->openAt(parent, name, kFlags));
#endif
    if (!file || m_calls->statOpen(file.get(), &raw) != 0) {
        return ErrorNumber{errno};
    }
    if (!S_ISREG(raw.st_mode)) {
        return ErrorNumber{EINVAL};
    }
    return std::unique_ptr<ReadableFile>(std::make_unique<HostFile>(std::move(file), *m_calls));
}

Result<std::vector<std::string>> HostDevice::entryNames(std::string_view path) const
{
    const Result<Resolved> found = follow(path);
    if (!found) {
        return ErrorNumber{found.error()};
    }
    if (found->component != ".") {
        return ErrorNumber{ENOTDIR};
    }
    // Not as "." in itself, which may be closed to us where listing is not.
    Result<UniqueFd> directory = openDirectory(found->path, m_root.get(), OpenFor::Reading);
    if (!directory) {
        return ErrorNumber{directory.error()};
    }
    const auto close = [](DIR *stream) { ::closedir(stream); };
    const std::unique_ptr<DIR, decltype(close)> stream(::fdopendir(directory->get()), close);
    if (!stream) {
        return ErrorNumber{errno};
    }
    static_cast<void>(directory->release());
    std::vector<std::string> names;
    while (true) {
        errno = 0;
        const dirent *entry = ::readdir(stream.get()); // NOLINT(concurrency-mt-unsafe): a stream of our own
        if (entry == nullptr) {
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    if (errno != 0) {
        return ErrorNumber{errno};
    }
    return names;
}

Result<std::string> HostDevice::hostPath(std::string_view path) const
{
    const Result<std::string> resolved = resolve(path);
    if (!resolved) {
        return ErrorNumber{resolved.error()};
    }
    if (m_canonicalRoot == "/") {
        return *resolved;
    }
    return *resolved == "/" ? m_canonicalRoot : m_canonicalRoot + *resolved;
}

std::unique_ptr<PathResolver> HostDevice::makeResolver() const
{
    return std::make_unique<HostPathResolver>(*this);
}

std::unique_ptr<Remover> HostDevice::makeRemover()
{
    return std::make_unique<HostRemover>(*this);
}

} // namespace slicewise
