// bare-walk [-x] [--threads N] DIR: the floor under a walk.
//
// Lists every directory below DIR, asks every regular file for its size, on N threads (2 unless said), and
// keeps three sums: no tree, no order, no rules. What a real walk takes beyond this is what its own work
// costs. A file with several names counts for each of them. -x stays on DIR's file system. Directories that
// cannot be read are skipped and counted apart.
//
// Linux only: it reads raw directory records, since a floor has no room for the copies that readdir makes.
#include "bench/WorkStack.h"
#include "platform/UniqueFd.h"

#include <fmt/format.h>

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <future>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace slicewise {

namespace {

constexpr std::size_t kRecordBytes = std::size_t{64} * 1024;
constexpr unsigned kMostThreads = 64;
constexpr rlim_t kMostDescriptors = 16384;
constexpr int kOpenFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

struct Sums {
    std::uint64_t files = 0;
    std::uint64_t directories = 0;
    std::uint64_t bytes = 0;
    std::uint64_t unreadable = 0; ///< directories

    Sums &operator+=(const Sums &other)
    {
        files += other.files;
        directories += other.directories;
        bytes += other.bytes;
        unreadable += other.unreadable;
        return *this;
    }
};

enum class Boundary { None, FileSystem };

/// What the threads share.
struct Walk {
    std::shared_ptr<Directory> root;
    dev_t device = 0;
    Boundary boundary = Boundary::None;
    int highestKeptDescriptor = 0;
    std::atomic<bool> kernelStopsAtMounts = true; ///< openat2 is there and allowed
    WorkStack stack;
};

class Worker {
public:
    explicit Worker(Walk &walk) : m_walk(walk), m_records(kRecordBytes) {}

    [[nodiscard]] Sums run()
    {
        while (const std::optional<Work> work = m_walk.stack.take()) {
            Directory &directory = *work->directory;
            if (!work->records.empty()) {
                lookThrough(work->directory, work->records);
            } else if (open(directory)) {
                list(work->directory);
            }
            if (directory.users == 1 && directory.descriptor.get() > m_walk.highestKeptDescriptor) {
                directory.descriptor
                    .reset(); // nobody knows its subdirectories yet; they will take the long way
            }
            directory.users += m_found.size();
            release(directory);
            m_walk.stack.finish(m_found);
        }
        return m_sums;
    }

private:
    enum class Opening { Done, Unreadable, OtherFileSystem };

    bool open(Directory &directory)
    {
        if (!directory.parent) {
            return true;
        }
        Directory &parent = *directory.parent;
        const Opening opening = parent.descriptor
                                    ? openBelow(parent.descriptor.get(), directory.name, directory.descriptor)
                                    : openFromRoot(directory);
        release(parent);
        if (opening == Opening::Unreadable) {
            ++m_sums.unreadable;
        }
        return opening == Opening::Done;
    }

    Opening openBelow(int parent, const std::string &name, UniqueFd &opened)
    {
        const bool staysInside = m_walk.boundary == Boundary::FileSystem;
        if (staysInside && m_walk.kernelStopsAtMounts.load(std::memory_order_relaxed)) {
            // One call for what takes two otherwise.
            open_how how = {};
            how.flags = kOpenFlags;
            how.resolve = RESOLVE_NO_XDEV;
            opened.reset(static_cast<int>(::syscall(SYS_openat2, parent, name.c_str(), &how, sizeof how)));
            if (opened) {
                return Opening::Done;
            }
            if (errno == ENOSYS || errno == EPERM) {
                m_walk.kernelStopsAtMounts = false;
            } else if (errno != EXDEV) { // a mount, which may be one of the same file system
                return Opening::Unreadable;
            }
        }
        opened.reset(::openat(parent, name.c_str(), kOpenFlags));
        if (!opened) {
            return Opening::Unreadable;
        }
        struct stat status = {};
        if (staysInside && (::fstat(opened.get(), &status) != 0 || status.st_dev != m_walk.device)) {
            opened.reset();
            return Opening::OtherFileSystem;
        }
        return Opening::Done;
    }

    /// Down from the root, in paths that are as long as the kernel takes them.
    Opening openFromRoot(Directory &directory)
    {
        std::vector<const std::string *> names;
        for (const Directory *at = directory.parent.get(); at->parent; at = at->parent.get()) {
            names.push_back(&at->name);
        }
        UniqueFd above;
        int start = m_walk.root->descriptor.get();
        while (!names.empty()) {
            std::string path;
            while (!names.empty() && path.size() + names.back()->size() + 2 <= PATH_MAX) {
                path.append(*names.back()).push_back('/');
                names.pop_back();
            }
            above.reset(::openat(start, path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
            if (!above) {
                return Opening::Unreadable;
            }
            start = above.get();
        }
        return openBelow(start, directory.name, directory.descriptor);
    }

    void list(const std::shared_ptr<Directory> &directory)
    {
        ++m_sums.directories;
        for (;;) {
            const long length =
                ::syscall(SYS_getdents64, directory->descriptor.get(), m_records.data(), m_records.size());
            if (length < 0 && errno == EINTR) {
                continue;
            }
            if (length < 0) {
                ++m_sums.unreadable;
            }
            if (length <= 0) {
                return;
            }
            const std::span records = std::span(m_records).first(static_cast<std::size_t>(length));
            // A large directory is more than one thread's work.
            if (records.size() > kRecordBytes / 2 && m_walk.stack.hasIdleThread()) {
                ++directory->users;
                m_walk.stack.add({.directory = directory, .records = {records.begin(), records.end()}});
            } else {
                lookThrough(directory, records);
            }
        }
    }

    void lookThrough(const std::shared_ptr<Directory> &directory, std::span<const std::byte> records)
    {
        for (std::size_t at = 0; at < records.size();) {
            // The kernel aligns each record for this very cast.
            const auto &record = *reinterpret_cast<const dirent64 *>(records.data() + at);
            at += record.d_reclen;
            switch (record.d_type) {
            case DT_REG:
            case DT_UNKNOWN:
                takeFile(directory, record);
                break;
            case DT_DIR:
                takeDirectory(directory, record.d_name);
                break;
            default:
                break;
            }
        }
    }

    void takeFile(const std::shared_ptr<Directory> &directory, const dirent64 &record)
    {
        struct stat status = {};
        if (::fstatat(directory->descriptor.get(), record.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return;
        }
        if (S_ISREG(status.st_mode)) {
            ++m_sums.files;
            m_sums.bytes += static_cast<std::uint64_t>(status.st_size);
        } else if (record.d_type == DT_UNKNOWN && S_ISDIR(status.st_mode)) {
            takeDirectory(directory, record.d_name);
        }
    }

    void takeDirectory(const std::shared_ptr<Directory> &parent, const char *name)
    {
        if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0) {
            m_found.push_back({.directory = std::make_shared<Directory>(parent, name), .records = {}});
        }
    }

    static void release(Directory &directory)
    {
        if (--directory.users == 0) {
            directory.descriptor.reset();
        }
    }

    Walk &m_walk;
    std::vector<std::byte> m_records;
    std::vector<Work> m_found;
    Sums m_sums;
};

/// Makes room for open directories. The kernel gives out the lowest free descriptor, so that one above what
/// this answers says that as many are open as may wait; the rest is for the threads.
int makeRoomForDescriptors()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return 0;
    }
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, kMostDescriptors));
    ::setrlimit(RLIMIT_NOFILE, &limit);
    const auto highest = static_cast<int>(std::min(limit.rlim_cur, kMostDescriptors) / 2);
    // A table of descriptors that grows while several threads use it stops one of them for milliseconds.
    UniqueFd(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, highest)).reset();
    return highest;
}

