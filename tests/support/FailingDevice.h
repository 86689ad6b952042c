// A device in front of another one, that fails where a test wants it to.
//
// What is to fail is said before the walk; from then on any thread may use it. Hooks run in the thread that
// opens, before the wrapped device is asked and outside of all locks: they may change the file system.
#pragma once

#include "platform/Device.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace slicewise {

class FailingDevice final : public Device {
public:
    /// The wrapped device is borrowed. Nothing can be removed from one that is const.
    explicit FailingDevice(const Device &wrapped) : m_wrapped(wrapped) {}
    explicit FailingDevice(Device &wrapped) : m_wrapped(wrapped), m_changeable(&wrapped) {}

    /// Opening the directory fails.
    void failOpen(const std::string &path, int error);
    /// Where in a directory its listing breaks off.
    struct Break {
        std::size_t afterStretches = 0;      ///< so many are read to their ends
        std::size_t entriesOfTheNextOne = 0; ///< handed out together with the error
    };
    /// Reading the directory fails there, or at its end if that comes before.
    void failReading(const std::string &path, Break where, int error);
    /// The size of a file can't be read, neither in its directory nor by status().
    void failSize(const std::string &path, int error);
    /// resolve() fails, the device's and a resolver's, and so does following the path on the host.
    void failResolve(const std::string &path, int error);
    /// openFile() fails.
    void failOpenFile(const std::string &path, int error);
    /// Reading a file that has been opened under that path fails from that byte on.
    void failReadAt(const std::string &path, std::uint64_t offset, int error);
    /// So does asking for its shared lock, wherever in the file.
    void failLock(const std::string &path, int error);

    /// Removing that path fails, with nothing removed.
    void failRemove(const std::string &path, int error);

    using Hook = std::function<void(const std::string &path)>;
    /// Runs each time before the directory is opened.
    void runBeforeOpen(const std::string &path, Hook hook);
    /// Runs before any directory is opened.
    void runBeforeEachOpen(Hook hook);

    /// Runs before each reading of a file that has been opened under that path.
    void runBeforeReadAt(const std::string &path, Hook hook);

    /// Runs before anything is removed, with its path.
    void runBeforeEachRemoval(Hook hook);

    /// The directories that were asked to be opened, in that order; each as often as it was.
    [[nodiscard]] std::vector<std::string> opened() const;

    /// What was asked to be removed, in that order, whether or not it succeeded.
    [[nodiscard]] std::vector<std::string> removals() const;

    [[nodiscard]] std::unique_ptr<DirectoryReader> makeReader() const override;
    [[nodiscard]] Result<FileStatus> status(std::string_view path) const override;
    [[nodiscard]] Result<std::string> resolve(std::string_view path) const override;
    [[nodiscard]] Result<FileSystem> fileSystem(std::string_view path) const override;
    [[nodiscard]] std::vector<Mount> mounts() const override;
    [[nodiscard]] Result<std::unique_ptr<ReadableFile>> openFile(std::string_view path) const override;
    [[nodiscard]] Result<std::vector<std::string>> entryNames(std::string_view path) const override;
    [[nodiscard]] Result<std::string> hostPath(std::string_view path) const override;
    [[nodiscard]] Result<std::string> followedOnHost(std::string_view path) const override;
    [[nodiscard]] std::unique_ptr<PathResolver> makeResolver() const override;
    [[nodiscard]] std::unique_ptr<Remover> makeRemover() override;

private:
    class File;
    class Reader;
    class FailingRemover;
    class Resolver;
    struct Reading {
        Break where;
        int error = 0;
    };
    struct FileReading {
        std::uint64_t offset = 0;
        int error = 0;
    };
    /// What opening has to fail with, after the hooks have run; 0 for nothing.
    [[nodiscard]] int beforeOpen(const std::string &path) const;

    template <typename Value> using ByPath = std::map<std::string, Value, std::less<>>;
    const Device &m_wrapped;
    Device *m_changeable = nullptr; ///< the same one
    ByPath<int> m_opens;
    ByPath<Reading> m_readings;
    ByPath<int> m_sizes;
    ByPath<int> m_resolves;
    ByPath<int> m_fileOpens;
    ByPath<FileReading> m_fileReadings;
    ByPath<int> m_fileLocks;
    ByPath<int> m_removes;
    ByPath<std::vector<Hook>> m_hooks;
    std::vector<Hook> m_hooksOfAll;
    ByPath<std::vector<Hook>> m_hooksOfReadings;
    std::vector<Hook> m_hooksOfRemovals;
    mutable std::mutex m_mutex; ///< for what follows
    mutable std::vector<std::string> m_opened;
    std::vector<std::string> m_removed;
};

} // namespace slicewise
