#include "tests/support/RandomTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <random>
#include <string_view>
#include <system_error>
#include <vector>

namespace slicewise {

namespace {

constexpr std::size_t kLongestHostPath = 3000;
constexpr std::size_t kFilesOfTheirOwn = 8;

// Where files are sorted by place, in no order; and places that only look like one of them.
constexpr std::array<std::string_view, 34> kPlaces = {
    "bin",
    "boot",
    "lib",
    "sbin",
    "System",
    "usr/lib",
    "Library",
    "private/var/stash",
    "private/var/mobile/Library/Caches",
    "private/var/tmp",
    "private/var/mobile/Library/SMS",
    "Developer",
    "private/var/lib",
    "private/var/cache/apt",
    "private/var/logs",
    "private/var/mobile/Library/Logs",
    "private/var/mobile/Library",
    "private/var/mobile/Media/Books",
    "private/var/mobile/Media/DCIM/100APPLE",
    "private/var/mobile/Media/Downloads",
    "private/var/mobile/Media/PhotoData",
    "private/var/mobile/Media/PhotoStreamsData",
    "private/var/mobile/Media/ROMs",
    "private/var/mobile/Media/Recordings",
    "private/var/mobile/Media/iTunes_Control/Music",
    "private/var/mobile/Media",
    "private/var/cache/aptitude",
    "private/var/log",
    "var/mobile/Library/SMS",
    "usrx",
    "developer",
    "etc",
    "sub/.file",
    "Others/usr",
};

void check(bool done, const std::string &path)
{
    if (!done) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

class Maker {
public:
    Maker(const std::string &top, std::uint64_t seed) : m_random(seed), m_directories({top}) {}

    void makePlaces(unsigned count)
    {
        for (unsigned i = 0; i < count; ++i) {
            std::string path = m_directories.front();
            std::string_view rest = oneOf(kPlaces);
            while (!rest.empty()) {
                const std::size_t slash = rest.find('/');
                path.append("/").append(rest.substr(0, slash));
                if (::mkdir(path.c_str(), 0755) == 0) {
                    m_directories.push_back(path);
                } else {
                    check(errno == EEXIST, path);
                }
                rest.remove_prefix(
                    std::min(rest.size(), slash == std::string_view::npos ? slash : slash + 1));
            }
        }
    }

    void makeDirectories(unsigned count)
    {
        for (unsigned i = 0; i < count; ++i) {
            makeDirectoryIn(oneOf(m_directories));
        }
    }

    void makeChain(unsigned length)
    {
        std::string path = oneOf(m_directories);
        for (unsigned i = 0; i < length; ++i) {
            makeDirectoryIn(path);
            path = m_directories.back();
        }
    }

    void makeEntries(unsigned mostEach)
    {
        for (const std::string &directory : m_directories) {
            const std::uint64_t count = below(mostEach + 1);
            for (std::uint64_t i = 0; i < count; ++i) {
                makeEntry(directory + "/" + name());
            }
        }
        if (below(2) == 0) {
            makeFile(m_directories.front() + "/.file");
        }
    }

    void makeLargest(unsigned entries)
    {
        const std::string directory = oneOf(m_directories);
        for (unsigned i = 0; i < entries; ++i) {
            const std::string path = directory + "/entry" + std::to_string(i);
            if (i % 64 != 63) {
                makeFile(path);
            } else if (fits(path)) {
                check(::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST, path);
            }
        }
    }

private:
    std::uint64_t below(std::uint64_t end) { return m_random() % end; }

    template <typename Sequence> typename Sequence::value_type oneOf(const Sequence &sequence)
    {
        return *(sequence.begin() + static_cast<std::ptrdiff_t>(below(sequence.size())));
    }

    static bool fits(const std::string &path) { return path.size() <= kLongestHostPath; }

    std::string name()
    {
        static const std::vector<std::string> kHostile = {"new\nline", "\x1b[31mred\x1b[0m",
                                                          " ",         "  two  spaces ",
                                                          "tab\there", ".file",
                                                          "...",       "..x",
                                                          ".hidden",   "back\\",
                                                          "\\",        "\"quoted\"",
                                                          "%s%n",      "-rf",
                                                          "\xff\xfe",  "\xc3",
                                                          "*?[a]",     "gr\xc3\xbc\xc3\x9f",
                                                          "e\xcc\x81", "\x01\x7f",
                                                          "(null)"};
        static const std::vector<std::string> kPlain = {"a", "b", "c", "x.txt", "Info.plist", "usr", "data"};
        switch (below(10)) {
        case 0:
        case 1:
        case 2:
            return oneOf(kHostile);
        case 3:
            return {std::string(255, static_cast<char>('a' + below(26)))};
        case 4: {
            std::string bytes;
            for (std::uint64_t i = below(20) + 1; i > 0; --i) {
                const auto byte = static_cast<char>(below(255) + 1);
                bytes.push_back(byte == '/' ? '|' : byte);
            }
            return bytes == "." || bytes == ".." ? "dots" : bytes;
        }
        case 5:
        case 6:
            return "n" + std::to_string(below(1000));
        default:
            return oneOf(kPlain);
        }
    }

    std::uint64_t fileSize()
    {
        switch (below(8)) {
        case 0:
            return 0;
        case 1:
        case 2:
        case 3:
            return below(3) * 512; // so that many are equal
        case 4:
            return (std::uint64_t{1} << 32U) + below(1000);
        default:
            return below(100000);
        }
    }

    void makeDirectoryIn(const std::string &parent)
    {
        const std::string path = parent + "/" + name();
        if (!fits(path)) {
            return;
        }
        if (::mkdir(path.c_str(), 0755) == 0) {
            m_directories.push_back(path);
        } else {
            check(errno == EEXIST, path);
        }
    }

    void makeFile(const std::string &path)
    {
        if (!fits(path)) {
            return;
        }
        // New files cost a disk far more than new names, and a walk can't tell the two apart.
        if (m_files.size() > kFilesOfTheirOwn && below(16) != 0) {
            check(::link(oneOf(m_files).c_str(), path.c_str()) == 0 || errno == EEXIST, path);
            return;
        }
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (file < 0) {
            check(errno == EEXIST, path);
            return;
        }
        const bool sized = ::ftruncate(file, static_cast<off_t>(fileSize())) == 0;
        ::close(file);
        check(sized, path);
        m_files.push_back(path);
    }

    void makeEntry(const std::string &path)
    {
        if (!fits(path)) {
            return;
        }
        const std::uint64_t kind = below(20);
        if (kind == 0) {
            check(::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST, path); // stays empty
        } else if (kind < m_specials.size()) {
            std::string &first = m_specials.at(kind);
            if (first.empty() || below(8) == 0) {
                if (makeSpecial(path, kind) == 0) {
                    first = path;
                } else {
                    check(errno == EEXIST, path);
                }
            } else {
                check(::link(first.c_str(), path.c_str()) == 0 || errno == EEXIST, path);
            }
        } else {
            makeFile(path);
        }
    }

    int makeSpecial(const std::string &path, std::uint64_t kind)
    {
        switch (kind) {
        case 1:
            return ::symlink(oneOf(m_directories).c_str(), path.c_str());
        case 2:
            return ::symlink("..", path.c_str());
        case 3:
            return ::symlink(path.c_str(), path.c_str());
        case 4:
            return ::symlink("nowhere/at all", path.c_str());
        case 5:
            return ::symlink(m_files.empty() ? "/" : oneOf(m_files).c_str(), path.c_str());
        case 6:
            return ::mkfifo(path.c_str(), 0644);
        default:
            return ::mknod(path.c_str(), S_IFSOCK | 0644, 0);
        }
    }

    std::mt19937_64 m_random;
    std::vector<std::string> m_directories;
    std::vector<std::string> m_files;
    std::array<std::string, 8> m_specials; ///< by kind: one that was made
};

} // namespace

RandomTreeShape randomShape(std::uint64_t seed)
{
    std::mt19937_64 random(seed);
    const auto upTo = [&random](unsigned most) { return static_cast<unsigned>(random() % (most + 1)); };
    RandomTreeShape shape;
    shape.directories = upTo(30);
    shape.entriesEach = upTo(8);
    shape.entriesOfLargest = upTo(9) == 0 ? 1500 : 0; // more than one stretch of a directory
    shape.deepestChain = upTo(3) == 0 ? upTo(100) : upTo(6);
    shape.placesOfDevice = upTo(10);
    return shape;
}

void makeRandomTree(const std::string &hostDirectory, std::uint64_t seed, const RandomTreeShape &shape)
{
    Maker maker(hostDirectory, seed);
    maker.makePlaces(shape.placesOfDevice);
    maker.makeDirectories(shape.directories);
    maker.makeChain(shape.deepestChain);
    if (shape.entriesOfLargest != 0) {
        maker.makeLargest(shape.entriesOfLargest);
    }
    maker.makeEntries(shape.entriesEach);
}

} // namespace slicewise
