// What a scan has to tell beside the tree.
#pragma once

#include "platform/Device.h"

#include <cstdint>
#include <string>
#include <vector>

namespace slicewise {

/// Something that could not be read; everything else is counted all the same.
struct ScanFailure {
    enum class Of : std::uint8_t {
        Directory, ///< not opened, or not read to its end: what is missing below it is not known
        File,      ///< in the tree with 0 bytes
    };
    std::string path;
    Of of = Of::Directory;
    int error = 0; ///< errno
};

/// A directory that the walk passed by on purpose.
struct NotEntered {
    enum class Why : std::uint8_t {
        OtherFileSystem, ///< the walk was to stay on the root's own
        NoStorage,       ///< see FileSystemKind
        Memory,
        Network,
        View,       ///< shows files that lie, and are counted, elsewhere
        SeenBefore, ///< the same directory had been walked under another path
    };
    std::string path;
    Why why = Why::NoStorage;
    std::string fileSystemType; ///< where it is known
};

struct ScanReport {
    std::uint64_t files = 0;             ///< regular files in the tree, each path counted
    std::uint64_t directories = 0;       ///< opened and listed, the root among them
    std::vector<ScanFailure> failures;   ///< in the order of the walk
    std::vector<NotEntered> notEntered;  ///< in the order of the walk
    std::vector<FileSystem> fileSystems; ///< those that the walk entered, each once
    bool stopped = false;                ///< ended before its time by ScanMonitor::requestStop()

    /// The capacity of all file systems that the walk entered.
    [[nodiscard]] std::uint64_t diskSizeBytes() const
    {
        std::uint64_t sum = 0;
        for (const FileSystem &fileSystem : fileSystems) {
            sum += fileSystem.capacityBytes;
        }
        return sum;
    }
};

} // namespace slicewise