struct Arguments {
    Boundary boundary = Boundary::None;
    unsigned threads = 2;
    const char *root = nullptr;
};

std::optional<Arguments> parse(std::span<char *> words)
{
    Arguments arguments;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i];
        if (word == "-x") {
            arguments.boundary = Boundary::FileSystem;
        } else if (word == "--threads" && i + 1 < words.size()) {
            const std::string_view number = words[++i];
            const char *end = number.data() + number.size();
            const auto [rest, error] = std::from_chars(number.data(), end, arguments.threads);
            if (error != std::errc() || rest != end || arguments.threads == 0 ||
                arguments.threads > kMostThreads) {
                return std::nullopt;
            }
        } else if (!word.starts_with('-') && arguments.root == nullptr) {
            arguments.root = words[i];
        } else {
            return std::nullopt;
        }
    }
    if (arguments.root == nullptr) {
        return std::nullopt;
    }
    return arguments;
}

int runBareWalk(std::span<char *> words)
{
    const std::optional<Arguments> arguments = parse(words);
    if (!arguments) {
        fmt::print(stderr, "usage: bare-walk [-x] [--threads 1..{}] DIR\n", kMostThreads);
        return 2;
    }

    Walk walk;
    walk.boundary = arguments->boundary;
    walk.highestKeptDescriptor = makeRoomForDescriptors();
    walk.root = std::make_shared<Directory>(nullptr, "");
    walk.root->users = 2; // one that never goes: openFromRoot begins there
    // A link is followed here alone: what was named is what is meant.
    walk.root->descriptor.reset(::open(arguments->root, kOpenFlags & ~O_NOFOLLOW));
    struct stat status = {};
    if (!walk.root->descriptor || ::fstat(walk.root->descriptor.get(), &status) != 0) {
        const int error = errno;
        fmt::print(stderr, "bare-walk: {}: {}\n", arguments->root, std::generic_category().message(error));
        return 1;
    }
    walk.device = status.st_dev;
    walk.stack.add({.directory = walk.root, .records = {}});

    std::vector<std::future<Sums>> workers;
    for (unsigned i = 0; i < arguments->threads; ++i) {
        workers.push_back(std::async(std::launch::async, [&walk] { return Worker(walk).run(); }));
    }
    Sums sums;
    for (std::future<Sums> &worker : workers) {
        sums += worker.get();
    }
    fmt::print("{} files, {} directories, {} bytes, {} directories unreadable\n", sums.files,
               sums.directories, sums.bytes, sums.unreadable);
    return 0;
}

} // namespace

} // namespace slicewise

int main(int argc, char **argv)
{
    return slicewise::runBareWalk(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
}
