#include "tests/support/GeneratedDevice.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>

namespace slicewise {

namespace {

constexpr std::uint64_t kDevice = 1;
constexpr std::uint64_t kEntriesPerStretch = 1024;
constexpr std::string_view kFileFront = "file-";
constexpr std::string_view kFileEnd = ".bin";

/// A name made of a number, on the stack: a device of ten million files is a benchmark's too.
class NumberedName {
public:
    NumberedName(std::string_view front, std::uint64_t number, std::string_view end)
    {
        char *at = std::copy(front.begin(), front.end(), m_bytes.data());
        at = std::to_chars(at, m_bytes.data() + m_bytes.size(), number).ptr;
        at = std::copy(end.begin(), end.end(), at);
        m_length = static_cast<std::size_t>(at - m_bytes.data());
    }
    [[nodiscard]] std::string_view text() const { return {m_bytes.data(), m_length}; }

private:
    std::array<char, 40> m_bytes{};
    std::size_t m_length = 0;
};

// The number in a name, if it is written as NumberedName writes it.
std::optional<std::uint64_t> numberIn(std::string_view name, std::string_view front, std::string_view end)
{
    if (name.size() <= front.size() + end.size() || !name.starts_with(front) || !name.ends_with(end)) {
        return std::nullopt;
    }
    const std::string_view digits = name.substr(front.size(), name.size() - front.size() - end.size());
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || stop != digits.data() + digits.size() ||
        NumberedName(front, number, end).text() != name) {
        return std::nullopt;
    }
    return number;
}

std::string_view takeName(std::string_view &path)
{
    while (path.starts_with('/')) {
        path.remove_prefix(1);
    }
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(name.size());
    return name;
}

} // namespace

class GeneratedDevice::Reader final : public DirectoryReader {
public:
    explicit Reader(const GeneratedDevice &device) : m_device(device) {}

    Result<FileIdentity> open(const std::string &path) override
    {
        const std::optional<std::uint64_t> directory = m_device.directoryAt(path);
        if (!directory) {
            return ErrorNumber{ENOENT};
        }
        m_nextDirectory = m_device.firstDirectoryIn(*directory);
        m_directoriesLeft = m_device.directoriesIn(*directory);
        m_firstDirectory = m_nextDirectory;
        m_nextFile = m_device.firstFileIn(*directory);
        m_filesLeft = m_device.filesIn(*directory);
        return FileIdentity{.device = kDevice, .inode = *directory + 1};
    }

    FileSystem fileSystem() override { return m_device.theFileSystem(); }

    Result<Progress> next(EntryChunk &chunk) override
    {
        chunk.clear();
        if (m_directoriesLeft == 0 && m_filesLeft == 0) {
            return Progress::End;
        }
        for (; m_directoriesLeft > 0 && chunk.size() < kEntriesPerStretch; --m_directoriesLeft) {
            const NumberedName name("d", m_nextDirectory++ - m_firstDirectory, "");
            chunk.append(name.text(), EntryType::Directory, 0);
        }
        for (; m_filesLeft > 0 && chunk.size() < kEntriesPerStretch; --m_filesLeft) {
            const std::uint64_t file = m_nextFile++;
            chunk.append(NumberedName(kFileFront, file, kFileEnd).text(), EntryType::RegularFile,
                         sizeOfFile(file));
        }
        return Progress::More;
    }

private:
    const GeneratedDevice &m_device;
    std::uint64_t m_firstDirectory = 0;
    std::uint64_t m_nextDirectory = 0;
    std::uint64_t m_directoriesLeft = 0;
    std::uint64_t m_nextFile = 0;
    std::uint64_t m_filesLeft = 0;
};

GeneratedDevice::GeneratedDevice(const Shape &shape)
    : m_shape{.files = shape.files,
              .filesPerDirectory = std::max<std::uint64_t>(shape.filesPerDirectory, 1),
              .directoriesPerDirectory = std::max<std::uint64_t>(shape.directoriesPerDirectory, 1)},
      m_directories(std::max<std::uint64_t>(
          (shape.files + m_shape.filesPerDirectory - 1) / m_shape.filesPerDirectory, 1))
{}

