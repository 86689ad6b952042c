#include "tests/support/TemporaryDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace slicewise {

namespace {

constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void fail(const std::string &what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

void check(int result, const char *what, std::string_view name)
{
    if (result < 0) {
        fail(std::string(what) + " " + std::string(name.substr(0, 300)));
    }
}

std::string placeForTests(TemporaryDirectory::Lies where)
{
    if (where == TemporaryDirectory::Lies::OnDisk) {
        return "/var/tmp";
    }
    // Nothing changes the environment of a test while it runs.
    const char *chosen = std::getenv("SLICEWISE_TEST_DIR"); // NOLINT(concurrency-mt-unsafe)
    const std::filesystem::path place =
        chosen != nullptr && *chosen != '\0' ? chosen : std::filesystem::temp_directory_path();
    return std::filesystem::canonical(place).string();
}

struct StreamCloser {
    void operator()(DIR *stream) const { ::closedir(stream); }
};

std::vector<std::string> namesIn(int directory)
{
    const int own = ::openat(directory, ".", kOpenDirectory);
    check(own, "open", "a directory to be removed");
    const std::unique_ptr<DIR, StreamCloser> stream(::fdopendir(own));
    if (!stream) {
        fail("fdopendir");
    }
    std::vector<std::string> names;
    // The stream belongs to this function.
    while (const dirent *entry = ::readdir(stream.get())) { // NOLINT(concurrency-mt-unsafe)
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

bool isDirectory(int parent, const std::string &name)
{
    struct stat status = {};
    check(::fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW), "stat", name);
    return S_ISDIR(status.st_mode);
}

// Removes all but the directories, whose names it returns.
std::vector<std::string> removeFiles(int directory)
{
    std::vector<std::string> directories;
    for (std::string &name : namesIn(directory)) {
        if (isDirectory(directory, name)) {
            directories.push_back(std::move(name));
        } else {
            check(::unlinkat(directory, name.c_str(), 0), "unlink", name);
        }
    }
    return directories;
}

} // namespace

TemporaryDirectory::TemporaryDirectory(Lies where)
    : m_path(placeForTests(where) + "/slicewise-test-XXXXXX"), m_owner(::getpid())
{
    if (::mkdtemp(m_path.data()) == nullptr) {
        fail("mkdtemp " + m_path);
    }
    check(::chmod(m_path.c_str(), 0755), "chmod", m_path);
}

TemporaryDirectory::~TemporaryDirectory()
{
    if (::getpid() != m_owner) {
        return;
    }
    try {
        removeDirectory(AT_FDCWD, m_path);
    } catch (const std::exception &exception) {
        std::cerr << "A temporary directory stays behind: " << exception.what() << '\n';
    }
}

std::string TemporaryDirectory::pathOf(std::string_view relative) const
{
    return m_path + "/" + std::string(relative);
}

TemporaryDirectory::Place TemporaryDirectory::placeOf(std::string_view relative) const
{
    // By its path, not by a descriptor that is kept: that one would not see mounts made in a child's own
    // table.
    Place place{.parent = UniqueFd(::open(m_path.c_str(), kOpenDirectory)), .name = {}};
    check(place.parent.get(), "open", m_path);
    while (true) {
        const std::size_t slash = relative.find('/');
        place.name = relative.substr(0, slash);
        if (slash == std::string_view::npos) {
            return place;
        }
        if (::mkdirat(place.parent.get(), place.name.c_str(), 0755) != 0 && errno != EEXIST) {
            fail("mkdir " + place.name);
        }
        place.parent.reset(::openat(place.parent.get(), place.name.c_str(), kOpenDirectory));
        check(place.parent.get(), "open", place.name);
        relative.remove_prefix(slash + 1);
    }
}

void TemporaryDirectory::makeFile(std::string_view relative, std::uint64_t sizeBytes) const
{
    const Place place = placeOf(relative);
    const UniqueFd file(::openat(place.parent.get(), place.name.c_str(),
                                 O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644));
    check(file.get(), "create", relative);
    check(::ftruncate(file.get(), static_cast<::off_t>(sizeBytes)), "set the size of", relative);
}

void TemporaryDirectory::writeFile(std::string_view relative, std::string_view content) const
{
    makeFile(relative);
    const Place place = placeOf(relative);
    const UniqueFd file(::openat(place.parent.get(), place.name.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC));
    check(file.get(), "open", relative);
    while (!content.empty()) {
        const ssize_t written = ::write(file.get(), content.data(), content.size());
        if (written < 0) {
            fail("write");
        }
        content.remove_prefix(static_cast<std::size_t>(written));
    }
}

void TemporaryDirectory::makeDirectory(std::string_view relative) const
{
    const Place place = placeOf(relative);
    if (::mkdirat(place.parent.get(), place.name.c_str(), 0755) != 0 && errno != EEXIST) {
        fail("mkdir " + place.name);
    }
}

void TemporaryDirectory::makeLink(std::string_view relative, const std::string &target) const
{
    const Place place = placeOf(relative);
    check(::symlinkat(target.c_str(), place.parent.get(), place.name.c_str()), "symlink", relative);
}

void TemporaryDirectory::makeHardLink(std::string_view relative, std::string_view existing) const
{
    const Place from = placeOf(existing);
    const Place to = placeOf(relative);
    check(::linkat(from.parent.get(), from.name.c_str(), to.parent.get(), to.name.c_str(), 0), "link",
          relative);
}

void TemporaryDirectory::makeFifo(std::string_view relative) const
{
    const Place place = placeOf(relative);
    check(::mkfifoat(place.parent.get(), place.name.c_str(), 0644), "mkfifo", relative);
}

void TemporaryDirectory::makeSocket(std::string_view relative) const
{
    // bind(2) would take paths of a hundred bytes only.
    const Place place = placeOf(relative);
    check(::mknodat(place.parent.get(), place.name.c_str(), S_IFSOCK | 0644, 0), "mknod", relative);
}

void TemporaryDirectory::setMode(std::string_view relative, ::mode_t mode) const
{
    const Place place = placeOf(relative);
    check(::fchmodat(place.parent.get(), place.name.c_str(), mode, 0), "chmod", relative);
}

void TemporaryDirectory::rename(std::string_view from, std::string_view to) const
{
    const Place source = placeOf(from);
    const Place target = placeOf(to);
    check(::renameat(source.parent.get(), source.name.c_str(), target.parent.get(), target.name.c_str()),
          "rename", from);
}

void TemporaryDirectory::remove(std::string_view relative) const
{
    const Place place = placeOf(relative);
    if (isDirectory(place.parent.get(), place.name)) {
        removeDirectory(place.parent.get(), place.name);
    } else {
        check(::unlinkat(place.parent.get(), place.name.c_str(), 0), "unlink", relative);
    }
}

// Goes down and up again with two descriptors and no recursion, so that a chain may be of any depth.
void TemporaryDirectory::removeDirectory(int parent, const std::string &name)
{
    std::vector<std::string> path; // names of the directories that it is in
    std::vector<std::vector<std::string>> left;
    UniqueFd at;
    const auto enter = [&](int from, const std::string &directory) {
        check(::fchmodat(from, directory.c_str(), 0700, 0), "chmod", directory);
        UniqueFd opened(::openat(from, directory.c_str(), kOpenDirectory));
        check(opened.get(), "open", directory);
        at = std::move(opened);
        path.push_back(directory);
        left.push_back(removeFiles(at.get()));
    };
    enter(parent, name);
    while (true) {
        if (!left.back().empty()) {
            const std::string next = std::move(left.back().back());
            left.back().pop_back();
            enter(at.get(), next);
            continue;
        }
        const std::string done = std::move(path.back());
        path.pop_back();
        left.pop_back();
        if (path.empty()) {
            check(::unlinkat(parent, done.c_str(), AT_REMOVEDIR), "rmdir", done);
            return;
        }
        UniqueFd above(::openat(at.get(), "..", kOpenDirectory));
        check(above.get(), "open the directory above", done);
        at = std::move(above);
        check(::unlinkat(at.get(), done.c_str(), AT_REMOVEDIR), "rmdir", done);
    }
}

std::string TemporaryDirectory::chain(std::size_t depth, std::string_view name)
{
    std::string path;
    path.reserve(depth * (name.size() + 1));
    for (std::size_t i = 0; i < depth; ++i) {
        path.append(i == 0 ? "" : "/").append(name);
    }
    return path;
}

} // namespace slicewise
