// Where programs end up that know nothing of the device's root.
#include "platform/HostDevice.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <string>
#include <string_view>
#include <utility>

namespace slicewise {

namespace {

constexpr std::string_view kUp = "..";

/// Follows a path from the host's "/", as the kernel does. The names that are left lie in a text of their own
/// behind what has been followed, which has no links and exists.
class HostWalk {
public:
    HostWalk(const SystemCalls &calls, std::string path) : m_calls(calls), m_rest(std::move(path)) {}

    Result<std::string> follow()
    {
        while (true) {
            const std::string name = takeName();
            if (name.empty()) {
                return m_at.empty() ? std::string("/") : std::move(m_at);
            }
            if (name == kUp) {
                m_at.resize(m_at.empty() ? 0 : m_at.rfind('/'));
            } else if (const int error = enter(name); error == ENOENT && !m_missing.empty()) {
                return withRest();
            } else if (error != 0) {
                return ErrorNumber{error};
            }
        }
    }

private:
    /// The next name that is not "."; empty where there is none.
    std::string takeName()
    {
        while (true) {
            const std::size_t begin = m_rest.find_first_not_of('/', m_next);
            if (begin == std::string::npos) {
                m_next = m_rest.size();
                return {};
            }
            m_next = std::min(m_rest.find('/', begin), m_rest.size());
            if (const std::string_view name(m_rest.data() + begin, m_next - begin); name != ".") {
                return std::string(name);
            }
        }
    }

    [[nodiscard]] bool hasMore() const { return m_rest.find_first_not_of('/', m_next) != std::string::npos; }

    /// 0, or what is wrong. ENOENT leaves the name in m_missing where it is the name that is not there.
    int enter(const std::string &name)
    {
        std::string path = m_at + "/" + name;
        if (path.size() >= PATH_MAX) {
            return ENAMETOOLONG;
        }
        struct stat raw = {};
        if (m_calls.statAt(AT_FDCWD, path.c_str(), &raw, AT_SYMLINK_NOFOLLOW) != 0) {
            const int error = errno;
            m_missing = name;
            return error;
        }
        if (S_ISLNK(raw.st_mode)) {
            return followLink(path);
        }
        m_at = std::move(path);
        return S_ISDIR(raw.st_mode) || !hasMore() ? 0 : ENOTDIR;
    }

    int followLink(const std::string &link)
    {
        std::array<char, PATH_MAX> target{};
        if (++m_links > HostDevice::kMostLinks) {
            return ELOOP;
        }
        const ssize_t length = m_calls.readLinkAt(AT_FDCWD, link.c_str(), target);
        if (length <= 0) {
            return length == 0 ? EINVAL : errno;
        }
        m_rest = std::string(target.data(), static_cast<std::size_t>(length)) + "/" + m_rest.substr(m_next);
        m_next = 0;
        if (m_rest.front() == '/') {
            m_at.clear();
        }
        return 0;
    }

    Result<std::string> withRest()
    {
        m_at.append("/").append(m_missing);
        for (std::string name = takeName(); !name.empty(); name = takeName()) {
            if (name == kUp) { // nowhere, where it is not known what it goes up from
                return ErrorNumber{ENOENT};
            }
            m_at.append("/").append(name);
        }
        return std::move(m_at);
    }

    const SystemCalls &m_calls;
    std::string m_at; ///< empty for the host's "/"
    std::string m_rest;
    std::size_t m_next = 0; ///< in m_rest
    std::string m_missing;
    int m_links = 0;
};

} // namespace

Result<std::string> HostDevice::followedOnHost(std::string_view path) const
{
    if (path.find('\0') != std::string_view::npos) {
        return ErrorNumber{EINVAL}; // no program could be told of the rest
    }
    struct stat ours = {};
    struct stat found = {};
    if (m_calls->statOpen(m_root.get(), &ours) != 0 ||
        m_calls->statAt(AT_FDCWD, m_canonicalRoot.c_str(), &found, 0) != 0) {
        return ErrorNumber{errno == ENOENT ? ESTALE : errno};
    }
    if (ours.st_dev != found.st_dev || ours.st_ino != found.st_ino) {
        return ErrorNumber{ESTALE};
    }
    return HostWalk(*m_calls, m_canonicalRoot + "/" + std::string(path)).follow();
}

} // namespace slicewise