std::uint64_t GeneratedDevice::sizeOfFile(std::uint64_t file)
{
    // Fibonacci hashing: neighbours get sizes that have nothing to do with each other.
    const std::uint64_t scattered = (file + 1) * 0x9e3779b97f4a7c15ULL;
    return file % 50 == 49 ? 0 : scattered >> 44U;
}

std::uint64_t GeneratedDevice::totalBytes() const
{
    std::uint64_t sum = 0;
    for (std::uint64_t file = 0; file < m_shape.files; ++file) {
        sum += sizeOfFile(file);
    }
    return sum;
}

std::uint64_t GeneratedDevice::firstDirectoryIn(std::uint64_t directory) const
{
    return directory * m_shape.directoriesPerDirectory + 1;
}

std::uint64_t GeneratedDevice::directoriesIn(std::uint64_t directory) const
{
    const std::uint64_t first = firstDirectoryIn(directory);
    return first >= m_directories ? 0 : std::min(m_shape.directoriesPerDirectory, m_directories - first);
}

std::uint64_t GeneratedDevice::firstFileIn(std::uint64_t directory) const
{
    return directory * m_shape.filesPerDirectory;
}

std::uint64_t GeneratedDevice::filesIn(std::uint64_t directory) const
{
    return std::min(m_shape.filesPerDirectory, m_shape.files - firstFileIn(directory));
}

std::optional<std::uint64_t> GeneratedDevice::directoryAt(std::string_view path) const
{
    std::uint64_t directory = 0;
    for (std::string_view name = takeName(path); !name.empty(); name = takeName(path)) {
        const std::optional<std::uint64_t> rank = numberIn(name, "d", "");
        if (!rank || *rank >= directoriesIn(directory)) {
            return std::nullopt;
        }
        directory = firstDirectoryIn(directory) + *rank;
    }
    return directory;
}

FileSystem GeneratedDevice::theFileSystem() const
{
    return {.identity = kDevice,
            .kind = FileSystemKind::Storage,
            .capacityBytes = std::max<std::uint64_t>(m_shape.files, 1) << 21U};
}

std::unique_ptr<DirectoryReader> GeneratedDevice::makeReader() const
{
    return std::make_unique<Reader>(*this);
}

Result<FileStatus> GeneratedDevice::status(std::string_view path) const
{
    if (const std::optional<std::uint64_t> directory = directoryAt(path)) {
        return FileStatus{.type = FileType::Directory,
                          .sizeBytes = 4096,
                          .identity = {.device = kDevice, .inode = *directory + 1}};
    }
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return ErrorNumber{ENOENT};
    }
    const std::optional<std::uint64_t> directory = directoryAt(path.substr(0, slash));
    const std::optional<std::uint64_t> file = numberIn(path.substr(slash + 1), kFileFront, kFileEnd);
    if (!directory || !file || *file < firstFileIn(*directory) ||
        *file >= firstFileIn(*directory) + filesIn(*directory)) {
        return ErrorNumber{ENOENT};
    }
    return FileStatus{.type = FileType::RegularFile,
                      .sizeBytes = sizeOfFile(*file),
                      .identity = {.device = kDevice, .inode = m_directories + *file + 1}};
}

Result<std::string> GeneratedDevice::resolve(std::string_view path) const
{
    if (const Result<FileStatus> found = status(path); !found) {
        return ErrorNumber{found.error()};
    }
    std::string resolved;
    for (std::string_view name = takeName(path); !name.empty(); name = takeName(path)) {
        resolved.append("/").append(name);
    }
    return resolved.empty() ? "/" : resolved;
}

Result<FileSystem> GeneratedDevice::fileSystem(std::string_view path) const
{
    if (const Result<FileStatus> found = status(path); !found) {
        return ErrorNumber{found.error()};
    }
    return theFileSystem();
}

std::vector<Mount> GeneratedDevice::mounts() const
{
    return {};
}

} // namespace slicewise
